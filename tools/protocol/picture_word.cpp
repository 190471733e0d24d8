// SPDX-License-Identifier: Apache-2.0
// Which picture of the set a word names.
#include "protocol/description.h"

namespace tool {

namespace {

[[noreturn]] void refuse(const std::vector<PictureKind>& kinds, const std::string& word) {
    if (kinds.empty()) {
        throw UsageError("this set's agent has no pictures");
    }
    std::string expected;
    for (const PictureKind& kind : kinds) {
        expected += (expected.empty() ? "" : ", ") + kind.name;
        if (!kind.number.empty()) {
            expected += ":" + kind.number + " (0 to " + std::to_string(kind.max) + ")";
        }
    }
    throw UsageError("WHAT is " + display(word, 40) + ", expected one of " + expected);
}

}  // namespace

PictureWord parsePictureWord(const std::vector<PictureKind>& kinds, const std::string& word) {
    const std::size_t colon = word.find(':');
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const PictureKind& kind = kinds[i];
        if (word.compare(0, colon, kind.name) != 0 || (colon == std::string::npos) != kind.number.empty()) {
            continue;
        }
        long long number = 0;
        if (!kind.number.empty() && (!parseNumber(word.substr(colon + 1), number) || number < 0 || number > kind.max)) {
            refuse(kinds, word);
        }
        return {i, number};
    }
    refuse(kinds, word);
}

}  // namespace tool
