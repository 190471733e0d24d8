// SPDX-License-Identifier: Apache-2.0
// Requests that the worker carries out one after the other.
#include "worker/lane.h"

#include <cstdio>
#include <mutex>
#include <set>
#include <utility>

#include "actions/log_switch.h"
#include "protocol/sha256.h"
#include "supervisor/internal.h"
#include "vset/vset.h"
#include "worker/descriptors.h"
#include "worker/messages.h"
#include "worker/notices.h"
#include "worker/outbox.h"
#include "worker/set_session.h"

namespace tool {

namespace {

constexpr std::size_t kPiece = 1u << 18;

// Requests: the one that this thread carries out, and those that their clients have canceled.
thread_local long long t_running = -1;
std::mutex g_mutex;
std::set<long long> g_canceled;

// What a method has thrown, as a failure.
MessageFailure currentFailure() {
    try {
        throw;
    } catch (const RequestError& error) {
        return error.failure();
    } catch (const MessageError& error) {
        return {ErrorCode::wrongParameters, error.what(), {}};
    } catch (const UsageError& error) {
        return {ErrorCode::wrongParameters, error.what(), error.word() ? Field{{"word", *error.word()}} : Field()};
    } catch (const vset::SetError& error) {
        return {codeOfSetError(), error.what(), {}};
    } catch (const std::exception& error) {
        return {ErrorCode::internal, error.what(), {}};
    }
}

Reply runMethod(const Request& request) {
    const Method* method = findMethod(request.method);
    if (method == nullptr) {
        throw RequestError(ErrorCode::unknownMethod, "no such method: " + request.method);
    }
    if (method->needsSet) {
        switchSetOn();
    }
    return method->run(request.params);
}

void takeLogSwitch(const Field& params) {
    static std::mutex mutex;
    static long long newest = 0;
    const std::lock_guard<std::mutex> lock(mutex);
    // The other lane may have read it before.
    if (params.at("number").number() > newest) {
        newest = params.at("number").number();
        setLogSwitch(logStateOf(params.at("state").text()));
    }
}

}  // namespace

bool isCanceled() {
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_canceled.count(t_running) != 0;
}

void cancelRequest(long long id) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_canceled.insert(id);
}

void Lane::run(int requests) {
    readMessages(requests, [this](const Message& message) {
        if (message.request) {
            serve(*message.request);
        } else if (message.notification) {
            takeLogSwitch(message.notification->params);
        }
    });
}

void Lane::serve(const Request& request) {
    Answer answer = {request.id, {}, std::nullopt};
    Pieces pieces;
    t_running = request.id;
    putDescriptorsBack();
    try {
        Reply reply = runMethod(request);
        answer.result = std::move(reply.result);
        pieces = std::move(reply.pieces);
        if (pieces != nullptr) {
            answer.result.set("stream", request.id);
        }
    } catch (...) {
        answer.failure = currentFailure();
    }
    putDescriptorsBack();
    // The log's lines and the calls come before the answer.
    std::fflush(stdout);
    flushJournal();
    const char* marks = pieces != nullptr ? kStreamMarks : kAnswerMarks;
    try {
        _outbox.send(marks[_number], toField(std::move(answer)));
    } catch (const MessageError& error) {
        pieces = nullptr;
        const std::string text = std::string("the answer cannot be sent: ") + error.what();
        _outbox.send(kAnswerMarks[_number], toField(failed(request.id, ErrorCode::internal, text)));
    }
    if (pieces != nullptr) {
        stream(request.id, pieces);
        _outbox.send(kInternalMark, {{"what", kStreamEnds}, {"lane", _number}});
    }
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_canceled.erase(request.id);
}

void Lane::stream(long long id, const Pieces& pieces) {
    Sha256 sum;
    long long bytes = 0;
    Field last = {{"id", id}};
    try {
        Bytes piece = pieces(kPiece);
        for (long long number = 1; !piece.empty(); ++number, piece = pieces(kPiece)) {
            if (isCanceled()) {
                throw RequestError(ErrorCode::canceled, "canceled");
            }
            sum.add(piece.data(), piece.size());
            bytes += static_cast<long long>(piece.size());
            Field params = {{"id", id}, {"piece", number}};
            params.set("data", std::move(piece));
            _outbox.sendWaiting(kPieceMark, toField(Notification{"stream", std::move(params)}));
        }
        last.set("sha256", sum.sum());
        last.set("bytes", bytes);
    } catch (...) {
        const MessageFailure failure = currentFailure();
        Field error = {{"code", static_cast<int>(failure.code)}, {"message", failure.text}};
        if (!failure.data.isNull()) {
            error.set("data", failure.data);
        }
        last.set("error", std::move(error));
    }
    std::fflush(stdout);
    flushJournal();
    _outbox.send(kPieceMark, toField(Notification{"stream", std::move(last)}));
}

}  // namespace tool
