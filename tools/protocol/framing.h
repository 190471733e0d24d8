// SPDX-License-Identifier: Apache-2.0
// How messages are lines of a byte stream.
//
// plain: a line is the object.
// checked: "@LENGTH CRC32 OBJECT", the length in decimal, the CRC-32 (as of zlib and Ethernet) as eight hexadecimal
// digits, both of the object's bytes, which are ASCII only. A line that does not check is reported, and everything that
// is no message is console text. Carriage returns at a line's end are dropped in both.
#ifndef FAPI_PROTOCOL_FRAMING_H
#define FAPI_PROTOCOL_FRAMING_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/field.h"

namespace tool {

enum class Framing { plain, checked };

constexpr const char* kPlainName = "plain";
constexpr const char* kCheckedName = "checked";

// The longest object of a message.
constexpr std::size_t kLongestMessage = 16u << 20;

// Returns the line, with its newline. Throws MessageError for an object that is longer than kLongestMessage.
std::string frame(const Field& object, Framing framing);
// The same for the text of an object, which is ASCII only for checked framing.
std::string frameText(std::string text, Framing framing);

// What a line of the stream was.
struct Line {
    enum class Kind {
        message,
        console,   // text that is no message
        damaged,   // a message that does not check; checked framing only
        tooLong,   // given up after kLongestMessage; its text is the beginning
        noMessage  // plain framing: begins with '{' and is no JSON; checked framing: checks and is no object of JSON
    };
    Kind kind = Kind::console;
    Field object;      // of a message
    std::string text;  // without the line's end; at most 4096 bytes, and none of a message that is longer
};

// Cuts a byte stream into lines. Bytes may come in any pieces; memory is bounded by kLongestMessage.
class LineReader {
public:
    // A reader that does not parse gives the text of a message as it came, its object null: for who passes messages on.
    explicit LineReader(Framing framing, bool parses = true) : _framing(framing), _parses(parses) {}

    // From the next line on.
    void use(Framing framing) { _framing = framing; }
    Framing framing() const { return _framing; }

    // Appends the lines that end in `bytes`. In checked framing a message may have console text, or another message,
    // before and after it in the same line, when a newline is missing or was lost: each is then a line of its own. In
    // plain framing a checked line that checks is a message, too: both framings may be in the same read when the
    // framing has just been agreed on.
    void take(std::string_view bytes, std::vector<Line>& lines);
    // Whether bytes of a line that has not ended are kept.
    bool isInLine() const { return !_kept.empty() || _dropping; }

private:
    void endLine(std::string_view text, std::vector<Line>& lines);

    Framing _framing;
    bool _parses;
    std::string _kept;
    bool _dropping = false;  // the rest of a line that is too long
};

std::uint32_t crc32(std::string_view bytes);

}  // namespace tool

#endif
