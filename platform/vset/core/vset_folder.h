// SPDX-License-Identifier: Apache-2.0
// The set's folder, which survives a power cycle. Its files are described in platform/vset/README.md.
#ifndef VSET_FOLDER_H
#define VSET_FOLDER_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "vset/extin.h"
#include "vset/net.h"

namespace vset {

// The contents of set.json.
struct SetConfig {
    unsigned int u32Boots = 0;
    std::array<unsigned char, 16> au8CustomerHash = {};
    std::string strDataIndexPath;
    std::map<std::string, std::uint64_t> partitions;  // eMMC partition -> size in bytes
    bool bWatchdogRebooted = false;                   // and no program has acknowledged it
    std::int64_t s64ClockOffset = 0;                  // seconds that the real-time clock is ahead of the host's
    std::vector<net::Interface> interfaces;           // in the order of the middleware's list
    std::map<std::string, extin::Calibration>
        calibrations;  // of the analogue inputs ("vga0") that have been calibrated
};

// The limits of a partition's size and name.
constexpr std::uint64_t kPartitionLimit = std::uint64_t{1} << 32;
bool isPartitionName(const std::string& strName);

// Returns whether an interface may be in the configuration.
bool isInterface(const net::Interface& stInterface);

// Returns the absolute path, without a slash at the end.
std::string absoluteFolder(const std::string& strFolder);

// The parts of a set's folder.
constexpr char kConfigFile[] = "/set.json";
constexpr char kTree[] = "/tree";
std::string environmentFileIn(const std::string& strFolder, std::uint32_t u32FlashType);
std::string partitionFileIn(const std::string& strFolder, const std::string& strPartition);

// Returns the name of a partition's next file, while its size is changed.
std::string resizedPartition(const std::string& strFile);

// Returns whether the folder holds a complete set.
bool isSet(const std::string& strFolder);

// Makes a folder. Throws SetError.
void makeFolder(const std::string& strFolder);
// Makes the folders and files of a new set's tree. Throws SetError.
void makeTree(const std::string& strFolder);

// A set.json that holds no JSON object.
class NotJson : public SetError {
public:
    using SetError::SetError;
};

// Returns the valid entries of set.json; the others are named in `problems` and have their defaults. Throws NotJson
// when the whole file is invalid.
SetConfig readConfig(const std::string& strFolder, std::vector<std::string>& problems);
void writeConfig(const std::string& strFolder, const SetConfig& stConfig);

// Makes a new set when the folder is empty or missing, and returns the folder's absolute path. Throws SetError.
std::string makeFolderIfMissing(const std::string& strFolder);

// Reads the set in the folder, for the functions below. Throws SetError.
void loadFolder(const std::string& strFolder);
void unloadFolder();

// Throws SetError when no set is attached.
void requireSet();

// Returns the folder that is loaded, or an empty text.
std::string loadedFolder();

// Returns a copy of the attached set's configuration.
SetConfig setConfig();

// Changes the configuration in memory and in the folder. Concurrent changes are all kept; `change` is called under a
// lock, and uses only its argument.
void changeSetConfig(const std::function<void(SetConfig&)>& change);

void countBoot();

// Return the paths of files of the attached set.
std::string environmentFile(std::uint32_t u32FlashType);
std::string partitionFile(const std::string& strPartition);

}  // namespace vset

#endif
