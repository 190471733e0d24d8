// SPDX-License-Identifier: Apache-2.0
// Methods on the virtual set as a whole.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "actions/set_backup.h"
#include "actions/set_repair.h"
#include "hw3/hw_flash.h"
#include "vset/flash.h"
#include "vset/uart.h"
#include "worker/lane.h"
#include "worker/method.h"
#include "worker/set_session.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::pair<const char*, HW_U32> kFlashes[] = {
    {"spi_nor", E_HW_FLASH_TYPE_SPI_NOR}, {"nand", E_HW_FLASH_TYPE_NAND}, {"emmc", E_HW_FLASH_TYPE_EMMC}};

// Removes the set, and makes a new one in its place.
void resetSet() {
    // Refuses what is no set: a folder is about to be removed.
    vset::check(setFolder());
    {
        const vset::Hold hold(setFolder());
        for (const fs::directory_entry& entry : fs::directory_iterator(setFolder())) {
            std::error_code error;
            fs::remove_all(entry.path(), error);
            if (error) {
                throw vset::SetError(entry.path().string() + ": " + error.message());
            }
        }
    }
    vset::create(setFolder());
}

Reply power(const Field& params) {
    const std::string& to = params.at("to").text();
    const vset::HostPaths hostPaths;
    if (to == "create" || to == "reset") {
        to == "create" ? vset::create(setFolder()) : resetSet();
        return Field{{"boots", 0}};
    }
    switchSetOn(params["damaged"].flagOr(false));
    return Field{{"boots", vset::bootCount()}};
}

Reply show(const Field&) {
    const vset::HostPaths hostPaths;
    const std::vector<std::string> damage = vset::check(setFolder());
    // Damage is what is to be shown.
    switchSetOn(true);
    Field partitions = Field::List{}, environment = Field::Fields{};
    for (const auto& [name, size] : vset::flash::partitions()) {
        partitions.add({{"name", Field::ofSet(name)}, {"bytes", size}});
    }
    for (const auto& [name, type] : kFlashes) {
        try {
            Field::List variables;
            for (const auto& [key, value] : vset::flash::environment(type)) {
                variables.push_back({{"name", Field::ofSet(key)}, {"value", Field::ofSet(value)}});
            }
            environment.set(name, std::move(variables));
        } catch (const vset::SetError&) {
            // It is among the damage.
            continue;
        }
    }
    return Field{{"folder", Field::ofSet(vset::folder())},
                 {"boots", vset::bootCount()},
                 {"damage", Field::List(damage.begin(), damage.end())},
                 {"partitions", std::move(partitions)},
                 {"environment", std::move(environment)}};
}

Reply ports(const Field&) {
    Field::List all;
    for (const vset::uart::Connector& connector : vset::uart::connectors(setFolder())) {
        all.push_back({{"number", connector.u32Number},
                       {"path", Field::ofSet(connector.strPath)},
                       {"terminal", Field::ofSet(connector.strTerminal)}});
    }
    return Field{{"ports", std::move(all)}};
}

// --- Backups ---------------------------------------------------------------------------------------------------------

void requireOff() {
    if (isSetOn()) {
        throw RequestError(ErrorCode::unavailable, "the set is switched on");
    }
}

