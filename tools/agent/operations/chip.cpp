// SPDX-License-Identifier: Apache-2.0
// Rows of the system module's operations on the chip: watchdog, memory clocks, firmware, registers, real-time clock.
#include <iterator>

#include "a_vextvfapi_sys.h"
#include "hw3/hw_sys.h"
#include "operations/operation.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kFirmware[] = "set put /mnt/usb/firmware.bin repeat:64:f";

constexpr long long kU8Max = 0xFF;
constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;

Argument miu() {
    return {"miu", Kind::number, "the memory interface unit, 0 to 2", 0, kU8Max};
}

Argument firmwareType() {
    return {"type", Kind::choice, "which firmware", 0, kU8Max, {{"fw0", E_HW_SYS_FW_0}, {"tarn", E_HW_SYS_FW_TARN}}};
}

Argument bank() {
    return {"bank", Kind::number, "bank of the register", 0, kU32Max};
}

Argument registerOffset() {
    return {"offset", Kind::number, "offset in the bank", 0, kU32Max};
}

long long readRegister(Call& call) {
    unsigned int value = 0;
    const int status = a_vextvfapi_sys_read_reg(call.number<unsigned int>(0), call.number<unsigned int>(1), &value);
    if (status == 0) {
        call.out("value", static_cast<long long>(value));
    }
    return status;
}

long long getRtcTime(Call& call) {
    unsigned int seconds = 0;
    const int status = a_vextvfapi_sys_get_rtc_time(&seconds);
    if (status == 0) {
        call.out("seconds", static_cast<long long>(seconds));
    }
    return status;
}

long long upgradeFirmware(Call& call) {
    Bytes source = call.writableText(1);
    return a_vextvfapi_sys_upgrade_fw(call.number<unsigned char>(0), source.data());
}

std::vector<OperationRow> watchdogOperations() {
    return {
        OperationRow("_a_vextvfapi_sys_get_wdt_handle", "Look up the watchdog's handle, which is kept.", Result::status,
                     {}, {}, [](Call&) -> long long { return _a_vextvfapi_sys_get_wdt_handle(); })
            .example("_sys_get_wdt_handle"),
        OperationRow("a_vextvfapi_sys_set_wdt",
                     "Switch the watchdog on, which reboots the set five seconds later, or off.", Result::status,
                     {{"state", Kind::flag, "on or off"}}, {},
                     [](Call& call) -> long long { return a_vextvfapi_sys_set_wdt(call.number<unsigned char>(0)); })
            .example("sys_set_wdt on"),
        OperationRow("a_vextvfapi_sys_get_wdt_status",
                     "Tell whether the watchdog runs: 1 when it does and was not switched off here, else 0.",
                     Result::value, {}, {}, [](Call&) -> long long { return a_vextvfapi_sys_get_wdt_status(); })
            .example("sys_get_wdt_status"),
    };
}

std::vector<OperationRow> memoryAndFirmwareOperations() {
    return {
        OperationRow(
            "_a_vextvfapi_sys_get_miu_type_by_idx", "Tell the middleware's number of a memory interface unit, or -1.",
            Result::value, {miu()}, {},
            [](Call& call) -> long long { return _a_vextvfapi_sys_get_miu_type_by_idx(call.number<unsigned char>(0)); })
            .example("_sys_get_miu_type_by_idx 0"),
        OperationRow(
            "a_vextvfapi_sys_set_miu_ssc", "Spread the clock of a memory interface unit, or no longer.", Result::status,
            {miu(),
             {"freq", Kind::number, "frequency of the spread in the chip's units, 20 to 40", 0, kU16Max},
             {"ratio", Kind::number, "its width in the chip's units, 1 to 30", 0, kU16Max},
             {"state", Kind::flag, "on or off"}},
            {},
            [](Call& call) -> long long {
                return a_vextvfapi_sys_set_miu_ssc(call.number<unsigned char>(0), call.number<unsigned short>(1),
                                                   call.number<unsigned short>(2), call.number(3) != 0);
            })
            .example("sys_set_miu_ssc 0 30 10 on"),
        OperationRow(
            "_a_vextvfapi_sys_convert_fw_type", "Tell the middleware's number of a firmware type; 2 is none.",
            Result::value, {{"type", Kind::number, "the type", 0, kU8Max}}, {},
            [](Call& call) -> long long { return _a_vextvfapi_sys_convert_fw_type(call.number<unsigned char>(0)); })
            .example("_sys_convert_fw_type 0"),
        OperationRow("a_vextvfapi_sys_upgrade_fw", "Flash a firmware from a file of the set.", Result::status,
                     {firmwareType(), {"source", Kind::path, "the file"}}, {}, upgradeFirmware)
            .destroying("replaces the firmware")
            .mustFinish()
            .example("sys_upgrade_fw fw0 /mnt/usb/firmware.bin", {kFirmware}),
    };
}

std::vector<OperationRow> registerOperations() {
    const auto unused = [](const char* name) { return Argument{name, Kind::text, "is not looked at", 0, 0, {}, ""}; };
    return {
        OperationRow("a_vextvfapi_sys_read_reg", "Read a register of the chip.", Result::status,
                     {bank(), registerOffset()}, {{"value", "what it holds"}}, readRegister)
            .example("sys_read_reg 0x1012 0x40"),
        OperationRow("a_vextvfapi_sys_write_reg", "Write a register of the chip.", Result::status,
                     {bank(), registerOffset(), {"value", Kind::number, "what to write", 0, kU32Max}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_sys_write_reg(call.number<unsigned int>(0), call.number<unsigned int>(1),
                                                          call.number<unsigned int>(2));
                     })
            .example("sys_write_reg 0x1012 0x40 0xA5A5"),
        OperationRow("a_vextvfapi_sys_get_rtc_time", "Read the real-time clock.", Result::status, {},
                     {{"seconds", "what it counts", false, "s", Role::changing}}, getRtcTime)
            .example("sys_get_rtc_time"),
        OperationRow("a_vextvfapi_sys_update_panel", "Does nothing.", Result::status,
                     {unused("first"), unused("second"), unused("third")}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_sys_update_panel(call.text(0).c_str(), call.text(1).c_str(),
                                                             call.text(2).c_str());
                     })
            .example("sys_update_panel"),
    };
}

}  // namespace

std::vector<OperationRow> chipOperations() {
    std::vector<OperationRow> rows;
    for (std::vector<OperationRow> some : {watchdogOperations(), memoryAndFirmwareOperations(), registerOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
