// SPDX-License-Identifier: Apache-2.0
// Where the images of a set's boot environments lie.
#include "target/env_store.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <sys/stat.h>

#include "base/durable_file.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// How many images are kept of a flash type.
constexpr std::size_t kKept = 8;
// Their number in the file's name, so that names sort by it.
constexpr std::size_t kDigits = 8;

// One byte more than an image has tells that a file is too long; nobody needs the rest of it.
std::string readImage(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(kEnvImageSize + 1, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream.is_open() || stream.bad() || !fs::is_regular_file(file)) {
        throw std::runtime_error(file + ": cannot be read");
    }
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

std::time_t writeTime(const std::string& file) {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mtime : 0;
}

// 7 for "env/kept/emmc-00000007.img"; 0 for a file that is none of these.
unsigned long numberOf(const fs::path& file, const std::string& flash) {
    const std::string name = file.filename().string();
    const std::string start = flash + "-", end = ".img";
    if (name.size() != start.size() + kDigits + end.size() || name.compare(0, start.size(), start) != 0 ||
        name.compare(start.size() + kDigits, end.size(), end) != 0) {
        return 0;
    }
    const std::string digits = name.substr(start.size(), kDigits);
    const bool isNumber = digits.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::stoul(digits) : 0;
}

// Two images may differ where nobody looks.
bool isSame(const Environment& one, const Environment& other) {
    return one.damage.empty() && other.damage.empty() && changesBetween(one.variables, other.variables).empty();
}

}  // namespace

EnvStore::EnvStore(std::string folder, std::string flash) : _folder(std::move(folder)), _flash(std::move(flash)) {}

std::string EnvStore::file() const {
    return _folder + "/env/" + _flash + ".img";
}

std::string EnvStore::read() const {
    return fs::exists(file()) ? readImage(file()) : std::string(kEnvImageSize, '\xFF');
}

void EnvStore::write(const std::string& image) const {
    keep();
    replace(image);
    forgetOldest();
}

void EnvStore::replace(const std::string& image) const {
    replaceFile(file(), image);
    if (read() != image) {
        throw std::runtime_error(file() + ": reads back otherwise than it was written");
    }
}

std::vector<KeptImage> EnvStore::kept() const {
    std::vector<KeptImage> images;
    const Environment now = parseEnvImage(read());
    for (const std::string& kept : keptFiles()) {
        KeptImage image{kept, readImage(kept), writeTime(kept)};
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

// Oldest first.
std::vector<std::string> EnvStore::keptFiles() const {
    std::vector<std::string> files;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(_folder + "/env/kept", error)) {
        if (numberOf(entry.path(), _flash) != 0) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void EnvStore::keep() const {
    fs::create_directories(_folder + "/env/kept");
    const std::vector<std::string> files = keptFiles();
    char name[64];
    std::snprintf(name, sizeof(name), "/env/kept/%s-%08lu.img", _flash.c_str(),
                  files.empty() ? 1 : numberOf(files.back(), _flash) + 1);
    if (fs::exists(file())) {
        keepFile(file(), _folder + name);
    } else {
        replaceFile(_folder + name, read());
    }
}

// Damaged ones before whole ones, but not the newest.
void EnvStore::forgetOldest() const {
    std::vector<std::string> files = keptFiles();
    while (files.size() > kKept) {
        const auto damaged = std::find_if(files.begin(), files.end() - 1, [](const std::string& file) {
            return !parseEnvImage(readImage(file)).damage.empty();
        });
        const auto forgotten = damaged != files.end() - 1 ? damaged : files.begin();
        fs::remove(*forgotten);
        files.erase(forgotten);
    }
}

}  // namespace tool
