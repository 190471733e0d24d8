// SPDX-License-Identifier: Apache-2.0
// The table of actions as a whole, and one of them done.
#include "actions/action.h"

#include <algorithm>

#include "vset/vset.h"

namespace tool {

ActionRow::ActionRow(const char* name, const char* help, std::vector<Argument> arguments, std::vector<Output> outputs,
                     Run run)
    : _run(run) {
    this->name = name;
    this->help = help;
    this->arguments = std::move(arguments);
    this->outputs = std::move(outputs);
    danger = this->help.rfind("Show ", 0) == 0 ? Danger::reads : Danger::changes;
}

ActionRow&& ActionRow::inSession() && {
    sessionOnly = true;
    return std::move(*this);
}

ActionRow&& ActionRow::endingWorker() && {
    endsWorker = true;
    return std::move(*this);
}

ActionRow&& ActionRow::checkedBy(Check check) && {
    _check = check;
    isChecked = true;
    return std::move(*this);
}

ActionRow&& ActionRow::asking(const char* sentence) && {
    prompt = sentence;
    return std::move(*this);
}

Outcome ActionRow::perform(const std::vector<Value>& arguments) const {
    Call call(arguments);
    try {
        _run(call);
        return call.take();
    } catch (const vset::SetError& error) {
        call.out("error", std::string(error.what()));
        Outcome outcome = call.take();
        outcome.status = -1;
        outcome.good = false;
        return outcome;
    }
}

void ActionRow::check(const std::vector<Value>& values, const std::vector<std::string>& words) const {
    if (_check != nullptr) {
        _check(values, words);
    }
}

const std::vector<ActionRow>& actionRows() {
    static const std::vector<ActionRow> all = [] {
        std::vector<ActionRow> rows;
        for (std::vector<ActionRow> some :
             {fileActions(), boardActions(), chipActions(), displayActions(), hdmiActions(), identityActions(),
              inputActions(), middlewareActions(), panelActions(), pictureActions(), playerActions(), serialActions(),
              soundActions()}) {
            std::move(some.begin(), some.end(), std::back_inserter(rows));
        }
        return rows;
    }();
    return all;
}

const ActionRow* findActionRow(std::string_view name) {
    const auto& rows = actionRows();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const ActionRow& row) { return row.name == name; });
    return found != rows.end() ? &*found : nullptr;
}

}  // namespace tool
