// SPDX-License-Identifier: Apache-2.0
// What a person does to the set's keypad, ADC channels, pads and I2C devices, and sees of them.
#include <cstdio>
#include <iterator>

#include "actions/action.h"
#include "vset/gpio.h"
#include "vset/iic.h"
#include "vset/sar.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;

// "0x1f"
std::string hex(unsigned int number, int digits = 2) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%0*x", digits, number);
    return text;
}

std::string bytesText(const std::string& bytes) {
    return hexText(Bytes(bytes.begin(), bytes.end()), " ");
}

// --- Keypad and ADC --------------------------------------------------------------------------------------------------

Argument channel() {
    return {"channel", Kind::number, "the ADC channel; the keypad is on 0", 0, vset::sar::kChannels - 1};
}

void keypad(Call& call) {
    const vset::sar::Keypad keypad = vset::sar::keypad();
    Rows keys;
    for (std::size_t i = 0; i < keypad.keys.size(); ++i) {
        const auto& key = keypad.keys[i];
        keys.push_back({std::to_string(i) + " threshold " + hex(key.u8Threshold) + " code " + hex(key.u8Code),
                        {{"key", static_cast<long long>(i)}, {"threshold", key.u8Threshold}, {"code", key.u8Code}}});
    }
    call.outRows("keys", std::move(keys));
    call.out("open", static_cast<long long>(keypad.bOpen));
    call.out("callback", static_cast<long long>(keypad.bCallback));
    call.out("bounds", hex(keypad.u8FirstBound) + " " + hex(keypad.u8SecondBound));
    call.out("pressed", static_cast<long long>(keypad.u64Pressed));
    call.out("dropped", static_cast<long long>(keypad.u64Dropped));
    call.out("refused", static_cast<long long>(keypad.u64Refused));
}

void adc(Call& call) {
    const auto number = call.number<unsigned int>(0);
    const vset::sar::Channel channel = vset::sar::channel(number);
    call.out("value", static_cast<long long>(vset::sar::voltage(number)));
    call.out("open", static_cast<long long>(channel.bOpen));
    call.out("player", static_cast<long long>(channel.bPlayer));
    call.out("mode", static_cast<long long>(channel.u32Mode));
    call.out("level", static_cast<long long>(channel.u32VoltageLevel));
}

std::vector<ActionRow> keypadActions() {
    return {
        ActionRow("key", "Press a key of the keypad and let it go.",
                  {{"key", Kind::number, "the key, from the ladder's low end", 0, vset::sar::kKeys - 1}}, {},
                  [](Call& call) { vset::sar::press(call.number<unsigned int>(0)); })
            .asking("Press key ${key} of the keypad and let it go.")
            .inSession(),
        ActionRow("key-code", "Press the key that has a code, and let it go.",
                  {{"code", Kind::number, "the key's code", 0, 0xFF}}, {},
                  [](Call& call) { vset::sar::pressCode(call.number<unsigned char>(0)); })
            .asking("Press the key with the code ${code} and let it go.")
            .inSession(),
        ActionRow("keypad", "Show the keypad as the program has configured it.", {},
                  {{"keys", "a line each: number, threshold, code"},
                   {"open", "1 when it is configured"},
                   {"callback", "1 when somebody is registered for its keys"},
                   {"bounds", "both bounds"},
                   {"pressed", "how many keys have been pressed"},
                   {"dropped", "how many of them nobody was told of"},
                   {"refused", "how many the callback did not take"}},
                  keypad)
            .inSession(),
        ActionRow(
            "voltage", "Put an ADC channel to a voltage.",
            {channel(), {"value", Kind::number, "what the converter reads", 0, 0xFF}}, {},
            [](Call& call) { vset::sar::setVoltage(call.number<unsigned int>(0), call.number<unsigned char>(1)); })
            .asking("Put ADC channel ${channel} to the voltage that reads as ${value}.")
            .inSession(),
        ActionRow("adc", "Show an ADC channel.", {channel()},
                  {{"value", "what the converter reads"},
                   {"open", "1 when the library has opened it"},
                   {"player", "1 when the set's player has"},
                   {"mode", "as it was configured last"},
                   {"level", "the voltage level as it was set last"}},
                  adc)
            .inSession(),
    };
}

// --- Pads ------------------------------------------------------------------------------------------------------------

Argument padNumber() {
    return {"pad", Kind::number, "the pad", 0, vset::gpio::kPads - 1};
}

