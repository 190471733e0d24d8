// SPDX-License-Identifier: Apache-2.0
// External inputs: sources, calibration of the analogue ones, the video decoder; and the driver layer's arguments.
#include <array>
#include <cstring>
#include <functional>
#include <numeric>

#include <gmock/gmock.h>

#include "dval/dvvdo.h"
#include "hw3/hw_extin.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/dval.h"
#include "vset/extin.h"

namespace {

using test::errorOf;
using test::kUntouched;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
namespace extin = vset::extin;

constexpr HW_U32 kPhase = E_HW_EXTIN_ATTR_ADC_PHASE, kGainOffset = E_HW_EXTIN_ATTR_ADC_GAIN_OFFSET,
                 kTiming = E_HW_EXTIN_ATTR_TIMING;
constexpr HW_U32 kYpbpr = E_HW_EXTIN_TYPE_YPBPR, kVga = E_HW_EXTIN_TYPE_VGA, kCvbs = E_HW_EXTIN_TYPE_CVBS,
                 kScart = E_HW_EXTIN_TYPE_SCART, kDecoder = E_HW_EXTIN_TYPE_VD, kHdmi = E_HW_EXTIN_TYPE_HDMI;
constexpr HW_U32 kAnalogue[] = {kYpbpr, kVga, kScart};

// The words of a record; six are room for all of them.
using Words = std::array<HW_U32, 6>;
constexpr Words kNewGainOffset = {1024, 1024, 1024, 128, 128, 128};
constexpr Words kNewPhase = {16, 16, 16, kUntouched, kUntouched, kUntouched};

template <class Record>
Words words(const Record& stRecord) {
    static_assert(sizeof(Record) <= sizeof(Words));
    Words all;
    all.fill(kUntouched);
    std::memcpy(all.data(), &stRecord, sizeof(stRecord));
    return all;
}

HW_Handle_t open(HW_U32 u32Type, HW_U32 u32Index = 0) {
    const HW_U32 u32OpenValue = u32Type == E_HW_EXTIN_TYPE_VGA ? 2 : u32Type == E_HW_EXTIN_TYPE_YPBPR ? 1 : 0;
    return test::handleOf(HW_EXTIN_Open, {u32OpenValue, u32Type, u32Index});
}

Words attribute(HW_Handle_t hExtin, HW_U32 u32Attr) {
    Words all;
    all.fill(kUntouched);
    EXPECT_EQ(HW_EXTIN_GetAttr(hExtin, u32Attr, nullptr, all.data()), HW_OK);
    return all;
}

class VsetInputs : public test::MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        bringUp();
    }
    static void bringUp() {
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(test::init(HW_EXTIN_Init), HW_OK);
    }
};

TEST_F(VsetInputs, DeInitClosesWhatTheLibraryOpened) {
    HW_Handle_t hUntouched = kUntouched;
    const HW_Handle_t hVga = open(kVga), hPort = open(kHdmi, 2);
    extin::hold(kScart, 0);
    const HW_Handle_t hPlayer = test::handleOf(HW_EXTIN_GetHandle, {kScart, 0});
    HW_EXTIN_Caps_t stCaps = {};
    const auto openAs = [&](HW_U32 u32OpenValue, HW_U32 u32Type) {
        return [=, &hUntouched] { return test::ask(HW_EXTIN_Open, {u32OpenValue, u32Type, 0}, &hUntouched); };
    };
    const auto find = [&] { return test::ask(HW_EXTIN_GetHandle, {kScart, 0}, &hUntouched); };
    test::expectRefusals({
        {"open value", HW_ERR_INVALID_PARAMETER, openAs(2, kScart)},
        {"open value", HW_ERR_INVALID_PARAMETER, openAs(0, kYpbpr)},
        {"down", HW_OK, HW_EXTIN_DeInit},
        {"down again", HW_ERR_NOT_INITED, HW_EXTIN_DeInit},
        {"find too late", HW_ERR_NOT_INITED, find},
        {"count too late", HW_ERR_NOT_INITED, [&] { return HW_EXTIN_GetCaps(&stCaps); }},
        {"closed by that", HW_ERR_INVALID_HANDLE, [&] { return HW_EXTIN_Close(hVga); }},
        {"closed too", HW_ERR_INVALID_HANDLE, [&] { return HW_EXTIN_Close(hPort); }},
        // A handle is enough.
        {"the player's", HW_OK, [&] { return HW_EXTIN_GetSignalStatus(hPlayer, &hUntouched); }},
        {"up", HW_OK, [] { return test::init(HW_EXTIN_Init); }},
        {"still the player's", HW_OK, find},
    });
    EXPECT_EQ(hUntouched, hPlayer);
    EXPECT_TRUE(extin::input(kScart, 0).bPlayer);
    EXPECT_FALSE(extin::input(kVga, 0).bOpen);
}

