// SPDX-License-Identifier: Apache-2.0
// Questions that clients of a hub ask a person.
#include "hub/prompts.h"

#include <algorithm>

#include "protocol/characters.h"

namespace tool {

namespace {

constexpr std::size_t kMostOpenPrompts = 64;
constexpr std::size_t kClosedKept = 64;
constexpr long kMostGiven = 16;  // answers of a client that the asker has not judged yet
constexpr std::size_t kLongestAnswer = 4096;
constexpr std::size_t kShownAnswer = 80;

// Returns a text of the parameters that people read; throws MessageError for one that is too long for that.
std::string shortText(const Field& params, const char* name) {
    std::string text = params[name].textOr("");
    if (text.size() > kLongestAnswer || !isUtf8(text)) {
        throw MessageError(std::string(name) + ": expected a text of at most " + std::to_string(kLongestAnswer) +
                           " bytes");
    }
    return text;
}

}  // namespace

long long HubPrompts::open(long long client, const Field& question, const Field& asker) {
    if (question.at("text").text().empty()) {
        throw MessageError("text: expected a question");
    }
    if (_open.size() >= kMostOpenPrompts) {
        throw MessageError("there are " + std::to_string(_open.size()) + " open questions already");
    }
    const long long number = ++_last;
    Field announced = {{"prompt", number}, {"state", "open"}};
    for (const Field* part : {&asker, &question}) {
        for (const auto& [name, value] : part->fields()) {
            if (!announced.has(name)) {
                announced.set(name, value);
            }
        }
    }
    _open[number] = {client, announced, {}};
    _sends.announce(announced);
    return number;
}

void HubPrompts::answer(long long client, const Request& request, const std::string& name) {
    const long long number = request.params.at("prompt").number();
    static_cast<void>(request.params.at("answer").text());
    Field told = {{"prompt", number},
                  {"number", ++_lastGiven},
                  {"answer", shortText(request.params, "answer")},
                  {"who", shortText(request.params, "who")},
                  {"where", shortText(request.params, "where")},
                  {"name", name}};
    const auto found = _open.find(number);
    const Given given = {_lastGiven, client, request.id};
    if (found == _open.end()) {
        const auto closed = _closed.find(number);
        refuseGiven(given, closed != _closed.end() ? closed->second : "there is no such question");
        return;
    }
    std::deque<Given>& waiting = found->second.given;
    // One client may have many persons: those who look at the same pages.
    const auto isOfClient = [&](const Given& other) { return other.client == client; };
    if (std::count_if(waiting.begin(), waiting.end(), isOfClient) >= kMostGiven) {
        refuseGiven(given, "other answers of this client are being looked at");
        return;
    }
    waiting.push_back(given);
    _sends.notify(found->second.asker, "answer", told);
}

HubPrompts::Prompt& HubPrompts::ownPrompt(long long client, const Field& params) {
    const auto found = _open.find(params.at("prompt").number());
    if (found == _open.end() || found->second.asker != client) {
        throw MessageError("prompt: this client has no such question");
    }
    return found->second;
}

void HubPrompts::refuse(long long client, const Field& params) {
    std::deque<Given>& waiting = ownPrompt(client, params).given;
    const long long number = params.at("number").number();
    const auto meant =
        std::find_if(waiting.begin(), waiting.end(), [&](const Given& given) { return given.number == number; });
    if (meant != waiting.end()) {
        refuseGiven(*meant, shortText(params, "why"));
        waiting.erase(meant);
    }
}

void HubPrompts::close(long long client, const Field& params) {
    Prompt& prompt = ownPrompt(client, params);
    Field closed = Field::Fields();
    for (const char* name : {"answer", "who", "where"}) {
        closed.set(name, shortText(params, name));
    }
    const long long taken = params["number"].numberOr(0);
    const Prompt ended = std::move(prompt);
    end(params.at("prompt").number(), ended, taken, std::move(closed));
}

void HubPrompts::end(long long number, const Prompt& prompt, long long taken, Field closed) {
    const std::string answer = closed["answer"].textOr(""), who = closed["who"].textOr("");
    const std::string why = who.empty() ? "the question is no longer asked"
                                        : who + " has answered already: " + beginningOf(answer, kShownAnswer);
    _open.erase(number);
    _closed[number] = why;
    if (_closed.size() > kClosedKept) {
        _closed.erase(_closed.begin());
    }
    for (const Given& given : prompt.given) {
        if (given.number == taken) {
            _sends.answer(given.client, given.request, {{"taken", true}});
        } else {
            refuseGiven(given, why);
        }
    }
    closed.set("prompt", number);
    closed.set("state", "closed");
    _sends.announce(closed);
}

void HubPrompts::refuseGiven(const Given& given, const std::string& why) const {
    _sends.answer(given.client, given.request, {{"taken", false}, {"why", why}});
}

void HubPrompts::forget(long long client) {
    std::map<long long, Prompt> orphaned;
    for (auto& [number, prompt] : _open) {
        prompt.given.erase(std::remove_if(prompt.given.begin(), prompt.given.end(),
                                          [&](const Given& given) { return given.client == client; }),
                           prompt.given.end());
        if (prompt.asker == client) {
            orphaned[number] = prompt;
        }
    }
    for (const auto& [number, prompt] : orphaned) {
        end(number, prompt, 0, Field::Fields());
    }
}

Field HubPrompts::list() const {
    Field all = Field::List();
    for (const auto& [number, prompt] : _open) {
        all.add(prompt.announced);
    }
    return all;
}

}  // namespace tool
