// SPDX-License-Identifier: Apache-2.0
// What the page's script reads.
#include "serve/page_json.h"

namespace tool {

Json jsonOf(const Field& field) {
    Json json;
    if (field.isList()) {
        json = Json::array();
        for (const Field& item : field.list()) {
            json.push_back(jsonOf(item));
        }
    } else if (field.isObject()) {
        json = Json::object();
        for (const auto& [name, value] : field.fields()) {
            json[name] = jsonOf(value);
        }
    } else if (field.isFlag()) {
        json = field.flag();
    } else if (field.isText() || field.isNumber() || field.isBytes()) {
        json = toJson(field.value());
    } else if (!field.isNull()) {
        json = field.fraction();
    }
    return json;
}

WebAnswer jsonAnswer(const Json& json) {
    return {200, "application/json", jsonLine(json), {}};
}

WebAnswer errorAnswer(unsigned int status, const std::string& text) {
    return {status, "application/json", jsonLine({{"error", text}}), {}};
}

}  // namespace tool
