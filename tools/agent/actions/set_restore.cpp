// SPDX-License-Identifier: Apache-2.0
// A whole set in one file: taking it apart. What the archive says is not trusted.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "actions/host_file.h"
#include "actions/set_backup.h"
#include "actions/sums.h"
#include "protocol/message.h"
#include "protocol/sha256.h"
#include "protocol/value.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlock = 1u << 16;
// A list of sums that is longer is none.
constexpr std::size_t kSumsLimit = 16u << 20;

// Whether the path leads below the folder that it is put behind.
bool isInside(const std::string& path) {
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string part = path.substr(start, end - start);
        if (part.empty() || part == "." || part == "..") {
            return false;
        }
        start = end + 1;
    }
    return true;
}

// A file that is being made. Stretches of zeros become holes.
class SparseFile {
public:
    explicit SparseFile(const std::string& file) : _name(file), _open(file, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW) {}

    void append(const std::string& bytes) {
        if (bytes.find_first_not_of('\0') != std::string::npos) {
            lseek(_open.get(), _size, SEEK_SET);
            _open.write(bytes);
        }
        _size += static_cast<off_t>(bytes.size());
    }

    void finish(mode_t mode, const timespec& time) const {
        const timespec times[] = {time, time};
        if (ftruncate(_open.get(), _size) != 0 || fchmod(_open.get(), mode) != 0 || futimens(_open.get(), times) != 0) {
            fail();
        }
    }

private:
    [[noreturn]] void fail() const { throw vset::SetError(_name + ": " + std::strerror(errno)); }

    const std::string _name;
    const HostFile _open;
    off_t _size = 0;
};

class Restorer {
public:
    Restorer(const std::string& file, const std::string& folder, const IsCanceled& isCanceled)
        : _file(file), _folder(folder), _isCanceled(isCanceled), _archive(archive_read_new(), archive_read_free) {
        archive_read_support_filter_gzip(_archive.get());
        archive_read_support_format_tar(_archive.get());
        if (archive_read_open_filename(_archive.get(), file.c_str(), kBlock) != ARCHIVE_OK) {
            failWithArchive();
        }
    }

    BackupContents run() {
        if (!next() || _path != kSumsEntry || archive_entry_filetype(_entry) != AE_IFREG) {
            refuse("is no backup of a set: it does not begin with " + std::string(kSumsEntry));
        }
        _sums = parseSums(readSums());
        while (next()) {
            requireAllowed();
            archive_entry_filetype(_entry) == AE_IFDIR ? makeFolder() : makeFile();
        }
        for (const auto& [path, sum] : _sums) {
            if (_done.count(path) == 0) {
                refuse(escaped(path, false) + " is missing");
            }
        }
        // Not earlier: one that nobody may write to would get no files.
        for (auto folder = _folders.rbegin(); folder != _folders.rend(); ++folder) {
            if (chmod((_folder + "/" + folder->first).c_str(), folder->second) != 0) {
                throw vset::SetError(_folder + "/" + folder->first + ": " + std::strerror(errno));
            }
        }
        _contents.files = _sums.size();
        return _contents;
    }

private:
    [[noreturn]] void refuse(const std::string& what) const { throw vset::SetError(_file + ": " + what); }

    [[noreturn]] void failWithArchive() const {
        const char* reason = archive_error_string(_archive.get());
        refuse(reason != nullptr ? escaped(reason, false) : "cannot be read");
    }

    // The next entry; false at the end.
    bool next() {
        const int result = archive_read_next_header(_archive.get(), &_entry);
        if (result == ARCHIVE_EOF) {
            return false;
        }
        if (result != ARCHIVE_OK) {
            failWithArchive();
        }
        const char* path = archive_entry_pathname(_entry);
        _path = path != nullptr ? path : "";
        if (archive_entry_filetype(_entry) == AE_IFDIR && !_path.empty() && _path.back() == '/') {
            _path.pop_back();
        }
        return true;
    }

    // Throws unless the entry is one that a backup has.
    void requireAllowed() {
        const bool isLink = archive_entry_hardlink(_entry) != nullptr || archive_entry_symlink(_entry) != nullptr;
        const auto type = archive_entry_filetype(_entry);
        const std::string shown = escaped(_path, false);
        if (!isInside(_path)) {
            refuse("\"" + shown + "\" leads out of the set");
        }
        if (isLink || (type != AE_IFREG && type != AE_IFDIR)) {
            refuse(shown + " is neither a file nor a folder");
        }
        if (type == AE_IFREG && _sums.count(_path) == 0) {
            refuse(shown + " is not in " + kSumsEntry);
        }
        if (!_done.insert(_path).second) {
            refuse(shown + " is there twice");
        }
    }

