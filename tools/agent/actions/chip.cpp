// SPDX-License-Identifier: Apache-2.0
// What a person does to the set's watchdog, clocks, firmware, registers and network interfaces, and sees of them.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <thread>
#include <utility>

#include "actions/action.h"
#include "vset/net.h"
#include "vset/pm.h"
#include "vset/sys.h"
#include "vset/wdt.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;
// What stands for a value that is only looked at.
constexpr long long kKeep = -1;

Argument valueOrKeep(const char* name, const char* help) {
    return {name, Kind::choice, help, 0, kU32Max, {{"keep", kKeep}}, "keep"};
}

Argument state() {
    return {"state", Kind::flag, "on or off"};
}

// --- Watchdog --------------------------------------------------------------------------------------------------------

void watchdog(Call& call) {
    const vset::wdt::Watchdog watchdog = vset::wdt::state();
    call.out("present", static_cast<long long>(watchdog.bPresent));
    call.out("seconds", static_cast<long long>(watchdog.u32Seconds));
    call.out("remaining", std::llround(watchdog.remaining * 1000));
    call.out("rebooted", static_cast<long long>(watchdog.bRebooted));
}

// The process that has the set ends, and this wait with it.
void awaitReboot(Call& call) {
    std::this_thread::sleep_for(std::chrono::seconds(call.number(0)));
    throw vset::SetError("the watchdog has not rebooted the set within " + std::to_string(call.number(0)) + " s");
}

std::vector<ActionRow> watchdogActions() {
    return {
        ActionRow("wdt", "Show the watchdog.", {},
                  {{"present", "1 when the set has one"},
                   {"seconds", "that it was given last; 0: it stands still"},
                   {"remaining", "milliseconds until it reboots the set"},
                   {"rebooted", "1 when it has rebooted the set and no program has acknowledged that"}},
                  watchdog),
        ActionRow("wdt-present", "Take the watchdog out, or put it back.", {state()}, {},
                  [](Call& call) { vset::wdt::setPresent(call.number(0) != 0); })
            .inSession(),
        ActionRow("wdt-rebooted", "Say whether the watchdog was the reason of the last reboot.", {state()}, {},
                  [](Call& call) { vset::wdt::setRebooted(call.number(0) != 0); }),
        ActionRow("await-reboot",
                  "Wait for the watchdog to reboot the set; like a power cycle, everything in memory is lost then.",
                  {{"seconds", Kind::number, "how long at most", 1, 86400, {}, "10"}}, {}, awaitReboot)
            .inSession()
            .endingWorker(),
    };
}

// --- Clocks, firmware, registers -------------------------------------------------------------------------------------

void clock(Call& call) {
    if (call.number(0) != kKeep) {
        vset::pm::setClock(call.number<std::uint32_t>(0));
    }
    call.out("seconds", static_cast<long long>(vset::pm::clock()));
}

void spread(Call& call) {
    const vset::sys::ClockSpread spread = vset::sys::clockSpread(call.number<unsigned int>(0));
    call.out("on", static_cast<long long>(spread.bOn));
    call.out("freq", static_cast<long long>(spread.u16Freq));
    call.out("ratio", static_cast<long long>(spread.u16Ratio));
}

void firmware(Call& call) {
    const std::vector<vset::sys::Firmware> flashed = vset::sys::flashedFirmware();
    Rows rows;
    for (const vset::sys::Firmware& firmware : flashed) {
        char crc[16];
        std::snprintf(crc, sizeof(crc), "0x%08x", firmware.u32Crc32);
        rows.push_back({"type " + std::to_string(firmware.u32Type) + " " + firmware.strPath + " " +
                            std::to_string(firmware.u64Size) + " bytes crc32 " + crc,
                        {{"type", firmware.u32Type},
                         {"file", firmware.strPath},
                         {"size", static_cast<long long>(firmware.u64Size)},
                         {"crc32", firmware.u32Crc32}}});
    }
    call.outRows("flashed", std::move(rows));
    call.out("count", static_cast<long long>(flashed.size()));
    call.out("type", flashed.empty() ? -1 : static_cast<long long>(flashed.back().u32Type));
    call.out("file", flashed.empty() ? std::string() : flashed.back().strPath);
}