void pad(Call& call) {
    const vset::gpio::Pad pad = vset::gpio::pad(call.number<unsigned int>(0));
    call.out("level", static_cast<long long>(pad.u8Level));
    call.out("wired", static_cast<long long>(pad.u8Wired));
    call.out("direction", std::string(pad.bOutput ? "out" : "in"));
    call.out("inverted", static_cast<long long>(pad.bInverted));
    call.out("broken", static_cast<long long>(pad.bBroken));
    call.out("open", static_cast<long long>(pad.bOpen));
    call.out("player", static_cast<long long>(pad.bPlayer));
    call.out("reads", static_cast<long long>(pad.u64Reads));
}

std::vector<ActionRow> padActions() {
    const Argument state = {"state", Kind::flag, "on or off"};
    return {
        ActionRow("pad", "Show a pad.", {padNumber()},
                  {{"level", "what a read gives"},
                   {"wired", "what the board drives"},
                   {"direction", "in, or out when the program drives it"},
                   {"inverted", "1 when the board inverts it"},
                   {"broken", "1 when its reads fail"},
                   {"open", "1 when it is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"reads", "how often it was read"}},
                  pad)
            .inSession(),
        ActionRow("drive", "Drive a pad from the board's side.",
                  {padNumber(), {"level", Kind::number, "the level", 0, 1}}, {},
                  [](Call& call) { vset::gpio::drive(call.number<unsigned int>(0), call.number<unsigned char>(1)); })
            .asking("Drive pad ${pad} to level ${level}.")
            .inSession(),
        ActionRow("play-pad", "Give the next reads of a pad these levels, one after the other; the last one stays.",
                  {padNumber(), {"levels", Kind::bytes, "a byte each: hex:000100", 1, 65536}}, {},
                  [](Call& call) { vset::gpio::play(call.number<unsigned int>(0), call.bytes(1)); })
            .inSession(),
        ActionRow("invert", "Have the board invert a pad, or no longer.", {padNumber(), state}, {},
                  [](Call& call) { vset::gpio::setInverted(call.number<unsigned int>(0), call.number(1) != 0); })
            .inSession(),
        ActionRow("break-pad", "Make the reads of a pad fail, or work again.", {padNumber(), state}, {},
                  [](Call& call) { vset::gpio::setBroken(call.number<unsigned int>(0), call.number(1) != 0); })
            .inSession(),
    };
}

// --- I2C -------------------------------------------------------------------------------------------------------------

Argument bus() {
    return {"bus", Kind::number, "the bus", 0, vset::iic::kBuses - 1};
}

Argument slave() {
    return {"slave", Kind::number, "8-bit slave address: 0xa0", 0, 0xFF};
}

Argument offset() {
    return {"offset", Kind::number, "the first byte", 0, vset::iic::kMemoryLimit - 1};
}

Rows deviceRows() {
    Rows rows;
    for (const vset::iic::Device& device : vset::iic::devices()) {
        rows.push_back({"bus " + std::to_string(device.u32Bus) + " slave " + hex(device.u8Slave) + " " +
                            device.strName + " " + std::to_string(device.size) + " bytes" +
                            (device.pageSize != 0 ? ", pages of " + std::to_string(device.pageSize) : ""),
                        {{"bus", device.u32Bus},
                         {"slave", device.u8Slave},
                         {"name", device.strName},
                         {"size", static_cast<long long>(device.size)},
                         {"page", static_cast<long long>(device.pageSize)}}});
    }
    return rows;
}

Rows tableRows() {
    Rows rows;
    for (const vset::iic::TableEntry& entry : vset::iic::deviceTable()) {
        rows.push_back({std::to_string(entry.u32Device) + " port " + std::to_string(entry.u32Port) + " slave " +
                            hex(entry.u16BusNumSlaveId, 4),
                        {{"device", entry.u32Device}, {"port", entry.u32Port}, {"slave", entry.u16BusNumSlaveId}}});
    }
    return rows;
}

Rows transferRows(const std::vector<vset::iic::Transfer>& transfers) {
    const auto bytes = [](const std::string& text) { return Bytes(text.begin(), text.end()); };
    Rows rows;
    for (const vset::iic::Transfer& transfer : transfers) {
        const char* direction = transfer.bWrite ? "write" : "read";
        std::string line = std::string(direction) + " bus " + std::to_string(transfer.u32Bus) + " slave " +
                           hex(transfer.u8Slave) + " [" + bytesText(transfer.strAddress) + "]";
        if (!transfer.bAcknowledged) {
            line += " no acknowledge";
        } else if (!transfer.strData.empty()) {
            line += " " + bytesText(transfer.strData);
        }
        rows.push_back({std::move(line),
                        {{"direction", direction},
                         {"bus", transfer.u32Bus},
                         {"slave", transfer.u8Slave},
                         {"register", bytes(transfer.strAddress)},
                         {"acknowledged", transfer.bAcknowledged},
                         {"data", bytes(transfer.strData)}}});
    }
    return rows;
}

void iic(Call& call) {
    const std::vector<vset::iic::Transfer> transfers = vset::iic::transfers();
    call.outRows("devices", deviceRows());
    call.outRows("table", tableRows());
    call.outRows("transfers", transferRows(transfers));
    call.out("count", static_cast<long long>(transfers.size()));
    call.out("debug", static_cast<long long>(vset::iic::debugLevel()));
    if (call.number(0) != 0) {
        vset::iic::clearTransfers();
    }
}

void memory(Call& call) {
    const std::string bytes = vset::iic::memory(call.number<unsigned int>(0), call.number<unsigned char>(1),
                                                call.number<std::size_t>(2), call.number<std::size_t>(3));
    call.out("bytes", Bytes(bytes.begin(), bytes.end()));
}

void write(Call& call) {
    const Bytes& bytes = call.bytes(3);
    vset::iic::setMemory(call.number<unsigned int>(0), call.number<unsigned char>(1), call.number<std::size_t>(2),
                         std::string(bytes.begin(), bytes.end()));
}

void addDevice(Call& call) {
    vset::iic::addDevice({call.number<unsigned int>(0), call.number<unsigned char>(1), call.text(2),
                          call.number<std::size_t>(3), call.number<std::size_t>(4)});
}

std::vector<ActionRow> iicActions() {
    constexpr long long kLimit = vset::iic::kMemoryLimit;
    return {
        ActionRow("iic", "Show what is on the I2C buses, and the last transfers.",
                  {{"clear",
                    Kind::choice,
                    "whether the transfers are forgotten then",
                    0,
                    0,
                    {{"keep", 0}, {"clear", 1}},
                    "keep"}},
                  {{"devices", "a line each: bus, slave address, name, memory"},
                   {"table", "the board's table, a line each: device number, port, bus and slave address"},
                   {"transfers", "a line each, oldest first: direction, bus, slave address, [register], bytes"},
                   {"count", "how many transfers these are"},
                   {"debug", "the middleware's debug level"}},
                  iic)
            .inSession(),
        ActionRow("iic-memory", "Show what an I2C device holds.",
                  {bus(), slave(), offset(), {"length", Kind::number, "how many bytes", 0, kLimit}},
                  {{"bytes", "what it holds", true}}, memory)
            .inSession(),
        ActionRow("iic-write", "Change what an I2C device holds, without a transfer.",
                  {bus(), slave(), offset(), {"bytes", Kind::bytes, "what to write", 0, kLimit}}, {}, write)
            .inSession(),
        ActionRow("iic-device", "Put an I2C device on a bus, filled with 0xff.",
                  {bus(),
                   slave(),
                   {"name", Kind::text, "its name"},
                   {"size", Kind::number, "bytes of memory", 1, kLimit, {}, "256"},
                   {"page", Kind::number, "bytes of a page, as of an EEPROM; 0: has none", 0, kLimit, {}, "0"}},
                  {}, addDevice)
            .inSession(),
        ActionRow(
            "iic-remove", "Take an I2C device off its bus.", {bus(), slave()}, {},
            [](Call& call) { vset::iic::removeDevice(call.number<unsigned int>(0), call.number<unsigned char>(1)); })
            .inSession(),
        ActionRow("iic-entry", "Set an entry of the board's table of I2C devices.",
                  {{"device", Kind::number, "the device's number", 0, kU32Max},
                   {"port", Kind::number, "its port", 0, kU32Max},
                   {"slave", Kind::number, "bus in the high byte, 8-bit slave address in the low one", 0, 0xFFFF}},
                  {},
                  [](Call& call) {
                      vset::iic::setTableEntry(
                          {call.number<unsigned int>(0), call.number<unsigned int>(1), call.number<unsigned short>(2)});
                  })
            .inSession(),
    };
}

}  // namespace

std::vector<ActionRow> boardActions() {
    std::vector<ActionRow> rows;
    for (std::vector<ActionRow> some : {keypadActions(), padActions(), iicActions()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
