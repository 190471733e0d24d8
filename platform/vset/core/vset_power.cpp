// SPDX-License-Identifier: Apache-2.0
// The power switch: attaches a set, and switches the families on and off.
#include <cstdlib>
#include <cstring>
#include <shared_mutex>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"
#include "vset_open_files.h"
#include "vset_paths.h"
#include "vset_storage.h"
#include "vset_unsynced.h"

namespace vset {

namespace {

struct Power {
    // Serializes attach, detach and power cycles.
    std::mutex mutex;
    int s32Lock = -1;
    std::atomic<bool> bOn{false};
    bool bChosen = false;  // the process has attached or detached a set: it gets no default set any more
    std::atomic<bool> bSystemInitialised{false};
    std::vector<FamilyModel*> families;

    // Shared by running calls, held exclusively while the power changes.
    std::shared_mutex calls;
    // Held while a power change waits for calls. New calls wait for it, or calls of several threads would keep the
    // change waiting.
    std::mutex gate;
    std::atomic<bool> bGateClosed{false};
    std::atomic<std::uint64_t> u64Cycles{0};
};

Power& powerState() {
    static Power& power = *new Power;
    return power;
}

// The number of running calls of this thread, one inside the other.
thread_local unsigned int t_u32Calls = 0;

void shareCalls(Power& power) {
    while (power.bGateClosed.load(std::memory_order_acquire)) {
        const std::lock_guard<std::mutex> wait(power.gate);
    }
    power.calls.lock_shared();
}

// Keeps calls out while the object lives: no call runs, and new ones wait.
class NoCalls {
public:
    explicit NoCalls(Power& power) : _power(power), _gate(power.gate) {
        _power.bGateClosed = true;
        _power.calls.lock();
        ++_power.u64Cycles;
    }
    ~NoCalls() {
        _power.bGateClosed = false;
        _power.calls.unlock();
    }
    NoCalls(const NoCalls&) = delete;
    NoCalls& operator=(const NoCalls&) = delete;

private:
    Power& _power;
    const std::lock_guard<std::mutex> _gate;
};

// Returns whether the file is still the one at the path, and not one of a folder that has been replaced.
bool isAt(int s32Fd, const std::string& strPath) {
    struct stat stOpen = {};
    struct stat stThere = {};
    return fstat(s32Fd, &stOpen) == 0 && stat(strPath.c_str(), &stThere) == 0 && stOpen.st_ino == stThere.st_ino &&
           stOpen.st_dev == stThere.st_dev;
}

// Locks the folder for this process, and returns the lock's descriptor.
int lockFolder(const std::string& strFolder) {
    const std::string strLock = strFolder + "/lock";
    const int s32Lock = ::open(strLock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (s32Lock < 0) {
        failWith(strLock);
    }
    // A process that checks whether the set is in use holds the lock for a moment, too.
    int s32Locked = flock(s32Lock, LOCK_EX | LOCK_NB);
    for (int i = 0; i < 10 && s32Locked != 0; ++i) {
        usleep(10000);
        s32Locked = flock(s32Lock, LOCK_EX | LOCK_NB);
    }
    if (s32Locked != 0) {
        char acOwner[16] = {};
        const ssize_t length = pread(s32Lock, acOwner, sizeof(acOwner) - 1, 0);
        close(s32Lock);
        throw SetError(strFolder + ": in use by process " + (length > 0 ? acOwner : "(unknown)"));
    }
    if (!isAt(s32Lock, strLock)) {
        close(s32Lock);
        return lockFolder(strFolder);
    }
    const std::string strOwner = std::to_string(getpid());
    if (ftruncate(s32Lock, 0) != 0 || pwrite(s32Lock, strOwner.data(), strOwner.size(), 0) < 0) {
        const int s32Error = errno;
        close(s32Lock);
        errno = s32Error;
        failWith(strLock);
    }
    return moveAside(s32Lock);
}

// Stores what programs have written, when the power goes in an orderly way.
void endFiles() {
    killOpenFiles();
    forgetSynced();
}

// Switches the families off. Calls go on meanwhile, since the callbacks that it waits for may make some.
void switchOff(Power& power, bool bDetach) {
    for (FamilyModel* pFamily : power.families) {
        pFamily->powerOff(bDetach);
    }
}

void switchOn(Power& power) {
    power.bSystemInitialised = false;
    countBoot();
    for (FamilyModel* pFamily : power.families) {
        pFamily->powerOn();
    }
}

void offAndOn(Power& power) {
    switchOff(power, false);
    const NoCalls noCalls(power);
    endFiles();
    switchOn(power);
}

void giveBack(Power& power) {
    switchOff(power, true);
    const NoCalls noCalls(power);
    endFiles();
    power.bOn = false;
    close(power.s32Lock);
    power.s32Lock = -1;
    unloadFolder();
    setTree("");
}

void attachLocked(Power& power, const std::string& strFolder) {
    if (power.bOn) {
        throw SetError(strFolder + ": this process has the set in " + loadedFolder() + " already");
    }
    const HostPaths hostPaths;
    detail::readMisbehaviours();
    const std::string strAbsolute = makeFolderIfMissing(strFolder);
    power.s32Lock = lockFolder(strAbsolute);
    try {
        loadFolder(strAbsolute);
        setTree(strAbsolute + kTree);
        switchOn(power);
    } catch (...) {
        giveBack(power);
        throw;
    }
    power.bOn = true;
}

}  // namespace

Hold::Hold(const std::string& strFolder)
    : _s32Lock([&] {
          const HostPaths hostPaths;
          return lockFolder(absoluteFolder(strFolder));
      }()) {}

Hold::~Hold() {
    close(_s32Lock);
}

FamilyModel::FamilyModel(FamilyId eFamily, const char* pszFamily, PlayersInstance ePlayers)
    : _handles(eFamily, pszFamily, ePlayers) {
    powerState().families.push_back(this);
}

void FamilyModel::powerOn() {
    _bInitialised = false;
    for (HandleTable* pTable : _tables) {
        pTable->closeAll();
    }
    reset();
}

void FamilyModel::listHandles(std::vector<OpenHandle>& handles) const {
    for (const HandleTable* pTable : _tables) {
        pTable->list(handles);
    }
}

HW_Result_t FamilyModel::initialise() {
    if (systemReadiness() != HW_OK) {
        return HW_ERR_NOT_INITED;
    }
    return markInitialised();
}

HW_Result_t FamilyModel::markInitialised() {
    return _bInitialised.exchange(true) ? HW_HAS_INITED : HW_OK;
}

HW_Result_t FamilyModel::readiness() const {
    return systemReadiness() == HW_OK && _bInitialised ? HW_OK : HW_ERR_NOT_INITED;
}

HW_Result_t FamilyModel::shutDown() {
    const HW_Result_t result = readiness();
    if (result == HW_OK) {
        _handles.closeThoseOfTheLibrary();
        deinitialise();
    }
    return result;
}

void FamilyModel::hold(std::uint64_t u64Key, const std::string& strWhat) {
    HW_Handle_t hHandle = HW_HANDLE_NONE;
    if (_handles.open(u64Key, &hHandle, true) != HW_OK) {
        throw SetError(strWhat + ": is open already");
    }
}

HW_Handle_t FamilyModel::release(std::uint64_t u64Key, const std::string& strWhat) {
    std::vector<OpenHandle> handles;
    _handles.list(handles);
    for (const OpenHandle& stHandle : handles) {
        if (stHandle.u64Key == u64Key && stHandle.bPlayer) {
            _handles.remove(stHandle.u32Handle);
            return stHandle.u32Handle;
        }
    }
    throw SetError(strWhat + ": the player does not hold it");
}

HW_Result_t systemReadiness() {
    return powerState().bSystemInitialised ? HW_OK : HW_ERR_NOT_INITED;
}

HW_Result_t initialiseSystem() {
    return powerState().bSystemInitialised.exchange(true) ? HW_HAS_INITED : HW_OK;
}

bool detail::ensureAttached() {
    Power& power = powerState();
    if (power.bOn.load(std::memory_order_acquire)) {
        return true;
    }
    const std::lock_guard<std::mutex> lock(power.mutex);
    if (power.bOn) {
        return true;
    }
    if (power.bChosen) {
        return false;
    }
    power.bChosen = true;
    try {
        attachLocked(power, defaultFolder());
        return true;
    } catch (const SetError& error) {
        std::fprintf(stderr, "virtual set: %s\n", error.what());
        return false;
    }
}

detail::PoweredCall::PoweredCall() {
    Power& power = powerState();
    if (t_u32Calls++ == 0) {
        shareCalls(power);
    }
    _bOn = power.bOn;
    if (!_bOn && t_u32Calls == 1) {
        const WithoutPower wait;
        static_cast<void>(ensureAttached());
    }
    _bOn = power.bOn;
}

detail::PoweredCall::~PoweredCall() {
    if (--t_u32Calls == 0) {
        powerState().calls.unlock_shared();
    }
}

detail::WithoutPower::WithoutPower() : _bInCall(t_u32Calls == 1) {
    if (_bInCall) {
        t_u32Calls = 0;
        powerState().calls.unlock_shared();
    }
}

detail::WithoutPower::~WithoutPower() {
    if (_bInCall) {
        shareCalls(powerState());
        t_u32Calls = 1;
    }
}

std::uint64_t detail::powerCycles() {
    return powerState().u64Cycles;
}

std::string defaultFolder() {
    if (const char* pszFolder = std::getenv("VSET_DIR"); pszFolder != nullptr && *pszFolder != '\0') {
        return pszFolder;
    }
    if (const char* pszState = std::getenv("XDG_STATE_HOME"); pszState != nullptr && *pszState != '\0') {
        return std::string(pszState) + "/vset";
    }
    const char* pszHome = std::getenv("HOME");
    return std::string(pszHome != nullptr ? pszHome : "") + "/.local/state/vset";
}

void attach(const std::string& strFolder) {
    Power& power = powerState();
    const std::lock_guard<std::mutex> lock(power.mutex);
    power.bChosen = true;
    attachLocked(power, strFolder);
}

void detach() {
    Power& power = powerState();
    const std::lock_guard<std::mutex> lock(power.mutex);
    power.bChosen = true;
    if (power.s32Lock >= 0) {
        giveBack(power);
    }
}

std::string folder() {
    return loadedFolder();
}

void powerCycle() {
    Power& power = powerState();
    const std::lock_guard<std::mutex> lock(power.mutex);
    if (!power.bOn) {
        throw SetError("no set is attached");
    }
    const HostPaths hostPaths;
    offAndOn(power);
}

void powerCycleIf(const std::function<bool()>& isWanted, const std::function<bool()>& prepare) {
    Power& power = powerState();
    const std::lock_guard<std::mutex> lock(power.mutex);
    if (power.bOn && isWanted() && prepare()) {
        offAndOn(power);
    }
}

std::vector<OpenHandle> openHandles() {
    std::vector<OpenHandle> handles;
    for (FamilyModel* pFamily : powerState().families) {
        pFamily->listHandles(handles);
    }
    return handles;
}

bool isInitialised(const std::string& strFamily) {
    for (FamilyModel* pFamily : powerState().families) {
        if (strFamily == pFamily->handles().family()) {
            return pFamily->isInitialised();
        }
    }
    throw SetError(strFamily + ": no such family");
}

}  // namespace vset
