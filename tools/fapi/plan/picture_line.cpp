// SPDX-License-Identifier: Apache-2.0
// "picture" in plans.
#include "plan/picture_line.h"

#include "judge/variables.h"
#include "target/target_description.h"

namespace tool {

bool isFileName(const std::string& word) {
    return !word.empty() &&
           word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-") ==
               std::string::npos;
}

PictureLine parsePicture(const Words& words) {
    if (words.size() < 2 || words.size() > 3 || !isFileName(words[1])) {
        throw UsageError("expected: picture NAME [WHAT] (a name of letters, digits, _ and -)",
                         words.size() > 3 ? 3 : 1);
    }
    const bool isKnown = words.size() == 3 && variablesOf(words[2]).empty();
    try {
        const std::string what = isKnown ? words[2] : kPanel;
        parsePictureWord(description().pictures, what);
        return {words[1], what};
    } catch (const UsageError& error) {
        throw UsageError(error.what(), 2);
    }
}

}  // namespace tool
