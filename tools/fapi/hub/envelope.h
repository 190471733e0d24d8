// SPDX-License-Identifier: Apache-2.0
// What the hub has to know of an agent's message to pass it on as it came.
#ifndef FAPI_BENCH_HUB_ENVELOPE_H
#define FAPI_BENCH_HUB_ENVELOPE_H

#include <optional>
#include <string>
#include <string_view>

#include "protocol/field.h"

namespace tool {

// A message's text, and what of it is known without reading all.
struct Envelope {
    std::string text;             // JSON, without a newline
    std::optional<long long> id;  // of an answer
    bool isFailure = false;       // an answer; without an id, when the agent could not read the request's
    std::string method;           // of a notification
};

// Throws MessageError for what is neither answer nor notification. A text in which the fields are in another order than
// this build writes them is written again.
Envelope openEnvelope(std::string text);

// The text of the answer with another id.
std::string withId(const Envelope& answer, long long id);
// The text of a request with another id; nothing when its fields are in another order than this build writes them.
std::optional<std::string> requestWithId(std::string_view text, long long id);

// The stream that an answer announces, or none.
std::optional<long long> announcedStream(const Envelope& answer);

// The stream whose piece begins like that, if it is one.
std::optional<long long> streamOf(std::string_view beginning);

// Which stream a notification of that method belongs to, and whether it is the last piece. Throws MessageError.
struct StreamPiece {
    long long id = 0;
    bool isLast = false;
};
StreamPiece pieceOf(const Envelope& notification);

// The parameters of a notification that is a piece of a stream with data, read without the JSON reader, which takes
// several times as long. Nothing when the text is anything else, or written in another way than this build does.
std::optional<Field> readPiece(std::string_view text);

}  // namespace tool

#endif
