// SPDX-License-Identifier: Apache-2.0
// Keypad, ADC and the remote control's format. The library keeps its handles for the life of the process, so every test
// needs one of its own.
#include <atomic>
#include <cstdio>

#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/refusals.h"
#include "vset/sar.h"

namespace {

using test::u8;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

constexpr unsigned int kKey = 0x100002;
constexpr unsigned int kAdc = 0x100004;
constexpr char kBoard[] = "/vendor/factory/config/board.ini";
constexpr char kIr[] = "/vendor/factory/config/ir.ini";

struct BoardIni {
    std::string strLow = "0x05";
    std::string strUp = "0xF0";
    std::string strLevels = "2";
    std::string strThresholds = "{0x10,0x2A}";
    std::string strCodes = "{0x41,0x42}";

    std::string text() const {
        const std::string strKey = "BOARD_KEYPAD_CH_0_";
        return "[BOARD_KEYPAD]\n" + strKey + "LOW_BOND = " + strLow + "\n" + strKey + "UP_BOND = " + strUp + "\n" +
               strKey + "KEY_LEVEL_NUM = " + strLevels + "\n" + strKey + "KEY_THRESHOLD = " + strThresholds + "\n" +
               strKey + "KEY_CODE = " + strCodes + "\n";
    }
};

// The module keeps the converter and the keypad open. Once it has read a converter, starting the keypad does not open
// it any more: such tests have a process of their own.
class SarTest : public test::PeripheralTest {
protected:
    SarTest() { leavesOpen("HW_SAR"); }
};

class Keypad : public SarTest {
protected:
    test::Events events;

    static int init(const BoardIni& stBoard) {
        write(kBoard, stBoard.text());
        return a_vextvfapi_prphrl_keypad_init();
    }
};

TEST_F(Keypad, TakesWholeBoardFilesAlone) {
    refuses("HW_SAR_Open");
    struct Row {
        std::string BoardIni::*field;
        const char* text;
        const char* log;
    };
    constexpr char kNoNumber[] = "covert str to long failed\n\n";
    const Row rows[] = {
        {&BoardIni::strLow, "0", kNoNumber},
        {&BoardIni::strLow, "", kNoNumber},
        {&BoardIni::strUp, "none", kNoNumber},
        {&BoardIni::strLevels, "0x100", kNoNumber},
        {&BoardIni::strThresholds, "{0x10,0x00}", kNoNumber},
        {&BoardIni::strThresholds, "{1,2,3,4,5,6,7,8,9}", "[E] <a_vextvfapi_prphrl_keypad_init> Out of index\n\n"},
        {&BoardIni::strCodes, "{1,2,3,4,5,6,7,8,9}", "[D] <a_vextvfapi_prphrl_keypad_init> Out of index\n\n"},
        {&BoardIni::strCodes, "{1,x}", kNoNumber},
        {&BoardIni::strLevels, "9", "[get_keypad_code] Open handle fail\n\n"},
    };
    for (const Row& row : rows) {
        BoardIni board;
        board.*row.field = row.text;
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(init(board), 0); }), HasSubstr(row.log)) << row.text;
    }
    for (const char* levels : {"2", "1"}) {
        BoardIni board;
        board.strLevels = levels;
        board.strThresholds = "{" + std::string(1100, '1') + "}";
        EXPECT_EQ(init(board), 1) << "a value that does not fit is as good as none; a list may have no entries";
        const vset::sar::Keypad keypad = vset::sar::keypad();
        EXPECT_EQ(keypad.u8FirstBound, 0x05);
        EXPECT_EQ(keypad.u8SecondBound, 0xF0);
        ASSERT_EQ(std::to_string(keypad.keys.size()), levels) << "the keypad may be opened again";
        EXPECT_EQ(keypad.keys[0].u8Threshold, 0);
        EXPECT_EQ(keypad.keys[0].u8Code, 0x41);
    }
    write("/vendor/factory/config/dataindex.ini", "");
    EXPECT_EQ(a_vextvfapi_prphrl_keypad_init(), 0) << "no board file is named";
}

