// SPDX-License-Identifier: Apache-2.0
// Rows of the system module's operations on the raw bytes of eMMC partitions.
#include "a_vextvfapi_sys.h"
#include "operations/operation.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;
// What an engineer may want to read at once.
constexpr long long kReadLimit = 64ll << 20;

Argument partition() {
    return {"partition", Kind::partition, "the eMMC partition"};
}

Argument offset() {
    return {"offset", Kind::number, "the first byte in the partition", 0, kU32Max};
}

long long readEmmc(Call& call) {
    Bytes partition = call.writableText(0);
    Bytes data = Call::buffer(call.number<std::size_t>(2));
    const int status = a_vextvfapi_sys_read_emmc(partition.data(), call.number<unsigned int>(1),
                                                 call.number<unsigned int>(2), data.data());
    if (status == 0) {
        call.out("data", std::move(data));
    }
    return status;
}

long long writeEmmc(Call& call) {
    Bytes partition = call.writableText(0);
    Bytes data = call.exactBytes(2);
    return a_vextvfapi_sys_write_emmc(partition.data(), call.number<unsigned int>(1),
                                      static_cast<unsigned int>(data.size()), data.data());
}

}  // namespace

std::vector<OperationRow> storageOperations() {
    return {
        OperationRow("a_vextvfapi_sys_read_emmc", "Read raw bytes of an eMMC partition.", Result::status,
                     {partition(), offset(), {"length", Kind::number, "how many bytes", 0, kReadLimit}},
                     {{"data", "the bytes", true}}, readEmmc)
            .usedFor("read-partition")
            .example("sys_read_emmc factory 0x1000 16"),
        OperationRow("a_vextvfapi_sys_write_emmc", "Write raw bytes to an eMMC partition.", Result::status,
                     {partition(), offset(), {"data", Kind::bytes, "what to write", 0, kU32Max}}, {}, writeEmmc)
            .destroying("overwrites bytes of the partition")
            .mustFinish()
            .usedFor("write-partition")
            .example("sys_write_emmc factory 0x1000 text:LM55-000815"),
    };
}

}  // namespace tool
