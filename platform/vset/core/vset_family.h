// SPDX-License-Identifier: Apache-2.0
// The base of all families of the middleware: power, initialization, handles.
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

// The result of closing the player's instance on behalf of a program.
enum class PlayersInstance {
    stays,    // the close is refused
    isClosed  // the close is done, and kept among the refusals
};

// One family's open instances: handle -> key. Handles are never 0, never have bit 31, are not consecutive, and are
// never given out twice in the life of a process. Safe to use from any thread.
class VSET_API HandleTable {
public:
    HandleTable(FamilyId eFamily, const char* pszFamily, PlayersInstance ePlayers = PlayersInstance::stays);

    // Returns HW_ERR_FAILED when nothing is open under the key.
    HW_Result_t find(std::uint64_t u64Key, HW_Handle_t* phHandle) const;
    // Returns HW_ERR_BUSY when an instance is open under the key.
    HW_Result_t open(std::uint64_t u64Key, HW_Handle_t* phHandle, bool bPlayer = false);
    // Closes a handle for a program. Returns HW_ERR_INVALID_HANDLE for a handle that is not open here, or not the
    // program's.
    HW_Result_t close(HW_Handle_t hHandle);
    // Closes a handle for the set itself, whoever has opened it. Returns false when nothing is open under the handle.
    bool remove(HW_Handle_t hHandle);
    bool isPlayers(HW_Handle_t hHandle) const;
    // Returns the key of an open handle.
    std::optional<std::uint64_t> key(HW_Handle_t hHandle) const;
    // Returns the instance that is open under a key.
    std::optional<OpenHandle> instance(std::uint64_t u64Key) const;

    const char* family() const { return _pszFamily; }

    void closeAll();
    // Closes the handles that a program has opened, as a family's DeInit does; the player's stay open.
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

// How an Init treats a missing record.
enum class NullParams { refused, defaults };

// Base of a family's model. A model is made once and never destroyed: detached threads of the host program may call
// the middleware while the process exits.
class VSET_API FamilyModel {
public:
    FamilyModel(FamilyId eFamily, const char* pszFamily, PlayersInstance ePlayers = PlayersInstance::stays);
    FamilyModel(const FamilyModel&) = delete;
    FamilyModel& operator=(const FamilyModel&) = delete;

    // Initializes the family. Returns HW_HAS_INITED the second time, HW_ERR_NOT_INITED before HW_SYS_Init.
    HW_Result_t initialise();
    // Checks the parameter record, and initializes the family.
    template <class Params>
    HW_Result_t initialise(const Params* pstParams, NullParams eNull = NullParams::refused) {
        const bool bValid = pstParams != nullptr ? pstParams->u32Reserved == 0 : eNull == NullParams::defaults;
        return bValid ? initialise() : HW_ERR_INVALID_PARAMETER;
    }
    // Initializes a family that does not need HW_SYS_Init.
    HW_Result_t markInitialised();
    bool isInitialised() const { return _bInitialised.load(); }
    void deinitialise() { _bInitialised.store(false); }
    // Deinitializes the family, and closes what the library has open. Returns HW_ERR_NOT_INITED without an Init.
    HW_Result_t shutDown();

    // Returns HW_OK, or HW_ERR_NOT_INITED before HW_SYS_Init or the family's own Init.
    HW_Result_t readiness() const;

    // Switches the family on: discards all state that is not in the set's folder, then resets the model.
    void powerOn();
    // Runs before powerOn(), and before the folder is given back (`bDetach`). Callbacks have ended afterwards, except
    // the one that switches the power.
    virtual void powerOff([[maybe_unused]] bool bDetach) {}

    HandleTable& handles() { return _handles; }
    // Adds all open handles of the family.
    void listHandles(std::vector<OpenHandle>& handles) const;

    // Opens an instance for the set's player, and closes it again. `strWhat` names the instance in a SetError.
    // release() returns the handle that was closed.
    void hold(std::uint64_t u64Key, const std::string& strWhat);
    HW_Handle_t release(std::uint64_t u64Key, const std::string& strWhat);

protected:
    // Never called: models live forever.
    ~FamilyModel() = default;
    // Adds a table for a family that has handles of several kinds. The table, a member of the model, is closed and
    // listed with the first one.
    void alsoHas(HandleTable& handles) { _tables.push_back(&handles); }
    // Resets the family's own state to its power-on values. Handles have been closed already.
    virtual void reset() {}

private:
    std::atomic<bool> _bInitialised{false};
    HandleTable _handles;
    std::vector<HandleTable*> _tables{&_handles};
};

// A model whose state is one record, which is read and changed under its lock.
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

// Checks the parameters of GetHandle and Open of a family whose instances have one number. Returns HW_OK, or the result
// that these functions give. `readiness` is the family's own or the system's, as the family needs.
template <class Params>
HW_Result_t checkInstanceNumber(HW_Result_t readiness, const Params* pstParams, HW_U32 Params::*pNumber,
                                HW_U32 u32Count, const HW_Handle_t* phHandle) {
    if (pstParams == nullptr || phHandle == nullptr || pstParams->*pNumber >= u32Count) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return readiness;
}

// Returns whether a value is 0 or 1.
constexpr bool isFlag(HW_U32 u32Value) {
    return u32Value <= 1;
}

// Returns HW_OK, or HW_ERR_NOT_INITED while HW_SYS_Init has not run since the set was switched on.
VSET_API HW_Result_t systemReadiness();

// Power-cycles the set from inside a model. Waits for other users of the power switch, runs `prepare` if `isWanted()`
// still holds, and cycles if `prepare` returns true.
void powerCycleIf(const std::function<bool()>& isWanted, const std::function<bool()>& prepare);

// Initializes the system for HW_SYS_Init. Returns HW_HAS_INITED the second time.
HW_Result_t initialiseSystem();

}  // namespace vset

#endif
