// SPDX-License-Identifier: Apache-2.0
// Takes every middleware call through its steps: default set, fault, model, journal.
#ifndef VSET_CALL_H
#define VSET_CALL_H

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "hw3/hw_types.h"
#include "vset/vset.h"
#include "vset_misbehaviour.h"

namespace vset {

struct CallDescription;

// An argument as it was given: a number, or an address. The journal derives its meaning from the function's name.
struct RawArgument {
    template <class Number, class = std::enable_if_t<std::is_integral_v<Number> || std::is_enum_v<Number>>>
    RawArgument(Number number) : u64Value(static_cast<std::uint64_t>(number)) {}
    template <class Target>
    RawArgument(Target* pTarget) : u64Value(reinterpret_cast<std::uintptr_t>(pTarget)) {}

    std::uint64_t u64Value;
};
// All arguments of the function, in its order.
using Arguments = std::initializer_list<RawArgument>;

// Whether the model still runs when an injected fault supplies the result.
enum class OnFault { skip, act };

namespace detail {

// Switches the default set on when the process has never attached or detached a set. Returns false when no set is on
// then, with one line on standard error when the default set is the reason.
VSET_API bool ensureAttached();

// A call while it runs: the power does not change meanwhile, so that no call leaves anything in the power cycle that
// follows. A call inside a call is part of the outer one.
class VSET_API PoweredCall {
public:
    PoweredCall();
    ~PoweredCall();
    PoweredCall(const PoweredCall&) = delete;
    PoweredCall& operator=(const PoweredCall&) = delete;

    // Returns whether a set is on.
    explicit operator bool() const { return _bOn; }

private:
    bool _bOn;
};

// A wait within a call, for which the power switch does not wait. The caller may hold no lock of a model where the wait
// ends.
class VSET_API WithoutPower {
public:
    WithoutPower();
    ~WithoutPower();
    WithoutPower(const WithoutPower&) = delete;
    WithoutPower& operator=(const WithoutPower&) = delete;

private:
    const bool _bInCall;
};

// Returns a number that changes with each switching on or off. A call that has waited compares it before it goes on.
VSET_API std::uint64_t powerCycles();

struct TakenFault {
    bool bTaken = false;
    long long s64Result = 0;
    int s32Errno = 0;
};
VSET_API TakenFault takeFault(const char* pszCall);

// Adds to the journal an event of the set that is no call.
VSET_API void recordEvent(const char* pszEvent);

// Adds to the refusals a call that was done although it was wrong.
VSET_API void object(const char* pszCall, HW_Handle_t hHandle, const char* pszReason);

// Counts an allocation; returns true when it should fail.
VSET_API bool takeAllocationFault();
VSET_API bool takeThrowingAllocationFault();
// Returns whether throwing allocations are counted and may be made to fail.
VSET_API bool isThrowingAllocationWatched();

// Returns the journal's description of a function, or null for an unknown name.
VSET_API const CallDescription* findDescription(const char* pszCall);

// How many calls the journal keeps; 0 while it is off.
VSET_API extern std::atomic<std::size_t> journalLimit;

// A call that has begun. The journal stores its inputs before the model runs, which may overwrite them.
struct OpenCall {
    static constexpr std::size_t kTextSize = 1024;

    const char* pszCall;
    const CallDescription* pDescription;
    Arguments arguments;
    bool bWritten = false;
    std::uint64_t u64Begun = 0;
    std::size_t inputLength = 0;
    char acInputs[kTextSize];  // not cleared: it is written only with the journal on

