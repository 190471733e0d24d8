// SPDX-License-Identifier: Apache-2.0
// Records as lines of text.
#include "plan_record.h"

namespace tool {

std::string encode(const Record& record) {
    // An array is read and written faster than an object, and a plan may have many steps.
    const Position& position = record.position;
    Json json = Json::array({static_cast<int>(record.kind), position.step, position.line, position.attempt,
                             position.stopped, static_cast<int>(position.judgement.verdict), position.judgement.text,
                             record.seconds, record.text});
    if (record.kind == RecordKind::powerCycle) {
        json.push_back(position.variables);
    } else if (!record.command.is_null()) {
        json.push_back(record.command);
    }
    return jsonLine(json) + '\n';
}

Record decode(const std::string& line) {
    Json json = Json::parse(line);
    Record record;
    record.kind = static_cast<RecordKind>(json.at(0).get<int>());
    Position& position = record.position;
    position.step = json.at(1).get<std::size_t>();
    position.line = json.at(2).get<std::size_t>();
    position.attempt = json.at(3).get<unsigned int>();
    position.stopped = json.at(4).get<bool>();
    position.judgement = {static_cast<Verdict>(json.at(5).get<int>()), json.at(6).get<std::string>()};
    record.seconds = json.at(7).get<double>();
    record.text = json.at(8).get<std::string>();
    if (json.size() > 9) {
        if (record.kind == RecordKind::powerCycle) {
            position.variables = json.at(9).get<Variables>();
        } else {
            record.command = std::move(json.at(9));
        }
    }
    return record;
}

}  // namespace tool
