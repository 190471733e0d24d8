// SPDX-License-Identifier: Apache-2.0
// The set's I2C buses and pads, as the middleware's caller and the person at the board see them.
#include <gmock/gmock.h>

#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/gpio.h"
#include "vset/iic.h"

namespace {

using test::kUntouched;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr unsigned int kBus = 6;
constexpr unsigned char kSlave = 0x5A;
constexpr HW_U16 kId = kBus << 8 | kSlave;

std::string bytes(std::initializer_list<int> values) {
    return {values.begin(), values.end()};
}

// Memory in which no two places that a mistake mixes up hold the same.
std::string pattern(std::size_t size) {
    std::string memory(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        memory[i] = static_cast<char>(i * 31 + i / 256 * 7);
    }
    return memory;
}

class VsetIic : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        ASSERT_EQ(HW_IIC_Init(nullptr), HW_OK);
        _hIic = test::handleOf(HW_IIC_Open, {kBus});
    }

    static void plug(std::size_t size, std::size_t pageSize = 0) {
        vset::iic::addDevice({kBus, kSlave, "a device", size, pageSize});
        vset::iic::setMemory(kBus, kSlave, 0, pattern(size));
        vset::iic::clearTransfers();
    }

    // The answer, and what the caller's buffer holds afterwards: 0xA5 at first.
    std::pair<HW_Result_t, std::string> read(const std::string& strAddress, HW_U16 u16Size, HW_U32 u32Mode = 0,
                                             HW_U16 u16Id = kId) const {
        std::string strBuffer(u16Size + 2u, '\xA5');
        HW_U8* const pu8Buffer = reinterpret_cast<HW_U8*>(strBuffer.data());
        HW_IIC_ReadParams_t stParams = {u32Mode, u16Id,    static_cast<HW_U8>(strAddress.size()), test::u8(strAddress),
                                        u16Size, pu8Buffer};
        const HW_Result_t result = HW_IIC_Read(_hIic, &stParams, &stParams.pu8Buf);
        EXPECT_EQ(stParams.pu8Buf, pu8Buffer);
        EXPECT_EQ(strBuffer.substr(u16Size), "\xA5\xA5") << "beyond the buffer";
        return {result, strBuffer.substr(0, u16Size)};
    }
    std::string got(const std::string& strAddress, HW_U16 u16Size) const {
        const auto [result, strBytes] = read(strAddress, u16Size);
        EXPECT_EQ(result, HW_OK);
        return strBytes;
    }
    HW_Result_t write(const std::string& strAddress, const std::string& strData, HW_U16 u16Id = kId) {
        const HW_IIC_WriteParams_t stParams = {{u16Id, static_cast<HW_U8>(strAddress.size()), test::u8(strAddress),
                                                static_cast<HW_U16>(strData.size()), test::u8(strData)}};
        _u32Written = kUntouched;
        return HW_IIC_Write(_hIic, &stParams, &_u32Written);
    }

    HW_Handle_t _hIic = 0;
    HW_U32 _u32Written = 0;
};

TEST_F(VsetIic, AddressBytesSetThePointerAndDataMoveIt) {
    plug(65536);
    const std::string memory = pattern(65536), twice = memory + memory;
    const struct {
        std::string strAddress;
        std::size_t offset;  // where the bytes come from
        HW_U16 u16Size;
    } kRows[] = {
        {bytes({0x10}), 0x10, 4},
        {"", 0x14, 3},
        {"", 0x17, 0},
        {"", 0x17, 1},
        {bytes({0x12, 0x34}), 0x1234, 2},
        {bytes({0, 0xAB, 0xCD}), 0xABCD, 2},
        {bytes({0, 0, 0x80, 1}), 0x8001, 2},
        {bytes({0x40, 0}), 0x4000, 0},
        {"", 0x4000, 2},
        {bytes({0xFF, 0xFE}), 0xFFFE, 5},
        {"", 3, 65535},
        {"", 2, 1},
    };
    for (const auto& row : kRows) {
        EXPECT_TRUE(got(row.strAddress, row.u16Size) == twice.substr(row.offset, row.u16Size)) << row.offset;
    }
    EXPECT_EQ(write(bytes({0xFF, 0xFF}), "abc"), HW_OK);
    EXPECT_EQ(_u32Written, 3u);
    EXPECT_EQ(write("", "de"), HW_OK);
    EXPECT_EQ(got("", 1), memory.substr(4, 1));
    EXPECT_EQ(vset::iic::memory(kBus, kSlave, 65535, 1), "a");
    EXPECT_EQ(vset::iic::memory(kBus, kSlave, 0, 5), "bcde" + memory.substr(4, 1));
    EXPECT_EQ(write(bytes({0x20}), ""), HW_OK) << "sets the pointer";
    EXPECT_EQ(_u32Written, 0u);
    EXPECT_EQ(got("", 2), memory.substr(0x20, 2));
    EXPECT_EQ(write(bytes({0}), std::string(65535, 'z')), HW_OK);
    EXPECT_TRUE(vset::iic::memory(kBus, kSlave, 0, 65536) == std::string(65535, 'z') + "a");
    for (const HW_U32 u32Mode : {0u, 1u, 2u}) {
        EXPECT_EQ(read(bytes({0xFF, 0xFF}), 2, u32Mode).second, "az") << u32Mode;
    }
}