TEST_F(VsetInputs, AreCounted) {
    HW_EXTIN_Caps_t stCaps = {};
    EXPECT_EQ(HW_EXTIN_GetCaps(nullptr), HW_ERR_INVALID_PARAMETER);
    extin::setInputCount(kVga, 9);
    EXPECT_EQ(HW_EXTIN_GetCaps(&stCaps), HW_OK);
    const HW_EXTIN_Caps_t stWanted = {4, 1, 9, 2, 0, 1, 1, 0};
    EXPECT_EQ(std::memcmp(&stCaps, &stWanted, sizeof(stCaps)), 0);
    EXPECT_THROW(extin::setInputCount(E_HW_EXTIN_TYPE_NUM, 1), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(extin::inputCount(kVga), 1);
}

TEST_F(VsetInputs, TellOfTheirSource) {
    extin::Source first, second;
    first.stTiming = {720, 576, 1, 50000};
    first.u32TvSystem = 9;
    second.stTiming = {1920, 1080, 0, 59940};
    second.u32Status = E_HW_EXTIN_SIGNAL_UNKNOWN;
    const struct {
        HW_U32 u32Type, u32Index;
        const extin::Source& source;
    } kRows[] = {{kHdmi, 3, second}, {kYpbpr, 0, second}, {kCvbs, 1, first}, {kScart, 0, second}, {kDecoder, 0, first}};
    for (const auto& stRow : kRows) {
        extin::plug(stRow.u32Type, stRow.u32Index, {});
        extin::plug(stRow.u32Type, stRow.u32Index, stRow.source);
    }
    for (const auto& [u32Type, u32Index, source] : kRows) {
        SCOPED_TRACE(testing::Message() << "type " << u32Type << " input " << u32Index);
        const HW_Handle_t hExtin = open(u32Type, u32Index);
        const auto told = [&] {
            HW_U32 u32Status = kUntouched, u32System = kUntouched;
            HW_EXTIN_Timing_t stTiming = {kUntouched, 0, 0, kUntouched};
            EXPECT_EQ(HW_EXTIN_GetSignalStatus(hExtin, &u32Status), HW_OK);
            EXPECT_EQ(HW_EXTIN_DetectTvSystem(hExtin, 1, &u32System), HW_OK);
            const HW_Result_t result = HW_EXTIN_GetAttr(hExtin, kTiming, nullptr, &stTiming);
            return std::array<HW_U32, 7>{result,
                                         u32Status,
                                         u32System,
                                         stTiming.u32Width,
                                         stTiming.u32Height,
                                         stTiming.u8Interlaced,
                                         stTiming.u32FrameRate};
        };
        const HW_EXTIN_Timing_t& stTiming = source.stTiming;
        EXPECT_THAT(told(), ElementsAre(HW_OK, source.u32Status, source.u32TvSystem, stTiming.u32Width,
                                        stTiming.u32Height, stTiming.u8Interlaced, stTiming.u32FrameRate));
        extin::unplug(u32Type, u32Index);
        EXPECT_THAT(told(), ElementsAre(HW_ERR_FAILED, 0, 10, kUntouched, 0, 0, kUntouched));
        EXPECT_FALSE(extin::input(u32Type, u32Index).source.has_value());
        EXPECT_THROW(extin::unplug(u32Type, u32Index), vset::SetError);
    }
    extin::plug(kVga, 0, {});
    vset::powerCycle();
    EXPECT_FALSE(extin::input(kVga, 0).source.has_value());
}

TEST_F(VsetInputs, CalibrationIsKeptWithTheSet) {
    HW_U32 u32Next = 0xFFFFFF00;
    const auto fresh = [&] {
        Words all;
        std::iota(all.begin(), all.end(), u32Next += 16);
        return all;
    };
    std::map<HW_U32, std::pair<Words, Words>> wanted;  // phase, gain and offset
    for (const HW_U32 u32Type : kAnalogue) {
        const HW_Handle_t hExtin = open(u32Type);
        EXPECT_EQ(attribute(hExtin, kPhase), kNewPhase);
        EXPECT_EQ(attribute(hExtin, kGainOffset), kNewGainOffset);
        auto& [phase, gainOffset] = wanted[u32Type] = {fresh(), fresh()};
        EXPECT_EQ(HW_EXTIN_SetAttr(hExtin, kPhase, phase.data()), HW_OK);
        EXPECT_EQ(attribute(hExtin, kGainOffset), kNewGainOffset) << "the phase is not that";
        EXPECT_EQ(HW_EXTIN_SetAttr(hExtin, kGainOffset, gainOffset.data()), HW_OK);
        // Three words are the record.
        std::fill(phase.begin() + 3, phase.end(), kUntouched);
    }
    const std::function<void()> kNextLives[] = {vset::powerCycle, [this] {
                                                    vset::detach();
                                                    EXPECT_THAT(vset::check(folder()), IsEmpty());
                                                    vset::attach(folder());
                                                }};
    extin::setInputCount(kVga, 2);
    const HW_Handle_t hSecond = open(kVga, 1);
    EXPECT_EQ(attribute(hSecond, kPhase), kNewPhase) << "an input of its own";

    for (const std::function<void()>& begin : kNextLives) {
        begin();
        bringUp();
        for (const HW_U32 u32Type : kAnalogue) {
            SCOPED_TRACE(u32Type);
            const HW_Handle_t hExtin = open(u32Type);
            EXPECT_EQ(attribute(hExtin, kPhase), wanted[u32Type].first);
            EXPECT_EQ(attribute(hExtin, kGainOffset), wanted[u32Type].second);
            EXPECT_EQ(words(extin::calibration(u32Type, 0).stPhase), wanted[u32Type].first);
            EXPECT_EQ(words(extin::calibration(u32Type, 0).stGainOffset), wanted[u32Type].second);
        }
    }
    extin::setCalibration(kScart, 0, {{1, 2, 3}, {4, 5, 6, 7, 8, 9}});
    const HW_Handle_t hScart = test::handleOf(HW_EXTIN_GetHandle, {kScart, 0});
    EXPECT_EQ(attribute(hScart, kPhase), (Words{1, 2, 3, kUntouched, kUntouched, kUntouched}));
    EXPECT_EQ(attribute(hScart, kGainOffset), (Words{4, 5, 6, 7, 8, 9}));
    EXPECT_THAT(test::readFile(folder() + "/set.json"), HasSubstr("\"scart0\""));
}

TEST_F(VsetInputs, AutomaticCalibrationGoesToWhatTheSourceNeeds) {
    for (const HW_U32 u32Type : kAnalogue) {
        SCOPED_TRACE(u32Type);
        const HW_Handle_t hExtin = open(u32Type);
        extin::Source source;
        source.stNeeded = {u32Type, 11, 12, 13, 14, 15};
        EXPECT_EQ(HW_EXTIN_AutoGainOffset(hExtin), HW_ERR_FAILED) << "without a source";
        for (const HW_U32 u32Status : {E_HW_EXTIN_SIGNAL_NONE, E_HW_EXTIN_SIGNAL_UNKNOWN}) {
            source.u32Status = u32Status;
            extin::plug(u32Type, 0, source);
            EXPECT_EQ(HW_EXTIN_AutoGainOffset(hExtin), HW_ERR_FAILED) << "without a signal";
        }
        EXPECT_EQ(extin::automaticCalibrations(u32Type, 0), 0u);
        EXPECT_EQ(attribute(hExtin, kGainOffset), kNewGainOffset);
        source.u32Status = E_HW_EXTIN_SIGNAL_LOCKED;
        extin::plug(u32Type, 0, source);
        for (std::uint64_t u64Run = 1; u64Run < 3; ++u64Run) {
            const Words wrong = {};
            EXPECT_EQ(HW_EXTIN_SetAttr(hExtin, kGainOffset, wrong.data()), HW_OK);
            EXPECT_EQ(HW_EXTIN_AutoGainOffset(hExtin), HW_OK);
            EXPECT_EQ(attribute(hExtin, kGainOffset), (Words{u32Type, 11, 12, 13, 14, 15}));
            EXPECT_EQ(extin::automaticCalibrations(u32Type, 0), u64Run);
        }
        EXPECT_EQ(attribute(hExtin, kPhase), kNewPhase);
    }
    vset::powerCycle();
    EXPECT_EQ(extin::automaticCalibrations(kVga, 0), 0u);
    EXPECT_EQ(extin::calibration(kVga, 0).stGainOffset.u32BlueOffset, 15u);
}

TEST_F(VsetInputs, RefuseWhatTheyHaveNot) {
    const HW_Handle_t hVga = open(kVga), hDecoder = open(kDecoder), hHdmi = open(kHdmi), hCvbs = open(kCvbs);
    Words out;
    out.fill(kUntouched);
    const auto get = [&](HW_Handle_t hExtin, HW_U32 u32Attr) {
        return [=, &out] { return HW_EXTIN_GetAttr(hExtin, u32Attr, nullptr, out.data()); };
    };
    const auto set = [](HW_Handle_t hExtin, HW_U32 u32Attr, const Words* pWords) {
        return [=] { return HW_EXTIN_SetAttr(hExtin, u32Attr, pWords); };
    };
    const auto getParameter = [&](HW_Handle_t hExtin, HW_U32 u32Type) {
        return [=, &out] { return HW_EXTIN_FactoryGetAttr(hExtin, u32Type, nullptr, out.data()); };
    };
    const auto setParameter = [&](HW_Handle_t hExtin, HW_U32 u32Type) {
        return [=, &out] { return HW_EXTIN_FactorySetAttr(hExtin, u32Type, out.data()); };
    };
    test::expectRefusals({
        {"phase of HDMI", HW_ERR_NOT_SUPPORT, get(hHdmi, kPhase)},
        {"gain of composite", HW_ERR_NOT_SUPPORT, get(hCvbs, kGainOffset)},
        {"set gain of the decoder", HW_ERR_NOT_SUPPORT, set(hDecoder, kGainOffset, &out)},
        {"attribute beyond", HW_ERR_NOT_SUPPORT, get(hVga, kGainOffset + 1)},
        {"set timing", HW_ERR_NOT_SUPPORT, set(hVga, kTiming, &out)},
        {"no phase", HW_ERR_INVALID_PARAMETER, set(hVga, kPhase, nullptr)},
        {"calibrate HDMI", HW_ERR_NOT_SUPPORT, [&] { return HW_EXTIN_AutoGainOffset(hHdmi); }},
        {"mode 0", HW_ERR_INVALID_PARAMETER, [&] { return HW_EXTIN_DetectTvSystem(hVga, 0, out.data()); }},
        {"mode 2", HW_ERR_INVALID_PARAMETER, [&] { return HW_EXTIN_DetectTvSystem(hVga, 2, out.data()); }},
        {"standard to nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_EXTIN_DetectTvSystem(hVga, 1, nullptr); }},
        {"parameter 0", HW_ERR_NOT_SUPPORT, getParameter(hDecoder, 0)},
        {"parameter 17", HW_ERR_NOT_SUPPORT, getParameter(hDecoder, 17)},
        {"set parameter 0", HW_ERR_NOT_SUPPORT, setParameter(hDecoder, 0)},
        {"set parameter 17", HW_ERR_NOT_SUPPORT, setParameter(hDecoder, 17)},
        {"parameter of VGA", HW_ERR_NOT_SUPPORT, getParameter(hVga, 1)},
        {"set parameter of VGA", HW_ERR_NOT_SUPPORT, setParameter(hVga, 1)},
        {"phase with an input", HW_ERR_INVALID_PARAMETER,
         [&] { return HW_EXTIN_GetAttr(hVga, kPhase, &hVga, out.data()); }},
        {"parameter with an input", HW_ERR_INVALID_PARAMETER,
         [&] { return HW_EXTIN_FactoryGetAttr(hDecoder, 1, &hVga, out.data()); }},
        {"parameter to nowhere", HW_ERR_INVALID_PARAMETER,
         [&] { return HW_EXTIN_FactoryGetAttr(hDecoder, 1, nullptr, nullptr); }},
        {"parameter from nowhere", HW_ERR_INVALID_PARAMETER,
         [&] { return HW_EXTIN_FactorySetAttr(hDecoder, 1, nullptr); }},
    });
    EXPECT_THAT(out, testing::Each(kUntouched));
    EXPECT_EQ(words(extin::calibration(kVga, 0).stPhase), kNewPhase);
}

TEST_F(VsetInputs, ActionsOnMissingPartsAreRefused) {
    extin::Source status, standard, scan;
    status.u32Status = 3;
    standard.u32TvSystem = 11;
    scan.stTiming.u8Interlaced = 2;
    const std::pair<const char*, std::function<void()>> kActions[] = {
        {"input 1 of type 2: there are only 1", [] { extin::plug(kVga, 1, {}); }},
        {"input type 7: there are only 7", [] { extin::input(7, 0); }},
        {"signal status 3: there is none such", [&] { extin::plug(kVga, 0, status); }},
        {"television standard 11: there is none such", [&] { extin::plug(kVga, 0, standard); }},
        {"source: interlaced is 0 or 1", [&] { extin::plug(kVga, 0, scan); }},
        {"input 0 of type 2: nothing is plugged in", [] { extin::unplug(kVga, 0); }},
        {"input 0 of type 0: has nothing to calibrate", [] { extin::calibration(kHdmi, 0); }},
        {"input 1 of type 3: has nothing to calibrate", [] { extin::setCalibration(kCvbs, 1, {}); }},
        {"input 0 of type 6: has nothing to calibrate", [] { extin::automaticCalibrations(kDecoder, 0); }},
        {"decoder parameter 0: they are numbered 1 to 16", [] { extin::decoderParameter(0, 0); }},
        {"decoder parameter 17: they are numbered 1 to 16", [] { extin::setDecoderParameter(0, 17, 0); }},
        {"input 1 of type 6: there are only 1", [] { extin::decoderParameter(1, 1); }},
    };
    for (const auto& [pszError, action] : kActions) {
        EXPECT_EQ(errorOf(action), pszError);
    }
}

TEST_F(VsetInputs, ADamagedCalibrationIsTheBoardsOwn) {
    const std::string strFile = folder() + "/set.json";
    const auto json = [](const std::string& strName, const std::string& strRest) {
        return R"({"calibration": {"ypbpr0": {"phase": [1, 2, 3], "gain": [4, 5, 6], "offset": [7, 8, 4294967295]}, ")" +
               strName + "\": " + strRest + "}}";
    };
    const std::string strGood = R"({"phase": [1, 2, 3], "gain": [1, 2, 3], "offset": [1, 2, 3]})";
    const std::pair<std::string, std::string> kRows[] = {
        {"vga0", "7"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 3]})"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 3], "offsets": [1, 2, 3]})"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 3], "offset": [1, 2, 3], "name": 1})"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 3], "offset": [1, 2]})"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 3], "offset": [1, 2, -3]})"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 4294967296], "offset": [1, 2, 3]})"},
        {"vga0", R"({"phase": [1, 2, 3], "gain": [1, 2, 3.5], "offset": [1, 2, 3]})"},
        {"hdmi0", strGood},
        {"vga00", strGood},
        {"VGA0", strGood},
    };
    for (const auto& [strName, strValue] : kRows) {
        SCOPED_TRACE(strName + " " + strValue);
        vset::detach();
        test::writeFile(strFile, json(strName, strValue));
        EXPECT_THAT(vset::check(folder()),
                    ElementsAre(HasSubstr("\"calibration." + strName + "\" is not an analogue input with")));
        vset::attach(folder());
        EXPECT_EQ(words(extin::calibration(kVga, 0).stPhase), kNewPhase);
        EXPECT_EQ(words(extin::calibration(kYpbpr, 0).stPhase), (Words{1, 2, 3, kUntouched, kUntouched, kUntouched}));
        EXPECT_EQ(words(extin::calibration(kYpbpr, 0).stGainOffset), (Words{4, 5, 6, 7, 8, 0xFFFFFFFF}));
    }
    vset::detach();
    test::writeFile(strFile, R"({"calibration": []})");
    EXPECT_THAT(vset::check(folder()), ElementsAre(HasSubstr("\"calibration\" is not an object")));
}

