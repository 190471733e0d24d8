// SPDX-License-Identifier: Apache-2.0
// The contents of a new set.
#ifndef VSET_DEFAULTS_H
#define VSET_DEFAULTS_H

#include <string_view>

#include "vset_environment.h"
#include "vset_folder.h"

namespace vset {

struct DefaultFolder {
    const char* pszPath;
};

struct DefaultFile {
    const char* pszPath;
    std::string_view content;
};

// Folders below the set's tree.
inline constexpr DefaultFolder kDefaultFolders[] = {
    {"/data/vendor"}, {"/dev"}, {"/mnt/usb"}, {"/sys/kernel/uart"}, {"/vendor/factory/bin"}, {"/vendor/factory/config"},
};

inline constexpr DefaultFile kDefaultFiles[] = {
    // The presence of this file marks the set as being in factory mode.
    {"/vendor/factory/bin/factory_svc", "#!/system/bin/sh\n"},
    {"/vendor/factory/config/dataindex.ini",
     "# Which configuration files this set uses.\n"
     "[board]\n"
     "m_pBoardName = \"/vendor/factory/config/board.ini\"\n"
     "[ir]\n"
     "m_pIrConfig_File = \"/vendor/factory/config/ir.ini\"\n"},
    {"/vendor/factory/config/board.ini",
     "# Keypad ladder of channel 0: voltage bounds, thresholds and key codes.\n"
     "[BOARD_KEYPAD]\n"
     "BOARD_KEYPAD_CH_0_LOW_BOND = 0x05\n"
     "BOARD_KEYPAD_CH_0_UP_BOND = 0xF0\n"
     "BOARD_KEYPAD_CH_0_KEY_LEVEL_NUM = 5\n"
     "BOARD_KEYPAD_CH_0_KEY_THRESHOLD = {0x1F,0x4A,0x75,0xA0,0xCB}\n"
     "BOARD_KEYPAD_CH_0_KEY_CODE = {0x01,0x02,0x03,0x04,0x05}\n"},
    {"/vendor/factory/config/ir.ini",
     "# Remote control.\n"
     "[IR]\n"
     "IR_FORMAT = 1\n"},
};

// The environment in eMMC; the other flash types start blank.
inline const EnvironmentRecords kDefaultEnvironment = {
    {"bootcmd", "mmc read 0x20000000 boot; bootm 0x20000000"},
    {"bootdelay", "0"},
    {"factory_poweron_mode", "direct"},
    {"model", "LM-VSET"},
    {"panel", "FHD_LVDS"},
    {"serial", "VSET00000001"},
};

inline SetConfig defaultSetConfig() {
    SetConfig stConfig;
    stConfig.au8CustomerHash = {0x4C, 0x55, 0x4D, 0x4F, 0x52, 0x41, 0x2D, 0x56,
                                0x53, 0x45, 0x54, 0x2D, 0x30, 0x30, 0x30, 0x31};
    stConfig.strDataIndexPath = "/vendor/factory/config/dataindex.ini";
    stConfig.partitions = {{"factory", 4u << 20}, {"misc", 1u << 20}, {"persist", 8u << 20}};
    stConfig.interfaces = {{"lo"}, {"eth0", "00:4C:55:4D:00:01"}};
    return stConfig;
}

}  // namespace vset

#endif
