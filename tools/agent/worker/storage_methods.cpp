// SPDX-License-Identifier: Apache-2.0
// Methods on what the set stores: files and partitions.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include <sys/stat.h>

#include "actions/set_files.h"
#include "operations/operation.h"
#include "vset/vset.h"
#include "worker/method.h"
#include "worker/notices.h"
#include "worker/preparation.h"
#include "worker/set_session.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// The most that is written by a request, and read by a call.
constexpr std::size_t kLongestTransfer = 1u << 20;

// --- Files -----------------------------------------------------------------------------------------------------------

Field entryField(const fs::path& file) {
    struct stat status = {};
    lstat(file.c_str(), &status);
    const char* kind = S_ISDIR(status.st_mode) ? "folder" : S_ISREG(status.st_mode) ? "file" : "other";
    return {{"name", Field::ofSet(file.filename().string())},
            {"kind", kind},
            {"bytes", status.st_size},
            {"changed", status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec}};
}

Reply listFiles(const Field& params) {
    const std::string& path = params.at("path").text();
    const std::string host = hostFile(path, setFolder());
    const vset::HostPaths hostPaths;
    std::error_code error;
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(host, error)) {
        files.push_back(entry.path());
    }
    if (error) {
        throw vset::SetError(path + ": " + error.message());
    }
    std::sort(files.begin(), files.end());
    Field::List entries;
    for (const fs::path& file : files) {
        entries.push_back(entryField(file));
    }
    return Field{{"entries", std::move(entries)}};
}

Reply readFile(const Field& params) {
    return {Field::Fields{}, piecesOf(std::make_shared<std::ifstream>(openSetFile(params.at("path").text())))};
}

Reply writeFile(const Field& params) {
    writeSetFile(params.at("path").text(), params.at("bytes").bytes(), params["append"].flagOr(false));
    return {};
}

Reply removeFile(const Field& params) {
    removeSetFile(params.at("path").text(), true);
    return {};
}

// --- Partitions ------------------------------------------------------------------------------------------------------

Reply listPartitions(const Field& params) {
    if (params["create"].flagOr(false)) {
        makeMissingSet();
    }
    Field::List all;
    for (const auto& [name, size] : setPartitions()) {
        all.push_back({{"name", Field::ofSet(name)}, {"bytes", size}});
    }
    return Field{{"partitions", std::move(all)}};
}

const OperationRow& operationFor(const std::string& use) {
    for (const OperationRow& row : operationRows()) {
        if (row.use == use) {
            return row;
        }
    }
    throw RequestError(ErrorCode::notSupported, "no operation for " + use);
}

// Calls the operation, after those that it needs and that have not been called.
Outcome transfer(const OperationRow& row, const std::string& partition, long long offset, Value what) {
    prepareFor(row);
    noteCalled(row);
    Outcome outcome = row.invoke({partition, offset, std::move(what)});
    if (!outcome.good) {
        Field data = Field::Fields{};
        addTo(data, outcome);
        const std::vector<std::string> troubles = vset::takeHostTroubles();
        const bool isStations = !troubles.empty();
        throw RequestError({isStations ? ErrorCode::stationFailed : ErrorCode::unavailable,
                            row.shortName() + " answered " + std::to_string(outcome.status) + " (" +
                                statusWord(row.result, outcome.status) + ") at offset " + std::to_string(offset) +
                                (isStations ? ": " + troubles.front() : ""),
                            std::move(data)});
    }
    return outcome;
}

// How many bytes there are in the partition from the offset on.
long long restOfPartition(const std::string& partition, long long offset) {
    const auto partitions = setPartitions();
    const auto found = partitions.find(partition);
    if (found == partitions.end()) {
        throw MessageError("no such partition: " + partition);
    }
    const auto size = static_cast<long long>(found->second);
    if (offset < 0 || offset > size) {
        throw MessageError("the offset is " + std::to_string(offset) + ", but " + partition + " has " +
                           std::to_string(size) + " bytes");
    }
    return size - offset;
}

// A stretch of a partition, read with few calls. One of no byte at all is a call, too: the library judges it.
class PartitionPieces {
public:
    PartitionPieces(const OperationRow& row, std::string partition, long long offset, long long end)
        : _row(row), _partition(std::move(partition)), _at(offset), _end(end) {}

    Bytes operator()(std::size_t most) {
        if (_given == _block.size() && (_at != _end || _isFirst)) {
            const long long size = std::min(static_cast<long long>(kLongestTransfer), _end - _at);
            _block = std::get<Bytes>(transfer(_row, _partition, _at, size).outputs.at(0).second);
            _at += size;
            _given = 0;
            _isFirst = false;
        }
        const auto from = _block.begin() + static_cast<std::ptrdiff_t>(_given);
        const std::size_t size = std::min(most, _block.size() - _given);
        _given += size;
        return {from, from + static_cast<std::ptrdiff_t>(size)};
    }

private:
    const OperationRow& _row;
    const std::string _partition;
    long long _at;
    const long long _end;
    bool _isFirst = true;
    Bytes _block;
    std::size_t _given = 0;  // of the block
};

Reply readPartition(const Field& params) {
    const std::string partition = params.at("partition").text();
    const long long offset = params["offset"].numberOr(0);
    const long long rest = restOfPartition(partition, offset);
    const long long length = params["length"].numberOr(rest);
    if (length < 0 || length > rest) {
        throw MessageError("the length is " + std::to_string(length) + ", but there are " + std::to_string(rest) +
                           " bytes from the offset on");
    }
    const OperationRow& row = operationFor("read-partition");
    return {Field{{"bytes", length}}, PartitionPieces(row, partition, offset, offset + length)};
}

Reply writePartition(const Field& params) {
    const Bytes& bytes = params.at("data").bytes();
    const long long offset = params["offset"].numberOr(0);
    const std::string& partition = params.at("partition").text();
    const long long rest = restOfPartition(partition, offset);
    if (bytes.size() > kLongestTransfer || static_cast<long long>(bytes.size()) > rest) {
        throw MessageError(std::to_string(bytes.size()) + " bytes at offset " + std::to_string(offset) +
                           " are more than the partition has there, or than a piece may have");
    }
    const OperationRow& row = operationFor("write-partition");
    const MustFinish mustFinish;
    transfer(row, partition, offset, bytes);
    return {};
}

}  // namespace

std::vector<Method> storageMethods() {
    return {{"file.list", listFiles},
            {"file.read", readFile, true},
            {"file.remove", removeFile, true},
            {"file.write", writeFile, true},
            {"partition.list", listPartitions},
            {"partition.read", readPartition, true},
            {"partition.write", writePartition, true}};
}

}  // namespace tool
