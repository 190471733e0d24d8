// SPDX-License-Identifier: Apache-2.0
// What makes a set a certain one, and how its eMMC is divided.
#include <algorithm>

#include "actions/action.h"
#include "vset/flash.h"
#include "vset/sys.h"

namespace tool {

namespace {

void customerHash(Call& call) {
    const Bytes& bytes = call.bytes(0);
    vset::sys::CustomerHash hash = vset::sys::customerHash();
    if (!bytes.empty()) {
        if (bytes.size() != hash.size()) {
            throw vset::SetError("a customer hash has 16 bytes, not " + std::to_string(bytes.size()));
        }
        std::copy(bytes.begin(), bytes.end(), hash.begin());
        vset::sys::setCustomerHash(hash);
    }
    call.out("hash", Bytes(hash.begin(), hash.end()));
}

void dataIndex(Call& call) {
    if (!call.text(0).empty()) {
        vset::sys::setDataIndexPath(call.text(0));
    }
    call.out("path", vset::sys::dataIndexPath());
}

void partitions(Call& call) {
    Rows rows;
    for (const auto& [name, size] : vset::flash::partitions()) {
        rows.push_back(
            {name + " " + std::to_string(size) + " bytes", {{"name", name}, {"size", static_cast<long long>(size)}}});
    }
    call.outRows("partitions", std::move(rows));
}

}  // namespace

std::vector<ActionRow> identityActions() {
    constexpr long long kPartitionLimit = 1ll << 32;
    return {
        ActionRow("customer-hash", "Show the set's customer hash, or change it.",
                  {{"hash", Kind::bytes, "16 bytes, like hex:00112233445566778899aabbccddeeff", 0, 16, {}, "text:"}},
                  {{"hash", "its bytes"}}, customerHash),
        ActionRow("data-index", "Show the path of the set's data-index file, or change it.",
                  {{"path", Kind::text, "a path of the set", 0, 127, {}, ""}}, {{"path", "the path"}}, dataIndex),
        ActionRow("partitions", "Show the partitions of the eMMC.", {}, {{"partitions", "a line each: name, size"}},
                  partitions),
        ActionRow("partition", "Make a partition of the eMMC, or give it another size; what fits of its content stays.",
                  {{"name", Kind::text, "its name"}, {"bytes", Kind::number, "its size", 1, kPartitionLimit}}, {},
                  [](Call& call) { vset::flash::setPartition(call.text(0), call.number<std::uint64_t>(1)); }),
    };
}

}  // namespace tool
