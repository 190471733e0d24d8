// SPDX-License-Identifier: Apache-2.0
// What is damaged in a set's folder, and what mends it.
#include "actions/set_repair.h"

#include <filesystem>

#include "actions/host_file.h"
#include "actions/set_images.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// For a boot environment the image before is better than that of a new set.
void preferKeptImage(const std::string& folder, SetRepair& repair) {
    for (const char* flash : {"emmc", "nand", "spi_nor"}) {
        const SetImage image(folder, flash);
        if (image.file() != folder + "/" + repair.file) {
            continue;
        }
        if (const std::optional<SetImage::Kept> whole = image.newestWhole()) {
            repair.written = whole->written;
            repair.remedy = "the image that was there before";
            repair.mend = [image, number = whole->number] { image.replace(image.readKept(number)); };
        }
    }
}

// Keeps what the file holds under another name as well, for when it is replaced.
void keepFile(const std::string& file, const std::string& as) {
    std::error_code error;
    fs::create_directories(fs::path(as).parent_path(), error);
    fs::create_hard_link(file, as, error);
    if (error) {
        fs::copy_file(file, as, error);
    }
    if (error) {
        throw vset::SetError(as + ": " + error.message());
    }
    syncHostFolder(as);
}

}  // namespace

std::vector<SetRepair> repairsOf(const std::string& folder) {
    const vset::HostPaths hostPaths;
    std::vector<SetRepair> repairs;
    for (vset::Repair& repair : vset::repairs(folder)) {
        repairs.push_back({repair.strFile, repair.damage, repair.strRemedy, std::nullopt, std::move(repair.mend)});
        preferKeptImage(folder, repairs.back());
    }
    return repairs;
}

std::string mendSet(const std::string& folder, const std::string& keep, const SetRepair& repair) {
    const vset::HostPaths hostPaths;
    const std::string damaged = folder + "/" + repair.file;
    std::string kept = fs::is_regular_file(damaged) ? keep + "/" + repair.file : "";
    if (!kept.empty()) {
        keepFile(damaged, kept);
    }
    repair.mend();
    return kept;
}

}  // namespace tool