TEST_F(Keypad, ReportsKeysFromStartToStop) {
    refuses("HW_SAR_UnRegisterCallback");
    SKIP_UNDER_EMULATION();
    EXPECT_EQ(a_vextvfapi_prphrl_stop_keypad(), 0) << "nothing to stop";
    ASSERT_EQ(a_vextvfapi_prphrl_start_keypad(), 1);
    EXPECT_EQ(vset::sar::channel(vset::sar::kKeypadChannel).u32VoltageLevel, 1u);
    vset::sar::press(0);
    vset::sar::press(4);
    EXPECT_THAT(events.wait(2), ElementsAre(test::Event{kKey, 1, "", ""}, test::Event{kKey, 5, "", ""}));
    EXPECT_EQ(a_vextvfapi_prphrl_stop_keypad(), 1);

    ASSERT_EQ(a_vextvfapi_prphrl_start_keypad(), 1);
    events.clear();
    int inside = 7;
    events.onEvent([&](const test::Event&) { inside = a_vextvfapi_prphrl_stop_keypad(); });
    vset::sar::press(2);
    events.wait(1);
    EXPECT_TRUE(test::eventually([] { return a_vextvfapi_prphrl_stop_keypad() == 1; }));
    EXPECT_EQ(inside, 0);
}

TEST_F(Keypad, TheAdcsHandleDecidesWhetherTheKeypadIsOpened) {
    refuses("HW_SAR_RegisterCallback");
    SKIP_UNDER_EMULATION();
    inFreshProcess([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_start_adc(0), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_start_keypad(), 0) << "it is not opened, so there is nothing to register with";
        ASSERT_EQ(a_vextvfapi_prphrl_keypad_init(), 1);
        EXPECT_EQ(a_vextvfapi_prphrl_start_keypad(), 1);
        EXPECT_EQ(a_vextvfapi_prphrl_stop_keypad(), 1);
    });
}

TEST_F(Keypad, AReadingFollowsAKey) {
    SKIP_UNDER_EMULATION();
    inFreshProcess([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_start_keypad(), 1);
        ASSERT_EQ(a_vextvfapi_prphrl_start_adc(1), 0);
        EXPECT_EQ(vset::sar::channel(1).u32VoltageLevel, 1u);
        vset::sar::setVoltage(1, 0x3C);
        testing::internal::CaptureStdout();
        vset::sar::press(2);
        EXPECT_THAT(events.wait(2), ElementsAre(test::Event{kKey, 3, "", ""}, test::Event{kAdc, 0x3C, "", ""}));
        // A failed reading is an event, too, and shows with the log off.
        vset::inject({"HW_SAR_AdcGetValue", HW_ERR_FAILED});
        vset::sar::press(2);
        EXPECT_EQ(events.wait(4).back().value, 255);
        std::fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "[SAR_Demo] HW_SAR_AdcGetValue fail\n");
        ASSERT_EQ(a_vextvfapi_prphrl_start_adc(2), 0) << "anything but 1 ends the readings";
        vset::sar::press(2);
        events.wait(5);
        EXPECT_EQ(a_vextvfapi_prphrl_stop_keypad(), 1);
        EXPECT_EQ(events.count(), 5u);
    });
}

// Keys come while the keypad is started and stopped; each is one event or none.
TEST_F(Keypad, StartsAndStopsWhileKeysArePressed) {
    SKIP_UNDER_EMULATION();
    std::atomic<unsigned int> presses{0};
    const test::Repeating hand([&] {
        vset::sar::press(3);
        ++presses;
        std::this_thread::sleep_for(50us);
    });
    for (int i = 0; i < 200; ++i) {
        const std::size_t before = events.count();
        ASSERT_EQ(a_vextvfapi_prphrl_start_keypad(), 1) << i;
        events.waitFor(before + static_cast<std::size_t>(i % 3), 10s);
        ASSERT_EQ(a_vextvfapi_prphrl_stop_keypad(), 1);
        const std::size_t stopped = events.count();
        ASSERT_GE(stopped, before + static_cast<std::size_t>(i % 3));
        ASSERT_TRUE(test::eventually([&, from = presses.load()] { return presses > from + 2; }));
        ASSERT_EQ(events.count(), stopped) << "an event after the stop";
    }
    EXPECT_THAT(events.wait(0), ::testing::Each(test::Event{kKey, 4, "", ""}));
}

