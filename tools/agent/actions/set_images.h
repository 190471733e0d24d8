// SPDX-License-Identifier: Apache-2.0
// The images of a set's boot environments, and those that were there before.
#ifndef FAPI_AGENT_ACTIONS_SET_IMAGES_H
#define FAPI_AGENT_ACTIONS_SET_IMAGES_H

#include <optional>
#include <string>
#include <vector>

#include "protocol/value.h"

namespace tool {

// The image of a flash type ("emmc", "nand", "spi_nor") in a set's folder. All functions throw vset::SetError.
class SetImage {
public:
    SetImage(std::string folder, std::string flash);

    std::string file() const;

    // Returns the image, and of a file that is too long one byte more than an image has; one without a file is erased
    // flash.
    Bytes read() const;
    // Puts it in the place of the one that is there, which is kept: a kill at any moment leaves the one or the other.
    void write(const Bytes& image) const;
    // Puts it there without keeping what is there.
    void replace(const Bytes& image) const;

    // The images that were there before, by number; the newest has the highest.
    struct Kept {
        unsigned long number;
        long long written;  // into the set, in nanoseconds since 1970
    };
    std::vector<Kept> kept() const;
    Bytes readKept(unsigned long number) const;
    // The newest of them that is not damaged, if there is one.
    std::optional<Kept> newestWhole() const;

private:
    bool isKeptWhole(const Kept& image) const;
    void forgetOldest() const;
    std::string keptFile(unsigned long number) const;

    const std::string _folder;
    const std::string _flash;
};

}  // namespace tool

#endif
