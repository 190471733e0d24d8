// SPDX-License-Identifier: Apache-2.0
// Display windows: attributes and picture parameters.
#include <algorithm>
#include <cstring>

#include "disp_model.h"
#include "vset_call.h"

namespace vset {

namespace {

HW_Result_t setMuteColor(disp::Window& stState, const void* pParam) {
    stState.muteColor = *static_cast<const HW_DISP_MuteColor_t*>(pParam);
    return HW_OK;
}

HW_Result_t setTestPattern(disp::Window& stState, const void* pParam) {
    const auto& stPattern = *static_cast<const HW_DISP_TestPattern_t*>(pParam);
    if (stPattern.u32Mode > E_HW_DISP_PATTERN_WHITE_BALANCE || !isFlag(stPattern.u32Enable)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    stState.testPattern = stPattern;
    return HW_OK;
}

// --- Picture parameters ----------------------------------------------------------------------------------------------

HW_Result_t setPqBlock(disp::Window& stState, const void* pParam) {
    const auto& stBlock = *static_cast<const HW_DISP_PqBlock_t*>(pParam);
    if (stBlock.u32Index > 2 || !isFlag(stBlock.u8Enable)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    // Bytes after the last field of a caller's record are undefined.
    std::string strBytes(sizeof(stBlock), '\0');
    std::memcpy(strBytes.data(), &stBlock, offsetof(HW_DISP_PqBlock_t, u8Enable) + sizeof(stBlock.u8Enable));
    stState.pictureParameters[E_HW_DISP_PICTURE_PQ_BLOCK | stBlock.u32Index << 16] = strBytes;
    return HW_OK;
}

HW_Result_t setGammaCurve(disp::Window& stState, const void* pParam) {
    constexpr std::size_t kEntries = 256;
    const auto& stGamma = *static_cast<const HW_DISP_GammaCurve_t*>(pParam);
    if (stGamma.u32Word0 != 0 || stGamma.u32Word1 != 1) {
        return HW_ERR_INVALID_PARAMETER;
    }
    decltype(stState.gamma) gamma;
    for (std::size_t i = 0; i < gamma.size(); ++i) {
        const HW_U16* pu16Curve = stGamma.apu16Curve[i];
        if (pu16Curve == nullptr || pu16Curve[kEntries - 1] != stGamma.au16Last[i]) {
            return HW_ERR_INVALID_PARAMETER;
        }
        gamma[i].assign(pu16Curve, pu16Curve + kEntries);
    }
    stState.gamma = std::move(gamma);
    return HW_OK;
}

HW_Result_t setEnable(disp::Window& stState, HW_U32 u32Number, const void* pParam) {
    const auto& stEnable = *static_cast<const HW_DISP_Enable_t*>(pParam);
    if (!isFlag(stEnable.u8Enable)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    stState.pictureParameters[u32Number].assign(1, static_cast<char>(stEnable.u8Enable));
    return HW_OK;
}
template <HW_U32 u32Number>
HW_Result_t setEnable(disp::Window& stState, const void* pParam) {
    return setEnable(stState, u32Number, pParam);
}

struct Parameter {
    HW_U32 u32Number;
    std::size_t size;                                                // of a record that is stored as it is
    HW_Result_t (*pSet)(disp::Window& stState, const void* pParam);  // for all other records
};
constexpr Parameter kParameters[] = {
    {E_HW_DISP_PICTURE_COLOR_TEMP, sizeof(HW_DISP_ColorTemp_t), nullptr},
    {E_HW_DISP_PICTURE_5, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_PQ_BLOCK, 0, setPqBlock},
    {E_HW_DISP_PICTURE_12, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_16, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_18, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_19, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_20, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_21, sizeof(HW_S32), nullptr},
    {E_HW_DISP_PICTURE_STRUCT, sizeof(HW_DISP_StructParam_t), nullptr},
    {E_HW_DISP_PICTURE_GAMMA_ENABLE, 0, setEnable<E_HW_DISP_PICTURE_GAMMA_ENABLE>},
    {E_HW_DISP_PICTURE_GAMMA_CURVE, 0, setGammaCurve},
    {E_HW_DISP_PICTURE_PQ_MASTER, 0, setEnable<E_HW_DISP_PICTURE_PQ_MASTER>},
};

HW_Result_t setParameter(disp::Window& stState, const Parameter& stParameter, const void* pParam) {
    HW_Result_t result = HW_OK;
    if (stParameter.pSet != nullptr) {
        result = stParameter.pSet(stState, pParam);
    } else {
        stState.pictureParameters[stParameter.u32Number].assign(static_cast<const char*>(pParam), stParameter.size);
    }
    stState.bPending = stState.bPending || result == HW_OK;
    return result;
}

HW_Result_t getPqVersion(const DisplayWindow& stWindow, const void* pInput, void* pOutput) {
    const auto* pstRequest = static_cast<const HW_DISP_PqVersionRequest_t*>(pInput);
    if (pstRequest == nullptr || pstRequest->u32PqType >= disp::kPqTypes) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::string& strText = stWindow.pqVersions[pstRequest->u32PqType];
    HW_DISP_PqVersion_t stVersion = {};
    std::copy(strText.begin(), strText.end(), stVersion.au8Text);
    *static_cast<HW_DISP_PqVersion_t*>(pOutput) = stVersion;
    return HW_OK;
}

// Refuses an unknown number after the check of the handle, and before the record is read.
HW_Result_t unknownNumber(HW_Handle_t hDisp) {
    return dispModel.handles().key(hDisp) ? HW_ERR_NOT_SUPPORT : HW_ERR_INVALID_HANDLE;
}

}  // namespace

}  // namespace vset

using vset::DisplayWindow;
using vset::dispModel;

HW_Result_t HW_DISP_SetAttr(HW_Handle_t hDisp, HW_U32 u32Attr, const void* pParam) {
    return vset::call(__func__, {hDisp, u32Attr, pParam}, [&]() -> HW_Result_t {
        if (u32Attr != E_HW_DISP_ATTR_MUTE_COLOR && u32Attr != E_HW_DISP_ATTR_TEST_PATTERN) {
            return vset::unknownNumber(hDisp);
        }
        const auto set = u32Attr == E_HW_DISP_ATTR_MUTE_COLOR ? vset::setMuteColor : vset::setTestPattern;
        return dispModel.onWindow(hDisp, pParam, [&](DisplayWindow& stWindow) { return set(stWindow.state, pParam); });
    });
}

HW_Result_t HW_DISP_SetPictureParam(HW_Handle_t hDisp, HW_U32 u32Param, const void* pParam) {
    return vset::call(__func__, {hDisp, u32Param, pParam}, [&]() -> HW_Result_t {
        const auto* pParameter =
            std::find_if(std::begin(vset::kParameters), std::end(vset::kParameters),
                         [&](const vset::Parameter& stRow) { return stRow.u32Number == u32Param; });
        if (pParameter == std::end(vset::kParameters)) {
            return vset::unknownNumber(hDisp);
        }
        return dispModel.onWindow(hDisp, pParam, [&](DisplayWindow& stWindow) {
            return vset::setParameter(stWindow.state, *pParameter, pParam);
        });
    });
}

HW_Result_t HW_DISP_GetPictureParam(HW_Handle_t hDisp, HW_U32 u32Param, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hDisp, u32Param, pInput, pOutput}, [&]() -> HW_Result_t {
        if (u32Param != E_HW_DISP_PICTURE_PQ_RANGE && u32Param != E_HW_DISP_PICTURE_PQ_VERSION) {
            return vset::unknownNumber(hDisp);
        }
        return dispModel.onWindow(hDisp, pOutput, [&](const DisplayWindow& stWindow) -> HW_Result_t {
            if (u32Param == E_HW_DISP_PICTURE_PQ_VERSION) {
                return vset::getPqVersion(stWindow, pInput, pOutput);
            }
            if (pInput != nullptr) {
                return HW_ERR_INVALID_PARAMETER;
            }
            *static_cast<HW_DISP_PqRange_t*>(pOutput) = stWindow.stPqRange;
            return HW_OK;
        });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::disp {

void setPqVersion(unsigned int u32Window, unsigned int u32PqType, const std::string& strText) {
    requireWindow(u32Window);
    if (u32PqType >= kPqTypes) {
        throw SetError("picture-quality type " + std::to_string(u32PqType) + ": there are only " +
                       std::to_string(kPqTypes));
    }
    if (strText.size() > sizeof(HW_DISP_PqVersion_t)) {
        throw SetError("picture-quality version: " + std::to_string(strText.size()) + " bytes are more than " +
                       std::to_string(sizeof(HW_DISP_PqVersion_t)));
    }
    dispModel.locked([&](DisplayWindows& windows) { windows[u32Window].pqVersions[u32PqType] = strText; });
}

void setPqRange(unsigned int u32Window, const HW_DISP_PqRange_t& stRange) {
    requireWindow(u32Window);
    dispModel.locked([&](DisplayWindows& windows) { windows[u32Window].stPqRange = stRange; });
}

}  // namespace vset::disp
