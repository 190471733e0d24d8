// SPDX-License-Identifier: Apache-2.0
// What is to be seen with a question.
#ifndef FAPI_BENCH_OPERATOR_QUESTION_PICTURE_H
#define FAPI_BENCH_OPERATOR_QUESTION_PICTURE_H

#include <functional>
#include <optional>
#include <string>

#include "base/picture.h"
#include "operator/question.h"

namespace tool {

using PictureOf = std::function<std::optional<Picture>(const Question& question)>;

// The picture that goes with a question, for this terminal and, in a file as long as this is there, for those who
// follow the set's questions elsewhere.
class QuestionPicture {
public:
    QuestionPicture(const Question& question, const PictureOf& pictureOf);
    ~QuestionPicture();
    QuestionPicture(const QuestionPicture&) = delete;
    QuestionPicture& operator=(const QuestionPicture&) = delete;

    const std::optional<Picture>& picture() const { return _picture; }
    // Empty where there is no picture, or no room for it.
    const std::string& file() const { return _file; }

private:
    std::optional<Picture> _picture;
    std::string _file;
};

}  // namespace tool

#endif
