// SPDX-License-Identifier: Apache-2.0
// The table of actions as a whole, and one of them done.
#include "actions/action.h"

#include <algorithm>

#include "vset/vset.h"

namespace tool {

ActionRow::ActionRow(const char* word, const char* line, std::vector<Argument> takes, std::vector<Output> answers,
                     Run run)
    : _run(run) {
    name = word;
    help = line;
    arguments = std::move(takes);
    outputs = std::move(answers);
    danger = help.rfind("Show ", 0) == 0 ? Danger::reads : Danger::changes;
}

ActionRow&& ActionRow::inSession() && {
    sessionOnly = true;
    return std::move(*this);
}

ActionRow&& ActionRow::endingWorker() && {
    endsWorker = true;
    return std::move(*this);
}

ActionRow&& ActionRow::checkedBy(Check together) && {
    _check = together;
    isChecked = true;
    return std::move(*this);
}

ActionRow&& ActionRow::asking(const char* sentence) && {
    prompt = sentence;
    return std::move(*this);
}

Outcome ActionRow::perform(const std::vector<Value>& values) const {
    Call call(values);
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
