// SPDX-License-Identifier: Apache-2.0
// Values as JSON.
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

}  // namespace tool
