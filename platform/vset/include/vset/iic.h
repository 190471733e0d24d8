// SPDX-License-Identifier: Apache-2.0
// The control API of the set's I2C buses. All functions throw SetError when no set is attached, when a number is out of
// range, or when there is no such device.
//
// A device is known by its bus and its 8-bit slave address (bit 0 is clear). It holds register memory and a pointer
// into it: address bytes of a transfer, most significant first, set the pointer; data move it on, from the end of the
// memory to its beginning. Switching on restores the board's own devices and their first contents.
#ifndef VSET_IIC_H
#define VSET_IIC_H

#include <string_view>

#include "vset/vset.h"

namespace vset::iic {

constexpr unsigned int kBuses = 8;
constexpr std::size_t kMemoryLimit = 65536;

// --- Devices ---------------------------------------------------------------------------------------------------------

struct Device {
    unsigned int u32Bus = 0;
    unsigned char u8Slave = 0;
    std::string strName;
    std::size_t size = 256;  // bytes of memory, 1 to kMemoryLimit
    // An EEPROM writes a page at a time: data beyond the end of the page go to its beginning. 0: has no pages.
    std::size_t pageSize = 0;
};

// Returns the devices by bus and slave address.
VSET_API std::vector<Device> devices();

// Puts a device on its bus, filled with 0xFF. Throws SetError when the address is taken.
VSET_API void addDevice(const Device& stDevice);
VSET_API void removeDevice(unsigned int u32Bus, unsigned char u8Slave);

// Reads or writes bytes of a device's memory from `offset`, which must lie inside it.
VSET_API std::string memory(unsigned int u32Bus, unsigned char u8Slave, std::size_t offset, std::size_t length);
VSET_API void setMemory(unsigned int u32Bus, unsigned char u8Slave, std::size_t offset, std::string_view bytes);

// --- The board's table of devices ------------------------------------------------------------------------------------

struct TableEntry {
    unsigned int u32Device;  // the number that a program asks for
    unsigned int u32Port;
    unsigned short u16BusNumSlaveId;  // bus in the high byte, slave address in the low byte
};

// Returns the table by device number.
VSET_API std::vector<TableEntry> deviceTable();
// Adds an entry, or replaces the one with its number.
VSET_API void setTableEntry(const TableEntry& stEntry);

// --- What has happened -----------------------------------------------------------------------------------------------

struct Transfer {
    std::chrono::steady_clock::time_point time;
    bool bWrite;
    unsigned int u32Bus;
    unsigned char u8Slave;
    std::string strAddress;  // bytes
    std::string strData;     // bytes written, or read
    bool bAcknowledged;      // false: no device has the address
};

// Returns the last 1,024 transfers since switching on or clearTransfers(), oldest first.
VSET_API std::vector<Transfer> transfers();
VSET_API void clearTransfers();

// Returns the value that the program has set; 0 after switching on.
VSET_API unsigned int debugLevel();

// Opens a bus for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Bus);
VSET_API void release(unsigned int u32Bus);

}  // namespace vset::iic

#endif
