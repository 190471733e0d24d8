// SPDX-License-Identifier: Apache-2.0
#include "vset_misbehaviour.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <optional>
#include <sstream>
#include <thread>

#include "vset_call.h"

namespace vset {

namespace {

// A number within the arguments of a call.
struct Place {
    std::size_t argument = 0;
    // The offsets at which addresses are followed; the argument itself is meant when there are none.
    std::vector<std::size_t> offsets;
    unsigned int u32Width = 4;
};

enum class Operation { set, add, flip };

struct Change {
    bool bInput = false;
    Place place;
    Operation eOperation = Operation::set;
    std::uint64_t u64Value = 0;
};

struct Condition {
    Place place;
    std::uint64_t u64Value = 0;
};

}  // namespace

struct detail::Misbehaviour {
    std::string strCall;
    unsigned int u32From = 1;
    unsigned int u32Times = 0;  // 0: all from then on
    std::vector<Condition> conditions;
    std::vector<Change> changes;
    std::optional<long long> s64Instead;
    std::optional<long long> s64Then;
    std::chrono::milliseconds wait{0};
    mutable unsigned int u32Seen = 0;
};

std::atomic<std::size_t> detail::misbehaviourCount{0};

namespace {

constexpr char kVariable[] = "VSET_MISBEHAVIOUR";
constexpr std::uint64_t kPageSize = 4096;

struct Misbehaviours {
    std::mutex mutex;
    std::vector<detail::Misbehaviour> all;
};

Misbehaviours& theMisbehaviours() {
    static Misbehaviours& misbehaviours = *new Misbehaviours;
    return misbehaviours;
}

// Reads the words of one misbehaviour.
class MisbehaviourText {
public:
    explicit MisbehaviourText(const std::string& strText) : _strText(strText), _stream(strText) {}

    detail::Misbehaviour read() {
        detail::Misbehaviour st;
        st.strCall = word("the name of a function");
        if (!std::binary_search(faultNames().begin(), faultNames().end(), st.strCall)) {
            fail("no such middleware function: " + st.strCall);
        }
        std::string strWord;
        while (_stream >> strWord) {
            readPart(strWord, st);
        }
        return st;
    }

private:
    void readPart(const std::string& strWord, detail::Misbehaviour& st) {
        if (strWord == "from") {
            st.u32From = static_cast<unsigned int>(number());
        } else if (strWord == "times") {
            st.u32Times = static_cast<unsigned int>(number());
        } else if (strWord == "when") {
            const Place place = readPlace();
            st.conditions.push_back({place, static_cast<std::uint64_t>(number())});
        } else if (strWord == "input" || strWord == "output") {
            st.changes.push_back(readChange(strWord == "input"));
        } else if (strWord == "instead") {
            st.s64Instead = number();
        } else if (strWord == "then") {
            st.s64Then = number();
        } else if (strWord == "wait") {
            st.wait = std::chrono::milliseconds(number());
        } else {
            fail("unknown word " + strWord);
        }
    }

    Change readChange(bool bInput) {
        Change stChange;
        stChange.bInput = bInput;
        stChange.place = readPlace();
        const std::string strOperation = word("set, add or flip");
        stChange.eOperation = strOperation == "set"    ? Operation::set
                              : strOperation == "add"  ? Operation::add
                              : strOperation == "flip" ? Operation::flip
                                                       : fail("expected set, add or flip, not " + strOperation);
        stChange.u64Value = static_cast<std::uint64_t>(number());
        return stChange;
    }

    // ARGUMENT[>OFFSET...][:BYTES]
    Place readPlace() {
        Place place;
        std::istringstream stream(word("a place"));
        char cMark = 0;
        stream >> place.argument;
        while (stream && stream >> cMark) {
            std::size_t number = 0;
            if ((cMark != '>' && cMark != ':') || !(stream >> number)) {
                fail("a place is ARGUMENT[>OFFSET...][:BYTES]");
            }
            if (cMark == '>') {
                place.offsets.push_back(number);
            } else {
                place.u32Width = static_cast<unsigned int>(number);
            }
        }
        if (place.u32Width != 1 && place.u32Width != 2 && place.u32Width != 4 && place.u32Width != 8) {
            fail("a place has 1, 2, 4 or 8 bytes");
        }
        return place;
    }

    long long number() {
        const std::string strWord = word("a number");
        char* pcEnd = nullptr;
        const long long s64Number = std::strtoll(strWord.c_str(), &pcEnd, 0);
        return *pcEnd == '\0' ? s64Number : fail("expected a number, not " + strWord);
    }

    std::string word(const char* pszExpected) {
        std::string strWord;
        if (!(_stream >> strWord)) {
            fail(std::string("expected ") + pszExpected + " at its end");
        }
        return strWord;
    }

    // Converts to whatever was to be read.
    struct Nothing {
        template <class Any>
        operator Any() const {
            return Any{};
        }
    };
    [[noreturn]] Nothing fail(const std::string& strWhy) const {
        throw SetError(std::string(kVariable) + ": " + _strText + ": " + strWhy);
    }