// A file without a name, which is gone when it is closed.
class TemporaryFile {
public:
    TemporaryFile() {
        std::string name = (fs::temp_directory_path() / "fapi-backup-XXXXXX").string();
        _descriptor = mkostemp(name.data(), O_CLOEXEC);
        if (_descriptor < 0) {
            throw vset::SetError(name + ": " + std::strerror(errno));
        }
        _stream->open(name, std::ios::binary);
        unlink(name.c_str());
    }
    ~TemporaryFile() { close(_descriptor); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int descriptor() const { return _descriptor; }
    // Reads it from its beginning.
    const std::shared_ptr<std::ifstream>& stream() const { return _stream; }

private:
    int _descriptor = -1;
    const std::shared_ptr<std::ifstream> _stream = std::make_shared<std::ifstream>();
};

Field contentsField(const BackupContents& contents) {
    Field::List leftOut;
    for (const std::string& path : contents.leftOut) {
        leftOut.push_back(Field::ofSet(path));
    }
    return {{"files", contents.files}, {"bytes", contents.bytes}, {"left_out", std::move(leftOut)}};
}

Reply backup(const Field&) {
    requireOff();
    const vset::HostPaths hostPaths;
    // Refuses what is no set. A damaged one is worth a backup, too.
    vset::repairs(setFolder());
    const vset::Hold hold(setFolder());
    const TemporaryFile file;
    const BackupContents contents = writeBackup(setFolder(), file.descriptor());
    return {contentsField(contents), piecesOf(file.stream())};
}

Reply restore(const Field& params) {
    requireOff();
    const vset::HostPaths hostPaths;
    const std::string folder = setFolder();
    std::optional<vset::Hold> hold;
    if (fs::exists(folder) && !fs::is_empty(folder)) {
        // Refuses what is no set.
        vset::repairs(folder);
        hold.emplace(folder);
    }
    const BackupContents contents = restoreBackup(params.at("file").text(), folder, isCanceled);
    Field answer = contentsField(contents);
    if (!contents.remains.empty()) {
        answer.set("remains", Field::ofSet(contents.remains));
    }
    return answer;
}

// --- Repairs ---------------------------------------------------------------------------------------------------------

Field repairsField(const std::vector<SetRepair>& repairs) {
    Field::List all;
    for (const SetRepair& repair : repairs) {
        Field row = {{"file", Field::ofSet(repair.file)}};
        Field::List damage;
        for (const std::string& line : repair.damage) {
            damage.push_back(Field::ofSet(line));
        }
        row.set("damage", std::move(damage));
        row.set("remedy", repair.remedy);
        if (repair.written) {
            row.set("written", *repair.written);
        }
        all.push_back(std::move(row));
    }
    return all;
}

Reply damage(const Field&) {
    return Field{{"damage", repairsField(repairsOf(setFolder()))}};
}

// The folder for what is damaged now; another one when there is one of that name, of the same second.
std::string newDamageFolder() {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    char date[32] = {};
    std::strftime(date, sizeof(date), "/damaged-%Y%m%d-%H%M%S", localtime_r(&now, &local));
    const std::string wanted = setFolder() + date;
    std::string name = wanted;
    for (unsigned int i = 2; fs::exists(name); ++i) {
        name = wanted + "-" + std::to_string(i);
    }
    return name;
}

Reply repair(const Field&) {
    requireOff();
    const vset::HostPaths hostPaths;
    // Before the hold, which would put a file into a folder that is no set.
    if (repairsOf(setFolder()).empty()) {
        return Field{{"repaired", Field::List()}};
    }
    const vset::Hold hold(setFolder());
    const std::vector<SetRepair> repairs = repairsOf(setFolder());
    const std::string keep = newDamageFolder();
    Field repaired = repairsField(repairs);
    Field::List done;
    const auto answer = [&] {
        Field fields = {{"repaired", done}};
        if (fs::exists(keep)) {
            fields.set("folder", Field::ofSet(keep));
        }
        return fields;
    };
    try {
        for (std::size_t i = 0; i < repairs.size(); ++i) {
            const std::string kept = mendSet(setFolder(), keep, repairs[i]);
            Field& row = done.emplace_back(repaired.list()[i]);
            if (!kept.empty()) {
                row.set("kept", Field::ofSet(kept));
            }
        }
    } catch (const vset::SetError& error) {
        // What was mended before stays so.
        throw RequestError({codeOfSetError(), error.what(), answer()});
    }
    return answer();
}

}  // namespace

std::vector<Method> setMethods() {
    return {{"power", power},       {"set.backup", backup},   {"set.damage", damage}, {"set.ports", ports},
            {"set.repair", repair}, {"set.restore", restore}, {"set.show", show}};
}

}  // namespace tool
