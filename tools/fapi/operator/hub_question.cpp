// SPDX-License-Identifier: Apache-2.0
// A question that all clients of the set's hub can answer.
#include "operator/hub_question.h"

#include <algorithm>

#include "hub/client.h"
#include "target/session.h"

namespace tool {

HubQuestion::HubQuestion(const Question& question) {
    if (!isSessionOpen()) {
        return;
    }
    Field choices = Field::List();
    for (const std::string& choice : question.choices) {
        choices.add(choice);
    }
    Field params = {
        {"kind", promptName(question.kind)}, {"text", question.text},       {"choices", choices},
        {"pattern", question.pattern},       {"picture", question.picture}, {"answered", question.needsAnswer}};
    if (!question.shown.empty()) {
        params.set("shown", question.shown);
        params.set("beside", !question.reference.empty());
    }
    params.set("milliseconds", question.within ? Field(question.within->count()) : Field());
    _listens = question.needsAnswer;
    // Of those that need an answer one is open at a time.
    const auto take = [this](const Field& answer) {
        // It may come before the hub has said which question this one is.
        const std::string name = answer["name"].textOr(""), where = answer["where"].textOr("");
        _given.push_back({answer["prompt"].numberOr(0), answer["number"].numberOr(0), answer["answer"].textOr(""),
                          answer["who"].textOr(""), where.empty() ? name : where});
    };
    if (_listens) {
        session().listen("answer", take);
    }
    try {
        _prompt = session().request("prompt", params)["prompt"].numberOr(0);
    } catch (const RequestError&) {
        // A hub of an older bench, or one that is gone: which the run notices by itself.
    }
}

HubQuestion::~HubQuestion() {
    try {
        close({}, 0);
    } catch (const SetError&) {
        // The hub is gone, and the question with it.
    }
    if (_listens && isSessionOpen()) {
        session().listen("answer", nullptr);
    }
}

std::optional<HubQuestion::Given> HubQuestion::next() {
    while (!_given.empty() && _given.front().prompt != _prompt) {
        _given.pop_front();
    }
    if (_given.empty()) {
        return std::nullopt;
    }
    Given given = std::move(_given.front());
    _given.pop_front();
    return given;
}

void HubQuestion::refuse(const Given& given, const std::string& why) {
    session().request("prompt.refuse", {{"prompt", _prompt}, {"number", given.number}, {"why", why}});
}

bool HubQuestion::isFollowed() const {
    if (_prompt == 0 || !isSessionOpen()) {
        return false;
    }
    const std::vector<Target::Client> clients = session().clients();
    return std::any_of(clients.begin(), clients.end(), [](const Target::Client& client) {
        return std::count(client.watches.begin(), client.watches.end(), kPromptWatch) != 0;
    });
}

void HubQuestion::close(const GivenAnswer& answer, long long number) {
    const long long prompt = std::exchange(_prompt, 0);
    if (prompt != 0 && isSessionOpen()) {
        Field params = {{"prompt", prompt}, {"number", number}, {"answer", answer.text}, {"who", answer.who}};
        params.set("where", answer.where);
        session().request("prompt.close", params);
    }
}

}  // namespace tool
