// SPDX-License-Identifier: Apache-2.0
// The control API of the virtual set: its folder, power switch, journal and faults. Each family adds its own header
// (vset/flash.h, ...) with what a person can see and do there.
#ifndef VSET_VSET_H
#define VSET_VSET_H

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#define VSET_API __attribute__((visibility("default")))

namespace vset {

// Thrown when an action cannot be done; the text is one line and names the file or the name at fault.
class VSET_API SetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// --- The set's folder ------------------------------------------------------------------------------------------------

// Makes a new set with its defaults in `strFolder`, which must be empty or not exist yet. Throws SetError.
VSET_API void create(const std::string& strFolder);

// Returns the damage in a set's folder: one line each, naming the file. Changes nothing. Throws SetError when
// `strFolder` is no set at all.
VSET_API std::vector<std::string> check(const std::string& strFolder);

// One repair of a set's folder.
struct Repair {
    std::string strFile;              // below the folder: "env/emmc.img"
    std::vector<std::string> damage;  // as check() gives it
    std::string strRemedy;            // "the environment of a new set"
    // Puts the remedy in the damaged file's place; a hard link to the damaged file keeps the damaged bytes. Throws
    // SetError.
    std::function<void()> mend;
};

// Returns the repairs that a set's folder needs, none of which is done yet. Also when set.json itself is missing or is
// rubbish. Throws SetError when `strFolder` has nothing of a set.
VSET_API std::vector<Repair> repairs(const std::string& strFolder);

// Keeps every process, this one included, from switching the set in this folder on while the object lives. Throws
// SetError when a process has it on.
class VSET_API Hold {
public:
    explicit Hold(const std::string& strFolder);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    const int _s32Lock;
};

// Takes the set in `strFolder`, made on first use, and switches it on. A set belongs to one process at a time. A
// process that calls neither this nor detach() gets the set of defaultFolder() with its first middleware call. Throws
// SetError.
VSET_API void attach(const std::string& strFolder);

// Switches off and gives the folder back. Like powerCycle(), it waits for calls and callbacks of the middleware that
// run, except the callback that it is called from. Calls that come later fail (ENODEV for those that set errno).
VSET_API void detach();

// Returns the folder of the attached set, or an empty text.
VSET_API std::string folder();

// Returns $VSET_DIR, else vset below $XDG_STATE_HOME, else below ~/.local/state.
VSET_API std::string defaultFolder();

// Returns what this PC could not store of the set since the last call of this function: one line each, naming the file.
// What a middleware call answers when the PC's disk is full says nothing about a set with storage of its own.
VSET_API std::vector<std::string> takeHostTroubles();

// Adds to the host's troubles, for a host program that writes into the set's tree by itself. Ignores an errno that is
// not a disk's, since it is the set's own.
VSET_API void noteHostTrouble(const std::string& strFile, int s32Error);

// Returns where the set's path `strPath` lies on this PC: below the folder's tree for the paths that the set serves
// itself, else the path unchanged. An empty text for the former while no set is attached.
VSET_API std::string hostPath(const std::string& strPath);
// Returns the same for the set in `strFolder`, whether or not it is switched on.
VSET_API std::string hostPath(const std::string& strPath, const std::string& strFolder);

// Makes paths in this thread's libc calls those of the PC, whatever they begin with, while the object lives. For the
// host program's own files, which may lie below /data or /mnt.
class VSET_API HostPaths {
public:
    HostPaths();
    ~HostPaths();
    HostPaths(const HostPaths&) = delete;
    HostPaths& operator=(const HostPaths&) = delete;
};

// Makes access() in this thread find the file at this path of the set, or find none, whether it exists or not, while
// the object lives: a switch that is on or off for a while, and a set that stays as it is. The youngest of several
// objects counts.
class VSET_API PretendedFile {
public:
    explicit PretendedFile(const char* pszPath, bool bExists = true);
    ~PretendedFile();
    PretendedFile(const PretendedFile&) = delete;
    PretendedFile& operator=(const PretendedFile&) = delete;

private:
    const char* const _pszBefore;
    const bool _bExistedBefore;
};

// --- Power -----------------------------------------------------------------------------------------------------------

// Switches off and on again: all state outside the folder is lost, every handle is dead, every family must be
// initialized again. Calls that run are completed before, in the power cycle that ends. The process lives on, unlike
// that of a real set; a program that should end too ends itself.
VSET_API void powerCycle();

// Returns how often the attached set has been switched on since it was made.
VSET_API unsigned int bootCount();

// Kills this process at the `u32Write`-th write to the set's storage from now on (1 = the next), as a power cut does.
// Writing, removing and making of files by the middleware's calls counts. What programs have changed in the set's tree
// since the last HW_FS_Sync, sync() or the last time the set was switched on is lost. 0 cancels it.
VSET_API void cutPowerAtWrite(unsigned int u32Write);

// --- Journal ---------------------------------------------------------------------------------------------------------

struct JournalEntry {
    std::uint64_t u64Number;                     // counts the ends of calls from 1, for the life of the process
    std::uint64_t u64Begun;                      // the number of the last call that had ended when this one began
    std::chrono::steady_clock::time_point time;  // of the call's end
    const char* pszCall;
    std::string strArguments;  // "type=2 key=\"bootdelay\""
    std::string strOutputs;    // "handle=0x2b1f4c3"; empty after a failure, which writes nothing
    long long s64Result;       // a pointer counts as 1, null as 0
    bool bFault;               // an injected fault answered
    bool bFailed;              // by the function's kind of result: a code above HW_HAS_INITED, -1, null
    bool bRefused;             // the chip refused; see Refusal
    int s32Errno;              // after a failed call; 0 unless the function sets it
    std::thread::id thread;    // that called
};

// Returns the calls of the middleware after the one of that number, in the order of their ends. A number missing at
// the beginning means that older calls are no longer kept.
VSET_API std::vector<JournalEntry> journal(std::uint64_t u64After = 0);

// Returns the number of the last call; 0 before the first.
VSET_API std::uint64_t lastCall();

VSET_API void clearJournal();

// Sets how many entries are kept: 65,536 unless set; 0 switches the journal off.
VSET_API void keepJournal(std::size_t entries);

// --- Refusals --------------------------------------------------------------------------------------------------------

// A call that the chip refused, or did although it should not have been made. Neither a fault's answer, nor a look-up
// that finds nothing (HW_ERR_FAILED), nor a second Init, nor a file call that fails is a refusal.
struct Refusal {
    std::uint64_t u64Number;  // counts from 1 for the life of the process
    std::string strCall;
    std::string strArguments;
    long long s64Result;
    std::string strReason;  // why a call was wrong that was not refused; empty for a refused one
    std::thread::id thread;
};

// Returns the refusals after the one of that number, oldest first; the last 4,096 are kept, with the journal off, too.
VSET_API std::vector<Refusal> refusals(std::uint64_t u64After = 0);

// Returns how many refusals there have been in this process.
VSET_API std::uint64_t refusalCount();

// --- Faults ----------------------------------------------------------------------------------------------------------

// Names in place of a middleware function: `new (std::nothrow)` of the host program and its libraries.
constexpr const char* kAllocation = "allocation";

// Names another: `new`, and what the standard library's texts and lists allocate for code of the factory library. Such
// an allocation throws std::bad_alloc.
constexpr const char* kThrowingAllocation = "throwing-allocation";

// The result of a fault for which none is given: HW_ERR_FAILED of a function that answers a code. There is none for
// those that ownFailures() knows.
constexpr long long kNoResult = std::numeric_limits<long long>::min();

// Returns what a function answers when it fails, if that is no code: "-1 for a file that does not exist, -2 for other
// failures". Empty for all others, and for functions that return a pointer.
VSET_API std::string ownFailures(const std::string& strCall);

struct Fault {
    std::string strCall;              // the name of a middleware function, kAllocation or kThrowingAllocation
    long long s64Result = kNoResult;  // what it answers; functions that return a pointer answer null
    unsigned int u32From = 1;         // the first call to fail, counted from now
    unsigned int u32Times = 1;        // how many fail; 0 = all from then on
    int s32Errno = EIO;               // errno of the functions that set it
};

// Adds a fault. The function does nothing while it fails, except that a failing close of a file closes it. Throws
// SetError when the middleware has no such function, and when the fault needs a result and has none.
VSET_API void inject(const Fault& stFault);

VSET_API void clearFaults();

// Returns the names of all functions that a fault can be injected into, those of allocations among them, sorted.
VSET_API const std::vector<std::string>& faultNames();

// Returns how many allocations there have been in this process that a fault of kAllocation could make fail.
VSET_API std::size_t allocations();

// Returns how many allocations there have been while a fault of kThrowingAllocation was set, which that could make
// fail.
VSET_API std::size_t throwingAllocations();

// --- Handles ---------------------------------------------------------------------------------------------------------

struct OpenHandle {
    std::string strFamily;  // "HW_FLASH"
    std::uint64_t u64Key;   // what is open: a flash type, a pad, a port
    std::uint32_t u32Handle;
    bool bPlayer;  // the set's own player holds it, not the library
};

// Returns all open handles.
VSET_API std::vector<OpenHandle> openHandles();

// Returns whether a family ("HW_IR") has been initialized since the set was switched on. Throws SetError when there is
// no such family.
VSET_API bool isInitialised(const std::string& strFamily);

}  // namespace vset

#endif
