// SPDX-License-Identifier: Apache-2.0
// The network module: MAC address and state of interfaces, events.
#define FAPI_LOG_TAG "VexTvFApiNetwork"
#include "a_vextvfapi_net.h"

#include <algorithm>
#include <cstring>

#include "base/fapi_event_slot.h"
#include "base/fapi_hw_result.h"
#include "base/fapi_log.h"
#include "base/fapi_log_text.h"
#include "hw3/hw_net.h"

namespace {

// The status of a failed opening or closing.
constexpr int kFailed = 255;

}  // namespace

static HW_NET_InterfaceName_t _astNames[HW_NET_INTERFACE_MAX];
// Index of the last name found. Never reset, so an unknown name opens the interface that is at that index now
// (contract).
static signed char _s8Selected = -1;
static HW_Handle_t _hNet = HW_HANDLE_NONE;

int a_vextvfapi_net_init() {
    const HW_Result_t result = HW_NET_Init(nullptr);
    if (!fapi::isBroughtUp(result)) {
        FAPI_LOGE("Error 0x%x: failed to HW_NET_Init(...)!\n\n", result);
        return -1;
    }
    return 0;
}

int a_vextvfapi_net_deinit() {
    HW_NET_DeInit();
    return 0;
}

// Compares an entry, which may have no terminator, with a name.
static bool hasName(const HW_NET_InterfaceName_t& stEntry, const char* name) {
    const std::size_t length = strnlen(stEntry.acName, HW_NET_INTERFACE_NAME_SIZE);
    return std::strlen(name) == length && std::memcmp(stEntry.acName, name, length) == 0;
}

int a_vextvfapi_net_open(const char* name) {
    if (name == nullptr) {
        return kFailed;
    }
    std::memset(_astNames, 0, sizeof(_astNames));
    HW_U32 u32Count = 0;
    if (HW_NET_GetInterfaceName(_astNames, &u32Count) != HW_OK) {
        FAPI_LOGE("HW_NET_GetInterfaceName failed!\n\n");
        return kFailed;
    }
    for (unsigned int i = 0; i < std::min(u32Count, HW_NET_INTERFACE_MAX); ++i) {
        FAPI_LOGD(
            "Interface[%d] is %s!\n\n", i,
            fapi::BoundedText(reinterpret_cast<const unsigned char*>(_astNames[i].acName), HW_NET_INTERFACE_NAME_SIZE)
                .get());
        if (hasName(_astNames[i], name)) {
            // Keep searching: the last match wins.
            _s8Selected = static_cast<signed char>(i);
        }
    }
    if (_s8Selected == -1) {
        FAPI_LOGE("No %s device found!\n\n", name);
        return kFailed;
    }
    HW_NET_OpenParams_t stParams = {};
    std::memcpy(stParams.acName, _astNames[_s8Selected].acName, sizeof(stParams.acName));
    HW_Handle_t hOpened = HW_HANDLE_NONE;
    if (HW_NET_Open(&stParams, &hOpened) != HW_OK) {
        FAPI_LOGE("HW_NET_Open failed!\n\n");
        return kFailed;
    }
    _hNet = hOpened;
    return 0;
}

int a_vextvfapi_net_close() {
    if (HW_NET_Close(_hNet) != HW_OK) {
        FAPI_LOGE("Close handle fail\n\n");
        return kFailed;
    }
    return 0;
}

// Contract: the operations below log at level E, successes included.

static bool openForChange(const char* name, const char* pszCaller = __builtin_FUNCTION()) {
    if (a_vextvfapi_net_open(name) != 0) {
        FAPI_LOGE_AS(pszCaller, "_a_vextvfapi_net_open() failed!\n\n");
        return false;
    }
    return true;
}

static bool closeAfterChange(const char* pszCaller = __builtin_FUNCTION()) {
    if (a_vextvfapi_net_close() != 0) {
        FAPI_LOGE_AS(pszCaller, "a_vextvfapi_net_close() failed!\n\n");
        return false;
    }
    return true;
}

int a_vextvfapi_net_set_mac(unsigned int* mac) {
    const char* pszMac = reinterpret_cast<const char*>(mac);
    FAPI_LOGE("_a_vextvfapi_net_set_mac(): %s\n\n", fapi::logText(pszMac));
    if (pszMac == nullptr || *pszMac == '\0') {
        FAPI_LOGE("_a_vextvfapi_net_set_mac() failed! no MAC address was set!\n\n");
        return -2;
    }
    if (!openForChange("eth0")) {
        return -1;
    }
    FAPI_LOGE("=====> DHCP OFF \n\n");
    if (HW_NET_DhcpOff(_hNet, E_HW_NET_IPV4) != HW_OK) {
        FAPI_LOGE("LAN Device Dhcp may already off [ipv4]\n\n");
    }
    // Contract: a refused address is only logged, and leaves DHCP off.
    if (HW_NET_SetMac(_hNet, pszMac) != HW_OK) {
        FAPI_LOGE("HW_NET_SetMac failed!\n\n");
    } else {
        FAPI_LOGE("=====> DHCP ON \n\n");
        if (HW_NET_DhcpOn(_hNet, E_HW_NET_IPV4) != HW_OK) {
            FAPI_LOGE("LAN Device Dhcp may already on [ipv4]\n\n");
        }
    }
    if (!closeAfterChange()) {
        return -1;
    }
    FAPI_LOGE("a_vextvfapi_net_set_mac success!\n\n");
    return 0;
}

int a_vextvfapi_net_set_interface_updown(const char* name, bool up) {
    FAPI_LOGE("a_vextvfapi_net_set_interface_updown(): %s %s\n\n", fapi::logText(name), up ? "up" : "down");
    if (name == nullptr || *name == '\0') {
        FAPI_LOGE("a_vextvfapi_net_set_interface_updown() failed! no Interface was set!\n\n");
        return -2;
    }
    if (!openForChange(name)) {
        return -1;
    }
    if (up) {
        if (HW_NET_DeviceUp(_hNet) != HW_OK) {
            FAPI_LOGE("HW_NET_DeviceUp failed!\n\n");
        }
    } else if (HW_NET_DeviceDown(_hNet) != HW_OK) {
        FAPI_LOGE("HW_NET_DeviceDown failed!\n\n");
    }
    if (!closeAfterChange()) {
        return -1;
    }
    FAPI_LOGE("a_vextvfapi_net_set_interface_updown success!\n\n");
    return 0;
}

// --- Events
// -----------------------------------------------------------------------------------------------------------

static fapi::EventSlot _eventSlot;

int a_vextvfapi_net_reg_callback(fapi_core::VexTvFApiEventCallback_t callback) {
    return _eventSlot.set(callback);
}

int a_vextvfapi_net_unreg_callback() {
    return _eventSlot.set(nullptr);
}

int a_vextvfapi_net_nty_event(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
                              const fapi_core::VexTvFApiEventCommonObject& b,
                              const fapi_core::VexTvFApiEventCommonObject& c,
                              const fapi_core::VexTvFApiEventCommonObject& d) {
    return _eventSlot.notify(event, a, b, c, d);
}
