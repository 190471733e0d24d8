// SPDX-License-Identifier: Apache-2.0
// HDMI ports: EDID and hot plug.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <algorithm>
#include <cstring>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_handle_lease.h"
#include "base/fapi_log.h"
#include "hw3/hw_extin.h"

namespace {

constexpr unsigned int kVersionedPorts = 4;
constexpr signed char kVersions = 4;

struct ExtinFamily {
    static constexpr auto getHandle = HW_EXTIN_GetHandle;
    static constexpr auto open = HW_EXTIN_Open;
    static constexpr auto close = HW_EXTIN_Close;
};
using ExtinLease = fapi::HandleLease<ExtinFamily>;

}  // namespace

HW_EXTIN_HdmiEdidVersion_e _convertToHwHdmiEdidVersion(signed char version) {
    switch (version) {
        case 1:
            return E_HW_EXTIN_HDMI_EDID_VERSION_1;
        case 2:
            return E_HW_EXTIN_HDMI_EDID_VERSION_2;
        case 3:
            return E_HW_EXTIN_HDMI_EDID_VERSION_3;
        default:
            return E_HW_EXTIN_HDMI_EDID_VERSION_DEFAULT;
    }
}

signed char _convertHwToHdmiEdidVersion(unsigned int version) {
    const bool bKnown = version >= E_HW_EXTIN_HDMI_EDID_VERSION_1 && version <= E_HW_EXTIN_HDMI_EDID_VERSION_3;
    return bKnown ? static_cast<signed char>(version) : static_cast<signed char>(0);
}

// --- Handles ---------------------------------------------------------------------------------------------------------

int _a_vextvfapi_prphrl_get_hdmi_handle(unsigned char port, int& handle, unsigned char& opened) {
    handle = 0;
    opened = 0;
    if (port >= _u8HdmiPortNumber) {
        FAPI_LOGD(" Port %x is not exit on the device.\n\n", port);
        return -2;
    }
    ExtinLease lease;
    HW_EXTIN_HandleParams_t stQuery = {};
    stQuery.u32Type = E_HW_EXTIN_TYPE_HDMI;
    stQuery.u32Index = port;
    if (lease.find(stQuery) == HW_OK) {
        FAPI_LOGD(" Get HDMI Device:%x \n\n", port);
    } else {
        FAPI_LOGD(" Open HDMI Device:%x \n\n", port);
        HW_EXTIN_OpenParams_t stParams = {};
        stParams.u32Type = E_HW_EXTIN_TYPE_HDMI;
        stParams.u32Index = port;
        if (lease.open(stParams) != HW_OK) {
            FAPI_LOGE("Extin open handle failed!\n\n");
            return -1;
        }
        opened = 1;
    }
    handle = static_cast<int>(lease.handle());
    // The caller closes what was opened here.
    lease.keepOpen();
    return 0;
}

// `port` is below the number of ports.
static bool obtainHdmi(ExtinLease& lease, unsigned int port, const char* pszCaller = __builtin_FUNCTION()) {
    int s32Handle = 0;
    unsigned char u8Opened = 0;
    if (_a_vextvfapi_prphrl_get_hdmi_handle(static_cast<unsigned char>(port), s32Handle, u8Opened) != 0) {
        FAPI_LOGE_AS(pszCaller, "Extin get handle failed!\n\n");
        return false;
    }
    lease.adopt(static_cast<HW_Handle_t>(s32Handle), u8Opened != 0);
    return true;
}

// Closes what was opened for the request. A failed close is logged alone.
static int finishEdid(ExtinLease& lease, unsigned int port, HW_Result_t result,
                      const char* pszCaller = __builtin_FUNCTION()) {
    if (lease.isOpened()) {
        FAPI_LOGD_AS(pszCaller, "Close HDMI Device:%d\n", port);
        if (lease.release() != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "Close handle failed!\n");
        }
    }
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "eErrCode = %d\n", result);
        return -1;
    }
    return 0;
}

// --- EDID ------------------------------------------------------------------------------------------------------------

int a_vextvfapi_prphrl_set_hdmi_edid_version(unsigned int port, signed char version) {
    FAPI_LOGI("Port = %d, Version = %d\n", port, version);
    if (port >= _u8HdmiPortNumber || port >= kVersionedPorts || version >= kVersions) {
        FAPI_LOGE("Device not found\n\n");
        return -1;
    }
    ExtinLease lease;
    if (!obtainHdmi(lease, port)) {
        return -1;
    }
    FAPI_LOGI("Set HDMI EDID Device: %d \n\n", port);
    HW_EXTIN_HdmiEdid_t stEdid = {};
    stEdid.u32Version = _convertToHwHdmiEdidVersion(version);
    const HW_Result_t result = HW_EXTIN_SetAttr(lease.handle(), E_HW_EXTIN_ATTR_HDMI_EDID, &stEdid);
    if (result == HW_OK) {
        FAPI_LOGI("Set HDMI EDID version success\n");
    } else {
        FAPI_LOGE("Set HDMI EDID version failed\n");
    }
    return finishEdid(lease, port, result);
}

