// SPDX-License-Identifier: Apache-2.0
// A field from JSON.
#include <rapidjson/reader.h>

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "protocol/field.h"

namespace tool {

namespace {

// What is in place of long bytes; no base64.
constexpr char kCut[] = "#";

// A text whose long bytes are cut out: the parser takes many times as long for each of them as decoding does.
class ShortText {
public:
    explicit ShortText(std::string_view text) {
        for (std::size_t at = text.find(kBefore); at != std::string_view::npos; at = text.find(kBefore, at)) {
            at += kBefore.size();
            const std::size_t end = text.find('"', at);
            if (end == std::string_view::npos) {
                break;
            }
            const std::string_view base64 = text.substr(at, end - at);
            // An escaped character is for the parser.
            if (base64.size() >= kLong && text.substr(end, 2) == "\"}" && base64.find('\\') == std::string_view::npos) {
                _cut.push_back(base64);
                _text.append(text.substr(0, at)).append(kCut);
                text.remove_prefix(end);
                at = 0;
            }
        }
        _text += text;
    }
    // The parser changes it.
    std::string& text() { return _text; }
    const std::vector<std::string_view>& cut() const { return _cut; }

private:
    // No text of JSON has an unescaped quote inside, so here is always an object.
    static constexpr std::string_view kBefore = R"({"bytes":")";
    static constexpr std::size_t kLong = 1024;

    std::string _text;
    std::vector<std::string_view> _cut;
};

}  // namespace

// Makes the tree from what the parser of the JSON library finds. The names of its functions are that library's.
class JsonReader {
public:
    // The bytes that were cut out of the text, in their order. An outline has the fields of
    // the outermost object only: lists and objects in it are empty.
    JsonReader(const std::vector<std::string_view>& cut, bool isOutline) : _cut(cut), _isOutline(isOutline) {}

    bool Null() { return put({}); }
    bool Bool(bool flag) { return put(flag); }
    // Numbers come as they are written.
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        const std::string_view number(text, length);
        return put(number.find_first_of(".eE") == std::string_view::npos ? wholeNumber(number) : fraction(number));
    }
    bool Int(int) { return false; }
    bool Uint(unsigned int) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        checkText({text, length});
        return _skipped != 0 || put(std::string(text, length));
    }
    bool Key(const char* name, rapidjson::SizeType length, bool) {
        checkText({name, length});
        if (_skipped == 0) {
            _open.back().name.assign(name, length);
        }
        return true;
    }
    bool StartObject() { return open(false); }
    bool StartArray() { return open(true); }
    bool EndObject(rapidjson::SizeType) {
        if (_skipped != 0) {
            return --_skipped != 0 || put(Field::Fields());
        }
        Field field = ofFields(std::move(_open.back().fields));
        _open.pop_back();
        return put(std::move(field));
    }
    bool EndArray(rapidjson::SizeType) {
        if (_skipped != 0) {
            return --_skipped != 0 || put(Field::List());
        }
        Field field(std::move(_open.back().list));
        _open.pop_back();
        return put(std::move(field));
    }

    Field take() { return std::move(_root); }

private:
    // A list, or an object and the name of its next field.
    struct Open {
        bool isList;
        Field::List list = {};
        Field::Fields fields = {};
        std::string name = {};
    };

    static Field wholeNumber(std::string_view number) {
        long long value = 0;
        if (std::from_chars(number.data(), number.data() + number.size(), value).ec != std::errc()) {
            throw MessageError("a whole number beyond 64 bits");
        }
        return value;
    }
    static Field fraction(std::string_view number) {
        // The program's locale is C's.
        const double value = std::strtod(std::string(number).c_str(), nullptr);
        if (!std::isfinite(value)) {
            throw MessageError("a number that is too large");
        }
        return value;
    }

    // The parser takes the second half of a pair alone for a character.
    static void checkText(std::string_view text) {
        for (std::size_t at = text.find('\xED'); at < text.size(); at = text.find('\xED', at + 1)) {
            if (static_cast<unsigned char>(text[at + 1]) >= 0xA0) {
                throw MessageError("no JSON: half a character");
            }
        }
    }

    bool open(bool isList) {
        if (_open.size() + _skipped == kDeepest) {
            throw MessageError("deeper than " + std::to_string(kDeepest) + " lists and objects");
        }
        if (_isOutline && !_open.empty()) {
            ++_skipped;
            return true;
        }
        _open.push_back({isList});
        if (!isList) {
            _open.back().fields.reserve(kUsualFields);
        }
        return true;
    }
    bool put(Field field) {
        if (_skipped != 0) {
            return true;
        }
        if (_open.empty()) {
            _root = std::move(field);
        } else if (_open.back().isList) {
            _open.back().list.push_back(std::move(field));
        } else {
            _open.back().fields.emplace_back(std::move(_open.back().name), std::move(field));
        }
        return true;
    }

    // Bytes and texts of a set are objects, too.
    Field ofFields(Field::Fields fields) {
        const bool isText = fields.size() == 2 && fields[1].first == "text" && fields[1].second == Field(true);
        if ((fields.size() != 1 && !isText) || fields[0].first != "bytes" || !fields[0].second.isText() ||
            fields[0].second._ofSet) {
            return Field(std::move(fields));
        }
        const std::string& text = fields[0].second.text();
        Bytes bytes = fromBase64(text == kCut && !isText && _taken < _cut.size() ? _cut[_taken++] : text);
        return isText ? Field::ofSet(std::string(bytes.begin(), bytes.end())) : Field(std::move(bytes));
    }

    static constexpr std::size_t kUsualFields = 4;

    const std::vector<std::string_view>& _cut;
    const bool _isOutline;
    std::size_t _skipped = 0;  // lists and objects that are open and are not kept
    std::size_t _taken = 0;
    std::vector<Open> _open;
    Field _root;
};

static Field parseText(std::string_view text, bool isOutline) {
    // In place, because only so the parser gives numbers as they are written without reading beyond their copy.
    constexpr unsigned int kFlags =
        rapidjson::kParseInsituFlag | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseNumbersAsStringsFlag;
    ShortText shortText(text);
    // The parser takes a zero byte for the end.
    const std::size_t zero = shortText.text().find('\0');
    // Of a character that is cut off at the end it reads as many bytes as its first one says.
    constexpr std::size_t kLongestCharacter = 4;
    shortText.text().append(kLongestCharacter, '\0');
    rapidjson::InsituStringStream stream(shortText.text().data());
    JsonReader reader(shortText.cut(), isOutline);
    rapidjson::Reader parser;
    const rapidjson::ParseResult result = parser.Parse<kFlags>(stream, reader);
    if (result.IsError() || zero != std::string::npos) {
        const std::size_t position = result.IsError() ? result.Offset() : zero;
        throw MessageError("no JSON" + (shortText.cut().empty() ? " at byte " + std::to_string(position + 1) : ""));
    }
    return reader.take();
}

Field parseJsonText(std::string_view text) {
    return parseText(text, false);
}

Field parseOutline(std::string_view text) {
    return parseText(text, true);
}

}  // namespace tool