    // The next piece of the entry's data; false at its end.
    bool read(std::string& chunk) {
        if (_isCanceled()) {
            throw RequestError(ErrorCode::canceled, "canceled; nothing is changed");
        }
        chunk.resize(kBlock);
        const la_ssize_t size = archive_read_data(_archive.get(), chunk.data(), chunk.size());
        if (size < 0) {
            failWithArchive();
        }
        chunk.resize(static_cast<std::size_t>(size));
        return size != 0;
    }

    std::string readSums() {
        std::string text;
        for (std::string chunk; read(chunk);) {
            text += chunk;
            if (text.size() > kSumsLimit) {
                refuse(std::string(kSumsEntry) + " is too long");
            }
        }
        return text;
    }

    mode_t mode() const { return archive_entry_perm(_entry) & 0777; }

    void makeFolder() {
        if (mkdir((_folder + "/" + _path).c_str(), 0700) != 0) {
            refuse(escaped(_path, false) + ": " + std::strerror(errno));
        }
        _folders.emplace_back(_path, mode());
    }

    void makeFile() {
        SparseFile file(_folder + "/" + _path);
        Sha256 sum;
        for (std::string chunk; read(chunk);) {
            sum.add(chunk.data(), chunk.size());
            file.append(chunk);
            _contents.bytes += chunk.size();
        }
        if (sum.sum() != _sums[_path]) {
            refuse(escaped(_path, false) + " is not what was backed up");
        }
        file.finish(mode(), {archive_entry_mtime(_entry), archive_entry_mtime_nsec(_entry)});
    }

    const std::string _file;
    const std::string _folder;
    const IsCanceled& _isCanceled;
    const std::unique_ptr<archive, int (*)(archive*)> _archive;
    archive_entry* _entry = nullptr;
    std::string _path;  // of the entry
    Sums _sums;
    std::set<std::string> _done;
    std::vector<std::pair<std::string, mode_t>> _folders;
    BackupContents _contents;
};

// A new folder beside the set's, which is gone afterwards unless it has taken the set's place.
class FolderBeside {
public:
    explicit FolderBeside(const std::string& folder) : _name(folder + ".restore-XXXXXX") {
        fs::create_directories(fs::path(folder).parent_path());
        if (mkdtemp(_name.data()) == nullptr) {
            throw vset::SetError(_name + ": " + std::strerror(errno));
        }
    }
    ~FolderBeside() { remove(); }
    FolderBeside(const FolderBeside&) = delete;
    FolderBeside& operator=(const FolderBeside&) = delete;

    const std::string& name() const { return _name; }

    // Afterwards this is the folder that was there.
    void exchangeWith(const std::string& folder) const {
        const HostFile open(_name, O_RDONLY | O_DIRECTORY);
        syncfs(open.get());
        const unsigned int flags = fs::exists(folder) ? RENAME_EXCHANGE : 0;
        if (renameat2(AT_FDCWD, _name.c_str(), AT_FDCWD, folder.c_str(), flags) != 0) {
            throw vset::SetError(folder + ": cannot be replaced: " + std::strerror(errno));
        }
        syncHostFolder(folder);
    }

    // Returns what is left over, and why; an empty text when nothing is.
    std::string remove() const {
        std::error_code error;
        fs::remove_all(_name, error);
        return error ? _name + ": is left over: " + error.message() : "";
    }

private:
    std::string _name;
};

}  // namespace

BackupContents restoreBackup(const std::string& file, const std::string& folder, const IsCanceled& isCanceled) {
    const vset::HostPaths hostPaths;
    const FolderBeside next(folder);
    BackupContents contents = Restorer(file, next.name(), isCanceled).run();
    if (chmod(next.name().c_str(), 0755) != 0) {
        throw vset::SetError(next.name() + ": " + std::strerror(errno));
    }
    if (!fs::exists(next.name() + "/set.json") && !fs::exists(next.name() + "/env")) {
        throw vset::SetError(file + ": is no backup of a set");
    }
    next.exchangeWith(folder);
    contents.remains = next.remove();
    return contents;
}

}  // namespace tool