static HW_Result_t getEdid(const ExtinLease& lease, HW_EXTIN_HdmiEdid_t& stEdid,
                           const char* pszCaller = __builtin_FUNCTION()) {
    const HW_Result_t result = HW_EXTIN_GetAttr(lease.handle(), E_HW_EXTIN_ATTR_HDMI_EDID, nullptr, &stEdid);
    if (result == HW_OK) {
        FAPI_LOGI_AS(pszCaller, "Get HDMI EDID Data success\n");
    } else {
        FAPI_LOGE_AS(pszCaller, "Get HDMI EDID Data failed\n");
    }
    return result;
}

int a_vextvfapi_prphrl_get_hdmi_edid_version(unsigned int port, signed char* version) {
    FAPI_LOGI("Port = %d, \n", port);
    if (version == nullptr) {
        FAPI_LOGE("ps8RtnVersion is null.!\n\n");
        return -2;
    }
    if (port >= _u8HdmiPortNumber) {
        FAPI_LOGE("Device not found!\n\n");
        return -2;
    }
    ExtinLease lease;
    if (!obtainHdmi(lease, port)) {
        return -1;
    }
    // Without a buffer the middleware tells version and size alone. The log speaks of data all the same.
    HW_EXTIN_HdmiEdid_t stEdid = {};
    const HW_Result_t result = getEdid(lease, stEdid);
    if (result == HW_OK) {
        *version = _convertHwToHdmiEdidVersion(stEdid.u32Version);
    }
    return finishEdid(lease, port, result);
}

int a_vextvfapi_prphrl_set_hdmi_edid_data(unsigned int port, signed char version, unsigned int size,
                                          const unsigned char* data) {
    FAPI_LOGI("Port = %d, Version = %d\n", port, version);
    if (port >= _u8HdmiPortNumber) {
        FAPI_LOGE("Device not found!\n\n");
        return -1;
    }
    ExtinLease lease;
    if (!obtainHdmi(lease, port)) {
        return -1;
    }
    HW_EXTIN_HdmiEdid_t stEdid = {};
    stEdid.u32Version = _convertToHwHdmiEdidVersion(version);
    // The record serves both ways; for this one the middleware only reads.
    stEdid.pu8Data = const_cast<HW_U8*>(data);
    stEdid.u32Size = size;
    const HW_Result_t result = HW_EXTIN_SetAttr(lease.handle(), E_HW_EXTIN_ATTR_HDMI_EDID, &stEdid);
    if (result == HW_OK) {
        FAPI_LOGI("Set HDMI EDID Data success\n");
    } else {
        FAPI_LOGE("Set HDMI EDID Data failed\n");
    }
    return finishEdid(lease, port, result);
}

int a_vextvfapi_prphrl_get_hdmi_edid_data(unsigned int port, fapi_core::VexTvFApiHDMI_EDID_Data_t* edid) {
    if (edid == nullptr) {
        return -1;
    }
    FAPI_LOGI("Port = %d, \n", port);
    if (port >= _u8HdmiPortNumber) {
        FAPI_LOGE("Device not found!\n\n");
        return -1;
    }
    ExtinLease lease;
    if (!obtainHdmi(lease, port)) {
        return -1;
    }
    HW_U8 au8Data[sizeof(edid->au8Data)] = {};
    HW_EXTIN_HdmiEdid_t stEdid = {};
    stEdid.pu8Data = au8Data;
    stEdid.u32Size = sizeof(au8Data);
    const HW_Result_t result = getEdid(lease, stEdid);
    if (result == HW_OK) {
        edid->u32Size = std::min<HW_U32>(stEdid.u32Size, sizeof(au8Data));
        std::memcpy(edid->au8Data, au8Data, edid->u32Size);
    }
    return finishEdid(lease, port, result);
}

// --- Hot plug --------------------------------------------------------------------------------------------------------

int _a_vextvfapi_prphrl_set_hdmi_hpd(int handle, unsigned char, unsigned char level) {
    if (handle == 0) {
        FAPI_LOGE("hHandle is null!\n");
        return -2;
    }
    HW_EXTIN_HdmiHpd_t stHpd = {};
    stHpd.u8Level = level;
    if (HW_EXTIN_SetAttr(static_cast<HW_Handle_t>(handle), E_HW_EXTIN_ATTR_HDMI_HPD, &stHpd) != HW_OK) {
        FAPI_LOGE("a_vextvfapi_prphrl_set_hdmi_hpd failed!\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_prphrl_set_hdmi_hpd(unsigned char port, unsigned char level) {
    // The port behind the last one passes here, unlike above, and is refused with another status below.
    if (port > _u8HdmiPortNumber) {
        FAPI_LOGE("HDMI port is over hw capability.\n\n");
        return -1;
    }
    int s32Handle = 0;
    unsigned char u8Opened = 0;
    int s32Status = _a_vextvfapi_prphrl_get_hdmi_handle(port, s32Handle, u8Opened);
    if (s32Status != 0) {
        FAPI_LOGE("HDMI get %x port failed.\n\n", port);
        return s32Status;
    }
    ExtinLease lease;
    lease.adopt(static_cast<HW_Handle_t>(s32Handle), u8Opened != 0);
    s32Status = _a_vextvfapi_prphrl_set_hdmi_hpd(s32Handle, port, level);
    if (lease.release() != HW_OK) {
        FAPI_LOGE("HDMI port close failed.\n\n");
    }
    return s32Status;
}
