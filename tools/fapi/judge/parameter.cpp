// SPDX-License-Identifier: Apache-2.0
// Parameters of plans: how they are read, and which values they take.
#include "judge/parameter.h"

#include <algorithm>

namespace tool {

namespace {

// The standard library reads and matches regular expressions recursively: more would need more stack than there is.
constexpr std::size_t kLongestExpression = 256;

}  // namespace

std::regex parsePattern(const std::string& text) {
    if (text.size() > kLongestExpression) {
        throw UsageError("the regular expression has more than " + std::to_string(kLongestExpression) + " characters");
    }
    try {
        return std::regex(text, std::regex::ECMAScript | std::regex::optimize);
    } catch (const std::regex_error& error) {
        throw UsageError(display(text, 40) + " is no regular expression: " + error.what());
    }
}

bool hasPattern(const std::string& text, const std::regex& pattern) {
    return text.size() <= kLongestValue && std::regex_search(text, pattern);
}

PlanParameter parseParameter(const Words& words) {
    PlanParameter parameter;
    if (words.size() > 1) {
        parameter.name = words[1];
    }
    std::size_t i = 2;
    for (; i + 2 < words.size(); i += 2) {
        if (words[i] == "default") {
            parameter.fallback = words[i + 1];
        } else if (words[i] == "matches") {
            parameter.pattern = words[i + 1];
            try {
                parameter.expression = parsePattern(parameter.pattern);
            } catch (const UsageError& error) {
                throw UsageError(error.what(), i + 1);
            }
        } else {
            const std::string near = nearest(words[i], {"default", "matches"});
            throw UsageError(display(words[i], 40) + ": expected matches RE, default VALUE, or what it is as one word" +
                                 (near.empty() ? "" : "; did you mean " + near + "?"),
                             i);
        }
    }
    if (i + 1 != words.size() || words[i].empty()) {
        throw UsageError("expected: param NAME [matches RE] [default VALUE] \"what it is\"", std::min(i, words.size()));
    }
    parameter.what = words[i];
    if (parameter.fallback) {
        checkValue(parameter, *parameter.fallback);
    }
    return parameter;
}

void checkValue(const PlanParameter& parameter, const std::string& value) {
    if (!parameter.pattern.empty() && !hasPattern(value, parameter.expression)) {
        throw UsageError(parameter.name + " is " + display(value, 60) + ", expected something that matches " +
                         display(parameter.pattern, 200) + " (" + parameter.what + ")");
    }
}

void requireParameter(const std::vector<PlanParameter>& parameters, const std::string& name) {
    std::vector<std::string> names;
    names.reserve(parameters.size());
    for (const PlanParameter& parameter : parameters) {
        names.push_back(parameter.name);
    }
    if (std::count(names.begin(), names.end(), name) != 0) {
        return;
    }
    const std::string near = nearest(name, names);
    throw UsageError("no such parameter: " + display(name, 40) + (near.empty() ? "" : ", did you mean " + near + "?"));
}

ParameterValues completeValues(const std::vector<PlanParameter>& parameters, const ParameterValues& given) {
    ParameterValues values;
    for (const PlanParameter& parameter : parameters) {
        const auto found = given.find(parameter.name);
        if (found == given.end() && !parameter.fallback) {
            throw UsageError("parameter " + parameter.name + " has no value (" + parameter.what +
                             "); give it with --param " + parameter.name + "=VALUE");
        }
        const std::string& value = found != given.end() ? found->second : *parameter.fallback;
        checkValue(parameter, value);
        values[parameter.name] = value;
    }
    return values;
}

}  // namespace tool
