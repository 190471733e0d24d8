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

// Contract: the name in log lines, whichever operation needs the port.
constexpr char kFinder[] = "_a_vextvfapi_prphrl_get_hdmi_handle";

constexpr unsigned int kVersionedPorts = 4;
constexpr signed char kVersions = 4;

struct ExtinFamily {
    static constexpr auto getHandle = HW_EXTIN_GetHandle;
    static constexpr auto open = HW_EXTIN_Open;
    static constexpr auto close = HW_EXTIN_Close;
};
using ExtinLease = fapi::HandleLease<ExtinFamily>;

}  // namespace

// 1, 2 and 3 are the same on both sides; everything else is the default.
static HW_EXTIN_HdmiEdidVersion_e convertToHwVersion(signed char version) {
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

static signed char convertFromHwVersion(unsigned int version) {
    const bool bKnown = version >= E_HW_EXTIN_HDMI_EDID_VERSION_1 && version <= E_HW_EXTIN_HDMI_EDID_VERSION_3;
    return bKnown ? static_cast<signed char>(version) : static_cast<signed char>(0);
}

// --- Handles ---------------------------------------------------------------------------------------------------------

// Finds a port open, or opens it. Returns the status of the exported finder.
static int leaseHdmi(ExtinLease& lease, unsigned char port) {
    if (port >= fapi::prphrl::u8HdmiPortNumber) {
        FAPI_LOGD_AS(kFinder, " Port %x is not exit on the device.\n\n", port);
        return -2;
    }
    HW_EXTIN_HandleParams_t stQuery = {};
    stQuery.u32Type = E_HW_EXTIN_TYPE_HDMI;
    stQuery.u32Index = port;
    if (lease.find(stQuery) == HW_OK) {
        FAPI_LOGD_AS(kFinder, " Get HDMI Device:%x \n\n", port);
        return 0;
    }
    FAPI_LOGD_AS(kFinder, " Open HDMI Device:%x \n\n", port);
    HW_EXTIN_OpenParams_t stParams = {};
    stParams.u32Type = E_HW_EXTIN_TYPE_HDMI;
    stParams.u32Index = port;
    if (lease.open(stParams) != HW_OK) {
        FAPI_LOGE_AS(kFinder, "Extin open handle failed!\n\n");
        return -1;
    }
    return 0;
}

int _a_vextvfapi_prphrl_get_hdmi_handle(unsigned char port, int& handle, unsigned char& opened) {
    ExtinLease lease;
    const int s32Status = leaseHdmi(lease, port);
    handle = s32Status == 0 ? static_cast<int>(lease.handle()) : 0;
    opened = lease.keepOpen() ? 1 : 0;
    return s32Status;
}

// Leases a port below the number of ports.
static bool leaseForEdid(ExtinLease& lease, unsigned int port, const char* pszCaller = __builtin_FUNCTION()) {
    if (leaseHdmi(lease, static_cast<unsigned char>(port)) != 0) {
        FAPI_LOGE_AS(pszCaller, "Extin get handle failed!\n\n");
        return false;
    }
    return true;
}

// Closes the port if the request opened it. A failed close is only logged.
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
    if (port >= fapi::prphrl::u8HdmiPortNumber || port >= kVersionedPorts || version >= kVersions) {
        FAPI_LOGE("Device not found\n\n");
        return -1;
    }
    ExtinLease lease;
    if (!leaseForEdid(lease, port)) {
        return -1;
    }
    FAPI_LOGI("Set HDMI EDID Device: %d \n\n", port);
    HW_EXTIN_HdmiEdid_t stEdid = {};
    stEdid.u32Version = convertToHwVersion(version);
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
    if (port >= fapi::prphrl::u8HdmiPortNumber) {
        FAPI_LOGE("Device not found!\n\n");
        return -2;
    }
    ExtinLease lease;
    if (!leaseForEdid(lease, port)) {
        return -1;
    }
    // Without a buffer the middleware reports version and size only.
    HW_EXTIN_HdmiEdid_t stEdid = {};
    const HW_Result_t result = getEdid(lease, stEdid);
    if (result == HW_OK) {
        *version = convertFromHwVersion(stEdid.u32Version);
    }
    return finishEdid(lease, port, result);
}

int a_vextvfapi_prphrl_set_hdmi_edid_data(unsigned int port, signed char version, unsigned int size,
                                          const unsigned char* data) {
    FAPI_LOGI("Port = %d, Version = %d\n", port, version);
    if (port >= fapi::prphrl::u8HdmiPortNumber) {
        FAPI_LOGE("Device not found!\n\n");
        return -1;
    }
    ExtinLease lease;
    if (!leaseForEdid(lease, port)) {
        return -1;
    }
    HW_EXTIN_HdmiEdid_t stEdid = {};
    stEdid.u32Version = convertToHwVersion(version);
    // The record is used for reading and writing; here the middleware only reads it.
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
    if (port >= fapi::prphrl::u8HdmiPortNumber) {
        FAPI_LOGE("Device not found!\n\n");
        return -1;
    }
    ExtinLease lease;
    if (!leaseForEdid(lease, port)) {
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
    // Contract: `port == count` passes this check and fails below with -2.
    if (port > fapi::prphrl::u8HdmiPortNumber) {
        FAPI_LOGE("HDMI port is over hw capability.\n\n");
        return -1;
    }
    ExtinLease lease;
    int s32Status = leaseHdmi(lease, port);
    if (s32Status != 0) {
        FAPI_LOGE("HDMI get %x port failed.\n\n", port);
        return s32Status;
    }
    s32Status = _a_vextvfapi_prphrl_set_hdmi_hpd(static_cast<int>(lease.handle()), port, level);
    if (lease.release() != HW_OK) {
        FAPI_LOGE("HDMI port close failed.\n\n");
    }
    return s32Status;
}
