// SPDX-License-Identifier: Apache-2.0
// A whole set in one file: writing it.
#include "actions/set_backup.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string_view>

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include "actions/sums.h"
#include "protocol/sha256.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kChunk = 1u << 16;

// What belongs to the process that has the set, and not to the set. Of the last one the empty folder does.
constexpr const char* kNotKept[] = {"lock", "ports", "tree/dev/"};

// What a set consists of, in the order of the archive: a folder before what lies in it.
struct Listing {
    std::vector<std::string> folders, files, others;  // below the set's folder
};

Listing listSet(const std::string& folder) {
    Listing listing;
    for (auto entry = fs::recursive_directory_iterator(folder); entry != fs::recursive_directory_iterator(); ++entry) {
        const std::string path = entry->path().lexically_relative(folder).string();
        const bool isKept = std::none_of(std::begin(kNotKept), std::end(kNotKept), [&](const std::string_view other) {
            return path.compare(0, other.size(), other) == 0 && (path.size() == other.size() || other.back() == '/');
        });
        const fs::file_status status = entry->symlink_status();
        if (!isKept || !fs::is_directory(status)) {
            entry.disable_recursion_pending();
        }
        if (isKept) {
            (fs::is_directory(status)      ? listing.folders
             : fs::is_regular_file(status) ? listing.files
                                           : listing.others)
                .push_back(path);
        }
    }
    for (std::vector<std::string>* paths : {&listing.folders, &listing.files, &listing.others}) {
        std::sort(paths->begin(), paths->end());
    }
    return listing;
}

// Hands the file on piece by piece; returns its sum.
std::string readThrough(const std::string& file, const std::function<void(const char* data, std::size_t size)>& take) {
    std::ifstream stream(file, std::ios::binary);
    std::string chunk(kChunk, '\0');
    Sha256 sum;
    while (stream) {
        stream.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        const auto size = static_cast<std::size_t>(stream.gcount());
        sum.add(chunk.data(), size);
        take(chunk.data(), size);
    }
    if (!stream.is_open() || stream.bad()) {
        throw vset::SetError(file + ": cannot be read");
    }
    return sum.sum();
}

// The archive as it grows.
class Archive {
public:
    explicit Archive(int descriptor) : _archive(archive_write_new(), archive_write_free) {
        require(archive_write_add_filter_gzip(_archive.get()));
        // Takes names of files as the bytes that they are.
        require(archive_write_set_format_gnutar(_archive.get()));
        require(archive_write_open_fd(_archive.get(), descriptor));
    }

    void add(const std::string& path, unsigned int type, const struct stat& status) {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
        archive_entry_set_pathname(entry.get(), path.c_str());
        archive_entry_set_filetype(entry.get(), type);
        archive_entry_set_perm(entry.get(), status.st_mode & 0777);
        archive_entry_set_mtime(entry.get(), status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
        archive_entry_set_size(entry.get(), type == AE_IFREG ? status.st_size : 0);
        require(archive_write_header(_archive.get(), entry.get()));
    }

    void write(const char* data, std::size_t size) {
        if (archive_write_data(_archive.get(), data, size) != static_cast<la_ssize_t>(size)) {
            require(ARCHIVE_FATAL);
        }
    }

    void close() { require(archive_write_close(_archive.get())); }

private:
    void require(int result) {
        if (result != ARCHIVE_OK) {
            const char* reason = archive_error_string(_archive.get());
            const int number = archive_errno(_archive.get());
            vset::noteHostTrouble("the backup", number);
            throw vset::SetError(std::string("the backup: ") + (reason != nullptr ? reason : "cannot be written") +
                                 (number > 0 ? std::string(": ") + std::strerror(number) : ""));
        }
    }

    const std::unique_ptr<archive, int (*)(archive*)> _archive;
};

struct stat statusOf(const std::string& file) {
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0) {
        throw vset::SetError(file + ": cannot be read");
    }
    return status;
}

void addSums(Archive& archive, const Sums& sums) {
    const std::string text = sumsText(sums);
    struct stat status = {};
    status.st_mode = 0644;
    status.st_mtim.tv_sec = std::time(nullptr);
    status.st_size = static_cast<off_t>(text.size());
    archive.add(kSumsEntry, AE_IFREG, status);
    archive.write(text.data(), text.size());
}

void addFile(Archive& archive, const std::string& file, const std::string& path, const std::string& sum) {
    archive.add(path, AE_IFREG, statusOf(file));
    if (readThrough(file, [&](const char* data, std::size_t size) { archive.write(data, size); }) != sum) {
        throw vset::SetError(file + ": has changed meanwhile");
    }
}

}  // namespace

BackupContents writeBackup(const std::string& folder, int descriptor) {
    const Listing listing = listSet(folder);
    const std::string inside = folder + "/";
    BackupContents contents;
    contents.files = listing.files.size();
    contents.leftOut = listing.others;
    Sums sums;
    for (const std::string& path : listing.files) {
        sums[path] = readThrough(inside + path, [&](const char*, std::size_t size) { contents.bytes += size; });
    }
    Archive archive(descriptor);
    addSums(archive, sums);
    for (const std::string& path : listing.folders) {
        archive.add(path + "/", AE_IFDIR, statusOf(inside + path));
    }
    for (const std::string& path : listing.files) {
        addFile(archive, inside + path, path, sums[path]);
    }
    archive.close();
    return contents;
}

}  // namespace tool
