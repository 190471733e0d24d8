// SPDX-License-Identifier: Apache-2.0
// The text of a field as JSON.
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "protocol/characters.h"
#include "protocol/field.h"

namespace tool {

class JsonWriter {
public:
    explicit JsonWriter(bool asciiOnly) : _asciiOnly(asciiOnly) { _text.reserve(kUsualLength); }

    void write(const Field& field) {
        std::visit([&](const auto& value) { writeValue(value, field._ofSet); }, field._value);
    }
    std::string take() { return std::move(_text); }

private:
    void writeValue(std::monostate, bool) { _text += "null"; }
    void writeValue(bool flag, bool) { _text += flag ? "true" : "false"; }
    void writeValue(long long number, bool) { _text += std::to_string(number); }
    void writeValue(double fraction, bool) {
        _text += std::isfinite(fraction) ? nlohmann::json(fraction).dump() : "null";
    }
    void writeValue(const std::string& text, bool ofSet) {
        if (ofSet) {
            writeBytes(Bytes(text.begin(), text.end()), ",\"text\":true");
        } else {
            writeText(text);
        }
    }
    void writeValue(const Bytes& bytes, bool) { writeBytes(bytes, ""); }
    void writeValue(const Field::List& list, bool) {
        _text += '[';
        for (const Field& field : list) {
            _text += &field == list.data() ? "" : ",";
            write(field);
        }
        _text += ']';
    }
    void writeValue(const Field::Fields& fields, bool) {
        const bool isLikeBytes = looksLikeBytes(fields);
        _text += '{';
        for (const auto& field : fields) {
            _text += &field == fields.data() ? "" : ",";
            writeText(field.first);
            _text += ':';
            if (isLikeBytes && field.second.isText()) {
                writeValue(field.second.text(), true);
            } else {
                write(field.second);
            }
        }
        _text += '}';
    }

    // Whether a reader would take the fields for bytes, or for a text of a set.
    static bool looksLikeBytes(const Field::Fields& fields) {
        const auto isText = [](const auto& field) { return field.first == "bytes" && field.second.isText(); };
        const auto isMark = [](const auto& field) { return field.first == "text" && field.second == Field(true); };
        return (fields.size() == 1 && isText(fields[0])) ||
               (fields.size() == 2 && isText(fields[0]) && isMark(fields[1]));
    }

    void writeBytes(const Bytes& bytes, const char* mark) {
        _text.append("{\"bytes\":\"").append(toBase64(bytes)).append("\"").append(mark).append("}");
    }

    void writeText(std::string_view text) {
        _text += '"';
        while (!text.empty()) {
            std::size_t plain = 0;
            while (plain < text.size() && isPlain(text[plain])) {
                ++plain;
            }
            _text += text.substr(0, plain);
            text.remove_prefix(plain);
            if (!text.empty()) {
                writeCharacter(takeCharacter(text));
            }
        }
        _text += '"';
    }
    static bool isPlain(char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; }
    void writeCharacter(const Character& character) {
        const char32_t code = character.code == kNoCharacter ? 0xFFFD : character.code;
        if (code == '"' || code == '\\') {
            _text += {'\\', static_cast<char>(code)};
        } else if (code >= 0x10000 && _asciiOnly) {
            writeUnit((code - 0x10000) >> 10 | 0xD800u);
            writeUnit(((code - 0x10000) & 0x3FF) | 0xDC00u);
        } else if (code <= 0x7F || _asciiOnly) {
            writeUnit(code);
        } else {
            _text += character.code == kNoCharacter ? "\xEF\xBF\xBD" : character.bytes;
        }
    }
    void writeUnit(char32_t unit) {
        char escape[8];
        std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned int>(unit & 0xFFFF));
        _text += escape;
    }

    static constexpr std::size_t kUsualLength = 256;

    const bool _asciiOnly;
    std::string _text;
};

std::string toJsonText(const Field& field, bool asciiOnly) {
    JsonWriter writer(asciiOnly);
    writer.write(field);
    return writer.take();
}

}  // namespace tool
