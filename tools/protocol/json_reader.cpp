// SPDX-License-Identifier: Apache-2.0
// A field from JSON.
#include <limits>
#include <nlohmann/json.hpp>

#include "protocol/field.h"

namespace tool {

// Makes the tree from what the parser of the JSON library finds. The names of its functions are that library's.
class JsonReader {
public:
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
        throw MessageError("no JSON at byte " + std::to_string(position));
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
    static Field ofFields(Field::Fields fields) {
        const bool isText = fields.size() == 2 && fields[1].first == "text" && fields[1].second == Field(true);
        if ((fields.size() != 1 && !isText) || fields[0].first != "bytes" || !fields[0].second.isText() ||
            fields[0].second._ofSet) {
            return Field(std::move(fields));
        }
        Bytes bytes = fromBase64(fields[0].second.text());
        return isText ? Field::ofSet(std::string(bytes.begin(), bytes.end())) : Field(std::move(bytes));
    }

    std::vector<Open> _open;
    Field _root;
};

Field parseJsonText(std::string_view text) {
    JsonReader reader;
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &reader)) {
        throw MessageError("no JSON");
    }
    return reader.take();
}

}  // namespace tool
