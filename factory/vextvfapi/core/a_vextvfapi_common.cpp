// SPDX-License-Identifier: Apache-2.0
// The frame: debug switch, factory-mode gate, version, middleware codes, byte decoders.
#define FAPI_LOG_TAG "VexTvFApiCommon"
#include "a_vextvfapi_common.h"

#include <cstring>

#include <unistd.h>

#include "a_vextvfapi_sys.h"
#include "base/fapi_byte_order.h"
#include "base/fapi_log.h"
#include "hw3/hw_types.h"

std::atomic<unsigned char> u8TvFactoryDebug{0};

static std::atomic<bool> _bFactoryMode{false};

namespace {

constexpr char kVersion[] = "v1.0.0.13";

struct HwError {
    const char* pszText;
    int s32Status;
};

// By middleware code. Contract: codes 1 and 2, no errors to the middleware, are failures here; an Init accepts them
// before.
constexpr HwError kHwErrors[] = {
    {"", 0},
    {"HW_CONTINUE: 0x1 ,not error but hasn' be succeeded. Flow is continue...\n", -1},
    {"HW_HAS_INITED: 0x2, not error but init has be called again\n", -1},
    {"HW_ERR_FAILED: 0x3, general failed\n", -1},
    {"HW_ERR_NOT_INITED: 0x4, moudle hasn't be inited\n", -1},
    {"HW_ERR_NOT_SUPPORT: 0x5, not supported\n", -6},
    {"HW_ERR_NOT_IMPLEMENT: 0x6, not implemented\n", -3},
    {"HW_ERR_INVALID_HANDLE: 0x7, invalid handle\n", -1},
    {"HW_ERR_INVALID_PARAMETER: 0x8, invalid parameter\n", -2},
    {"HW_ERR_RESOURCES: 0x9, system resource issue\n", -1},
    {"HW_ERR_MEMORY_ALLOCATE: 0xa, memory allocation\n", -4},
    {"HW_ERR_CHAOS: 0xb, chaos state-mechine\n", -1},
    {"HW_ERR_DATA_ERROR: 0xc, data error\n", -1},
    {"HW_ERR_TIMEOUT: 0xd, timeout\n", -1},
    {"HW_ERR_LIMITION: 0xe, limitation\n", -1},
    {"HW_ERR_BUSY: 0xf, the required operation can not be done due to current system is busy.\n", -1},
};
constexpr HwError kUndefinedHwError = {"HW_UNDEFINED_ERROR: \n", -1};
constexpr unsigned int kHwErrorCount = sizeof(kHwErrors) / sizeof(kHwErrors[0]);

}  // namespace

int _a_vextvfapi_common_init_debug_level() {
    return access("/data/tvfapi_hal_debug", F_OK) == 0 ? 1 : 0;
}

int _a_vextvfapi_common_init() {
    u8TvFactoryDebug = static_cast<unsigned char>(_a_vextvfapi_common_init_debug_level());
    static const unsigned char kFactoryService[] = "/vendor/factory/bin/factory_svc";
    _bFactoryMode = a_vextvfapi_sys_check_file(kFactoryService) == 0;
    return 0;
}

int a_vextvfapi_common_get_fapi_status() {
    if (!_bFactoryMode) {
        FAPI_LOGE("Refuse to access FAPI, current not in factory mode.\n");
        return -5;
    }
    return 0;
}

int a_vextvfapi_common_get_fapi_version(char* buf, unsigned int len) {
    if (buf == nullptr || len < sizeof(kVersion)) {
        FAPI_LOGE("Invalid parameters\n");
        return -2;
    }
    // Fills the rest of the buffer with zeros.
    std::strncpy(buf, kVersion, len);
    return 0;
}

int a_vextvfapi_common_hw_err_msg(unsigned int code) {
    if (code == HW_OK) {
        return 0;
    }
    const HwError& stError = code < kHwErrorCount ? kHwErrors[code] : kUndefinedHwError;
    FAPI_LOGE("%s", stError.pszText);
    return stError.s32Status;
}

// Logs function and line twice: in the prefix and in the text (contract).
#define FAPI_LOG_NULL_INPUT() FAPI_LOGE("%s %d Input Is NULL\n", __func__, __LINE__)

int _bytes_to_int(signed char* p) {
    if (p == nullptr) {
        FAPI_LOG_NULL_INPUT();
        return -1;
    }
    return static_cast<int>(fapi::loadBigEndian<unsigned int>(p));
}

unsigned short _bytes_to_short(signed char* p) {
    if (p == nullptr) {
        FAPI_LOG_NULL_INPUT();
        return 0xFFFF;
    }
    return fapi::loadBigEndian<unsigned short>(p);
}

unsigned char _bytes_to_bool(signed char* p) {
    if (p == nullptr) {
        FAPI_LOG_NULL_INPUT();
        return 0xFF;
    }
    return static_cast<unsigned char>(*p);
}

unsigned char _bytes_to_one_byte_enum(signed char* p) {
    if (p == nullptr) {
        FAPI_LOG_NULL_INPUT();
        return 0xFF;
    }
    return static_cast<unsigned char>(*p);
}