void chipRegister(Call& call) {
    const auto bank = call.number<std::uint32_t>(0), offset = call.number<std::uint32_t>(1);
    if (call.number(2) != kKeep) {
        vset::sys::writeRegister(bank, offset, call.number<std::uint32_t>(2));
    }
    call.out("value", static_cast<long long>(vset::sys::readRegister(bank, offset)));
}

void registers(Call& call) {
    Rows rows;
    for (const vset::sys::WrittenRegister& written : vset::sys::writtenRegisters()) {
        char line[64];
        std::snprintf(line, sizeof(line), "0x%x 0x%x = 0x%x", written.u32Bank, written.u32Offset, written.u32Value);
        rows.push_back({line, {{"bank", written.u32Bank}, {"offset", written.u32Offset}, {"value", written.u32Value}}});
    }
    call.outRows("registers", std::move(rows));
}

std::vector<ActionRow> chipRows() {
    return {
        ActionRow("clock", "Show the real-time clock, or set it.", {valueOrKeep("seconds", "what it is set to")},
                  {{"seconds", "what it shows"}}, clock),
        ActionRow("spread", "Show the clock spread of a memory interface unit.",
                  {{"miu", Kind::number, "the unit", 0, vset::sys::kMius - 1}},
                  {{"on", "1 when it is on"},
                   {"freq", "its frequency in the chip's units"},
                   {"ratio", "its width in the chip's units"}},
                  spread)
            .inSession(),
        ActionRow("firmware", "Show what firmware has been flashed.", {},
                  {{"flashed", "a line each, oldest first: type, file of the set, size, checksum"},
                   {"count", "how often that was done"},
                   {"type", "type of the last one; -1: none"},
                   {"file", "file of the last one"}},
                  firmware)
            .inSession(),
        ActionRow("registers", "Show the registers that have been written since the set was switched on.", {},
                  {{"registers", "a line each: bank, offset, value"}}, registers)
            .inSession(),
        ActionRow("register", "Show a register of the chip, or write it.",
                  {{"bank", Kind::number, "its bank", 0, kU32Max},
                   {"offset", Kind::number, "its offset in the bank", 0, kU32Max},
                   valueOrKeep("value", "what is written first")},
                  {{"value", "what it holds"}}, chipRegister)
            .inSession(),
    };
}

// --- Memory ----------------------------------------------------------------------------------------------------------

void memory(Call& call) {
    Rows rows;
    for (const vset::sys::MemoryArea& area : vset::sys::memoryMap()) {
        char line[160];
        std::snprintf(line, sizeof(line), "%s region %u at 0x%llx, 0x%llx bytes%s", area.strName.c_str(),
                      area.u32MmapId, static_cast<unsigned long long>(area.u64Start),
                      static_cast<unsigned long long>(area.u64Size), area.bAddressable ? "" : ", not addressable");
        rows.push_back({line,
                        {{"name", area.strName},
                         {"region", area.u32MmapId},
                         {"start", static_cast<long long>(area.u64Start)},
                         {"size", static_cast<long long>(area.u64Size)},
                         {"addressable", area.bAddressable}}});
    }
    call.outRows("areas", std::move(rows));
}

std::vector<ActionRow> memoryActions() {
    return {
        ActionRow("memory", "Show the memory map.", {},
                  {{"areas", "a line each: name, number of the region, physical address, size"}}, memory)
            .inSession(),
        ActionRow(
            "mmap-size", "Give a region of memory another size; what was in it is lost.",
            {{"region", Kind::number, "its number", 0, kU32Max},
             {"bytes", Kind::number, "its size", 0, vset::sys::kRegionLimit}},
            {},
            [](Call& call) { vset::sys::resizeRegion(call.number<std::uint32_t>(0), call.number<std::uint32_t>(1)); })
            .inSession(),
        ActionRow("iommu", "Say how much memory the IOMMU has in all; what is allocated stays.",
                  {{"bytes", Kind::number, "how much", 0, kU32Max}}, {},
                  [](Call& call) { vset::sys::setIommuMemory(call.number<std::uint64_t>(0)); })
            .inSession(),
    };
}

