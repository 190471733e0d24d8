// SPDX-License-Identifier: Apache-2.0
#include "cli/option_checks.h"

#include <map>
#include <string>

#include "base/terminal.h"
#include "target/output.h"

namespace tool {

CLI::Validator numberUpTo(long long max, long long min) {
    const auto check = [max, min](const std::string& word) {
        long long number = 0;
        return parseNumber(word, number) && number >= min && number <= max
                   ? std::string()
                   : "is " + display(word, 40) + ", expected a number from " + std::to_string(min) + " to " +
                         std::to_string(max);
    };
    return CLI::Validator(check, "");
}

CLI::Validator seconds() {
    const auto check = [](const std::string& word) {
        double number = 0;
        return CLI::detail::lexical_cast(word, number) && number >= 0
                   ? std::string()
                   : "is " + display(word, 40) + ", expected seconds, such as 2 or 0.5";
    };
    return CLI::Validator(check, "");
}

CLI::Validator colorUse() {
    const auto check = [](const std::string& word) {
        const std::map<std::string, ColorUse> uses = {
            {"auto", ColorUse::automatic}, {"always", ColorUse::always}, {"never", ColorUse::never}};
        const auto use = uses.find(word);
        if (use == uses.end()) {
            return "is " + display(word, 40) + ", expected auto, always or never";
        }
        useColors(use->second);
        return std::string();
    };
    return CLI::Validator(check, "");
}

CLI::Validator notEmpty() {
    const auto check = [](const std::string& word) { return std::string(word.empty() ? "a file is missing" : ""); };
    return CLI::Validator(check, "");
}

}  // namespace tool
