// SPDX-License-Identifier: Apache-2.0
// The operation table as a whole, and a call of one of its rows.
#include "operations/operation.h"

#include <algorithm>
#include <unordered_map>

#include "actions/middleware_words.h"
#include "vset/vset.h"

namespace tool {

namespace {

constexpr std::string_view kPrefix = "a_vextvfapi_";
constexpr const char* kSystemInit = "a_vextvfapi_sys_init";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string moduleOf(std::string_view name) {
    name.remove_prefix(name.front() == '_' ? 1 : 0);
    if (name.compare(0, kPrefix.size(), kPrefix) != 0) {
        return "common";
    }
    name.remove_prefix(kPrefix.size());
    const std::string_view module = name.substr(0, name.find('_'));
    // The display's writer of BMP files does not name its module.
    return std::string(module == "output" ? "disp" : module);
}

bool onlyAsks(std::string_view name) {
    constexpr std::string_view kAsking[] = {"_get_", "_check_", "_read_", "_bytes_to_", "_hw_err_msg", "_sys_convert_"};
    return std::any_of(std::begin(kAsking), std::end(kAsking),
                       [&](std::string_view part) { return name.find(part) != std::string_view::npos; });
}

// Each operation needs the system module, and its own one where that has an init.
void addNeeds(std::vector<OperationRow>& rows) {
    std::vector<std::string> inits;
    for (const OperationRow& row : rows) {
        if (row.initialises && row.name == std::string(kPrefix) + row.module + "_init") {
            inits.push_back(row.name);
        }
    }
    for (OperationRow& row : rows) {
        row.needs = {kSystemInit};
        const std::string own = std::string(kPrefix) + row.module + "_init";
        if (own != kSystemInit && std::find(inits.begin(), inits.end(), own) != inits.end()) {
            row.needs.push_back(own);
        }
        row.needs.erase(std::remove(row.needs.begin(), row.needs.end(), row.name), row.needs.end());
    }
}

std::vector<OperationRow> allOperations() {
    std::vector<OperationRow> all;
    for (std::vector<OperationRow> some :
         {audOperations(), chipOperations(), commonOperations(), dispOperations(), dispPictureOperations(),
          disptstOperations(), eventOperations(), hdmiOperations(), iicAndGpioOperations(), infoOperations(),
          inpsrcOperations(), keypadOperations(), netOperations(), prphrlOperations(), storageOperations(),
          sysOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(all));
    }
    std::sort(all.begin(), all.end(), [](const Operation& left, const Operation& right) {
        return left.module != right.module ? left.module < right.module : left.name < right.name;
    });
    addNeeds(all);
    return all;
}

}  // namespace

OperationRow::OperationRow(const char* fullName, const char* line, Result kind, std::vector<Argument> takes,
                           std::vector<Output> answers, Run run)
    : _run(run) {
    name = fullName;
    help = line;
    result = kind;
    arguments = std::move(takes);
    outputs = std::move(answers);
    module = moduleOf(name);
    danger = onlyAsks(name) ? Danger::reads : Danger::changes;
    initialises = endsWith(name, "_init");
    resets = endsWith(name, "_deinit");
    readsLogSwitch = name == kSystemInit || name == "_a_vextvfapi_common_init";
}

OperationRow&& OperationRow::destroying(const char* what) && {
    destroys = what;
    danger = Danger::destroys;
    return std::move(*this);
}

OperationRow&& OperationRow::mustFinish() && {
    danger = Danger::mustFinish;
    return std::move(*this);
}

OperationRow&& OperationRow::checkedBy(Check together) && {
    _check = together;
    isChecked = true;
    return std::move(*this);
}

OperationRow&& OperationRow::verifiedBy(Verify verify) && {
    _verify = verify;
    return std::move(*this);
}

OperationRow&& OperationRow::warning(Warning saying) && {
    _warning = saying;
    isChecked = true;
    return std::move(*this);
}

OperationRow&& OperationRow::usedFor(const char* what) && {
    use = what;
    return std::move(*this);
}

OperationRow&& OperationRow::example(const char* line, std::vector<std::string> before) && {
    Operation::example.line = line;
    Operation::example.before = std::move(before);
    return std::move(*this);
}

OperationRow&& OperationRow::failing(const char* why) && {
    Operation::example.failure = why;
    return std::move(*this);
}

Outcome OperationRow::invoke(const std::vector<Value>& values) const {
    Call call(values);
    const std::uint64_t before = vset::lastCall(), refusedBefore = vset::refusalCount();
    const long long status = _run(call);
    const bool isVerified = _verify == nullptr || _verify(call);
    Outcome outcome = call.take();
    outcome.status = status;
    outcome.good = isGood(result, status) && isVerified;
    if (!outcome.good) {
        outcome.failedCalls = failedCalls(before);
    }
    outcome.refusals = refusedCalls(refusedBefore, this);
    return outcome;
}

void OperationRow::check(const std::vector<Value>& values, const std::vector<std::string>& words) const {
    if (_check != nullptr) {
        _check(values, words);
    }
}

std::string OperationRow::warningOf(const std::vector<Value>& values, const std::vector<Value>& first) const {
    return _warning != nullptr ? _warning(values, first) : std::string();
}

const std::vector<OperationRow>& operationRows() {
    static const std::vector<OperationRow> all = allOperations();
    return all;
}

const OperationRow* findOperationRow(std::string_view name) {
    static const std::unordered_map<std::string, const OperationRow*> byName = [] {
        std::unordered_map<std::string, const OperationRow*> names;
        for (const OperationRow& row : operationRows()) {
            names.emplace(row.name, &row);
            names.emplace(row.shortName(), &row);
        }
        return names;
    }();
    const auto found = byName.find(std::string(name));
    return found != byName.end() ? found->second : nullptr;
}

}  // namespace tool
