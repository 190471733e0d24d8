// SPDX-License-Identifier: Apache-2.0
// A field from JSON.
#include <rapidjson/reader.h>
#include <cstring>
#include <limits>

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
    const std::string& text() const { return _text; }
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
    // The stream that is parsed, and the bytes that were cut out of it, in their order.
    JsonReader(const rapidjson::StringStream& stream, const std::vector<std::string_view>& cut)
        : _stream(stream), _cut(cut) {}

    bool Null() { return put({}); }
    bool Bool(bool flag) { return put(flag); }
    bool Int(int number) { return put(number); }
    bool Uint(unsigned int number) { return put(number); }
    bool Int64(std::int64_t number) { return put(static_cast<long long>(number)); }
    bool Uint64(std::uint64_t number) {
        if (number > static_cast<std::uint64_t>(std::numeric_limits<long long>::max())) {
            refuseNumber();
        }
        return put(static_cast<long long>(number));
    }
    bool Double(double fraction) {
        // It may be a whole number that fits nothing else. The stream goes on when the number has been taken.
        const char* end = _stream.src_ + std::strspn(_stream.src_, "-0123456789");
        if (std::string_view(".eE").find(*end) == std::string_view::npos) {
            refuseNumber();
        }
        return put(fraction);
    }
    bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; }
    bool String(const char* text, rapidjson::SizeType length, bool) { return put(textOf(text, length)); }
    bool Key(const char* name, rapidjson::SizeType length, bool) {
        _open.back().name = textOf(name, length);
        return true;
    }
    bool StartObject() { return open(false); }
    bool StartArray() { return open(true); }
    bool EndObject(rapidjson::SizeType) {
        Field field = ofFields(std::move(_open.back().fields));
        _open.pop_back();
        return put(std::move(field));
    }
    bool EndArray(rapidjson::SizeType) {
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

    [[noreturn]] static void refuseNumber() { throw MessageError("a whole number beyond 64 bits"); }

    // The parser takes the second half of a pair alone for a character.
    static std::string textOf(const char* text, std::size_t length) {
        std::string result(text, length);
        for (std::size_t at = result.find('\xED'); at < length; at = result.find('\xED', at + 1)) {
            if (static_cast<unsigned char>(result[at + 1]) >= 0xA0) {
                throw MessageError("no JSON: half a character");
            }
        }
        return result;
    }

    bool open(bool isList) {
        if (_open.size() == kDeepest) {
            throw MessageError("deeper than " + std::to_string(kDeepest) + " lists and objects");
        }
        _open.push_back({isList});
        return true;
    }
    bool put(Field field) {
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

    const rapidjson::StringStream& _stream;
    const std::vector<std::string_view>& _cut;
    std::size_t _taken = 0;
    std::vector<Open> _open;
    Field _root;
};

Field parseJsonText(std::string_view text) {
    constexpr unsigned int kFlags = rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag;
    const ShortText shortText(text);
    // The parser takes a zero byte for the end.
    const std::size_t zero = shortText.text().find('\0');
    rapidjson::StringStream stream(shortText.text().c_str());
    JsonReader reader(stream, shortText.cut());
    rapidjson::Reader parser;
    const rapidjson::ParseResult result = parser.Parse<kFlags>(stream, reader);
    if (result.IsError() || zero != std::string::npos) {
        const std::size_t position = result.IsError() ? result.Offset() : zero;
        throw MessageError("no JSON" + (shortText.cut().empty() ? " at byte " + std::to_string(position + 1) : ""));
    }
    return reader.take();
}

}  // namespace tool
