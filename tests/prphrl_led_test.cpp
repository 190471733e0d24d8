// SPDX-License-Identifier: Apache-2.0
// The LED ring.
#include <atomic>
#include <regex>

#include <gmock/gmock.h>

#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/sleeps.h"
#include "support/without_threads.h"
#include "vset/pm.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

constexpr unsigned int kCycle = 0;
constexpr unsigned int kWhite = 1;
constexpr unsigned int kOff = 2;

// Returns 0xRRGGBB when all four show the same, else -1.
int colorOf(const vset::pm::LedRing& ring) {
    int color = -2;
    for (const vset::pm::Led& led : ring) {
        const int next = led.u8Red << 16 | led.u8Green << 8 | led.u8Blue;
        color = color == -2 || color == next ? next : -1;
    }
    return color;
}

std::vector<int> colors() {
    std::vector<int> colors;
    for (const vset::pm::LedChange& change : vset::pm::ledHistory()) {
        colors.push_back(colorOf(change.ring));
    }
    return colors;
}

class Leds : public test::PeripheralTest {};

TEST_F(Leds, WhiteComesAfterASecondAndStaysForTwo) {
    using Sleep = std::tuple<unsigned int, int, std::size_t>;  // seconds; color and open handles meanwhile
    std::vector<Sleep> sleeps;
    test::onSleep(
        [&](unsigned int seconds) { sleeps.emplace_back(seconds, colorOf(vset::pm::leds()), opened().size()); });
    const std::string log = test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kWhite), 0); });
    EXPECT_THAT(sleeps, ElementsAre(Sleep{1, 0, 1}, Sleep{2, 0xFFFFFF, 1}));
    for (const char* text :
         {"[D] <a_vextvfapi_prphrl_set_mic_led> a_vextvfapi_prphrl_set_mic_led\n\n",
          "[D] <a_vextvfapi_prphrl_set_mic_led> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE success\n\n",
          "[D] <a_vextvfapi_prphrl_set_mic_led> PM close handle\n\n"}) {
        EXPECT_THAT(log, HasSubstr(text));
    }
    vset::inject({"HW_PM_SetAttr"});
    EXPECT_THAT(
        test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kWhite), -1); }),
        HasSubstr("[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE fail"));
    EXPECT_EQ(sleeps.size(), 3u) << "what is not shown does not stay";
    for (const unsigned int unknown : {3u, ~0u}) {
        EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(unknown), -1);
    }
    {
        const test::WithoutThreads none;
        EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), -1); }),
                    HasSubstr("StdFactoryLedMonitor thread create failed!("));
    }
    EXPECT_THAT(opened(), ::testing::IsEmpty());
    EXPECT_EQ(count("HW_PM_Open"), 5u);
    vset::pm::hold();
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
    EXPECT_EQ(opened().size(), 1u) << "the player's stays open";
}

// The thread of a cycle is held in one of its sleeps until another mode has been set.
TEST_F(Leds, ACycleEndsAfterItsLastColor) {
    SKIP_UNDER_EMULATION();
    struct Row {
        const char* name;
        unsigned int mode;        // that ends the cycle
        unsigned int refused;     // the color that is refused
        unsigned int held;        // the sleep that the mode finds
        bool endsFirst;           // the thread goes on while the mode sleeps, else after it
        std::vector<int> colors;  // on the ring
        std::size_t closes;
        std::string log;  // of the thread
    };
    constexpr int kRed = 0xFF0000, kGreen = 0x00FF00, kBlue = 0x0000FF, kAll = 0xFFFFFF;
    const std::string all = "D RED success, D GREEN success, D BLUE success, D BLACK success, ";
    const std::string onlyRed = "D RED success, E GREEN fail, E BLUE fail, E BLACK fail, ";
    const Row rows[] = {
        {"off", kOff, 0, 5, true, {kRed, kGreen, kBlue, 0, kRed, kGreen, kBlue, 0}, 1, all + all},
        {"white", kWhite, 0, 4, false, {kRed, kGreen, kBlue, 0, kAll}, 1, all},
        {"off closes the cycle's controller", kOff, 0, 1, false, {kRed}, 1, onlyRed},
        {"so does a color that is refused", kOff, 2, 3, false, {kRed}, 2, onlyRed},
    };
    std::atomic<unsigned int> steps{0};
    std::atomic<bool> goesOn{false};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const int threads = test::threads();
        const auto ends = [&] { return test::eventually([&] { return test::threads() == threads; }); };
        const auto test = std::this_thread::get_id();
        steps = 0;
        goesOn = false;
        test::onSleep([&](unsigned int) {
            if (std::this_thread::get_id() != test) {
                std::this_thread::sleep_for(1ms);
                EXPECT_TRUE(++steps != row.held || test::eventually([&] { return goesOn.load(); }));
            } else if (row.endsFirst && !goesOn.exchange(true)) {
                EXPECT_TRUE(ends());
                EXPECT_EQ(count("HW_PM_Close"), row.closes) << "the thread closes what it uses";
            }
        });
        vset::clearJournal();
        vset::pm::clearLedHistory();
        if (row.refused != 0) {
            vset::inject({"HW_PM_SetAttr", HW_ERR_FAILED, row.refused});
        }
        bool ended = false;
        const std::string log = test::logOf([&] {
            EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), 0);
            EXPECT_TRUE(test::eventually([&] { return steps == row.held; }));
            EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(row.mode), 0);
            goesOn = true;
            ended = ends();
        });
        ASSERT_TRUE(ended);
        EXPECT_THAT(colors(), ::testing::ElementsAreArray(row.colors));
        EXPECT_EQ(count("HW_PM_Close"), row.closes);
        std::string ofThread;
        const std::regex line("\\[([DE])\\] <_a_\\w+> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_(\\w+ \\w+)\n\n");
        for (std::sregex_iterator it(log.begin(), log.end(), line), end; it != end; ++it) {
            ofThread += it->format("$1 $2, ");
        }
        EXPECT_EQ(ofThread, row.log);
        EXPECT_THAT(log, HasSubstr("Stop StdFactoryledMonitor Task\n\n"));
        EXPECT_EQ(test::sleepCounts()[1000000], steps + 1) << "a second each, and one of the mode";
    }
}

}  // namespace
