// SPDX-License-Identifier: Apache-2.0
// `fapi partition ...`: whole eMMC partitions, and stretches of them, from and to files of this PC.
#ifndef FAPI_BENCH_CLI_PARTITION_H
#define FAPI_BENCH_CLI_PARTITION_H

#include <cstdint>
#include <optional>

#include "target/confirm.h"

namespace tool {

struct PartitionOptions {
    std::string partition;
    std::string file;
    std::uint64_t offset = 0;
    std::optional<std::uint64_t> length;  // to be read; none: up to the partition's end
};

// Through the library's operations, a chunk after the other. Both return an exit code.
int readPartition(const GlobalOptions& options, const PartitionOptions& wanted);
int writePartition(const GlobalOptions& options, const PartitionOptions& wanted);

}  // namespace tool

#endif
