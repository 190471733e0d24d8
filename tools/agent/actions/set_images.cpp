// SPDX-License-Identifier: Apache-2.0
// The images of a set's boot environments.
#include "actions/set_images.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "actions/host_file.h"
#include "hw3/hw_flash.h"
#include "protocol/framing.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFlashes[] = {"emmc", "nand", "spi_nor"};
// How many images are kept of a flash type.
constexpr std::size_t kKept = 8;

// One byte more than an image has says that a file is too long.
Bytes readFile(const std::string& file) {
    const vset::HostPaths hostPaths;
    std::ifstream stream(file, std::ios::binary);
    Bytes bytes(HW_FLASH_ENV_IMAGE_SIZE + 1);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream.is_open() || stream.bad() || !fs::is_regular_file(file)) {
        throw vset::SetError(file + ": cannot be read");
    }
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

// Whether the image is erased flash, or begins with the little-endian checksum of its rest.
bool isWhole(const Bytes& image) {
    if (image.size() != HW_FLASH_ENV_IMAGE_SIZE) {
        return false;
    }
    if (std::all_of(image.begin(), image.end(), [](unsigned char byte) { return byte == 0xFF; })) {
        return true;
    }
    std::uint32_t sum = 0;
    for (unsigned i = 0; i < sizeof(sum); ++i) {
        sum |= std::uint32_t{image[i]} << (8 * i);
    }
    return sum == crc32({reinterpret_cast<const char*>(image.data()) + sizeof(sum), image.size() - sizeof(sum)});
}

// The file then holds the bytes, or what it held before, also after a power cut.
void replaceFile(const std::string& file, const Bytes& bytes) {
    const std::string next = file + ".new";
    {
        const HostFile open(next, O_WRONLY | O_CREAT | O_TRUNC);
        open.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        open.sync();
    }
    if (rename(next.c_str(), file.c_str()) != 0) {
        throw vset::SetError(file + ": " + std::strerror(errno));
    }
    syncHostFolder(file);
}

}  // namespace

SetImage::SetImage(std::string folder, std::string flash) : _folder(std::move(folder)), _flash(std::move(flash)) {
    if (std::find(std::begin(kFlashes), std::end(kFlashes), _flash) == std::end(kFlashes)) {
        throw UsageError("no such flash: " + _flash + ", expected one of emmc, nand, spi_nor");
    }
}

std::string SetImage::file() const {
    return _folder + "/env/" + _flash + ".img";
}

std::string SetImage::keptFile(unsigned long number) const {
    char name[64];
    std::snprintf(name, sizeof(name), "/env/kept/%s-%08lu.img", _flash.c_str(), number);
    return _folder + name;
}

Bytes SetImage::read() const {
    const vset::HostPaths hostPaths;
    return fs::exists(file()) ? readFile(file()) : Bytes(HW_FLASH_ENV_IMAGE_SIZE, 0xFF);
}

void SetImage::write(const Bytes& image) const {
    const vset::HostPaths hostPaths;
    std::error_code error;
    fs::create_directories(_folder + "/env/kept", error);
    const std::vector<Kept> before = kept();
    // A link, so that the image keeps its time.
    const std::string keep = keptFile(before.empty() ? 1 : before.back().number + 1);
    if (!fs::exists(file()) || link(file().c_str(), keep.c_str()) != 0) {
        replaceFile(keep, read());
    }
    replace(image);
    forgetOldest();
}

void SetImage::replace(const Bytes& image) const {
    const vset::HostPaths hostPaths;
    replaceFile(file(), image);
    if (read() != image) {
        throw vset::SetError(file() + ": reads back otherwise than it was written");
    }
}

std::vector<SetImage::Kept> SetImage::kept() const {
    const vset::HostPaths hostPaths;
    std::vector<Kept> images;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(_folder + "/env/kept", error)) {
        const std::string name = entry.path().filename().string();
        const std::size_t dash = name.rfind('-');
        const unsigned long number = dash != std::string::npos ? std::strtoul(name.c_str() + dash + 1, nullptr, 10) : 0;
        struct stat status = {};
        if (number != 0 && entry.path() == keptFile(number) && stat(entry.path().c_str(), &status) == 0) {
            images.push_back({number, status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec});
        }
    }
    std::sort(images.begin(), images.end(),
              [](const Kept& one, const Kept& other) { return one.number < other.number; });
    return images;
}

Bytes SetImage::readKept(unsigned long number) const {
    return readFile(keptFile(number));
}

bool SetImage::isKeptWhole(const Kept& image) const {
    return isWhole(readKept(image.number));
}

std::optional<SetImage::Kept> SetImage::newestWhole() const {
    const std::vector<Kept> images = kept();
    const auto whole =
        std::find_if(images.rbegin(), images.rend(), [this](const Kept& image) { return isKeptWhole(image); });
    return whole != images.rend() ? std::optional(*whole) : std::nullopt;
}

// Removes damaged ones before whole ones, but not the newest.
void SetImage::forgetOldest() const {
    std::vector<Kept> images = kept();
    while (images.size() > kKept) {
        const auto newest = images.end() - 1;
        const auto damaged =
            std::find_if(images.begin(), newest, [this](const Kept& image) { return !isKeptWhole(image); });
        const auto forgotten = damaged != newest ? damaged : images.begin();
        fs::remove(keptFile(forgotten->number));
        images.erase(forgotten);
    }
}

}  // namespace tool
