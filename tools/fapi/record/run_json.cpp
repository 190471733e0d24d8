// SPDX-License-Identifier: Apache-2.0
// Runs of a results store as JSON.
#include "record/run_json.h"

#include <algorithm>

#include "record/identity.h"

namespace tool {

namespace {

template <class Value>
Json jsonOf(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

template <class Value>
Json jsonOf(const Value& value) {
    return value;
}

// What a column holds as a text of JSON.
Json structureOf(const std::string& text) {
    Json json = Json::parse(text, nullptr, false);
    return json.is_discarded() ? Json(text) : json;
}

// Without the columns that say where the row belongs, when it is there.
template <class Row>
Json rowJson(const Row& row, std::initializer_list<std::string_view> without = {}) {
    Json json = Json::object();
    auto column = [&](std::string_view name, const auto& value) {
        if (std::find(without.begin(), without.end(), name) == without.end()) {
            json[std::string(name)] = jsonOf(value);
        }
    };
    Row::visit(column, row);
    return json;
}

template <class Row>
Json listOf(const std::vector<Row>& rows, long long step) {
    Json list = Json::array();
    for (const Row& row : rows) {
        if (row.step == step) {
            list.push_back(rowJson(row, {"run", "step"}));
        }
    }
    return list;
}

}  // namespace

Json runJson(const RunRecord& run) {
    Json json = rowJson(run);
    json["parameters"] = structureOf(run.parameters);
    json["when"] = localText(run.began, run.utcOffset);
    return json;
}

Json runJson(const WholeRun& run) {
    Json json = runJson(run.run);
    json["steps"] = Json::array();
    for (const StepRecord& step : run.parts.steps) {
        Json told = rowJson(step, {"run"});
        told["attempts"] = listOf(run.parts.attempts, step.number);
        told["measurements"] = listOf(run.parts.measurements, step.number);
        json["steps"].push_back(std::move(told));
    }
    json["attachments"] = Json::array();
    for (const AttachmentRecord& attachment : run.parts.attachments) {
        json["attachments"].push_back(rowJson(attachment, {"run"}));
    }
    json["events"] = Json::array();
    for (const EventRecord& event : run.parts.events) {
        json["events"].push_back(rowJson(event, {"run"}));
        json["events"].back()["data"] = structureOf(event.data);
    }
    return json;
}

}  // namespace tool
