// SPDX-License-Identifier: Apache-2.0
// The images of a set's boot environments, through its agent.
#include "target/env_store.h"

#include <algorithm>

namespace tool {

namespace {

constexpr long long kNanoseconds = 1000000000;

// Two images may differ where no variable is.
bool isSame(const Environment& one, const Environment& other) {
    return one.damage.empty() && other.damage.empty() && changesBetween(one.variables, other.variables).empty();
}

}  // namespace

EnvStore::EnvStore(Target& target, std::string flash, bool mayCreate)
    : _target(target), _flash(std::move(flash)), _image(read({{"flash", _flash}, {"create", mayCreate}})) {}

std::string EnvStore::read(const Field& which) const {
    std::string image;
    _target.read("env.read", which, [&](const Bytes& piece) { image.append(piece.begin(), piece.end()); });
    return image;
}

void EnvStore::write(const std::string& image) {
    _target.request("env.write", {{"flash", _flash}, {"bytes", Bytes(image.begin(), image.end())}});
    _image = image;
}

std::vector<KeptImage> EnvStore::kept() const {
    std::vector<KeptImage> images;
    const Environment now = parseEnvImage(_image);
    const Field answer = _target.request("env.kept", {{"flash", _flash}});
    for (const Field& kept : answer.at("kept").list()) {
        KeptImage image{read({{"flash", _flash}, {"kept", kept.at("number")}}),
                        static_cast<std::time_t>(kept.at("written").number() / kNanoseconds)};
        if (!isSame(parseEnvImage(image.image), now)) {
            images.push_back(std::move(image));
        }
    }
    std::reverse(images.begin(), images.end());
    return images;
}

std::optional<KeptImage> EnvStore::newestWhole() const {
    std::vector<KeptImage> images = kept();
    const auto whole = std::find_if(images.begin(), images.end(),
                                    [](const KeptImage& image) { return parseEnvImage(image.image).damage.empty(); });
    return whole != images.end() ? std::optional(std::move(*whole)) : std::nullopt;
}

}  // namespace tool
