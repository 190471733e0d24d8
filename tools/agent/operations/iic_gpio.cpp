// SPDX-License-Identifier: Apache-2.0
// Rows of the peripheral module's operations on I2C buses and pads.
#include <iterator>

#include "a_vextvfapi_prphrl.h"
#include "operations/operation.h"

namespace tool {

namespace {

constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

Argument bus() {
    return {"bus", Kind::number, "the bus, 0 to 7", kI32Min, kI32Max};
}

Argument slave() {
    return {"slave", Kind::number, "bus in the high byte, 8-bit slave address in the low one: 0x01a0", 0, kU16Max};
}

Argument address() {
    return {"address", Kind::bytes, "bytes that name the register, at most 255", 0, kU16Max};
}

Argument pad() {
    return {"pad", Kind::number, "the pad, 1 to 255", 0, kU32Max};
}

long long readIic(Call& call) {
    const Bytes address = call.exactBytes(2);
    Bytes data = Call::buffer(call.number<std::size_t>(3));
    const int status = a_vextvfapi_prphrl_read_from_iic(
        call.number<int>(0), call.number<unsigned short>(4), call.number<unsigned short>(1),
        static_cast<unsigned short>(address.size()), address.data(), call.number<unsigned short>(3), data.data());
    if (status == 0) {
        call.out("data", std::move(data));
    }
    return status;
}

long long writeIic(Call& call) {
    const Bytes address = call.exactBytes(2);
    const Bytes data = call.exactBytes(3);
    return a_vextvfapi_prphrl_write_to_iic(call.number<int>(0), call.number<unsigned short>(1),
                                           static_cast<unsigned short>(address.size()), address.data(),
                                           static_cast<unsigned short>(data.size()), data.data());
}

long long getSlaveAddress(Call& call) {
    unsigned short slave = kU16Max;
    const int status = a_vextvfapi_prphrl_get_iic_slave_address(call.number<unsigned short>(0),
                                                                call.number<unsigned short>(1), &slave);
    call.out("slave", static_cast<long long>(slave));
    return status;
}

long long getPad(Call& call) {
    Bytes level = Call::buffer(1, 0xFF);
    const int status = a_vextvfapi_prphrl_get_gpio_status(call.number<unsigned int>(0), level.data());
    if (status == 0) {
        call.out("level", static_cast<long long>(level[0]));
    }
    return status;
}

std::vector<OperationRow> iicOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_enable_iic", "Open an I2C bus.", Result::status, {bus()}, {},
                     [](Call& call) -> long long { return a_vextvfapi_prphrl_enable_iic(call.number<int>(0)); })
            .example("prphrl_enable_iic 5"),
        OperationRow("a_vextvfapi_prphrl_disable_iic", "Close an I2C bus, unless somebody else has opened it.",
                     Result::status, {bus()}, {},
                     [](Call& call) -> long long { return a_vextvfapi_prphrl_disable_iic(call.number<int>(0)); })
            .example("prphrl_disable_iic 5", {"prphrl_enable_iic 5"}),
        OperationRow("a_vextvfapi_prphrl_read_from_iic", "Read bytes of an I2C device; leaves the bus open.",
                     Result::status,
                     {bus(),
                      slave(),
                      address(),
                      {"size", Kind::number, "how many bytes", 0, kU16Max},
                      {"mode", Kind::number, "read mode, 0 to 2", 0, kU16Max, {}, "0"}},
                     {{"data", "the bytes", true}}, readIic)
            .example("prphrl_read_from_iic 5 0x05A4 hex:10 6", {"set iic-device 5 0xA4 EEPROM 256 8"}),
        OperationRow("a_vextvfapi_prphrl_write_to_iic",
                     "Write bytes to an I2C device in one transfer; leaves the bus open.", Result::status,
                     {bus(), slave(), address(), {"data", Kind::bytes, "what to write", 0, kU16Max}}, {}, writeIic)
            .destroying("overwrites what the device holds")
            .example("prphrl_write_to_iic 5 0x05A4 hex:10 A-0815", {"set iic-device 5 0xA4 EEPROM 256 8"}),
        OperationRow("a_vextvfapi_prphrl_get_iic_slave_address",
                     "Look up bus and slave address of one of the board's devices.", Result::status,
                     {{"device", Kind::number, "the device's number", 0, kU16Max},
                      {"port", Kind::number, "the bus that is opened meanwhile", 0, kU16Max}},
                     {{"slave", "bus and slave address; 0: no such device, 65535: the bus could not be opened"}},
                     getSlaveAddress)
            .example("prphrl_get_iic_slave_address 1 0"),
    };
}

std::vector<OperationRow> gpioOperations() {
    return {
        OperationRow("a_vextvfapi_prphrl_control_gpio", "Make a pad an output and drive it.", Result::status,
                     {pad(), {"level", Kind::number, "0 or 1", 0, kU32Max}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_prphrl_control_gpio(call.number<unsigned int>(0),
                                                                call.number<unsigned int>(1));
                     })
            .example("prphrl_control_gpio 20 1"),
        OperationRow("a_vextvfapi_prphrl_get_gpio_status", "Read the level of a pad, as wired.", Result::status,
                     {pad()}, {{"level", "0 or 1; stays 255 when the pad cannot be read"}}, getPad)
            .example("prphrl_get_gpio_status 12", {"set drive 12 1"}),
        OperationRow(
            "a_vextvfapi_prphrl_gpio_monitor_start", "Watch a pad; a new level is event 0x100005.", Result::status,
            {pad(),
             {"delay", Kind::number, "microseconds between two readings", 0, kU32Max, {}, "10000"},
             {"debounce", Kind::number, "how many differing readings are not yet a new level", 0, kU32Max, {}, "0"}},
            {},
            [](Call& call) -> long long {
                return a_vextvfapi_prphrl_gpio_monitor_start(call.number<unsigned int>(0), call.number<unsigned int>(1),
                                                             call.number<unsigned int>(2));
            })
            .example("prphrl_gpio_monitor_start 12"),
        OperationRow("a_vextvfapi_prphrl_gpio_monitor_stop", "Watch no pad any more; takes a second.", Result::status,
                     {}, {}, [](Call&) -> long long { return a_vextvfapi_prphrl_gpio_monitor_stop(); })
            .example("prphrl_gpio_monitor_stop", {"prphrl_gpio_monitor_start 12"}),
    };
}

}  // namespace

std::vector<OperationRow> iicAndGpioOperations() {
    std::vector<OperationRow> rows = iicOperations();
    std::vector<OperationRow> pads = gpioOperations();
    std::move(pads.begin(), pads.end(), std::back_inserter(rows));
    return rows;
}

}  // namespace tool