TEST_F(VsetIic, AnEepromWritesAPageAtATime) {
    plug(256, 16);
    const std::string before = pattern(256);
    EXPECT_EQ(write(bytes({0x1A}), "0123456789"), HW_OK);
    EXPECT_EQ(_u32Written, 10u);
    EXPECT_EQ(vset::iic::memory(kBus, kSlave, 0, 256),
              before.substr(0, 16) + "6789" + before.substr(20, 6) + "012345" + before.substr(32));
    EXPECT_EQ(write(bytes({0x80}), "ABCDEFGHIJKLMNOPqrs"), HW_OK);
    EXPECT_EQ(vset::iic::memory(kBus, kSlave, 0x80, 17), "qrsDEFGHIJKLMNOP" + before.substr(0x90, 1));
    EXPECT_EQ(got(bytes({0x8E}), 4), "OP" + before.substr(0x90, 2)) << "reading knows no pages";
}

TEST_F(VsetIic, RefusesWhatABusRefuses) {
    plug(256);
    HW_U8 au8Buffer[4] = {1, 2, 3, 4}, *pu8Buffer = au8Buffer;
    HW_IIC_DeviceInfo_t stInfo = {kUntouched, 0xA5A5};
    HW_U32 u32Written = kUntouched;
    // A good transfer, and what may be wrong with it.
    HW_IIC_ReadParams_t aReads[] = {{3, kId, 1, au8Buffer, 4, au8Buffer},
                                    {0, kId, 5, au8Buffer, 4, au8Buffer},
                                    {0, kId, 1, nullptr, 4, au8Buffer},
                                    {0, kId - 0x100, 1, au8Buffer, 4, au8Buffer},
                                    {0, kId, 1, au8Buffer, 4, nullptr}};
    const HW_IIC_WriteParams_t kWrites[] = {
        {{kId, 5, au8Buffer, 4, au8Buffer}}, {{kId, 1, nullptr, 4, au8Buffer}}, {{kId, 1, au8Buffer, 4, nullptr}}};
    HW_IIC_ReadParams_t stRead = {0, kId, 1, au8Buffer, 4, au8Buffer};
    const HW_IIC_WriteParams_t stWrite = {{kId, 1, au8Buffer, 4, au8Buffer}};
    for (HW_IIC_ReadParams_t& stBad : aReads) {
        EXPECT_EQ(HW_IIC_Read(_hIic, &stBad, &stBad.pu8Buf), HW_ERR_INVALID_PARAMETER) << &stBad - aReads;
    }
    for (const HW_IIC_WriteParams_t& stBad : kWrites) {
        EXPECT_EQ(HW_IIC_Write(_hIic, &stBad, &u32Written), HW_ERR_INVALID_PARAMETER) << &stBad - kWrites;
    }
    test::expectRefusals({
        {"a pointer outside", HW_ERR_INVALID_PARAMETER, [&] { return HW_IIC_Read(_hIic, &stRead, &pu8Buffer); }},
        {"no pointer", HW_ERR_INVALID_PARAMETER, [&] { return HW_IIC_Read(_hIic, &stRead, nullptr); }},
        {"information to nowhere", HW_ERR_INVALID_PARAMETER, [] { return HW_IIC_GetDeviceInfo(0, nullptr); }},
    });
    EXPECT_EQ(HW_IIC_GetDeviceInfo(60000, &stInfo), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(u32Written, kUntouched);
    EXPECT_THAT(au8Buffer, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(stInfo.ePort, kUntouched);
    EXPECT_EQ(stInfo.u16BusNumSlaveId, 0xA5A5);
    EXPECT_THAT(vset::iic::transfers(), SizeIs(0)) << "nothing has reached the bus";
    EXPECT_EQ(HW_IIC_Write(_hIic, &stWrite, nullptr), HW_OK) << "who does not ask for the count";
}

TEST_F(VsetIic, NobodyAcknowledgesAForeignAddress) {
    plug(256);
    constexpr HW_U16 kForeign = kId + 2;
    EXPECT_EQ(read("\1", 3, 0, kForeign), std::make_pair(HW_Result_t{HW_ERR_FAILED}, std::string(3, '\xA5')));
    EXPECT_EQ(write("\2", "xyz", kForeign), HW_ERR_FAILED);
    EXPECT_EQ(_u32Written, kUntouched);
    EXPECT_EQ(write("\2", "v", kId + 1), HW_OK) << "the direction is the bus's own bit";
    EXPECT_EQ(write("\3\4", "data"), HW_OK);
    EXPECT_EQ(got("\4", 2), "da");
    std::vector<std::string> seen;
    for (const vset::iic::Transfer& stTransfer : vset::iic::transfers()) {
        seen.push_back(std::to_string(stTransfer.u32Bus) + "/" + std::to_string(stTransfer.u8Slave) +
                       (stTransfer.bWrite ? " write " : " read ") + stTransfer.strAddress +
                       (stTransfer.bAcknowledged ? " " + stTransfer.strData : " -"));
    }
    EXPECT_THAT(seen, ElementsAre("6/92 read \1 -", "6/92 write \2 -", "6/91 write \2 v", "6/90 write \3\4 data",
                                  "6/90 read \4 da"));
    for (int i = 0; i < 1100; ++i) {
        got("", 1);
    }
    EXPECT_THAT(vset::iic::transfers(), SizeIs(1024));
    vset::iic::clearTransfers();
    EXPECT_THAT(vset::iic::transfers(), SizeIs(0));
    vset::iic::removeDevice(kBus, kSlave);
    EXPECT_EQ(read("\1", 3).first, HW_ERR_FAILED);
}

TEST_F(VsetIic, ABusIsAlsoFoundUnderItsDevicePort) {
    HW_Handle_t hUntouched = kUntouched;
    EXPECT_EQ(test::handleOf(HW_IIC_GetHandle, {HW_IIC_DEVICE_PORT_BASE + kBus}), _hIic);
    EXPECT_EQ(test::ask(HW_IIC_GetHandle, {HW_IIC_DEVICE_PORT_BASE + kBus - 1}, &hUntouched), HW_ERR_FAILED);
    for (const HW_U32 u32Port : {1023u, 1024u + 8, 2048u + kBus, ~0u}) {
        EXPECT_EQ(test::ask(HW_IIC_GetHandle, {u32Port}, &hUntouched), HW_ERR_INVALID_PARAMETER) << u32Port;
    }
    EXPECT_EQ(test::ask(HW_IIC_Open, {HW_IIC_DEVICE_PORT_BASE + 1}, &hUntouched), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(hUntouched, kUntouched);
}

TEST_F(VsetIic, TheBoardKnowsWhereItsDevicesAre) {
    const std::vector<vset::iic::Device> devices = vset::iic::devices();
    const std::vector<vset::iic::TableEntry> table = vset::iic::deviceTable();
    std::vector<std::string> known;
    for (const vset::iic::Device& stDevice : devices) {
        known.push_back(std::to_string(stDevice.u32Bus << 8 | stDevice.u8Slave) + " " + stDevice.strName + " " +
                        std::to_string(stDevice.size) + "/" + std::to_string(stDevice.pageSize));
    }
    for (const vset::iic::TableEntry& stEntry : table) {
        known.push_back(std::to_string(stEntry.u32Device) + ": " + std::to_string(stEntry.u16BusNumSlaveId));
    }
    ASSERT_THAT(known, ElementsAre("160 EEPROM 256/16", "404 panel timing controller 256/0", "676 panel EEPROM 8192/32",
                                   "960 tuner 64/0", "0: 160", "1: 404", "2: 676", "3: 960"));
    HW_IIC_DeviceInfo_t stInfo = {};
    for (const vset::iic::TableEntry& stEntry : table) {
        EXPECT_EQ(HW_IIC_GetDeviceInfo(stEntry.u32Device, &stInfo), HW_OK);
        EXPECT_EQ(stInfo.ePort, stEntry.u32Port);
        EXPECT_EQ(stInfo.u16BusNumSlaveId, stEntry.u16BusNumSlaveId);
        const unsigned char u8Slave = static_cast<unsigned char>(stInfo.u16BusNumSlaveId & 0xFF);
        EXPECT_NO_THROW(vset::iic::memory(stInfo.u16BusNumSlaveId >> 8, u8Slave, 0, 1)) << "where there is none";
    }
    vset::iic::setTableEntry({table[0].u32Device, 3, 0x4321});
    vset::iic::setTableEntry({60000, 7, 0x1234});
    EXPECT_THAT(vset::iic::deviceTable(), SizeIs(table.size() + 1));
    EXPECT_EQ(HW_IIC_GetDeviceInfo(table[0].u32Device, &stInfo), HW_OK);
    EXPECT_EQ(stInfo.ePort, 3u);
    EXPECT_EQ(HW_IIC_GetDeviceInfo(60000, &stInfo), HW_OK);
    EXPECT_EQ(stInfo.u16BusNumSlaveId, 0x1234);

    // Switching on undoes what a person has done, and what the program has written.
    const vset::iic::Device& stFirst = devices[0];
    const std::string strFirst = vset::iic::memory(stFirst.u32Bus, stFirst.u8Slave, 0, 1);
    vset::iic::setMemory(stFirst.u32Bus, stFirst.u8Slave, 0, strFirst == "x" ? "y" : "x");
    plug(16);
    EXPECT_EQ(HW_IIC_SetDebugLevel(0x40), HW_OK);
    EXPECT_EQ(vset::iic::debugLevel(), 0x40u);
    vset::powerCycle();
    EXPECT_THAT(vset::iic::devices(), SizeIs(devices.size()));
    EXPECT_THAT(vset::iic::deviceTable(), SizeIs(table.size()));
    EXPECT_EQ(vset::iic::memory(stFirst.u32Bus, stFirst.u8Slave, 0, 1), strFirst);
    EXPECT_EQ(vset::iic::debugLevel(), 0u);
    EXPECT_EQ(HW_IIC_GetDeviceInfo(table[0].u32Device, &stInfo), HW_ERR_NOT_INITED);
}

TEST_F(VsetIic, APersonIsToldWhatIsNotPossible) {
    plug(16);
    for (const vset::iic::Device& stDevice : std::vector<vset::iic::Device>{{kBus, kSlave, "taken", 16, 0},
                                                                            {8, 0x10, "no such bus", 16, 0},
                                                                            {0, 0x11, "half an address", 16, 0},
                                                                            {0, 0x10, "empty", 0, 0},
                                                                            {0, 0x10, "half a page", 24, 16},
                                                                            {0, 0x10, "too large", 65537, 0}}) {
        EXPECT_THROW(vset::iic::addDevice(stDevice), vset::SetError) << stDevice.strName;
    }
    vset::iic::addDevice({0, kSlave, "on another bus", 16, 0});
    EXPECT_EQ(vset::iic::memory(0, kSlave, 0, 16), std::string(16, '\xFF'));
    EXPECT_EQ(vset::iic::memory(kBus, kSlave, 0, 16), pattern(16));
    EXPECT_THROW(vset::iic::removeDevice(1, kSlave), vset::SetError);
    EXPECT_THROW(vset::iic::memory(kBus, kSlave, 1, ~std::size_t{0}), vset::SetError);
    EXPECT_THROW(vset::iic::setMemory(kBus, kSlave, 15, "xy"), vset::SetError);
}

class VsetGpio : public test::RunningTest {
protected:
    static HW_Handle_t open(HW_U32 u32Pad) { return test::handleOf(HW_GPIO_Open, {u32Pad}); }

    // Level and inversion as the program reads them.
    static std::pair<int, int> input(HW_Handle_t hGpio) {
        HW_U8 u8Level = 0xA5, u8Inverted = 0xA5;
        EXPECT_EQ(HW_GPIO_GetInput(hGpio, &u8Level, &u8Inverted), HW_OK);
        return {u8Level, u8Inverted};
    }
    static std::vector<int> levels(HW_Handle_t hGpio, int count) {
        std::vector<int> found;
        for (int i = 0; i < count; ++i) {
            found.push_back(input(hGpio).first);
        }
        return found;
    }
};

TEST_F(VsetGpio, AnOutputHidesWhatIsWired) {
    const HW_Handle_t hPad = open(12), hNext = open(13);
    EXPECT_EQ(input(hPad), std::make_pair(0, 0));
    vset::gpio::drive(12, 1);
    EXPECT_EQ(input(hPad).first, 1);
    EXPECT_EQ(HW_GPIO_SetOutput(hPad, 0), HW_OK);
    EXPECT_EQ(input(hPad).first, 0);
    EXPECT_EQ(HW_GPIO_SetOutput(hPad, 1), HW_OK);
    vset::gpio::drive(12, 0);
    EXPECT_EQ(input(hPad).first, 1);
    EXPECT_EQ(input(hNext).first, 0) << "the pad beside it";
    const vset::gpio::Pad stPad = vset::gpio::pad(12);
    EXPECT_TRUE(stPad.bOpen && stPad.bOutput && !stPad.bPlayer);
    EXPECT_EQ(stPad.u8Wired, 0);
    EXPECT_EQ(stPad.u8Level, 1);
    EXPECT_EQ(stPad.u64Reads, 4u);
    EXPECT_EQ(HW_GPIO_Close(hPad), HW_OK);
    EXPECT_EQ(input(open(12)).first, 1) << "closing does not let it go";
    vset::powerCycle();
    EXPECT_FALSE(vset::gpio::pad(12).bOutput);
    EXPECT_EQ(vset::gpio::pad(12).u8Level, 0);
}

TEST_F(VsetGpio, PlaysLevelsAsTheyAreRead) {
    const HW_Handle_t hPad = open(200), hNext = open(201);
    vset::gpio::play(200, {1, 0, 1});
    EXPECT_EQ(vset::gpio::pad(200).u64Reads, 0u) << "looking is not reading";
    EXPECT_THAT(levels(hNext, 2), ElementsAre(0, 0)) << "each pad has its own";
    EXPECT_THAT(levels(hPad, 5), ElementsAre(1, 0, 1, 1, 1));
    vset::gpio::play(200, {0, 1, 0, 1});
    EXPECT_THAT(levels(hPad, 2), ElementsAre(0, 1));
    vset::gpio::play(200, {1, 1, 0});
    EXPECT_THAT(levels(hPad, 4), ElementsAre(1, 1, 0, 0)) << "in place of what was left";
    vset::gpio::play(200, {0, 0, 0});
    vset::gpio::drive(200, 1);
    EXPECT_THAT(levels(hPad, 2), ElementsAre(1, 1)) << "by hand from now on";

    vset::gpio::setInverted(200, true);
    EXPECT_EQ(input(hPad), std::make_pair(1, 1)) << "the level is as wired";
    EXPECT_EQ(input(hNext), std::make_pair(0, 0));
    EXPECT_EQ(HW_GPIO_SetOutput(hPad, 0), HW_OK);
    EXPECT_EQ(input(hPad), std::make_pair(0, 1));
}

TEST_F(VsetGpio, RefusesWhatAPadRefuses) {
    const HW_Handle_t hPad = open(255);
    vset::gpio::drive(255, 1);
    HW_U8 u8Level = 0xA5, u8Inverted = 0xA5;
    vset::gpio::setBroken(255, true);
    EXPECT_EQ(HW_GPIO_GetInput(hPad, &u8Level, &u8Inverted), HW_ERR_FAILED);
    vset::gpio::setBroken(255, false);
    test::expectRefusals({
        {"level 2", HW_ERR_INVALID_PARAMETER, [&] { return HW_GPIO_SetOutput(hPad, 2); }},
        {"level 256", HW_ERR_INVALID_PARAMETER, [&] { return HW_GPIO_SetOutput(hPad, 256); }},
        {"no level", HW_ERR_INVALID_PARAMETER, [&] { return HW_GPIO_GetInput(hPad, nullptr, &u8Inverted); }},
        {"no inversion", HW_ERR_INVALID_PARAMETER, [&] { return HW_GPIO_GetInput(hPad, &u8Level, nullptr); }},
    });
    EXPECT_EQ(u8Level, 0xA5);
    EXPECT_EQ(u8Inverted, 0xA5);
    vset::gpio::play(255, {1, 0});
    EXPECT_THROW(vset::gpio::drive(256, 0), vset::SetError);
    EXPECT_THROW(vset::gpio::drive(255, 2), vset::SetError);
    EXPECT_THROW(vset::gpio::play(255, {0, 2}), vset::SetError);
    EXPECT_THAT(levels(hPad, 2), ElementsAre(1, 0)) << "nothing of that was done, and it works again";
    EXPECT_FALSE(vset::gpio::pad(255).bOutput);
}

}  // namespace