// --- ADC -------------------------------------------------------------------------------------------------------------

class Adc : public SarTest {};

TEST_F(Adc, TheFirstChannelIsReadForever) {
    refuses("HW_SAR_GetHandle");
    refuses("HW_SAR_Open");
    inFreshProcess([&] {
        vset::sar::setVoltage(2, 0x22);
        vset::sar::setVoltage(3, 0x33);
        EXPECT_EQ(a_vextvfapi_prphrl_get_sar_adc(8, 1), 0) << "no such channel";
        EXPECT_EQ(a_vextvfapi_prphrl_get_sar_adc(2, 5), 0x22);
        EXPECT_EQ(vset::sar::channel(2).u32VoltageLevel, 5u);
        EXPECT_EQ(a_vextvfapi_prphrl_get_sar_adc(3, 1), 0x22);
        for (const char* pszCall : {"HW_SAR_ConfigMode", "HW_SAR_SetVoltageLevel", "HW_SAR_AdcGetValue"}) {
            vset::inject({pszCall});
            EXPECT_EQ(a_vextvfapi_prphrl_get_sar_adc(2, 1), 0) << pszCall;
        }
        EXPECT_EQ(a_vextvfapi_prphrl_get_sar_adc(2, 1), 0x22);
        for (const char* pszCall : {"HW_SAR_Open", "HW_SAR_ConfigMode", "HW_SAR_SetVoltageLevel"}) {
            vset::inject({pszCall});
            EXPECT_EQ(a_vextvfapi_prphrl_start_adc(1), -1) << pszCall;
        }
    });
}

TEST_F(Adc, UsesWhatThePlayerHasOpen) {
    inFreshProcess([&] {
        vset::sar::hold(1);
        vset::sar::hold(4);
        vset::sar::setVoltage(4, 0x44);
        EXPECT_EQ(a_vextvfapi_prphrl_get_sar_adc(4, 1), 0x44);
        EXPECT_EQ(a_vextvfapi_prphrl_start_adc(1), 0);
        EXPECT_EQ(opened().size(), 2u);
    });
}

// --- Remote control --------------------------------------------------------------------------------------------------

class RcFormat : public test::PeripheralTest {
protected:
    // Returns the status and the output, which is 0xEE before the call.
    static std::pair<int, int> get(const std::string& strValue) {
        write(kIr, "[IR]\nIR_FORMAT = " + strValue + "\n");
        unsigned char u8Format = 0xEE;
        const int s32Status = a_vextvfapi_prphrl_get_rc_format(u8("IR:IR_FORMAT"), &u8Format);
        return {s32Status, u8Format};
    }
};

TEST_F(RcFormat, IsAHexadecimalNumber) {
    unsigned char format = 0xEE;
    EXPECT_EQ(a_vextvfapi_prphrl_get_rc_format(nullptr, &format), -2);
    EXPECT_EQ(format, 0xEE);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_get_rc_format(u8("IR:IR_FORMAT"), nullptr), 0); }),
                HasSubstr("[get_rc_format] Invlid value in the ini.\n\n"));
    struct Row {
        const char* pszText;
        int s32Format;  // 0xEE: untouched
    };
    for (const Row& stRow : {Row{"1A", 0x1A}, Row{"0x2b", 0x2B}, Row{"\" +3\"", 3}, Row{"1234", 0x34}, Row{"7z", 7},
                             Row{"7fffffff", 0xFF}, Row{"0", 0}, Row{"-1", 0xEE}, Row{"80000000", 0xEE}, Row{"z", 0xEE},
                             Row{"", 0xEE}, Row{"ffffffffffffffffffff", 0xEE}, Row{"0x", 0}}) {
        EXPECT_EQ(get(stRow.pszText), std::make_pair(0, stRow.s32Format)) << stRow.pszText;
    }
    EXPECT_EQ(get(std::string(2000, '1')), std::make_pair(-1, 0xEE)) << "a value that does not fit";
}

}  // namespace
