// SPDX-License-Identifier: Apache-2.0
// The boot environment of a flash type.
#include <cstring>

#include <fcntl.h>

#include "hw_flash.h"
#include "vset/flash.h"
#include "vset_environment.h"
#include "vset_folder.h"
#include "vset_storage.h"

using vset::flashModel;

namespace {

// Returns the environment; erased flash is an empty one.
std::vector<HW_U8> loadEnvironment(HW_U32 u32FlashType) {
    const std::string strFile = vset::environmentFile(u32FlashType);
    const vset::FlashFile file(strFile, HW_FLASH_ENV_IMAGE_SIZE, O_RDONLY);
    if (!file.exists()) {
        return vset::makeEnvironment({});
    }
    std::vector<HW_U8> image(HW_FLASH_ENV_IMAGE_SIZE);
    file.read(image.data(), image.size(), 0);
    if (vset::isEnvironmentBlank(image.data())) {
        return vset::makeEnvironment({});
    }
    if (!vset::isEnvironmentValid(image.data())) {
        throw vset::DamagedFile(strFile + ": wrong checksum");
    }
    return image;
}

bool isKey(std::string_view key) {
    return !key.empty() && key.find('=') == std::string_view::npos;
}

const char* text(const HW_U8* pu8Text) {
    return reinterpret_cast<const char*>(pu8Text);
}

// Checks the parameters of Get and Set.
HW_Result_t judge(HW_Handle_t hFlash, const HW_FLASH_EnvVar_t* pstVar) {
    if (!flashModel.handles().key(hFlash)) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (pstVar == nullptr || pstVar->pu8EnvImage == nullptr || pstVar->pu8Key == nullptr ||
        pstVar->pu8Value == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return isKey(text(pstVar->pu8Key)) ? HW_OK : HW_ERR_INVALID_PARAMETER;
}

HW_Result_t getVariable(const HW_FLASH_EnvVar_t& stVar) {
    const auto value = vset::environmentValue(stVar.pu8EnvImage, text(stVar.pu8Key));
    if (!value) {
        return HW_ERR_FAILED;
    }
    if (value->size() >= HW_FLASH_ENV_VALUE_SIZE) {
        return HW_ERR_LIMITION;
    }
    std::memmove(stVar.pu8Value, value->data(), value->size());
    stVar.pu8Value[value->size()] = '\0';
    return HW_OK;
}

HW_Result_t setVariable(const HW_FLASH_EnvVar_t& stVar) {
    const std::size_t length = strnlen(text(stVar.pu8Value), HW_FLASH_ENV_VALUE_SIZE);
    if (length == HW_FLASH_ENV_VALUE_SIZE) {
        return HW_ERR_LIMITION;
    }
    const std::string_view value(text(stVar.pu8Value), length);
    return vset::setEnvironmentValue(stVar.pu8EnvImage, text(stVar.pu8Key), value) ? HW_OK : HW_ERR_LIMITION;
}

}  // namespace

HW_Result_t HW_FLASH_LoadEnv(HW_Handle_t hFlash, HW_U8* pu8EnvImage) {
    return vset::call(__func__, {hFlash, pu8EnvImage}, [&]() -> HW_Result_t {
        const auto type = flashModel.handles().key(hFlash);
        if (!type) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pu8EnvImage == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return vset::withFlashFiles([&]() -> HW_Result_t {
            const std::vector<HW_U8> image = loadEnvironment(static_cast<HW_U32>(*type));
            std::memcpy(pu8EnvImage, image.data(), image.size());
            return HW_OK;
        });
    });
}

HW_Result_t HW_FLASH_StoreEnv(HW_Handle_t hFlash, const HW_U8* pu8EnvImage) {
    return vset::call(__func__, {hFlash, pu8EnvImage}, [&]() -> HW_Result_t {
        const auto type = flashModel.handles().key(hFlash);
        if (!type) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pu8EnvImage == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return vset::withFlashFiles([&]() -> HW_Result_t {
            std::vector<HW_U8> image(pu8EnvImage, pu8EnvImage + HW_FLASH_ENV_IMAGE_SIZE);
            vset::updateEnvironmentChecksum(image.data());
            vset::replaceFile(vset::environmentFile(static_cast<HW_U32>(*type)), image.data(), image.size());
            return HW_OK;
        });
    });
}

HW_Result_t HW_FLASH_GetEnvVar(HW_Handle_t hFlash, const HW_FLASH_EnvVar_t* pstVar) {
    return vset::call(__func__, {hFlash, pstVar}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(hFlash, pstVar);
        return result == HW_OK ? getVariable(*pstVar) : result;
    });
}

HW_Result_t HW_FLASH_SetEnvVar(HW_Handle_t hFlash, const HW_FLASH_EnvVar_t* pstVar) {
    return vset::call(__func__, {hFlash, pstVar}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(hFlash, pstVar);
        return result == HW_OK ? setVariable(*pstVar) : result;
    });
}

std::map<std::string, std::string> vset::flash::environment(std::uint32_t u32FlashType) {
    requireFlash(u32FlashType);
    const std::lock_guard<std::mutex> lock(flashModel.storageMutex);
    const HostPaths hostPaths;
    std::map<std::string, std::string> environment;
    for (auto& [strKey, strValue] : environmentRecords(loadEnvironment(u32FlashType).data())) {
        // The first of two equal keys counts, as it does for the middleware.
        environment.emplace(std::move(strKey), std::move(strValue));
    }
    return environment;
}
