// SPDX-License-Identifier: Apache-2.0
// Pictures of the session's set.
#include "target/picture_source.h"

#include "protocol/framing.h"
#include "target/session.h"

namespace tool {

namespace {

constexpr std::size_t kBytesOfAPixel = 4;

}  // namespace

Picture takePicture(const std::string& word) {
    // Worth it on a wire that is probably slow.
    return takePicture(session(), word, session().hello()["wire"] == Field(kCheckedName));
}

Picture takePicture(Target& target, const std::string& word, bool inRuns) {
    Bytes bytes;
    const Field answer = target.read("picture", {{"source", word}, {"runs", inRuns}}, [&](const Bytes& piece) {
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    });
    Picture picture;
    picture.width = static_cast<unsigned int>(answer.at("width").number());
    picture.height = static_cast<unsigned int>(answer.at("height").number());
    const std::size_t wanted = std::size_t{picture.width} * picture.height;
    const std::size_t head = inRuns ? 1 : 0, step = head + kBytesOfAPixel;
    picture.pixels.reserve(wanted);
    for (std::size_t i = 0; i + step <= bytes.size() && picture.pixels.size() < wanted; i += step) {
        const unsigned char* pixel = bytes.data() + i + head;
        const Color red = pixel[0], green = pixel[1], blue = pixel[2], alpha = pixel[3];
        picture.pixels.insert(picture.pixels.end(), inRuns ? bytes[i] + 1u : 1u,
                              alpha << 24 | red << 16 | green << 8 | blue);
    }
    if (picture.pixels.size() != wanted || bytes.size() % step != 0) {
        throw RequestError(ErrorCode::internal, "the picture has another size than it says");
    }
    return picture;
}

}  // namespace tool
