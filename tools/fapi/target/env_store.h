// SPDX-License-Identifier: Apache-2.0
// Where the images of a set's boot environments lie, and the images that were there before.
#ifndef FAPI_BENCH_TARGET_ENV_STORE_H
#define FAPI_BENCH_TARGET_ENV_STORE_H

#include <ctime>

#include "base/env_image.h"

namespace tool {

// The flash types by name; a set has an environment in each.
constexpr const char* kFlashTypes[] = {"emmc", "nand", "spi_nor"};

// An image that another one has replaced.
struct KeptImage {
    std::string file;
    std::string image;
    std::time_t written = 0;  // into the set, not into this file
};

// The boot environment of a flash type, in the folder of a set that nobody has switched on.
class EnvStore {
public:
    EnvStore(std::string folder, std::string flash);

    const std::string& flash() const { return _flash; }
    std::string file() const;

    // The image; one without a file is erased flash. Throws std::runtime_error.
    std::string read() const;

    // Keeps the image that is there, puts this one in its place and reads it back: a kill at any moment leaves the one
    // or the other. Throws std::runtime_error.
    void write(const std::string& image) const;
    // The same without keeping what is there.
    void replace(const std::string& image) const;

    // Newest first, without those whose variables are those of the image that is there. Throws std::runtime_error.
    std::vector<KeptImage> kept() const;
    // The newest of them that is not damaged, if there is one.
    std::optional<KeptImage> newestWhole() const;

private:
    std::vector<std::string> keptFiles() const;
    void keep() const;
    void forgetOldest() const;

    const std::string _folder;
    const std::string _flash;
};

}  // namespace tool

#endif
