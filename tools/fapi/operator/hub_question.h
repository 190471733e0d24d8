// SPDX-License-Identifier: Apache-2.0
// A question that all clients of the set's hub can answer.
#ifndef FAPI_BENCH_OPERATOR_HUB_QUESTION_H
#define FAPI_BENCH_OPERATOR_HUB_QUESTION_H

#include <deque>
#include <optional>
#include <string>

#include "operator/question.h"

namespace tool {

// Of the open session; without one there is nobody who could hear of it.
class HubQuestion {
public:
    explicit HubQuestion(const Question& question);
    // Tells all that the question is no longer asked, unless it has its answer.
    ~HubQuestion();
    HubQuestion(const HubQuestion&) = delete;
    HubQuestion& operator=(const HubQuestion&) = delete;

    struct Given {
        long long prompt = 0, number = 0;
        std::string text, who, where;
    };
    // What a client has answered, in the order in which answers came.
    std::optional<Given> next();
    void refuse(const Given& given, const std::string& why);
    // Whether there is a client that can answer.
    bool isFollowed() const;
    // The answer that counts; `number` is 0 when no client gave it.
    void close(const GivenAnswer& answer, long long number);

private:
    bool _listens = false;
    long long _prompt = 0;  // 0: the hub knows no questions
    std::deque<Given> _given;
};

}  // namespace tool

#endif
