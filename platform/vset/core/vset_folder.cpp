// SPDX-License-Identifier: Apache-2.0
// The set's folder, which survives a power cycle.
#include "vset_folder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "hw3/hw_flash.h"
#include "vset/vset.h"
#include "vset_defaults.h"
#include "vset_environment.h"
#include "vset_storage.h"

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace vset {

namespace {

constexpr int kFormat = 1;

struct Loaded {
    std::mutex mutex;
    std::string strFolder;
    SetConfig stConfig;
};

Loaded& theLoaded() {
    static Loaded& loaded = *new Loaded;
    return loaded;
}

std::string hexText(const std::array<unsigned char, 16>& au8Bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string strText;
    for (const unsigned char u8Byte : au8Bytes) {
        strText += kDigits[u8Byte >> 4];
        strText += kDigits[u8Byte & 0xF];
    }
    return strText;
}

bool parseHex(const std::string& strText, std::array<unsigned char, 16>& au8Bytes) {
    if (strText.size() != 2 * au8Bytes.size() ||
        strText.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return false;
    }
    for (std::size_t i = 0; i < au8Bytes.size(); ++i) {
        au8Bytes[i] = static_cast<unsigned char>(std::stoi(strText.substr(2 * i, 2), nullptr, 16));
    }
    return true;
}

// Takes the name of a bad entry, and the expected type that it does not have.
using Bad = std::function<void(const std::string& strEntry, const char* pszWanted)>;

std::map<std::string, std::uint64_t> parsePartitions(const Json& json, const Bad& bad) {
    std::map<std::string, std::uint64_t> partitions;
    for (const auto& [strName, size] : json.items()) {
        if (!isPartitionName(strName)) {
            bad("partitions." + strName, "a partition name");
        } else if (!size.is_number_unsigned() || size.template get<std::uint64_t>() > kPartitionLimit) {
            bad("partitions." + strName, "a size in bytes, at most 4294967296");
        } else {
            partitions[strName] = size.template get<std::uint64_t>();
        }
    }
    return partitions;
}

// Returns the entries that are interfaces.
std::vector<net::Interface> parseInterfaces(const Json& json, const Bad& bad) {
    std::vector<net::Interface> interfaces;
    for (std::size_t i = 0; i < json.size(); ++i) {
        net::Interface stInterface;
        try {
            json[i].at("name").get_to(stInterface.strName);
            json[i].at("mac").get_to(stInterface.strMac);
            json[i].at("up").get_to(stInterface.bUp);
            json[i].at("dhcp").get_to(stInterface.bDhcp);
        } catch (const Json::exception&) {
            stInterface.strName.clear();
        }
        if (isInterface(stInterface) && interfaces.size() < net::kInterfaces) {
            interfaces.push_back(stInterface);
        } else {
            bad("interfaces." + std::to_string(i), "an interface with name, mac, up and dhcp");
        }
    }
    return interfaces;
}

// A member of a record for each color.
struct Colors {
    const char* pszKey;
    std::array<HW_U32*, 3> values;
};

std::array<Colors, 3> colorsOf(extin::Calibration& stCalibration) {
    HW_EXTIN_AdcPhase_t& stPhase = stCalibration.stPhase;
    HW_EXTIN_AdcGainOffset_t& stGain = stCalibration.stGainOffset;
    return {{{"phase", {&stPhase.u32Red, &stPhase.u32Green, &stPhase.u32Blue}},
             {"gain", {&stGain.u32RedGain, &stGain.u32GreenGain, &stGain.u32BlueGain}},
             {"offset", {&stGain.u32RedOffset, &stGain.u32GreenOffset, &stGain.u32BlueOffset}}}};
}

bool parseColors(const Json& json, const Colors& colors) {
    if (!json.is_array() || json.size() != colors.values.size()) {
        return false;
    }
    for (std::size_t i = 0; i < json.size(); ++i) {
        if (!json[i].is_number_unsigned() || json[i].get<std::uint64_t>() > 0xFFFFFFFFu) {
            return false;
        }
        *colors.values[i] = json[i].get<HW_U32>();
    }
    return true;
}

bool parseCalibration(const Json& json, extin::Calibration& stCalibration) {
    const auto all = colorsOf(stCalibration);
    return json.is_object() && json.size() == all.size() &&
           std::all_of(all.begin(), all.end(), [&](const Colors& colors) {
               return json.contains(colors.pszKey) && parseColors(json[colors.pszKey], colors);
           });
}

// Returns whether a text is a MAC address in capitals: "02:00:5E:00:53:01".
bool isMac(const std::string& strText) {
    static constexpr std::size_t kLength = 17;
    for (std::size_t i = 0; i < strText.size(); ++i) {
        if (std::strchr(i % 3 == 2 ? ":" : "0123456789ABCDEF", strText[i]) == nullptr || strText[i] == '\0') {
            return false;
        }
    }
    return strText.size() == kLength;
}

// Returns whether a text is a type and an index of up to three digits: "vga0".
bool isAnalogueInput(const std::string& strText) {
    const std::size_t start = std::min(strText.find_first_of("0123456789"), strText.size());
    const std::string strType = strText.substr(0, start);
    const std::string strIndex = strText.substr(start);
    return (strType == "vga" || strType == "ypbpr" || strType == "scart") && !strIndex.empty() &&
           strIndex.size() <= 3 && strIndex.find_first_not_of("0123456789") == std::string::npos &&
           (strIndex == "0" || strIndex[0] != '0');
}

// Returns the entries that are calibrations of inputs.
std::map<std::string, extin::Calibration> parseCalibrations(const Json& json, const Bad& bad) {
    std::map<std::string, extin::Calibration> calibrations;
    for (const auto& [strInput, value] : json.items()) {
        extin::Calibration stCalibration;
        if (isAnalogueInput(strInput) && parseCalibration(value, stCalibration)) {
            calibrations[strInput] = stCalibration;
        } else {
            bad("calibration." + strInput, "an analogue input with phase, gain and offset of three colors");
        }
    }
    return calibrations;
}

struct ConfigEntry {
    const char* pszKey;
    const char* pszWanted;
    bool (*read)(const Json& value, SetConfig& stConfig, const Bad& bad);  // false: a value of another kind
};

const ConfigEntry kConfigEntries[] = {
    {"format", "1", [](const Json& value, SetConfig&, const Bad&) { return value == kFormat; }},
    {"boots", "a count",
     [](const Json& value, SetConfig& stConfig, const Bad&) {
         stConfig.u32Boots = value.is_number_unsigned() ? value.get<unsigned int>() : stConfig.u32Boots;
         return value.is_number_unsigned();
     }},
    {"customer_hash", "a text of 32 hexadecimal digits",
     [](const Json& value, SetConfig& stConfig, const Bad&) {
         return value.is_string() && parseHex(value.get<std::string>(), stConfig.au8CustomerHash);
     }},
    {"data_index_path", "a text",
     [](const Json& value, SetConfig& stConfig, const Bad&) {
         stConfig.strDataIndexPath = value.is_string() ? value.get<std::string>() : stConfig.strDataIndexPath;
         return value.is_string();
     }},
    {"partitions", "an object of names and sizes",
     [](const Json& value, SetConfig& stConfig, const Bad& bad) {
         stConfig.partitions = value.is_object() ? parsePartitions(value, bad) : stConfig.partitions;
         return value.is_object();
     }},
    {"watchdog_rebooted", "true or false",
     [](const Json& value, SetConfig& stConfig, const Bad&) {
         stConfig.bWatchdogRebooted = value == true;
         return value.is_boolean();
     }},
    {"clock_offset", "a number of seconds",
     [](const Json& value, SetConfig& stConfig, const Bad&) {
         stConfig.s64ClockOffset = value.is_number_integer() ? value.get<std::int64_t>() : 0;
         return value.is_number_integer();
     }},
    {"interfaces", "a list of interfaces",
     [](const Json& value, SetConfig& stConfig, const Bad& bad) {
         stConfig.interfaces = value.is_array() ? parseInterfaces(value, bad) : stConfig.interfaces;
         return value.is_array();
     }},
    {"calibration", "an object of analogue inputs",
     [](const Json& value, SetConfig& stConfig, const Bad& bad) {
         stConfig.calibrations = value.is_object() ? parseCalibrations(value, bad) : stConfig.calibrations;
         return value.is_object();
     }},
};

// Reads one entry after the other: a bad one is named in `problems` and keeps its default, the rest counts.
SetConfig parseConfig(const Json& json, const std::string& strFile, std::vector<std::string>& problems) {
    SetConfig stConfig = defaultSetConfig();
    const Bad bad = [&](const std::string& strEntry, const char* pszWanted) {
        problems.push_back(strFile + ": \"" + strEntry + "\" is not " + pszWanted);
    };
    for (const auto& [strKey, value] : json.items()) {
        const auto entry = std::find_if(std::begin(kConfigEntries), std::end(kConfigEntries),
                                        [&, &strName = strKey](const ConfigEntry& e) { return strName == e.pszKey; });
        if (entry == std::end(kConfigEntries)) {
            bad(strKey, "an entry of this file");
        } else if (!entry->read(value, stConfig, bad)) {
            bad(strKey, entry->pszWanted);
        }
    }
    return stConfig;
}

}  // namespace

SetConfig readConfig(const std::string& strFolder, std::vector<std::string>& problems) {
    const std::string strFile = strFolder + kConfigFile;
    const std::vector<unsigned char> bytes = readFile(strFile);
    const Json json = Json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (!json.is_object()) {
        throw NotJson(strFile + ": is not a JSON object");
    }
    return parseConfig(json, strFile, problems);
}

void writeConfig(const std::string& strFolder, const SetConfig& stConfig) {
    Json json;
    json["format"] = kFormat;
    json["boots"] = stConfig.u32Boots;
    json["customer_hash"] = hexText(stConfig.au8CustomerHash);
    json["data_index_path"] = stConfig.strDataIndexPath;
    json["partitions"] = Json::object();
    for (const auto& [strName, u64Size] : stConfig.partitions) {
        json["partitions"][strName] = u64Size;
    }
    json["watchdog_rebooted"] = stConfig.bWatchdogRebooted;
    json["clock_offset"] = stConfig.s64ClockOffset;
    json["interfaces"] = Json::array();
    for (const net::Interface& stInterface : stConfig.interfaces) {
        json["interfaces"].push_back({{"name", stInterface.strName},
                                      {"mac", stInterface.strMac},
                                      {"up", stInterface.bUp},
                                      {"dhcp", stInterface.bDhcp}});
    }
    json["calibration"] = Json::object();
    for (const auto& [strInput, stConst] : stConfig.calibrations) {
        extin::Calibration stCalibration = stConst;
        for (const Colors& colors : colorsOf(stCalibration)) {
            const auto& values = colors.values;
            json["calibration"][strInput][colors.pszKey] = {*values[0], *values[1], *values[2]};
        }
    }
    const std::string strText = json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    replaceFile(strFolder + kConfigFile, strText.data(), strText.size());
}

std::string environmentFileIn(const std::string& strFolder, std::uint32_t u32FlashType) {
    static constexpr const char* kNames[] = {"spi_nor", "nand", "emmc"};
    return strFolder + "/env/" + (u32FlashType < 3 ? kNames[u32FlashType] : std::to_string(u32FlashType)) + ".img";
}

std::string partitionFileIn(const std::string& strFolder, const std::string& strPartition) {
    return strFolder + "/partitions/" + strPartition + ".img";
}

std::string resizedPartition(const std::string& strFile) {
    return strFile + ".resized";
}

void makeFolder(const std::string& strFolder) {
    std::error_code error;
    fs::create_directories(strFolder, error);
    if (error) {
        throw SetError(strFolder + ": " + error.message());
    }
}

bool isSet(const std::string& strFolder) {
    std::error_code error;
    return fs::exists(strFolder + kConfigFile, error);
}

namespace {

// The next configuration. It is the first file of a new set, and set.json is the last.
constexpr char kNextConfigFile[] = "/set.json.new";

// Returns whether the folder is empty or holds only a set whose making was interrupted. Such a set has never been used:
// it has no lock.
bool isEmptyOrHalfMade(const std::string& strFolder) {
    std::error_code error;
    const fs::directory_iterator entries(strFolder, error);
    if (error) {
        throw SetError(strFolder + ": " + error.message());
    }
    const bool bHalfMade = fs::exists(strFolder + kNextConfigFile, error);
    return std::all_of(begin(entries), end(entries), [&](const fs::directory_entry& entry) {
        static const std::set<std::string> kParts = {"env", "partitions", "set.json.new", "tree"};
        return bHalfMade && kParts.count(entry.path().filename().string()) != 0;
    });
}

// A folder in which one process at a time makes a set. If the set is not completed, all files made for it are removed,
// and a folder that existed before is empty again.
class SetInMaking {
public:
    explicit SetInMaking(const std::string& strFolder) : _strFolder(strFolder) {
        std::error_code error;
        for (fs::path path = strFolder; !fs::exists(path, error) && path.has_relative_path();
             path = path.parent_path()) {
            _made.push_back(path);
        }
        try {
            makeFolder(strFolder);
            _s32Lock = ::open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            if (_s32Lock < 0 || flock(_s32Lock, LOCK_EX) != 0) {
                throw SetError(strFolder + ": " + std::strerror(errno));
            }
            if (!isSet(strFolder) && !isEmptyOrHalfMade(strFolder)) {
                throw SetError(strFolder + ": is neither a set nor empty");
            }
        } catch (...) {
            giveUp();
            throw;
        }
        _bOurs = !isSet(strFolder);
    }
    ~SetInMaking() { giveUp(); }
    SetInMaking(const SetInMaking&) = delete;
    SetInMaking& operator=(const SetInMaking&) = delete;

    // Returns whether another process has made the set meanwhile.
    bool isMade() const { return !_bOurs; }
    void keep() { _bOurs = false; }

private:
    void giveUp() {
        std::error_code error;
        if (_bOurs) {
            for (const fs::directory_entry& entry : fs::directory_iterator(_strFolder, error)) {
                fs::remove_all(entry.path(), error);
            }
        }
        // A folder stays if there is a set, or if other processes have put files there meanwhile.
        for (const fs::path& path : _made) {
            rmdir(path.c_str());
        }
        if (_s32Lock >= 0) {
            close(_s32Lock);
        }
    }

    const std::string _strFolder;
    std::vector<fs::path> _made;  // the innermost folder first
    int _s32Lock = -1;
    bool _bOurs = false;  // the folder's contents, which giveUp() removes then
};

void fillNewSet(const std::string& strFolder) {
    const std::string strNext = strFolder + kNextConfigFile;
    const int s32Next = ::open(strNext.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (s32Next < 0) {
        failWith(strNext);
    }
    close(s32Next);
    makeFolder(strFolder + "/env");
    makeFolder(strFolder + "/partitions");
    makeTree(strFolder);
    const std::vector<unsigned char> environment = makeEnvironment(kDefaultEnvironment);
    replaceFile(environmentFileIn(strFolder, E_HW_FLASH_TYPE_EMMC), environment.data(), environment.size());
    // The configuration is written last: the folder is a set from here on.
    writeConfig(strFolder, defaultSetConfig());
}

// Returns false when another process has made the set meanwhile.
bool makeSet(const std::string& strFolder) {
    SetInMaking making(strFolder);
    if (making.isMade()) {
        return false;
    }
    try {
        fillNewSet(strFolder);
    } catch (const SetError& error) {
        throw SetError(strFolder + ": no set could be made: " + error.what());
    }
    making.keep();
    return true;
}

}  // namespace

bool isInterface(const net::Interface& stInterface) {
    return !stInterface.strName.empty() && stInterface.strName.size() <= net::kNameSize && isMac(stInterface.strMac);
}

bool isPartitionName(const std::string& strName) {
    return !strName.empty() && strName.find('/') == std::string::npos && strName.front() != '.';
}

std::string absoluteFolder(const std::string& strFolder) {
    const fs::path path = fs::absolute(strFolder).lexically_normal();
    return (path.has_filename() ? path : path.parent_path()).string();
}

std::string makeFolderIfMissing(const std::string& strFolder) {
    std::string strAbsolute = absoluteFolder(strFolder);
    if (!isSet(strAbsolute)) {
        makeSet(strAbsolute);
    }
    return strAbsolute;
}

void makeTree(const std::string& strFolder) {
    for (const DefaultFolder& stDefault : kDefaultFolders) {
        makeFolder(strFolder + kTree + stDefault.pszPath);
    }
    for (const DefaultFile& stDefault : kDefaultFiles) {
        replaceFile(strFolder + kTree + stDefault.pszPath, stDefault.content.data(), stDefault.content.size());
    }
}

void create(const std::string& strFolder) {
    const HostPaths hostPaths;
    if (!makeSet(strFolder)) {
        throw SetError(strFolder + ": is a set already");
    }
}

// Completes a change of size that a power cut has interrupted: the size in the configuration shows whether a partition
// has its new file.
static void endResizing(const std::string& strFolder, const SetConfig& stConfig) {
    for (const auto& [strName, u64Size] : stConfig.partitions) {
        const std::string strFile = partitionFileIn(strFolder, strName);
        std::error_code error;
        const std::uintmax_t size = fs::file_size(resizedPartition(strFile), error);
        if (error) {
            continue;
        }
        if (size == u64Size && fs::file_size(strFile, error) != u64Size) {
            moveFile(resizedPartition(strFile), strFile);
        } else {
            fs::remove(resizedPartition(strFile), error);
        }
    }
}

void loadFolder(const std::string& strFolder) {
    std::vector<std::string> problems;
    SetConfig stConfig = readConfig(strFolder, problems);
    for (const std::string& strProblem : problems) {
        std::fprintf(stderr, "virtual set: %s\n", strProblem.c_str());
    }
    endResizing(strFolder, stConfig);
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    loaded.strFolder = strFolder;
    loaded.stConfig = std::move(stConfig);
}

// Returns the folder. Throws SetError when no set is attached. The caller holds the mutex.
static const std::string& folderOf(const Loaded& loaded) {
    if (loaded.strFolder.empty()) {
        throw SetError("no set is attached");
    }
    return loaded.strFolder;
}

void unloadFolder() {
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    loaded.strFolder.clear();
}

void requireSet() {
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    static_cast<void>(folderOf(loaded));
}

SetConfig setConfig() {
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    return loaded.stConfig;
}

void changeSetConfig(const std::function<void(SetConfig&)>& change) {
    const HostPaths hostPaths;
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    const std::string& strFolder = folderOf(loaded);
    SetConfig stConfig = loaded.stConfig;
    change(stConfig);
    writeConfig(strFolder, stConfig);
    loaded.stConfig = std::move(stConfig);
}

void countBoot() {
    changeSetConfig([](SetConfig& stConfig) { ++stConfig.u32Boots; });
}

unsigned int bootCount() {
    return setConfig().u32Boots;
}

std::string environmentFile(std::uint32_t u32FlashType) {
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    return environmentFileIn(folderOf(loaded), u32FlashType);
}

std::string loadedFolder() {
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    return loaded.strFolder;
}

std::string partitionFile(const std::string& strPartition) {
    Loaded& loaded = theLoaded();
    const std::lock_guard<std::mutex> lock(loaded.mutex);
    return partitionFileIn(folderOf(loaded), strPartition);
}

}  // namespace vset