    const std::string _strText;
    std::istringstream _stream;
};

// Returns null where an address on the way is none.
void* find(const Place& place, const std::uint64_t* pArguments, std::size_t arguments) {
    if (place.argument >= arguments || place.offsets.empty()) {
        return nullptr;
    }
    std::uint64_t u64Address = pArguments[place.argument];
    for (std::size_t i = 0;; ++i) {
        if (u64Address < kPageSize) {
            return nullptr;
        }
        auto* const pu8Place = reinterpret_cast<unsigned char*>(u64Address) + place.offsets[i];
        if (i + 1 == place.offsets.size()) {
            return pu8Place;
        }
        std::memcpy(&u64Address, pu8Place, sizeof(u64Address));
    }
}

std::uint64_t load(const void* pPlace, unsigned int u32Width) {
    std::uint64_t u64Value = 0;
    std::memcpy(&u64Value, pPlace, u32Width);
    return u64Value;
}

bool holds(const Condition& stCondition, const std::uint64_t* pArguments, std::size_t arguments) {
    const unsigned int u32Width = stCondition.place.u32Width;
    std::uint64_t u64Value = 0;
    if (const void* pPlace = find(stCondition.place, pArguments, arguments); pPlace != nullptr) {
        u64Value = load(pPlace, u32Width);
    } else if (stCondition.place.offsets.empty() && stCondition.place.argument < arguments) {
        std::memcpy(&u64Value, &pArguments[stCondition.place.argument], u32Width);
    } else {
        return false;
    }
    std::uint64_t u64Wanted = 0;
    std::memcpy(&u64Wanted, &stCondition.u64Value, u32Width);
    return u64Value == u64Wanted;
}

}  // namespace

void detail::readMisbehaviours() {
    const char* pszText = std::getenv(kVariable);
    Misbehaviours& misbehaviours = theMisbehaviours();
    const std::lock_guard<std::mutex> lock(misbehaviours.mutex);
    misbehaviours.all.clear();
    std::istringstream texts(pszText != nullptr ? pszText : "");
    for (std::string strText; std::getline(texts, strText, ';');) {
        misbehaviours.all.push_back(MisbehaviourText(strText).read());
    }
    misbehaviourCount = misbehaviours.all.size();
}

void detail::MisbehavingCall::begin(const char* pszCall, const std::uint64_t* pArguments, std::size_t arguments) {
    Misbehaviours& misbehaviours = theMisbehaviours();
    {
        const std::lock_guard<std::mutex> lock(misbehaviours.mutex);
        for (const Misbehaviour& st : misbehaviours.all) {
            const bool bMeant = st.strCall == pszCall && std::all_of(st.conditions.begin(), st.conditions.end(),
                                                                     [&](const Condition& condition) {
                                                                         return holds(condition, pArguments, arguments);
                                                                     });
            if (bMeant && ++st.u32Seen >= st.u32From && (st.u32Times == 0 || st.u32Seen - st.u32From < st.u32Times)) {
                _pTaken = &st;
                break;
            }
        }
    }
    if (_pTaken == nullptr) {
        return;
    }
    _pArguments = pArguments;
    _arguments = arguments;
    std::this_thread::sleep_for(_pTaken->wait);
    change(true);
}

bool detail::MisbehavingCall::replaces() const {
    return _pTaken != nullptr && _pTaken->s64Instead.has_value();
}

long long detail::MisbehavingCall::answer() const {
    return _pTaken->s64Instead ? *_pTaken->s64Instead : *_pTaken->s64Then;
}

bool detail::MisbehavingCall::finish(bool bDone) {
    putBack();
    if (bDone) {
        change(false);
    }
    return _pTaken->s64Instead.has_value() || _pTaken->s64Then.has_value();
}

void detail::MisbehavingCall::change(bool bInput) {
    for (const Change& stChange : _pTaken->changes) {
        void* const pPlace = stChange.bInput == bInput ? find(stChange.place, _pArguments, _arguments) : nullptr;
        if (pPlace == nullptr) {
            continue;
        }
        const unsigned int u32Width = stChange.place.u32Width;
        const std::uint64_t u64Before = load(pPlace, u32Width);
        const std::uint64_t u64After = stChange.eOperation == Operation::set   ? stChange.u64Value
                                       : stChange.eOperation == Operation::add ? u64Before + stChange.u64Value
                                                                               : u64Before ^ stChange.u64Value;
        if (bInput) {
            _before.push_back({pPlace, u64Before, u32Width});
        }
        std::memcpy(pPlace, &u64After, u32Width);
    }
}

void detail::MisbehavingCall::putBack() {
    for (const Before& stBefore : _before) {
        std::memcpy(stBefore.pPlace, &stBefore.u64Value, stBefore.u32Width);
    }
    _before.clear();
}

}  // namespace vset
