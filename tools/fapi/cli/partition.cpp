// SPDX-License-Identifier: Apache-2.0
// `fapi partition ...`: eMMC partitions from and to files of this PC.
#include "cli/partition.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/data_output.h"
#include "base/interrupts.h"
#include "base/terminal.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kChunk = 1u << 20;

// Why a transfer has ended before its end.
struct Stopped {
    int exitCode;
    std::string why;
};

// "factory  [######..............]  30%  1.2 of 4.0 MiB", on a terminal and for what takes more than a moment.
class TransferBar {
public:
    TransferBar(const GlobalOptions& options, const std::string& name, std::uint64_t total)
        : _name(printable(name)), _total(total), _shown(!options.json && total > kChunk && isTerminal()) {}
    ~TransferBar() {
        if (_shown) {
            eraseLine();
            // A message may follow on standard error.
            std::fflush(dataOutput());
        }
    }
    TransferBar(const TransferBar&) = delete;
    TransferBar& operator=(const TransferBar&) = delete;

    void show(std::uint64_t done) const {
        if (!_shown) {
            return;
        }
        char figures[64];
        std::snprintf(figures, sizeof(figures), "  %3u%%  %.1f of %.1f MiB", static_cast<unsigned>(done * 100 / _total),
                      mebibytes(done), mebibytes(_total));
        const std::size_t taken = _name.size() + std::strlen(figures) + sizeof("  []");
        const std::size_t width = std::min<std::size_t>(terminalColumns() - std::min(terminalColumns(), taken), 40);
        const auto filled = static_cast<std::size_t>(done * width / _total);
        eraseLine();
        std::fprintf(dataOutput(), "%s  [%s%s]%s", _name.c_str(), std::string(filled, '#').c_str(),
                     std::string(width - filled, '.').c_str(), figures);
        std::fflush(dataOutput());
    }

private:
    static double mebibytes(std::uint64_t bytes) { return static_cast<double>(bytes) / (1u << 20); }

    const std::string _name;
    const std::uint64_t _total;
    const bool _shown;
};

// How many bytes there are from the wanted offset on. Throws UsageError: nothing has been called yet.
std::uint64_t restOfPartition(Target& target, const PartitionOptions& wanted) {
    const Field answer = target.request("partition.list", {{"create", true}});
    std::string known;
    for (const Field& partition : answer.at("partitions").list()) {
        const std::string& name = partition.at("name").text();
        const auto size = static_cast<std::uint64_t>(partition.at("bytes").number());
        if (name == wanted.partition && wanted.offset > size) {
            throw UsageError("--offset is " + std::to_string(wanted.offset) + ", but " + wanted.partition + " has " +
                             std::to_string(size) + " bytes");
        }
        if (name == wanted.partition) {
            return size - wanted.offset;
        }
        known += (known.empty() ? "" : ", ") + name;
    }
    throw UsageError("no such partition: " + wanted.partition + ", expected one of " + known);
}

std::uint64_t fittingLength(Target& target, const PartitionOptions& wanted, std::optional<std::uint64_t> length) {
    const std::uint64_t rest = restOfPartition(target, wanted);
    if (length.value_or(rest) > rest) {
        throw UsageError(wanted.partition + ": " + std::to_string(*length) + " bytes at offset " +
                         std::to_string(wanted.offset) + " end beyond the partition, which has " +
                         std::to_string(rest) + " bytes there");
    }
    return length.value_or(rest);
}

// Makes a request. That the library has refused the transfer, which has a status then, ends it.
template <class Ask>
void askOrStop(Ask&& ask) {
    try {
        ask();
    } catch (const RequestError& error) {
        if (!error.failure().data.has("status")) {
            throw;
        }
        throw Stopped{error.code() == ErrorCode::unavailable ? kExitFailed : kExitSet, error.what()};
    }
}

// `move` takes offset and length of a chunk. A transfer of no byte at all is one, too: the library judges it.
template <class Move>
void moveChunks(const GlobalOptions& options, const PartitionOptions& wanted, std::uint64_t length,
                Interrupts& interrupts, Move&& move) {
    const TransferBar bar(options, wanted.partition, length);
    std::uint64_t done = 0;
    do {
        if (interrupts.take()) {
            throw Stopped{kExitInterrupted, "interrupted at offset " + std::to_string(wanted.offset + done)};
        }
        const std::uint64_t size = std::min(length - done, kChunk);
        move(wanted.offset + done, size);
        done += size;
        bar.show(done);
    } while (done < length);
}

