// SPDX-License-Identifier: Apache-2.0
// I2C buses.
#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/refusals.h"
#include "vset/iic.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr unsigned short kEeprom = 0x00A0;
const unsigned char kRegister[] = {0x10};

std::string red(const char* pszText) {
    return "\033[31m " + std::string(pszText) + "\033[m\n\n";
}

int readBus(unsigned short size, std::string& strOut, unsigned short slave = kEeprom, unsigned short mode = 0) {
    std::vector<unsigned char> exact(size, '#');
    const int s32Status = a_vextvfapi_prphrl_read_from_iic(0, mode, slave, 1, kRegister, size, exact.data());
    strOut.assign(exact.begin(), exact.end());
    return s32Status;
}

int writeBus(const std::string& strBytes, unsigned short slave = kEeprom) {
    const std::vector<unsigned char> exact(strBytes.begin(), strBytes.end());
    return a_vextvfapi_prphrl_write_to_iic(0, slave, 1, kRegister, static_cast<unsigned short>(strBytes.size()),
                                           exact.data());
}

class Iic : public test::PeripheralTest {
protected:
    // A transfer leaves its bus open.
    void TearDown() override {
        vset::clearFaults();
        for (const int s32Bus : {0, 1, 2}) {
            EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(s32Bus), 0);
        }
        PeripheralTest::TearDown();
    }
};

TEST_F(Iic, WhatIsWrittenIsRead) {
    inFreshProcess([&] {
        std::string strRead;
        const std::string strLog = test::logOf([&] {
            EXPECT_EQ(writeBus("abc"), 0);
            EXPECT_EQ(readBus(3, strRead, kEeprom, 2), 0);
        });
        EXPECT_EQ(strRead, "abc");
        EXPECT_EQ(vset::iic::memory(0, 0xA0, 0x10, 4), "abc\xFF");
        EXPECT_THAT(strLog, AllOf(HasSubstr("[write_to_iic] stWriteData.u16BusNumSlaveId  = 0xa0\n\n"),
                                  HasSubstr("[write_to_iic] stWriteParams.stWriteData.pu8Buf[2] = 0x63\n\n"),
                                  HasSubstr("[write_to_iic] Initial handle 0 \n\n"),
                                  HasSubstr("[I] <a_vextvfapi_prphrl_write_to_iic> [write_to_iic] eErrCode 0\n\n"),
                                  HasSubstr("[read_from_iic] stReadParams.eReadMode         = 2\n\n"),
                                  HasSubstr("[read_from_iic] IIC Return Read data = 0x63\n\n")));
        ASSERT_EQ(vset::iic::transfers().size(), 2u);
        EXPECT_EQ(vset::iic::transfers()[0].strAddress, "\x10");

        std::string strAll;
        EXPECT_EQ(readBus(0xFFFF, strAll), 0);
        EXPECT_EQ(strAll.substr(0, 3), "abc");
        EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(0, 0, kEeprom, 0, nullptr, 0, nullptr), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 0, nullptr, 0, nullptr), 0);
    });
}

TEST_F(Iic, RefusesWhatItCannotTransfer) {
    unsigned char au8Byte[1] = {'#'};
    const std::vector<unsigned char> address(256, 0);
    const std::string strLog = test::logOf([&] {
        EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(0, 3, kEeprom, 1, kRegister, 1, au8Byte), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(0, 0, kEeprom, 256, address.data(), 1, au8Byte), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(0, 0, kEeprom, 1, nullptr, 1, au8Byte), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(0, 0, kEeprom, 1, kRegister, 1, nullptr), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 256, address.data(), 1, au8Byte), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 1, nullptr, 1, au8Byte), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 1, kRegister, 1, nullptr), -1);
    });
    EXPECT_THAT(strLog, HasSubstr("[read_from_iic] invalid ReadMode\n\n"));
    EXPECT_EQ(std::count(strLog.begin(), strLog.end(), '\n'), 2) << "all others are silent: " << strLog;
    EXPECT_THAT(calls(), ::testing::Not(::testing::Contains(HasSubstr("HW_IIC"))));
    EXPECT_EQ(au8Byte[0], '#');
}

