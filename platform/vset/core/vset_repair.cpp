// SPDX-License-Identifier: Apache-2.0
// Finds the damage in a set's folder, and repairs it.
#include <filesystem>

#include "hw3/hw_flash.h"
#include "vset/vset.h"
#include "vset_defaults.h"
#include "vset_environment.h"
#include "vset_folder.h"
#include "vset_storage.h"

namespace fs = std::filesystem;

namespace vset {

namespace {

void checkSize(const std::string& strFile, std::uint64_t u64Wanted, std::vector<std::string>& problems) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(strFile, error);
    if (!error && size != u64Wanted) {
        problems.push_back(strFile + ": has " + std::to_string(size) + " bytes instead of " +
                           std::to_string(u64Wanted));
    }
}

void checkEnvironment(const std::string& strFile, std::vector<std::string>& problems) {
    std::error_code error;
    if (!fs::exists(strFile, error)) {
        return;
    }
    checkSize(strFile, HW_FLASH_ENV_IMAGE_SIZE, problems);
    if (problems.empty() && !isEnvironmentValid(readFile(strFile).data())) {
        problems.push_back(strFile + ": wrong checksum");
    }
}

// The damage and remedy of each of the set's parts.
class Repairs {
public:
    explicit Repairs(const std::string& strFolder) : _strFolder(strFolder) {}

    // Adds the repair of set.json. `stConfig` holds the valid entries of the damaged configuration.
    void config(const SetConfig& stConfig, const std::vector<std::string>& problems) {
        add(kConfigFile + 1, problems, "what is right of it, and defaults",
            [strFolder = _strFolder, stConfig] { writeConfig(strFolder, stConfig); });
    }

    void folder(const std::string& strName) {
        const std::string strPath = _strFolder + "/" + strName;
        std::error_code error;
        if (fs::is_directory(strPath, error)) {
            return;
        }
        const bool isTree = strName == "tree";
        add(strName, {strPath + ": is missing"}, isTree ? "the files of a new set" : "an empty folder",
            [strPath, isTree, strFolder = _strFolder] { isTree ? makeTree(strFolder) : makeFolder(strPath); });
    }

    void environment(HW_U32 u32Type) {
        const std::string strFile = environmentFileIn(_strFolder, u32Type);
        const bool isDefault = u32Type == E_HW_FLASH_TYPE_EMMC;
        std::vector<std::string> problems;
        checkEnvironment(strFile, problems);
        add(nameOf(strFile), problems, isDefault ? "the environment of a new set" : "erased flash",
            [strFile, isDefault] {
                const std::vector<unsigned char> image = isDefault ? makeEnvironment(kDefaultEnvironment)
                                                                   : std::vector<HW_U8>(HW_FLASH_ENV_IMAGE_SIZE, 0xFF);
                replaceFile(strFile, image.data(), image.size());
            });
    }

    void partition(const std::string& strName, std::uint64_t u64Size) {
        const std::string strFile = partitionFileIn(_strFolder, strName);
        std::vector<std::string> problems;
        checkSize(strFile, u64Size, problems);
        add(nameOf(strFile), problems, "its bytes, cut or filled up with 0xFF to " + std::to_string(u64Size),
            [strFile, u64Size] { replaceFileResized(strFile, u64Size); });
    }

    std::vector<Repair> take() { return std::move(_repairs); }

private:
    std::string nameOf(const std::string& strFile) const { return strFile.substr(_strFolder.size() + 1); }

    void add(const std::string& strFile, const std::vector<std::string>& damage, const std::string& strRemedy,
             std::function<void()> mend) {
        if (!damage.empty()) {
            _repairs.push_back({strFile, damage, strRemedy, std::move(mend)});
        }
    }

    const std::string _strFolder;
    std::vector<Repair> _repairs;
};

// Adds the damage of all parts besides set.json.
void checkParts(const SetConfig& stConfig, Repairs& repairs) {
    for (const char* pszFolder : {"env", "partitions", "tree"}) {
        repairs.folder(pszFolder);
    }
    for (const HW_U32 u32Type : {E_HW_FLASH_TYPE_SPI_NOR, E_HW_FLASH_TYPE_NAND, E_HW_FLASH_TYPE_EMMC}) {
        repairs.environment(u32Type);
    }
    for (const auto& [strName, u64Size] : stConfig.partitions) {
        repairs.partition(strName, u64Size);
    }
}

// Makes a configuration for a set whose set.json is lost: the files show its partitions.
SetConfig configFromParts(const std::string& strFolder) {
    SetConfig stConfig = defaultSetConfig();
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(strFolder + "/partitions", error)) {
        const std::string strName = entry.path().stem().string();
        if (entry.path().extension() == ".img" && isPartitionName(strName) && entry.is_regular_file() &&
            entry.file_size() <= kPartitionLimit) {
            stConfig.partitions[strName] = entry.file_size();
        }
    }
    return stConfig;
}

// Returns the readable part of the configuration, and lists its problems.
SetConfig salvageConfig(const std::string& strFolder, std::vector<std::string>& problems) {
    if (!isSet(strFolder)) {
        problems.push_back(strFolder + kConfigFile + ": is missing");
        return configFromParts(strFolder);
    }
    try {
        return readConfig(strFolder, problems);
    } catch (const NotJson& error) {
        problems.emplace_back(error.what());
        return configFromParts(strFolder);
    }
}

}  // namespace

std::vector<std::string> check(const std::string& strFolder) {
    const HostPaths hostPaths;
    if (!isSet(strFolder)) {
        throw SetError(strFolder + ": is no set");
    }
    std::vector<std::string> problems;
    Repairs repairs(strFolder);
    checkParts(readConfig(strFolder, problems), repairs);
    for (const Repair& stRepair : repairs.take()) {
        problems.insert(problems.end(), stRepair.damage.begin(), stRepair.damage.end());
    }
    return problems;
}

std::vector<Repair> repairs(const std::string& strFolder) {
    const HostPaths hostPaths;
    std::error_code error;
    if (!isSet(strFolder) && !fs::exists(strFolder + "/env", error) && !fs::exists(strFolder + "/partitions", error)) {
        throw SetError(strFolder + ": is no set");
    }
    std::vector<std::string> problems;
    const SetConfig stConfig = salvageConfig(strFolder, problems);
    Repairs repairs(strFolder);
    checkParts(stConfig, repairs);
    // The configuration comes last, as when a set is made.
    repairs.config(stConfig, problems);
    return repairs.take();
}

}  // namespace vset