TEST_F(VsetInputs, TheDecoderHasSixteenParameters) {
    extin::setInputCount(kDecoder, 2);
    const HW_Handle_t ahDecoders[] = {open(kDecoder), open(kDecoder, 1)};
    const auto number = [](HW_U32 u32Decoder, HW_U32 u32Type) { return 0xF0000000u + u32Decoder * 256 + u32Type; };
    HW_U32 u32Value = 0;
    for (HW_U32 i = 0; i < 32; ++i) {
        EXPECT_EQ(extin::decoderParameter(i / 16, i % 16 + 1), 0u);
        u32Value = number(i / 16, i % 16 + 1);
        EXPECT_EQ(HW_EXTIN_FactorySetAttr(ahDecoders[i / 16], i % 16 + 1, &u32Value), HW_OK);
    }
    for (HW_U32 i = 0; i < 32; ++i) {
        EXPECT_EQ(HW_EXTIN_FactoryGetAttr(ahDecoders[i / 16], i % 16 + 1, nullptr, &u32Value), HW_OK);
        EXPECT_EQ(u32Value, number(i / 16, i % 16 + 1));
        EXPECT_EQ(extin::decoderParameter(i / 16, i % 16 + 1), u32Value);
    }
    extin::setDecoderParameter(0, 16, 5);
    EXPECT_EQ(HW_EXTIN_FactoryGetAttr(ahDecoders[0], 16, nullptr, &u32Value), HW_OK);
    EXPECT_EQ(u32Value, 5u);
    vset::powerCycle();
    EXPECT_EQ(extin::decoderParameter(0, 16), 0u);
}

