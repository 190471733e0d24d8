// SPDX-License-Identifier: Apache-2.0
// Records as lines of text.
#include "record/record.h"

namespace tool {

Json encodeValue(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return "text " + hexText(Bytes(text->begin(), text->end()), "");
    }
    if (const auto* bytes = std::get_if<Bytes>(&value)) {
        return "bytes " + hexText(*bytes, "");
    }
    return std::get<long long>(value);
}

Value decodeValue(const Json& json) {
    if (!json.is_string()) {
        return json.get<long long>();
    }
    const auto& text = json.get_ref<const std::string&>();
    const std::size_t blank = text.find(' ');
    const Bytes bytes = parseBytes("hex:" + text.substr(blank + 1));
    if (text[0] == 'b') {
        return bytes;
    }
    return std::string(bytes.begin(), bytes.end());
}

std::string encode(const Record& record) {
    // An array is read and written faster than an object, and a plan may have many steps.
    const Position& position = record.position;
    Json json =
        Json::array({static_cast<int>(record.kind), position.step, position.line, position.attempt, position.stopped,
                     static_cast<int>(position.judgement.verdict), position.judgement.text,
                     position.start.time_since_epoch().count(), record.seconds, record.text, position.faultCalls});
    if (record.kind == RecordKind::command) {
        Json kept = Json::object();
        for (const auto& [name, value] : record.kept) {
            kept[name] = encodeValue(value);
        }
        json.push_back(std::move(kept));
        json.push_back(record.command);
    }
    return jsonLine(json) + '\n';
}

Record decode(const std::string& line) {
    Json json = parseJson(line);
    Record record;
    record.kind = static_cast<RecordKind>(json.at(0).get<int>());
    Position& position = record.position;
    position.step = json.at(1).get<std::size_t>();
    position.line = json.at(2).get<std::size_t>();
    position.attempt = json.at(3).get<unsigned int>();
    position.stopped = json.at(4).get<bool>();
    position.judgement = {static_cast<Verdict>(json.at(5).get<int>()), json.at(6).get<std::string>()};
    position.start = Clock::time_point(Clock::duration(json.at(7).get<Clock::rep>()));
    record.seconds = json.at(8).get<double>();
    record.text = json.at(9).get<std::string>();
    position.faultCalls = json.at(10).get<std::vector<unsigned int>>();
    if (record.kind == RecordKind::command) {
        for (const auto& [name, value] : json.at(11).items()) {
            record.kept[name] = decodeValue(value);
        }
        record.command = std::move(json.at(12));
    }
    return record;
}

}  // namespace tool
