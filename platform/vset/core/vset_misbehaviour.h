// SPDX-License-Identifier: Apache-2.0
// Calls that the set answers wrongly on purpose, so that a test sees who notices.
#ifndef VSET_MISBEHAVIOUR_H
#define VSET_MISBEHAVIOUR_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vset/vset.h"

namespace vset::detail {

struct Misbehaviour;

// How many there are. Read on every call, because there are none but in tests.
VSET_API extern std::atomic<std::size_t> misbehaviourCount;

// What becomes of one call.
class VSET_API MisbehavingCall {
public:
    // The arguments are numbers, or addresses. Changes what the model is given, and waits, if it was told to.
    MisbehavingCall(const char* pszCall, const std::uint64_t* pArguments, std::size_t arguments) {
        if (misbehaviourCount.load(std::memory_order_relaxed) != 0) {
            begin(pszCall, pArguments, arguments);
        }
    }
    // Puts the arguments back.
    ~MisbehavingCall() {
        if (_pTaken != nullptr) {
            putBack();
        }
    }
    MisbehavingCall(const MisbehavingCall&) = delete;
    MisbehavingCall& operator=(const MisbehavingCall&) = delete;

    // Whether the model is to do nothing.
    bool replaces() const;
    // Whether answer() is the call's result. `bDone`: the model has done its work, and its outputs are changed.
    bool end(bool bDone) { return _pTaken != nullptr && finish(bDone); }
    long long answer() const;

private:
    struct Before {
        void* pPlace;
        std::uint64_t u64Value;
        unsigned int u32Width;
    };

    void begin(const char* pszCall, const std::uint64_t* pArguments, std::size_t arguments);
    bool finish(bool bDone);
    void change(bool bInput);
    void putBack();

    const Misbehaviour* _pTaken = nullptr;
    const std::uint64_t* _pArguments = nullptr;
    std::size_t _arguments = 0;
    std::vector<Before> _before;
};

// Reads $VSET_MISBEHAVIOUR in place of all misbehaviours of before. Throws SetError.
void readMisbehaviours();

}  // namespace vset::detail

#endif
