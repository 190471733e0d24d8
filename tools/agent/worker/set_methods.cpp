// SPDX-License-Identifier: Apache-2.0
// Methods on the set as a whole.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

#include <unistd.h>

#include "actions/set_backup.h"
#include "hw3/hw_flash.h"
#include "vset/flash.h"
#include "vset/uart.h"
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
    if (to == "create") {
        vset::create(setFolder());
    } else if (to == "reset") {
        resetSet();
    }
    switchSetOn(params["damaged"].flagOr(false));
    return Field{{"boots", vset::bootCount()}};
}

Reply show(const Field&) {
    const vset::HostPaths hostPaths;
    // A new set is made when it is switched on.
    const bool isThere = fs::exists(setFolder() + "/set.json");
    const std::vector<std::string> damage = isThere ? vset::check(setFolder()) : std::vector<std::string>();
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

// A file without a name after it has been opened.
class TemporaryFile {
public:
    TemporaryFile() { close(mkstemp(_name.data())); }
    ~TemporaryFile() { unlink(_name.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& name() const { return _name; }

private:
    std::string _name = (fs::temp_directory_path() / "fapi-backup-XXXXXX").string();
};

Field contentsField(const BackupContents& contents) {
    Field::List leftOut;
    for (const std::string& path : contents.leftOut) {
        leftOut.push_back(Field::ofSet(path));
    }
    return {{"files", contents.files}, {"bytes", contents.bytes}, {"left_out", std::move(leftOut)}};
}

bool isNeverStopped() {
    return false;
}

Reply backup(const Field&) {
    requireOff();
    const vset::HostPaths hostPaths;
    // Refuses what is no set. A damaged one is worth a backup, too.
    vset::repairs(setFolder());
    const vset::Hold hold(setFolder());
    const TemporaryFile file;
    const BackupContents contents = writeBackup(setFolder(), file.name(), isNeverStopped);
    const auto stream = std::make_shared<std::ifstream>(file.name(), std::ios::binary);
    return {contentsField(contents), piecesOf(stream)};
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
    return contentsField(restoreBackup(params.at("file").text(), folder, isNeverStopped));
}

}  // namespace

std::vector<Method> setMethods() {
    return {
        {"power", power}, {"set.backup", backup}, {"set.restore", restore}, {"set.ports", ports}, {"set.show", show}};
}

const Method* findMethod(const std::string& name) {
    static const std::map<std::string, Method> all = [] {
        std::map<std::string, Method> methods;
        for (const std::vector<Method>& some : {callMethods(), lookMethods(), setMethods(), storageMethods()}) {
            for (const Method& method : some) {
                methods.emplace(method.name, method);
            }
        }
        return methods;
    }();
    const auto found = all.find(name);
    return found != all.end() ? &found->second : nullptr;
}

}  // namespace tool