int report(const GlobalOptions& options, const PartitionOptions& wanted, std::uint64_t length, const char* done) {
    const Json json = {
        {"partition", wanted.partition}, {"offset", wanted.offset}, {"length", length}, {"file", wanted.file}};
    printLine(options.json ? jsonLine(json)
                           : wanted.partition + ": " + std::to_string(length) + " bytes at offset " +
                                 std::to_string(wanted.offset) + " " + done + " " + wanted.file);
    return kExitGood;
}

int complain(const GlobalOptions& options, const PartitionOptions& wanted, const Stopped& stopped,
             const std::string& leftBehind) {
    printError(wanted.partition + ": " + stopped.why + "; " + leftBehind, options.json);
    return stopped.exitCode;
}

// The file that a partition is read into. What was there before stays until the first chunk has come.
class TargetFile {
public:
    explicit TargetFile(const std::string& path) : _path(path) {}

    void append(const Bytes& bytes) {
        if (!_stream.is_open()) {
            _stream.open(_path, std::ios::binary);
        }
        _stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!_stream.flush()) {
            throw Stopped{kExitFailed, _path + ": cannot be written: " + std::strerror(errno)};
        }
    }

    // Removes what has been written so far, unless that went to a device, and says so.
    std::string giveUp() {
        std::error_code error;
        if (!_stream.is_open()) {
            return _path + " is not written";
        }
        return fs::is_regular_file(_path, error) && fs::remove(_path, error) ? _path + " is removed"
                                                                             : _path + " is not complete";
    }

private:
    const std::string _path;
    std::ofstream _stream;
};

// The file that is written to a partition.
class SourceFile {
public:
    explicit SourceFile(const std::string& path) : _path(path) {
        std::error_code error;
        if (fs::is_regular_file(path, error)) {
            _stream.open(path, std::ios::binary);
            _size = fs::file_size(path, error);
        }
        if (!_stream.is_open() || error) {
            throw UsageError(path + ": cannot be read");
        }
    }

    std::uint64_t size() const { return _size; }

    Bytes next(std::uint64_t size) {
        Bytes bytes(size);
        if (!_stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) {
            throw Stopped{kExitFailed, _path + ": cannot be read any further"};
        }
        return bytes;
    }

private:
    const std::string _path;
    std::ifstream _stream;
    std::uint64_t _size = 0;
};

// Ctrl-C ends the waiting for the set.
Target& openUntil(SessionOptions options, const Interrupts& interrupts) {
    options.stop = interrupts.descriptor();
    return openSession(options);
}

}  // namespace

int readPartition(const GlobalOptions& options, const PartitionOptions& wanted) {
    Interrupts interrupts;
    Target& target = openUntil(options.session, interrupts);
    const std::uint64_t length = fittingLength(target, wanted, wanted.length);
    TargetFile file(wanted.file);
    try {
        moveChunks(options, wanted, length, interrupts, [&](std::uint64_t offset, std::uint64_t size) {
            const Field which = {{"partition", wanted.partition}, {"offset", offset}, {"length", size}};
            askOrStop([&] { target.read("partition.read", which, [&](const Bytes& piece) { file.append(piece); }); });
            // Nothing may have come, and the file is to be there.
            file.append({});
        });
    } catch (const Stopped& stopped) {
        return complain(options, wanted, stopped, file.giveUp());
    }
    return report(options, wanted, length, "read into");
}

int writePartition(const GlobalOptions& options, const PartitionOptions& wanted) {
    SourceFile file(wanted.file);
    if (!confirm(options, "overwrites " + std::to_string(file.size()) + " bytes of partition " + wanted.partition +
                              " at offset " + std::to_string(wanted.offset))) {
        return kExitInterrupted;
    }
    Interrupts interrupts;
    Target& target = openUntil(options.session, interrupts);
    target.claim("writes partition " + wanted.partition);
    const std::uint64_t length = fittingLength(target, wanted, file.size());
    std::uint64_t written = 0;
    try {
        moveChunks(options, wanted, length, interrupts, [&](std::uint64_t offset, std::uint64_t size) {
            const Field piece = {{"partition", wanted.partition}, {"offset", offset}, {"data", file.next(size)}};
            askOrStop([&] { target.request("partition.write", piece); });
            written += size;
        });
    } catch (const Stopped& stopped) {
        return complain(options, wanted, stopped, std::to_string(written) + " bytes are written");
    }
    return report(options, wanted, length, "written from");
}

}  // namespace tool
