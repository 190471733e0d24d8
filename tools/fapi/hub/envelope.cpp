// SPDX-License-Identifier: Apache-2.0
// What the hub has to know of an agent's message to pass it on as it came.
#include "hub/envelope.h"

#include <charconv>

#include "protocol/message.h"

namespace tool {

namespace {

constexpr std::string_view kBeginning = R"({"jsonrpc":"2.0","id":)";
constexpr std::string_view kNotificationBegin = R"({"jsonrpc":"2.0","method":")";
constexpr std::string_view kStreamBegin = R"({"jsonrpc":"2.0","method":"stream","params":{"id":)";
constexpr std::string_view kPiece = R"(,"piece":)";
constexpr std::string_view kData = R"(,"data":{"bytes":")";
constexpr std::string_view kDataEnd = R"("}}})";
constexpr std::string_view kResult = R"(,"result":)";
constexpr std::string_view kError = R"(,"error":)";
// The last pieces of streams are short.
constexpr std::size_t kShort = 4096;

bool takeText(std::string_view& text, std::string_view expected) {
    if (text.substr(0, expected.size()) != expected) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

bool takeNumber(std::string_view& text, long long& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

// Reads the beginning as this build writes it.
bool readBeginning(Envelope& envelope) {
    std::string_view rest = envelope.text;
    long long id = 0;
    if (takeText(rest, kBeginning)) {
        if (!takeNumber(rest, id)) {
            return false;
        }
        envelope.id = id;
        envelope.isFailure = takeText(rest, kError);
        return envelope.isFailure || takeText(rest, kResult);
    }
    if (!takeText(rest, kNotificationBegin)) {
        return false;
    }
    envelope.method = rest.substr(0, rest.find_first_of("\"\\"));
    rest.remove_prefix(envelope.method.size());
    return takeText(rest, R"(","params":{)") || rest == R"("})";
}

}  // namespace

Envelope openEnvelope(std::string text) {
    Envelope envelope = {std::move(text), std::nullopt, false, {}};
    if (readBeginning(envelope)) {
        return envelope;
    }
    const Message message = parseMessage(parseJsonText(envelope.text));
    if (message.request || (message.answer && !message.answer->id && !message.answer->failure)) {
        throw MessageError("neither an answer to a request nor a notification");
    }
    envelope = {};
    if (message.answer) {
        envelope = {toJsonText(toField(*message.answer)), message.answer->id, message.answer->failure.has_value(), {}};
    } else {
        envelope = {toJsonText(toField(*message.notification)), std::nullopt, false, message.notification->method};
    }
    return envelope;
}

std::string withId(const Envelope& answer, long long id) {
    return *requestWithId(answer.text, id);
}

std::optional<std::string> requestWithId(std::string_view text, long long id) {
    std::string_view rest = text;
    long long old = 0;
    if (!takeText(rest, kBeginning) || !takeNumber(rest, old)) {
        return std::nullopt;
    }
    std::string changed(kBeginning);
    changed.reserve(text.size() + 16);
    return changed.append(std::to_string(id)).append(rest);
}

std::optional<long long> announcedStream(const Envelope& answer) {
    // In a text of the set the quotation marks would have backslashes before them.
    if (answer.isFailure || answer.text.find(R"("stream":)") == std::string::npos) {
        return std::nullopt;
    }
    const Field stream = parseJsonText(answer.text)["result"]["stream"];
    return stream.isNumber() ? std::optional(stream.number()) : std::nullopt;
}

std::optional<long long> streamOf(std::string_view beginning) {
    long long id = 0;
    return takeText(beginning, kStreamBegin) && takeNumber(beginning, id) ? std::optional(id) : std::nullopt;
}

StreamPiece pieceOf(const Envelope& notification) {
    std::string_view rest = notification.text;
    StreamPiece piece;
    if (rest.size() > kShort && takeText(rest, kStreamBegin) && takeNumber(rest, piece.id)) {
        return piece;
    }
    const Field object = parseJsonText(notification.text);
    const Field& params = object["params"];
    return {params.at("id").number(), params.has("sha256") || params.has("error")};
}

std::optional<Field> readPiece(std::string_view text) {
    long long stream = 0, piece = 0;
    if (!takeText(text, kStreamBegin) || !takeNumber(text, stream) || !takeText(text, kPiece) ||
        !takeNumber(text, piece) || !takeText(text, kData) || text.size() < kDataEnd.size()) {
        return std::nullopt;
    }
    const std::size_t end = text.size() - kDataEnd.size();
    if (text.substr(end) != kDataEnd) {
        return std::nullopt;
    }
    return Field{{"id", stream}, {"piece", piece}, {"data", fromBase64(text.substr(0, end))}};
}

}  // namespace tool
