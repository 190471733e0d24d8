// SPDX-License-Identifier: Apache-2.0
// What the families of the middleware share: power, initialisation, handles.
#ifndef VSET_FAMILY_H
#define VSET_FAMILY_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "hw3/hw_types.h"
#include "vset/vset.h"

namespace vset {

// The family's part of every handle, so that a handle of the wrong family is caught. The order is that of the headers.
enum class FamilyId : std::uint32_t {
    sys = 1,
    flash,
    fs,
    wdt,
    pm,
    audio,
    aout,
    uart,
    sar,
    iic,
    gpio,
    ir,
    extin,
    cec,
    pwm,
    tuner,
    video,
    net,
    osdLayer,
    osdWindow,
    osdSurface,
    disp,
    dispController,
    dispout,
    cap,
    os,
    dval
};

// What becomes of the player's instance when somebody else closes it.
enum class PlayersInstance {
    stays,    // the close is refused
    isClosed  // the close is done, and kept among the refusals
};

// One family's open instances: handle -> key. Handles are never 0, never have bit 31, are not consecutive, and are
// never given out twice in the life of a process. Safe to use from any thread.
class VSET_API HandleTable {
public:
    HandleTable(FamilyId eFamily, const char* pszFamily, PlayersInstance ePlayers = PlayersInstance::stays);

    // HW_ERR_FAILED when nothing is open under the key.
    HW_Result_t find(std::uint64_t u64Key, HW_Handle_t* phHandle) const;
    // HW_ERR_BUSY when something is.
    HW_Result_t open(std::uint64_t u64Key, HW_Handle_t* phHandle, bool bPlayer = false);
    // The close of a middleware function. HW_ERR_INVALID_HANDLE for everything that is not open here, or not the
    // caller's.
    HW_Result_t close(HW_Handle_t hHandle);
    // The set's own close, of whoever's instance. False when nothing is open under the handle.
    bool remove(HW_Handle_t hHandle);
    bool isPlayers(HW_Handle_t hHandle) const;
    // The key of an open handle.
    std::optional<std::uint64_t> key(HW_Handle_t hHandle) const;
    // What is open under a key.
    std::optional<OpenHandle> instance(std::uint64_t u64Key) const;

    const char* family() const { return _pszFamily; }

    void closeAll();
    // What a family's DeInit does: the player's handles stay.
    void closeThoseOfTheLibrary();
    void list(std::vector<OpenHandle>& handles) const;

private:
    struct Instance {
        std::uint64_t u64Key;
        bool bPlayer;
    };

    const FamilyId _eFamily;
    const char* const _pszFamily;
    const PlayersInstance _ePlayers;
    mutable std::mutex _mutex;
    std::uint32_t _u32Serial = 0;
    std::map<HW_Handle_t, Instance> _instances;
};

// What an Init makes of a missing record.
enum class NullParams { refused, defaults };

// Base of a family's model. A model is made once and never destroyed: detached threads of the host program may call
// the middleware while the process exits.
class VSET_API FamilyModel {
public:
    FamilyModel(FamilyId eFamily, const char* pszFamily, PlayersInstance ePlayers = PlayersInstance::stays);
    FamilyModel(const FamilyModel&) = delete;
    FamilyModel& operator=(const FamilyModel&) = delete;

    // The family's Init: HW_HAS_INITED the second time, HW_ERR_NOT_INITED before HW_SYS_Init.
    HW_Result_t initialise();
    // The same with its parameters.
    template <class Params>
    HW_Result_t initialise(const Params* pstParams, NullParams eNull = NullParams::refused) {
        const bool bValid = pstParams != nullptr ? pstParams->u32Reserved == 0 : eNull == NullParams::defaults;
        return bValid ? initialise() : HW_ERR_INVALID_PARAMETER;
    }
    // The same for a family that works before HW_SYS_Init.
    HW_Result_t markInitialised();
    bool isInitialised() const { return _bInitialised.load(); }
    void deinitialise() { _bInitialised.store(false); }
    // The family's DeInit: closes what the library has open, too. HW_ERR_NOT_INITED without an Init.
    HW_Result_t shutDown();

    // HW_OK, or HW_ERR_NOT_INITED before HW_SYS_Init or the family's own Init.
    HW_Result_t readiness() const;

    // The switch is turned on: forgets everything that is not in the set's folder, then sets the scene.
    void powerOn();
    // Before that, and before the folder is given back (`bDetach`). Callbacks have ended afterwards, except the one
    // that the switch is turned from.
    virtual void powerOff([[maybe_unused]] bool bDetach) {}

    HandleTable& handles() { return _handles; }
    // Everything that is open in the family.
    void listHandles(std::vector<OpenHandle>& handles) const;

    // The set's player opens an instance, and closes it again. `strWhat` names it in the SetError of the person who
    // asks for what is not possible. release() returns the handle that is no more.
    void hold(std::uint64_t u64Key, const std::string& strWhat);
    HW_Handle_t release(std::uint64_t u64Key, const std::string& strWhat);

protected:
    // Never called: models live for ever.
    ~FamilyModel() = default;
    // For a family that has handles of several kinds: the table, a member of the model, is closed and listed with the
    // first one.
    void alsoHas(HandleTable& handles) { _tables.push_back(&handles); }
    // Puts the family's own state into that after switching on; the handles are closed already.
    virtual void reset() {}

private:
    std::atomic<bool> _bInitialised{false};
    HandleTable _handles;
    std::vector<HandleTable*> _tables{&_handles};
};

// A model whose state is one record, which is looked at and changed under its lock.
template <class State>
class StatefulModel : public FamilyModel {
public:
    using FamilyModel::FamilyModel;

    template <class Body>
    auto locked(Body&& body) {
        const std::lock_guard<std::mutex> lock(_mutex);
        return body(_state);
    }

protected:
    ~StatefulModel() = default;
    void reset() override {
        locked([](State& state) { state = {}; });
    }

private:
    std::mutex _mutex;
    State _state;
};

// What GetHandle and Open of a family have in common whose instances are known by one number: HW_OK, or what they
// answer. `readiness` is the family's own or the system's, as the family wants.
template <class Params>
HW_Result_t checkInstanceNumber(HW_Result_t readiness, const Params* pstParams, HW_U32 Params::*pNumber,
                                HW_U32 u32Count, const HW_Handle_t* phHandle) {
    if (pstParams == nullptr || phHandle == nullptr || pstParams->*pNumber >= u32Count) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return readiness;
}

// Flags are 0 or 1.
constexpr bool isFlag(HW_U32 u32Value) {
    return u32Value <= 1;
}

// HW_OK, or HW_ERR_NOT_INITED while HW_SYS_Init has not run since the set was switched on.
VSET_API HW_Result_t systemReadiness();

// For a part of the set that switches it: when `isWanted` still holds with the switch in hand, `prepare` is run, and if
// that wants it (true) the set is switched off and on. Waits for whoever else is at the switch.
void powerCycleIf(const std::function<bool()>& isWanted, const std::function<bool()>& prepare);

// Called by HW_SYS_Init; HW_HAS_INITED the second time.
HW_Result_t initialiseSystem();

}  // namespace vset

#endif
