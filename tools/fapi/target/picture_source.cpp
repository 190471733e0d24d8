// SPDX-License-Identifier: Apache-2.0
// Pictures of the session's set.
#include "target/picture_source.h"

#include "target/session.h"

namespace tool {

Picture takePicture(const std::string& word) {
    constexpr std::size_t kBytesOfAPixel = 4;
    Bytes rows;
    const Field answer = session().read("picture", {{"source", word}}, [&](const Bytes& piece) {
        rows.insert(rows.end(), piece.begin(), piece.end());
    });
    Picture picture;
    picture.width = static_cast<unsigned int>(answer.at("width").number());
    picture.height = static_cast<unsigned int>(answer.at("height").number());
    if (rows.size() != std::size_t{picture.width} * picture.height * kBytesOfAPixel) {
        throw RequestError(ErrorCode::internal, "the picture has another size than it says");
    }
    picture.pixels.reserve(rows.size() / kBytesOfAPixel);
    for (std::size_t i = 0; i < rows.size(); i += kBytesOfAPixel) {
        const Color red = rows[i], green = rows[i + 1], blue = rows[i + 2], alpha = rows[i + 3];
        picture.pixels.push_back(alpha << 24 | red << 16 | green << 8 | blue);
    }
    return picture;
}

}  // namespace tool
