// SPDX-License-Identifier: Apache-2.0
// A field from JSON.
#include <limits>
#include <nlohmann/json.hpp>

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
    // The bytes that were cut out of the text, in their order.
    explicit JsonReader(const std::vector<std::string_view>& cut) : _cut(cut) {}

    bool null() { return put({}); }
    bool boolean(bool flag) { return put(flag); }
    bool number_integer(long long number) { return put(number); }
    bool number_unsigned(unsigned long long number) {
        if (number > static_cast<unsigned long long>(std::numeric_limits<long long>::max())) {
            refuseNumber();
        }
        return put(number);
    }
    bool number_float(double fraction, const std::string& text) {
        // A whole number that fits nothing else.
        if (text.find_first_of(".eE") == std::string::npos) {
            refuseNumber();
        }
        return put(fraction);
    }
    bool string(std::string& text) { return put(std::move(text)); }
    bool binary(nlohmann::json::binary_t&) { return false; }
    bool start_object(std::size_t) { return open(false); }
    bool start_array(std::size_t) { return open(true); }
    bool key(std::string& name) {
        _open.back().name = std::move(name);
        return true;
    }
    bool end_object() {
        Field field = ofFields(std::move(_open.back().fields));
        _open.pop_back();
        return put(std::move(field));
    }
    bool end_array() {
        Field field(std::move(_open.back().list));
        _open.pop_back();
        return put(std::move(field));
    }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) {
        throw MessageError("no JSON" + (_cut.empty() ? " at byte " + std::to_string(position) : ""));
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

    const std::vector<std::string_view>& _cut;
    std::size_t _taken = 0;
    std::vector<Open> _open;
    Field _root;
};

Field parseJsonText(std::string_view text) {
    const ShortText shortText(text);
    JsonReader reader(shortText.cut());
    if (!nlohmann::json::sax_parse(shortText.text(), &reader)) {
        throw MessageError("no JSON");
    }
    return reader.take();
}

}  // namespace tool