// --- Network ---------------------------------------------------------------------------------------------------------

using vset::net::Interface;

Argument interfaceName(std::optional<std::string> byDefault = std::nullopt) {
    return {"name", Kind::text, "its name", 0, static_cast<long long>(vset::net::kNameSize), {}, std::move(byDefault)};
}

auto isNamed(const std::string& name) {
    return [&name](const Interface& interface) { return interface.strName == name; };
}

void network(Call& call) {
    const std::vector<Interface> interfaces = vset::net::interfaces();
    Rows rows;
    for (const Interface& interface : interfaces) {
        rows.push_back({interface.strName + " " + interface.strMac + (interface.bDhcp ? " dhcp" : " static") +
                            (interface.bUp ? " up" : " down"),
                        {{"name", interface.strName},
                         {"mac", interface.strMac},
                         {"dhcp", interface.bDhcp},
                         {"up", interface.bUp}}});
    }
    call.outRows("interfaces", std::move(rows));
    call.out("count", static_cast<long long>(interfaces.size()));
    const auto found = std::find_if(interfaces.begin(), interfaces.end(), isNamed(call.text(0)));
    if (found != interfaces.end()) {
        call.out("mac", found->strMac);
        call.out("up", static_cast<long long>(found->bUp));
        call.out("dhcp", static_cast<long long>(found->bDhcp));
    }
}

void setInterface(Call& call) {
    std::vector<Interface> interfaces = vset::net::interfaces();
    const Interface wanted = {call.text(0), call.text(1), call.number(2) != 0, call.number(3) != 0};
    const auto found = std::find_if(interfaces.begin(), interfaces.end(), isNamed(wanted.strName));
    if (found != interfaces.end()) {
        *found = wanted;
    } else {
        interfaces.push_back(wanted);
    }
    vset::net::setInterfaces(interfaces);
}

void removeInterface(Call& call) {
    std::vector<Interface> interfaces = vset::net::interfaces();
    const auto end = std::remove_if(interfaces.begin(), interfaces.end(), isNamed(call.text(0)));
    if (end == interfaces.end()) {
        throw vset::SetError(call.text(0) + ": no such interface");
    }
    interfaces.erase(end, interfaces.end());
    vset::net::setInterfaces(interfaces);
}

std::vector<ActionRow> netActions() {
    return {
        ActionRow("net", "Show the network interfaces, and one of them in detail.", {interfaceName("eth0")},
                  {{"interfaces", "a line each: name, MAC address, dhcp or static, up or down"},
                   {"count", "how many there are"},
                   {"mac", "MAC address of the first one of that name"},
                   {"up", "1 when it is up"},
                   {"dhcp", "1 when it asks for its address"}},
                  network),
        ActionRow(
            "net-interface", "Add a network interface, or replace the first one of its name.",
            {interfaceName(),
             {"mac", Kind::text, "its MAC address: 02:00:5E:00:53:01"},
             {"state", Kind::choice, "whether it is up", 0, 0, {{"up", 1}, {"down", 0}}, "up"},
             {"dhcp", Kind::choice, "whether it asks for its address", 0, 0, {{"dhcp", 1}, {"static", 0}}, "dhcp"}},
            {}, setInterface),
        ActionRow("net-remove", "Remove a network interface.", {interfaceName()}, {}, removeInterface),
    };
}

}  // namespace

std::vector<ActionRow> chipActions() {
    std::vector<ActionRow> rows;
    for (std::vector<ActionRow> some : {watchdogActions(), chipRows(), memoryActions(), netActions()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
