// SPDX-License-Identifier: Apache-2.0
// Configuration files: INI texts of the set's tree.
#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <set>

#include "hw3/hw_sys.h"
#include "ini_text.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_paths.h"
#include "vset_storage.h"

namespace {

struct ConfigFile {
    std::string strFile;
    vset::IniText text;
    // Section, key and value, in the order in which they were set.
    std::vector<std::array<std::string, 3>> changes = {};
    // Values that callers hold pointers to until the file is closed; a value is stored once.
    std::set<std::string> handedOut = {};
};

class ConfigModel : public vset::FamilyModel {
public:
    ConfigModel() : FamilyModel(vset::FamilyId::sys, "HW_SYS") {}

    // Guards the files. A handle's key is its number: the same path may be open several times.
    std::mutex mutex;
    std::map<std::uint64_t, ConfigFile> files;
    std::uint64_t u64Opened = 0;

private:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        files.clear();
    }
};
ConfigModel& model = *new ConfigModel;

const char* text(const HW_U8* pu8Text) {
    return reinterpret_cast<const char*>(pu8Text);
}

// The two halves of "section:key".
struct Key {
    std::string_view section;
    std::string_view key;
};

std::optional<Key> splitKey(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    return Key{text.substr(0, colon), text.substr(colon + 1)};
}

HW_Result_t openFile(const char* pszPath, HW_Handle_t* phConfig) {
    std::string strBuffer;
    const std::string strFile = vset::toHost(pszPath, strBuffer);
    std::error_code error;
    if (!std::filesystem::is_regular_file(strFile, error)) {
        return HW_ERR_FAILED;
    }
    const std::vector<unsigned char> bytes = vset::readFile(strFile);
    const std::string_view content(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::lock_guard<std::mutex> lock(model.mutex);
    const HW_Result_t result = model.handles().open(++model.u64Opened, phConfig);
    if (result == HW_OK) {
        model.files.insert({model.u64Opened, ConfigFile{strFile, vset::IniText(content)}});
    }
    return result;
}

// Writes the changes into the present file: other clients may have changed it since it was opened.
void writeChanges(const ConfigFile& stFile) {
    std::string strText = stFile.text.text();
    std::error_code error;
    if (std::filesystem::is_regular_file(stFile.strFile, error)) {
        const std::vector<unsigned char> bytes = vset::readFile(stFile.strFile);
        vset::IniText text({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        for (const auto& [strSection, strKey, strValue] : stFile.changes) {
            text.set(strSection, strKey, strValue);
        }
        strText = text.text();
    }
    // A link stays a link.
    const std::filesystem::path target = std::filesystem::canonical(stFile.strFile, error);
    vset::replaceFile(error ? stFile.strFile : target.string(), strText.data(), strText.size());
}

// Runs `body` on the open file and the key that the caller names.
template <class Body>
HW_Result_t withKey(HW_Handle_t hConfig, const HW_U8* pu8Key, const HW_SYS_ConfigData_t* pstData, Body&& body) {
    if (pu8Key == nullptr || pstData == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto number = model.handles().key(hConfig);
    const auto file = number ? model.files.find(*number) : model.files.end();
    if (file == model.files.end()) {
        return HW_ERR_INVALID_HANDLE;
    }
    const auto key = splitKey(text(pu8Key));
    if (!key || pstData->u32Type != E_HW_SYS_CONFIG_DATA_STRING) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return body(file->second, *key);
}

HW_Result_t getValue(ConfigFile& stFile, const Key& stKey, HW_SYS_ConfigData_t* pstData) {
    if (pstData->u32Length != 0 || pstData->pu8Data != nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const auto value = stFile.text.value(stKey.section, stKey.key);
    if (!value) {
        return HW_ERR_FAILED;
    }
    const std::string& strValue = *stFile.handedOut.emplace(*value).first;
    pstData->u32Length = static_cast<HW_U32>(strValue.size());
    pstData->pu8Data = reinterpret_cast<const HW_U8*>(strValue.c_str());
    return HW_OK;
}

HW_Result_t setValue(ConfigFile& stFile, const Key& stKey, const HW_SYS_ConfigData_t* pstData) {
    if (pstData->pu8Data == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::string strValue(text(pstData->pu8Data), pstData->u32Length);
    if (!stFile.text.set(stKey.section, stKey.key, strValue)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    stFile.changes.push_back({std::string(stKey.section), std::string(stKey.key), strValue});
    return HW_OK;
}

}  // namespace

HW_Result_t HW_SYS_OpenConfigFile(const HW_U8* pu8Path, HW_Handle_t* phConfig) {
    return vset::call(__func__, {pu8Path, phConfig}, [&]() -> HW_Result_t {
        if (pu8Path == nullptr || phConfig == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = vset::systemReadiness();
        return result == HW_OK ? openFile(text(pu8Path), phConfig) : result;
    });
}

HW_Result_t HW_SYS_GetConfigData(HW_Handle_t hConfig, const HW_U8* pu8Key, HW_SYS_ConfigData_t* pstData) {
    return vset::call(__func__, {hConfig, pu8Key, pstData}, [&]() -> HW_Result_t {
        return withKey(hConfig, pu8Key, pstData,
                       [&](ConfigFile& stFile, const Key& stKey) { return getValue(stFile, stKey, pstData); });
    });
}

HW_Result_t HW_SYS_SetConfigData(HW_Handle_t hConfig, const HW_U8* pu8Key, const HW_SYS_ConfigData_t* pstData) {
    return vset::call(__func__, {hConfig, pu8Key, pstData}, [&]() -> HW_Result_t {
        return withKey(hConfig, pu8Key, pstData,
                       [&](ConfigFile& stFile, const Key& stKey) { return setValue(stFile, stKey, pstData); });
    });
}

HW_Result_t HW_SYS_CloseConfigFile(HW_Handle_t hConfig) {
    return vset::call(__func__, {hConfig}, [&]() -> HW_Result_t {
        const std::lock_guard<std::mutex> lock(model.mutex);
        const auto number = model.handles().key(hConfig);
        if (model.handles().close(hConfig) != HW_OK) {
            return HW_ERR_INVALID_HANDLE;
        }
        // The file is closed even when it cannot be written.
        const auto file = model.files.extract(*number);
        if (!file.mapped().changes.empty()) {
            writeChanges(file.mapped());
        }
        return HW_OK;
    });
}