// --- The driver layer ------------------------------------------------------------------------------------------------

class VsetDrivers : public test::MiddlewareTest {};

TEST_F(VsetDrivers, KeepWhatTheyAreTold) {
    const auto expectBlank = [] {
        const vset::dval::Drivers drivers = vset::dval::drivers();
        EXPECT_TRUE(drivers.arguments.empty() && !drivers.overScan && drivers.u64Resets == 0);
    };
    const DVVDO_OverScan_t stOverScan = {-1, 2, -3, 4};
    test::expectRefusals({
        {"before the system", HW_ERR_NOT_INITED, DVAL_Init},
        {"system", HW_OK, [] { return HW_SYS_Init(nullptr); }},
        {"reset too early", HW_ERR_NOT_INITED, [] { return DVVDO_Reset(0); }},
        {"argument too early", HW_ERR_NOT_INITED, [] { return DVVDO_SetArg(0, 1, 7); }},
        {"overscan too early", HW_ERR_NOT_INITED, [&] { return DVVDO_SetOverScan(0, &stOverScan); }},
        {"up", HW_OK, DVAL_Init},
        {"once more", HW_OK, DVAL_Init},
        {"reset of window 1", HW_ERR_INVALID_PARAMETER, [] { return DVVDO_Reset(1); }},
        {"argument of window 1", HW_ERR_INVALID_PARAMETER, [] { return DVVDO_SetArg(1, 1, 7); }},
        {"overscan of window 1", HW_ERR_INVALID_PARAMETER, [&] { return DVVDO_SetOverScan(1, &stOverScan); }},
        {"argument 4", HW_ERR_NOT_SUPPORT, [] { return DVVDO_SetArg(0, 4, 7); }},
        {"argument 22", HW_ERR_NOT_SUPPORT, [] { return DVVDO_SetArg(0, 22, 7); }},
        {"no overscan", HW_ERR_INVALID_PARAMETER, [] { return DVVDO_SetOverScan(0, nullptr); }},
    });
    expectBlank();
    for (const HW_U32 u32Arg : {0u, 1u, 2u, 3u, 5u, 21u}) {
        EXPECT_EQ(DVVDO_SetArg(0, u32Arg, 0), HW_OK);
        EXPECT_EQ(DVVDO_SetArg(0, u32Arg, 0xFFFFFF00u + u32Arg), HW_OK);
    }
    EXPECT_EQ(DVVDO_SetOverScan(0, &stOverScan), HW_OK);
    EXPECT_EQ(vset::journal().back().strArguments, "window=0 top=-1 bottom=2 left=-3 right=4");
    EXPECT_EQ(DVVDO_Reset(0), HW_OK);
    EXPECT_EQ(DVVDO_Reset(0), HW_OK);
    const vset::dval::Drivers drivers = vset::dval::drivers();
    EXPECT_THAT(drivers.arguments, ElementsAre(Pair(0, 0xFFFFFF00), Pair(1, 0xFFFFFF01), Pair(2, 0xFFFFFF02),
                                               Pair(3, 0xFFFFFF03), Pair(5, 0xFFFFFF05), Pair(21, 0xFFFFFF15)));
    ASSERT_TRUE(drivers.overScan.has_value());
    EXPECT_EQ(std::memcmp(&*drivers.overScan, &stOverScan, sizeof(stOverScan)), 0);
    EXPECT_EQ(drivers.u64Resets, 2u);

    vset::powerCycle();
    EXPECT_FALSE(vset::isInitialised("DVAL"));
    expectBlank();
}

}  // namespace
