// SPDX-License-Identifier: Apache-2.0
// Methods on images of the virtual set's boot environment.
#include <optional>
#include <string>

#include "actions/set_images.h"
#include "vset/vset.h"
#include "worker/method.h"
#include "worker/set_session.h"

namespace tool {

namespace {

SetImage imageOf(const Field& params) {
    return {setFolder(), params["flash"].textOr("emmc")};
}

Reply readImage(const Field& params) {
    const SetImage image = imageOf(params);
    if (params["create"].flagOr(false)) {
        makeMissingSet();
    }
    const Field& kept = params["kept"];
    return {Field::Fields{},
            piecesOf(kept.isNull() ? image.read() : image.readKept(static_cast<unsigned long>(kept.number())))};
}

Reply writeImage(const Field& params) {
    const SetImage image = imageOf(params);
    const Bytes& bytes = params.at("bytes").bytes();
    std::optional<vset::Hold> hold;
    if (!isSetOn()) {
        hold.emplace(setFolder());
    }
    image.write(bytes);
    return {};
}

Reply keptImages(const Field& params) {
    Field::List all;
    for (const SetImage::Kept& kept : imageOf(params).kept()) {
        all.push_back({{"number", kept.number}, {"written", kept.written}});
    }
    return Field{{"kept", std::move(all)}};
}

}  // namespace

std::vector<Method> imageMethods() {
    return {{"env.kept", keptImages}, {"env.read", readImage}, {"env.write", writeImage}};
}

}  // namespace tool
