// SPDX-License-Identifier: Apache-2.0
// The images of a set's boot environments.
#include "actions/set_images.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "actions/host_file.h"
#include "hw3/hw_flash.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFlashes[] = {"emmc", "nand", "spi_nor"};
// How many images are kept of a flash type.
constexpr std::size_t kKept = 8;

Bytes readFile(const std::string& file) {
    const vset::HostPaths hostPaths;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw vset::SetError(file + ": cannot be read");
    }
    return Bytes(std::istreambuf_iterator<char>(stream), {});
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
    std::vector<Kept> before = kept();
    // A link, so that the image keeps its time.
    const std::string keep = keptFile(before.empty() ? 1 : before.back().number + 1);
    if (!fs::exists(file()) || link(file().c_str(), keep.c_str()) != 0) {
        replaceFile(keep, read());
    }
    replaceFile(file(), image);
    for (std::size_t i = 0; i + kKept <= before.size(); ++i) {
        fs::remove(keptFile(before[i].number), error);
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

}  // namespace tool
