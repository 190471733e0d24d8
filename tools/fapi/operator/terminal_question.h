// SPDX-License-Identifier: Apache-2.0
// A question on this program's terminal.
#ifndef FAPI_BENCH_OPERATOR_TERMINAL_QUESTION_H
#define FAPI_BENCH_OPERATOR_TERMINAL_QUESTION_H

#include <optional>
#include <string>

#include "base/picture.h"
#include "operator/question.h"

namespace tool {

class TerminalQuestion {
public:
    // Whether a person sits at the terminal.
    static bool isThere();
    // "terminal /dev/pts/3"
    static std::string place();

    // Shows it, large, with the picture if there is one. What was typed before it is no answer. `source` says whose
    // question it is where there are several runs; empty: there is one.
    TerminalQuestion(const Question& question, const std::string& source, const std::optional<Picture>& picture);

    // Readable when something was typed; -1 when the terminal is gone.
    int descriptor() const;
    // The line that was typed, once it is whole. To be called when the descriptor is readable.
    std::optional<std::string> read();
    bool isGone() const { return _isGone; }
    // Something else has been shown below the question, which is still open.
    void remind() const;
    // The last line was no answer.
    void refuse(const std::string& why) const;
    // The question is over, other than by a line that was typed here.
    void tell(const std::string& what) const;

private:
    const Question& _question;
    std::string _typed;
    bool _isGone = false;
};

}  // namespace tool

#endif
