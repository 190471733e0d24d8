// SPDX-License-Identifier: Apache-2.0
// Messages between a client, the hub and the agent: JSON-RPC 2.0, one object each, no batches.
#ifndef FAPI_PROTOCOL_MESSAGE_H
#define FAPI_PROTOCOL_MESSAGE_H

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "protocol/field.h"

namespace tool {

// The versions of the protocol that this build speaks.
constexpr long long kProtocolOldest = 1;
constexpr long long kProtocolNewest = 1;

// Why a request has no result. The first five are JSON-RPC's own.
enum class ErrorCode : int {
    noJson = -32700,
    noRequest = -32600,
    unknownMethod = -32601,
    wrongParameters = -32602,
    internal = -32603,
    notConfirmed = 1,    // it destroys something, and the request does not say "confirm": true
    unavailable = 2,     // the set, or what was asked of it, is not available; nothing was called
    died = 3,            // the worker died while it ran
    begun = 4,           // what was to be canceled has begun
    canceled = 5,        // unqueued before it had begun
    stuck = 6,           // the worker does not end: the set needs power
    claimed = 7,         // another client has the claim
    notSupported = 8,    // this kind of set cannot do it
    damaged = 9,         // the set is damaged
    stationFailed = 10,  // this PC could not store what the set needs
    ended = 11           // the set is switched off, or the connection ends
};

struct MessageFailure {
    ErrorCode code = ErrorCode::internal;
    std::string text;
    Field data;  // null, or what a program wants to know of it
};

// The set, or this PC for it, cannot do what was asked.
class SetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A request that was answered with a failure.
class RequestError : public SetError {
public:
    explicit RequestError(MessageFailure failure) : SetError(failure.text), _failure(std::move(failure)) {}
    RequestError(ErrorCode code, const std::string& text) : RequestError(MessageFailure{code, text, {}}) {}
    const MessageFailure& failure() const { return _failure; }
    ErrorCode code() const { return _failure.code; }

private:
    MessageFailure _failure;
};

struct Request {
    long long id = 0;
    std::string method;
    Field params;  // an object, or null
    // The highest id of an answer that the sender has read: it needs none of them once more.
    std::optional<long long> acknowledged = std::nullopt;
    // The message as it came, while nothing of it is changed; empty when it is to be written anew.
    std::string text = {};
};

struct Answer {
    std::optional<long long> id;  // none when the request could not be read that far
    Field result;
    std::optional<MessageFailure> failure;
};

struct Notification {
    std::string method;
    Field params;
};

Field toField(Request request);
Field toField(Answer answer);
Field toField(Notification notification);
Answer failed(std::optional<long long> id, ErrorCode code, const std::string& text, Field data = {});

// Exactly one of the three.
struct Message {
    std::optional<Request> request;
    std::optional<Answer> answer;
    std::optional<Notification> notification;
};
// Throws MessageError for what is none of them.
Message parseMessage(Field object);

// The id in what may be no message, for the answer to it.
std::optional<long long> idOf(const Field& object);

}  // namespace tool

#endif
