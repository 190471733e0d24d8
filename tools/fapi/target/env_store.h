// SPDX-License-Identifier: Apache-2.0
// The images of a set's boot environments, and the images that were there before.
#ifndef FAPI_BENCH_TARGET_ENV_STORE_H
#define FAPI_BENCH_TARGET_ENV_STORE_H

#include <ctime>

#include "base/env_image.h"
#include "target/target.h"

namespace tool {

// The flash types by name; a set has an environment in each.
constexpr const char* kFlashTypes[] = {"emmc", "nand", "spi_nor"};

// An image that another one has replaced.
struct KeptImage {
    std::string image;
    std::time_t written = 0;  // into the set
};

// The boot environment of a flash type. All functions throw RequestError.
class EnvStore {
public:
    // `mayCreate`: a set is made where there is none.
    EnvStore(Target& target, std::string flash, bool mayCreate = false);

    const std::string& flash() const { return _flash; }
    // The image that was there when this was made, or was written since.
    const std::string& image() const { return _image; }
    // Puts it in the place of the one that is there, which is kept: a kill at any moment leaves the one or the other.
    void write(const std::string& image);

    // Newest first, without those whose variables are those of the image that is there.
    std::vector<KeptImage> kept() const;
    // The newest of them that is not damaged, if there is one.
    std::optional<KeptImage> newestWhole() const;

private:
    std::string read(const Field& which) const;

    Target& _target;
    const std::string _flash;
    std::string _image;
};

}  // namespace tool

#endif
