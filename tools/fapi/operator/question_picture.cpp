// SPDX-License-Identifier: Apache-2.0
// What is to be seen with a question.
#include "operator/question_picture.h"

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "hub/descriptor.h"
#include "target/session.h"

namespace tool {

QuestionPicture::QuestionPicture(const Question& question, const PictureOf& pictureOf)
    : _picture(pictureOf ? pictureOf(question) : std::nullopt) {
    if (!_picture) {
        return;
    }
    std::string name = std::filesystem::temp_directory_path() / "fapi-question-XXXXXX";
    if (!Descriptor(mkstemp(name.data()))) {
        return;
    }
    try {
        writePng(*_picture, name);
        _file = name;
    } catch (const SetError&) {
        unlink(name.c_str());
    }
}

QuestionPicture::~QuestionPicture() {
    if (!_file.empty()) {
        unlink(_file.c_str());
    }
}

}  // namespace tool
