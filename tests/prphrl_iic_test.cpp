// SPDX-License-Identifier: Apache-2.0
// I2C buses.
#include <functional>

#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "vset/iic.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr unsigned short kEeprom = 0x00A0;
const unsigned char kRegister[] = {0x10};

int readBus(unsigned short size, std::string& strOut, unsigned short mode = 0) {
    std::vector<unsigned char> exact(size, '#');
    const int s32Status = a_vextvfapi_prphrl_read_from_iic(0, mode, kEeprom, 1, kRegister, size, exact.data());
    strOut.assign(exact.begin(), exact.end());
    return s32Status;
}

int writeBus(const std::string& strBytes) {
    const std::vector<unsigned char> exact(strBytes.begin(), strBytes.end());
    return a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 1, kRegister, static_cast<unsigned short>(strBytes.size()),
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
    std::string read;
    EXPECT_EQ(writeBus("abc"), 0);
    EXPECT_EQ(readBus(3, read, 2), 0);
    EXPECT_EQ(read, "abc");
    EXPECT_THAT(vset::journal().back().strArguments, HasSubstr("readMode=2 "));
    EXPECT_EQ(vset::iic::memory(0, 0xA0, 0x10, 4), "abc\xFF");
    ASSERT_EQ(vset::iic::transfers().size(), 2u);
    EXPECT_EQ(vset::iic::transfers()[0].strAddress, "\x10");
    EXPECT_EQ(readBus(0xFFFF, read), 0);
    EXPECT_EQ(read.substr(0, 3), "abc");
    EXPECT_EQ(a_vextvfapi_prphrl_read_from_iic(0, 0, kEeprom, 0, nullptr, 0, nullptr), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_write_to_iic(0, kEeprom, 0, nullptr, 0, nullptr), 0);
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

TEST_F(Iic, ClosesOnlyWhatItOpened) {
    const std::pair<const char*, std::function<int()>> openers[] = {
        {"enable", [] { return a_vextvfapi_prphrl_enable_iic(0); }},
        {"read", [] { return a_vextvfapi_prphrl_read_from_iic(0, 0, kEeprom, 0, nullptr, 0, nullptr); }},
        {"write", [] { return writeBus("a"); }},
    };
    for (const auto& [name, opens] : openers) {
        EXPECT_EQ(opens(), 0) << name;
        EXPECT_EQ(opens(), 0) << "it is open already";
        EXPECT_EQ(opened().size(), 1u) << name;
        EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(0), 0);
        EXPECT_THAT(opened(), IsEmpty()) << name;
    }
    EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(1), 0) << "one that is not open is opened and closed";
    EXPECT_THAT(opened(), IsEmpty());
    vset::iic::hold(2);
    EXPECT_EQ(a_vextvfapi_prphrl_enable_iic(2), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_disable_iic(2), 0);
    EXPECT_EQ(opened().size(), 1u) << "the player's stays open";
}

}  // namespace
