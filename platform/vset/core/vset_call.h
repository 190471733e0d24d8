// SPDX-License-Identifier: Apache-2.0
// What every function of the middleware goes through: default set, fault, model, journal.
#ifndef VSET_CALL_H
#define VSET_CALL_H

#include <atomic>
#include <cstdio>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "hw3/hw_types.h"
#include "vset/vset.h"

namespace vset {

// One argument for the journal: a number or a text. Kept by value only while the call runs.
struct Argument {
    enum class Kind { number, address, text };

    template <class Number, class = std::enable_if_t<std::is_integral_v<Number> || std::is_enum_v<Number>>>
    Argument(const char* pszArgumentName, Number number)
        : pszName(pszArgumentName), eKind(Kind::number), s64Number(static_cast<long long>(number)) {}
    Argument(const char* pszArgumentName, const char* pszValue)
        : pszName(pszArgumentName), eKind(Kind::text), pszText(pszValue) {}
    Argument(const char* pszArgumentName, const HW_U8* pu8Value)
        : Argument(pszArgumentName, reinterpret_cast<const char*>(pu8Value)) {}

    const char* pszName;
    Kind eKind;
    long long s64Number = 0;
    const char* pszText = nullptr;
};
using Arguments = std::initializer_list<Argument>;

// A member of the caller's record, which may be missing.
template <class Record, class Member>
Argument member(const char* pszArgumentName, const Record* pstRecord, Member Record::*pMember) {
    return pstRecord != nullptr ? Argument(pszArgumentName, pstRecord->*pMember)
                                : Argument(pszArgumentName, static_cast<const char*>(nullptr));
}

// Whether the model still acts when a fault answers in its place.
enum class OnFault { skip, act };

namespace detail {

// Switches the default set on when the process has never attached or detached one. False when no set is on then, with
// one line on standard error when the default set is the reason.
VSET_API bool ensureAttached();

// A call while it runs: the switch is not turned meanwhile, so that no call leaves anything behind in the life of the
// set that follows. A call inside a call is part of the outer one.
class VSET_API PoweredCall {
public:
    PoweredCall();
    ~PoweredCall();
    PoweredCall(const PoweredCall&) = delete;
    PoweredCall& operator=(const PoweredCall&) = delete;

    // Whether a set is on.
    explicit operator bool() const { return _bOn; }

private:
    bool _bOn;
};

// A wait within a call, which the switch does not wait for. Locks of a model are not to be held where it ends.
class VSET_API WithoutPower {
public:
    WithoutPower();
    ~WithoutPower();
    WithoutPower(const WithoutPower&) = delete;
    WithoutPower& operator=(const WithoutPower&) = delete;

private:
    const bool _bInCall;
};

// Changes whenever the switch is turned: a call that has waited compares it before it goes on.
VSET_API std::uint64_t powerCycles();

struct TakenFault {
    bool bTaken = false;
    long long s64Result = 0;
    int s32Errno = 0;
};
VSET_API TakenFault takeFault(const char* pszCall);

// Counts an allocation; true when it is to fail.
VSET_API bool takeAllocationFault();

// What became of a call, for the journal.
struct CallEnd {
    long long s64Result = 0;
    bool bFault = false;
    bool bFailed = false;
    int s32Errno = 0;
};
VSET_API void record(const char* pszCall, Arguments arguments, const CallEnd& stEnd);

// What a call answers that has no set to act on, or whose model ran out of memory or storage.
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

// Whether the result of a function means that it has failed.
template <class Result>
bool isFailure(Result result) {
    if constexpr (std::is_pointer_v<Result>) {
        return result == nullptr;
    } else if constexpr (std::is_enum_v<Result>) {
        // No code: "done" or not.
        return result == Result{};
    } else if constexpr (std::is_signed_v<Result>) {
        return result < 0;
    } else {
        return result > HW_HAS_INITED;
    }
}

// The model's answer. Nothing that it throws reaches the C caller.
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
// call with its result. errno is the body's or the fault's afterwards. `failure` is the answer without a set, and after
// an exception of the body.
template <class Body, class Result = decltype(std::declval<Body&>()())>
Result call(const char* pszCall, Arguments arguments, Body&& body, OnFault eOnFault = OnFault::skip,
            Result failure = detail::refusal<Result>()) {
    const HostPaths hostPaths;
    const detail::PoweredCall powered;
    if (!powered) {
        errno = ENODEV;
        return failure;
    }
    const detail::TakenFault stFault = detail::takeFault(pszCall);
    Result result{};
    if (!stFault.bTaken || eOnFault == OnFault::act) {
        result = detail::act(body, failure);
    }
    if (stFault.bTaken) {
        result = detail::faultResult<Result>(stFault);
        errno = stFault.s32Errno;
    }
    const int s32Errno = errno;
    // Functions that answer a code leave errno alone.
    const bool bFailed = detail::isFailure(result);
    const bool bHasErrno = bFailed && (std::is_pointer_v<Result> || std::is_signed_v<Result>);
    detail::record(pszCall, arguments,
                   {detail::journalResult(result), stFault.bTaken, bFailed, bHasErrno ? s32Errno : 0});
    errno = s32Errno;
    return result;
}

}  // namespace vset

#endif