TEST_F(Iic, AFailedTransferLeavesTheOutputAlone) {
    refuses("HW_IIC_Read");
    refuses("HW_IIC_Write");
    refuses("HW_IIC_GetHandle");
    refuses("HW_IIC_Open");
    std::string strOut;
    EXPECT_EQ(readBus(2, strOut, 0x00B0), -1) << "no such device";
    EXPECT_EQ(strOut, "##");
    EXPECT_EQ(writeBus("ab", 0x00B0), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(8, 0, kEeprom, 0, nullptr, 0, nullptr), -1) << "no such bus";
    const std::vector<unsigned char> address(255, 0);
    EXPECT_EQ(a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 255, address.data(), 0, nullptr), -1)
        << "more address bytes than the chip sends";
    for (const unsigned int u32From : {1u, 2u}) {
        vset::inject({vset::kAllocation, 0, u32From});
        EXPECT_EQ(readBus(2, strOut), -1);
        vset::clearFaults();
        vset::inject({vset::kAllocation, 0, u32From});
        EXPECT_EQ(writeBus("ab"), -1);
        vset::clearFaults();
    }
}

TEST_F(Iic, ClosesOnlyWhatItOpened) {
    refuses("HW_IIC_GetHandle");
    refuses("HW_IIC_Open");
    leavesOpen("HW_IIC");
    EXPECT_EQ(a_vextvfapi_prphrl_enable_iic(1), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_enable_iic(1), 0) << "it is open already";
    EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(1), 0);
    EXPECT_THAT(opened(), IsEmpty());
    EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(1), 0) << "one that is not open is opened and closed";
    vset::iic::hold(2);
    EXPECT_EQ(a_vextvfapi_prphrl_enable_iic(2), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(2), 0);
    EXPECT_EQ(opened().size(), 1u) << "the player's stays open";

    EXPECT_EQ(a_vextvfapi_prphrl_enable_iic(8), -1);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(8), -1); }),
                HasSubstr("[enable_iic] Open iic fail\n\n"));
    vset::inject({"HW_IIC_Close"});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(3), -1); }),
                HasSubstr("[disable_iic] Close iic fail\n\n"));
}

TEST_F(Iic, ReportsWhereADeviceIs) {
    refuses("HW_IIC_GetDeviceInfo");
    refuses("HW_IIC_GetHandle");
    refuses("HW_IIC_Open");
    unsigned short u16Slave = 0xEEEE;
    const std::string strLog =
        test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_iic_slave_address(1, 0, &u16Slave), 0); });
    EXPECT_EQ(u16Slave, 0x0194);
    EXPECT_THAT(strLog, AllOf(HasSubstr("[DeviceId: 1] stIicDevice.ePort            = 1\n\n"),
                              HasSubstr("[DeviceId: 1] stIicDevice.u16BusNumSlaveId = 0x194\n\n"),
                              HasSubstr(red("pu16SlaveId:404"))));
    EXPECT_EQ(vset::iic::debugLevel(), 0x40u);

    EXPECT_EQ(a_vextvfapi_prphrl_get_iic_slave_address(999, 0, &u16Slave), -1);
    EXPECT_EQ(u16Slave, 0) << "an unknown device has none";
    EXPECT_EQ(a_vextvfapi_prphrl_get_iic_slave_address(1, 0, nullptr), -1);
    u16Slave = 0xEEEE;
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_iic_slave_address(1, 9, &u16Slave), 0); }),
                HasSubstr(red("Error 0x3: failed to HW_IIC_Open!")));
    EXPECT_EQ(u16Slave, 0xEEEE) << "a bus that cannot be opened is no failure, and stores nothing";
    vset::inject({"HW_IIC_Close", HW_ERR_BUSY});
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_iic_slave_address(1, 0, &u16Slave), -1); }),
                HasSubstr(red("Error 0xf: failed to HW_IIC_Close!")));
    leavesOpen("HW_IIC");
}

TEST_F(Iic, FindsAnOpenBusUnderItsDevicePort) {
    ASSERT_EQ(a_vextvfapi_prphrl_enable_iic(1), 0);
    unsigned short u16Slave = 0;
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_prphrl_get_iic_slave_address(1, 1, &u16Slave), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_IIC_SetDebugLevel", "HW_IIC_GetHandle", "HW_IIC_GetDeviceInfo"));
    EXPECT_EQ(vset::journal()[1].strArguments, "port=1025");
    EXPECT_EQ(opened().size(), 1u);
}

}  // namespace