    OpenCall(const char* pszName, const CallDescription* pKnown, Arguments given)
        : pszCall(pszName), pDescription(pKnown), arguments(given) {}
};
VSET_API void begin(OpenCall& call);

// How a call ended.
struct CallEnd {
    long long s64Result;
    bool bFault;
    bool bFailed;
    bool bRefused;
    int s32Errno;
};
VSET_API void end(OpenCall& call, const CallEnd& stEnd);

// Returns the result of a call that has no set to act on, or whose model ran out of memory or storage.
template <class Result>
Result refusal() {
    if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else if constexpr (std::is_signed_v<Result>) {
        return -1;
    } else {
        return HW_ERR_FAILED;
    }
}

template <class Result>
Result faultResult(const TakenFault& stFault) {
    if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else {
        return static_cast<Result>(stFault.s64Result);
    }
}

template <class Result>
long long journalResult(Result result) {
    if constexpr (std::is_pointer_v<Result>) {
        return result != nullptr ? 1 : 0;
    } else {
        return static_cast<long long>(result);
    }
}

// Returns whether the result of a function means failure.
template <class Result>
bool isFailure(Result result) {
    if constexpr (std::is_pointer_v<Result>) {
        return result == nullptr;
    } else if constexpr (std::is_enum_v<Result>) {
        // The result is no code, but "done" or not.
        return result == Result{};
    } else if constexpr (std::is_signed_v<Result>) {
        return result < 0;
    } else {
        return result > HW_HAS_INITED;
    }
}

// Returns whether a failed result is the chip's refusal. A missing file is no refusal.
template <class Result>
constexpr bool kFailureIsRefusal = !std::is_pointer_v<Result> && !std::is_signed_v<Result>;

// Returns the model's result, and lets no exception reach the C caller.
template <class Body, class Result>
Result act(Body& body, Result failure) {
    try {
        return body();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "virtual set: %s\n", error.what());
        errno = EIO;
        return failure;
    }
}

}  // namespace detail

// Runs `body`, the model of the middleware function `pszCall`, unless a fault answers in its place, and journals the
// call with its result. What a misbehaviour answers is a fault's answer, too. errno is the body's or the fault's
// afterwards. `failure` is the result without a set, and after an exception of the body.
template <class Body, class Result = decltype(std::declval<Body&>()())>
Result call(const char* pszCall, Arguments arguments, Body&& body, OnFault eOnFault = OnFault::skip,
            Result failure = detail::refusal<Result>()) {
    const HostPaths hostPaths;
    const detail::PoweredCall powered;
    if (!powered) {
        errno = ENODEV;
        return failure;
    }
    // Looked up once for each function: a body has a type of its own.
    static const CallDescription* const pDescription = detail::findDescription(pszCall);
    detail::OpenCall openCall(pszCall, pDescription, arguments);
    const bool bJournal = detail::journalLimit.load(std::memory_order_relaxed) != 0;
    if (bJournal) {
        detail::begin(openCall);
    }
    detail::TakenFault stFault = detail::takeFault(pszCall);
    detail::MisbehavingCall misbehaving(pszCall, arguments.size() == 0 ? nullptr : &arguments.begin()->u64Value,
                                        arguments.size());
    Result result{};
    const bool bActs = (!stFault.bTaken || eOnFault == OnFault::act) && !misbehaving.replaces();
    if (bActs) {
        result = detail::act(body, failure);
    }
    if (misbehaving.end(bActs && !detail::isFailure(result))) {
        stFault = {true, misbehaving.answer(), EIO};
    }
    if (stFault.bTaken) {
        result = detail::faultResult<Result>(stFault);
        errno = stFault.s32Errno;
    }
    const bool bFailed = detail::isFailure(result);
    const bool bRefused = bFailed && !stFault.bTaken && detail::kFailureIsRefusal<Result>;
    if (bJournal || bRefused) {
        const int s32Errno = errno;
        // Functions that answer a code leave errno alone.
        const bool bHasErrno = bFailed && (std::is_pointer_v<Result> || std::is_signed_v<Result>);
        detail::end(openCall,
                    {detail::journalResult(result), stFault.bTaken, bFailed, bRefused, bHasErrno ? s32Errno : 0});
        errno = s32Errno;
    }
    return result;
}

}  // namespace vset

#endif
