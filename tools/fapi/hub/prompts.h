// SPDX-License-Identifier: Apache-2.0
// Questions that clients of a hub ask a person, whoever of the clients has that person.
#ifndef FAPI_BENCH_HUB_PROMPTS_H
#define FAPI_BENCH_HUB_PROMPTS_H

#include <deque>
#include <functional>
#include <map>
#include <string>

#include "protocol/field.h"
#include "protocol/message.h"

namespace tool {

// The open questions of a hub, and the answers that those who ask have not judged yet. The first answer that the asker
// takes counts; all others are told whose it was.
class HubPrompts {
public:
    // What is to be sent: the answer to a request of a client, a notification to a client, one to all that follow
    // questions.
    struct Sends {
        std::function<void(long long client, long long request, Field result)> answer;
        std::function<void(long long client, const std::string& method, const Field& params)> notify;
        std::function<void(const Field& params)> announce;
    };
    explicit HubPrompts(Sends sends) : _sends(std::move(sends)) {}

    // `asker` says who asks. Returns the question's number. Throws MessageError.
    long long open(long long client, const Field& question, const Field& asker);
    // Passes an answer on to who asks. Throws MessageError.
    void answer(long long client, const Request& request, const std::string& name);
    // Of who asks: the answer is none. Throws MessageError.
    void refuse(long long client, const Field& params);
    // Of who asks: the question has its answer, of a client or from elsewhere. Throws MessageError.
    void close(long long client, const Field& params);
    // The client is gone, with what it has asked and answered.
    void forget(long long client);
    // The open ones, as they were announced.
    Field list() const;

private:
    struct Given {
        long long number, client, request;
    };
    struct Prompt {
        long long asker = 0;
        Field announced;
        std::deque<Given> given;
    };
    Prompt& ownPrompt(long long client, const Field& params);
    // Takes the question out of the open ones; `prompt` must not be one of theirs.
    void end(long long number, const Prompt& prompt, long long taken, Field closed);
    void refuseGiven(const Given& given, const std::string& why) const;

    const Sends _sends;
    std::map<long long, Prompt> _open;
    std::map<long long, std::string> _closed;  // why a late answer does not count
    long long _last = 0;
    long long _lastGiven = 0;
};

}  // namespace tool

#endif
