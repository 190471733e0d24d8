// SPDX-License-Identifier: Apache-2.0
// Messages between a client, the hub and the agent.
#include "protocol/message.h"

#include <utility>

namespace tool {

namespace {

constexpr const char* kVersion = "2.0";

Field beginMessage() {
    return Field{{"jsonrpc", kVersion}};
}

void setParameters(Field& object, Field params) {
    if (!params.isNull()) {
        object.set("params", std::move(params));
    }
}

Field takeParameters(Field& object) {
    Field params = object.take("params");
    if (!params.isNull() && !params.isObject()) {
        throw MessageError("the parameters are no object");
    }
    return params;
}

MessageFailure parseFailure(const Field& error) {
    return {static_cast<ErrorCode>(error.at("code").number()), error["message"].textOr(""), error["data"]};
}

Answer parseAnswer(Field& object) {
    Answer answer;
    answer.id = idOf(object);
    if (!answer.id && !object.at("id").isNull()) {
        throw MessageError("the id of an answer is no number");
    }
    if (object.has("error") == object.has("result")) {
        throw MessageError("neither request, answer nor notification");
    }
    answer.result = object.take("result");
    if (object.has("error")) {
        answer.failure = parseFailure(object["error"]);
    }
    return answer;
}

Request parseRequest(Field& object) {
    Request request = {object.at("id").number(), object.at("method").text(), takeParameters(object)};
    if (object.has("ack")) {
        request.acknowledged = object["ack"].number();
    }
    return request;
}

}  // namespace

Field toField(Request request) {
    Field object = beginMessage();
    object.set("id", request.id);
    object.set("method", request.method);
    if (request.acknowledged) {
        object.set("ack", *request.acknowledged);
    }
    setParameters(object, std::move(request.params));
    return object;
}

Field toField(Answer answer) {
    Field object = beginMessage();
    object.set("id", answer.id ? Field(*answer.id) : Field());
    if (!answer.failure) {
        object.set("result", std::move(answer.result));
        return object;
    }
    Field& error = object.set("error", Field{{"code", static_cast<int>(answer.failure->code)}});
    error.set("message", answer.failure->text);
    if (!answer.failure->data.isNull()) {
        error.set("data", answer.failure->data);
    }
    return object;
}

Field toField(Notification notification) {
    Field object = beginMessage();
    object.set("method", notification.method);
    setParameters(object, std::move(notification.params));
    return object;
}

Answer failed(std::optional<long long> id, ErrorCode code, const std::string& text, Field data) {
    return {id, {}, MessageFailure{code, text, std::move(data)}};
}

Request whole(Request request) {
    if (request.text.empty()) {
        return request;
    }
    Field object = parseJsonText(request.text);
    return parseRequest(object);
}

std::optional<long long> idOf(const Field& object) {
    return object["id"].isNumber() ? std::optional(object["id"].number()) : std::nullopt;
}

Message parseMessage(Field object) {
    if (object["jsonrpc"] != Field(kVersion)) {
        throw MessageError("no message of JSON-RPC 2.0");
    }
    Message message;
    if (!object.has("method")) {
        message.answer = parseAnswer(object);
    } else if (object.has("id")) {
        message.request = parseRequest(object);
    } else {
        message.notification = Notification{object["method"].text(), takeParameters(object)};
    }
    return message;
}

}  // namespace tool
