// SPDX-License-Identifier: Apache-2.0
// Tuner slots: who has them, what they receive, what they say of themselves.
#include <array>

#include <gmock/gmock.h>

#include "hw3/hw_tuner.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/tuner.h"

namespace {

using test::kUntouched;
namespace tuner = vset::tuner;

using test::ask;
using test::handleOf;

// Returns what a program with the right buffer finds in it.
using Get = HW_Result_t (*)(HW_Handle_t, HW_U32, const void*, void*);
std::string bufferOf(Get get, HW_Handle_t hTuner, HW_U32 u32Number) {
    std::string strBuffer(HW_TUNER_TEXT_SIZE + 8, '\xA5');
    EXPECT_EQ(get(hTuner, u32Number, nullptr, strBuffer.data()), HW_OK);
    EXPECT_EQ(strBuffer.substr(HW_TUNER_TEXT_SIZE), std::string(8, '\xA5')) << "beyond the buffer";
    return strBuffer.substr(0, HW_TUNER_TEXT_SIZE);
}
std::string padded(std::string strText) {
    strText.resize(HW_TUNER_TEXT_SIZE);
    return strText;
}

class VsetTuner : public test::RunningTest {
protected:
    static void bringUp() { ASSERT_EQ(test::init(HW_TUNER_Init), HW_OK); }
    static HW_Handle_t player() { return handleOf(HW_TUNER_GetHandle, {0}); }
};

TEST_F(VsetTuner, HasTwoSlotsOfWhichThePlayerHasOne) {
    HW_TUNER_Caps_t stCaps = {kUntouched, {kUntouched, kUntouched, kUntouched}};
    EXPECT_EQ(HW_TUNER_GetCaps(&stCaps), HW_ERR_NOT_INITED);
    EXPECT_EQ(stCaps.u32SlotNum, kUntouched);
    bringUp();
    const HW_Handle_t hFirst = player();
    HW_Handle_t hUntouched = kUntouched;
    test::expectRefusals({{"count to nowhere", HW_ERR_INVALID_PARAMETER, [] { return HW_TUNER_GetCaps(nullptr); }},
                          {"open the player's", HW_ERR_BUSY,
                           [&] {
                               return ask(HW_TUNER_Open, {0, 1}, &hUntouched);
                           }},
                          {"mode 0", HW_ERR_INVALID_PARAMETER,
                           [&] {
                               return ask(HW_TUNER_Open, {1, 0}, &hUntouched);
                           }},
                          {"mode 2", HW_ERR_INVALID_PARAMETER, [&] {
                               return ask(HW_TUNER_Open, {1, 2}, &hUntouched);
                           }}});
    const HW_Handle_t hSecond = handleOf(HW_TUNER_Open, {1, 1});
    EXPECT_TRUE(tuner::slot(0).bPlayer);
    EXPECT_TRUE(tuner::slot(1).bOpen && !tuner::slot(1).bPlayer);
    for (const HW_U32 u32Count : {2u, 8u, 1u}) {
        tuner::setSlotCount(u32Count);
        EXPECT_EQ(HW_TUNER_GetCaps(&stCaps), HW_OK);
        EXPECT_EQ(stCaps.u32SlotNum, u32Count);
        EXPECT_EQ(stCaps.au32Reserved[2], 0u);
        EXPECT_EQ(tuner::slotCount(), u32Count);
        EXPECT_THROW(tuner::setSlotCount(9), vset::SetError);
    }
    EXPECT_EQ(ask(HW_TUNER_GetHandle, {1}, &hUntouched), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(hUntouched, kUntouched);
    EXPECT_EQ(HW_TUNER_GetLock(hSecond), HW_ERR_FAILED) << "still open";
    vset::powerCycle();
    EXPECT_EQ(tuner::slotCount(), 2u);
    EXPECT_FALSE(tuner::slot(1).bOpen);
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_OK);
    bringUp();
    EXPECT_NE(player(), hFirst) << "an earlier handle";
}

TEST_F(VsetTuner, ThePlayerGivesItsSlotAway) {
    bringUp();
    const HW_Handle_t hOfBefore = player();
    tuner::release(0);
    EXPECT_EQ(HW_TUNER_GetLock(hOfBefore), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(HW_TUNER_GetLock(handleOf(HW_TUNER_Open, {0, 1})), HW_OK) << "the station is still there";
    tuner::lock(0);
    EXPECT_FALSE(tuner::slot(0).bPlayer) << "the program has it";
}

TEST_F(VsetTuner, ReceivesWhatAHandLocks) {
    bringUp();
    const HW_Handle_t hFirst = player();
    HW_S32 s32Ber = 77;
    EXPECT_EQ(HW_TUNER_GetLock(hFirst), HW_OK);
    EXPECT_EQ(HW_TUNER_GetBer(hFirst, &s32Ber), HW_OK);
    EXPECT_EQ(s32Ber, 0);

    tuner::unlock(0);
    tuner::setBer(0, 12);
    tuner::lock(1);
    tuner::setBer(1, -5);
    EXPECT_TRUE(tuner::slot(0).bOpen) << "unlocked, not closed";
    EXPECT_TRUE(tuner::slot(1).bPlayer);
    const HW_Handle_t hSecond = handleOf(HW_TUNER_GetHandle, {1});
    EXPECT_EQ(HW_TUNER_GetLock(hFirst), HW_ERR_FAILED);
    EXPECT_EQ(HW_TUNER_GetBer(hFirst, &s32Ber), HW_ERR_FAILED);
    EXPECT_EQ(s32Ber, 0);
    EXPECT_EQ(HW_TUNER_GetLock(hSecond), HW_OK);
    EXPECT_EQ(HW_TUNER_GetBer(hSecond, &s32Ber), HW_OK);
    EXPECT_EQ(s32Ber, -5);
    EXPECT_EQ(tuner::slot(0).s32Ber, 12);
    EXPECT_EQ(s32Ber, -5);
    for (void (*pAction)(unsigned int) : {tuner::lock, tuner::unlock}) {
        EXPECT_THROW(pAction(2), vset::SetError);
    }
    EXPECT_THROW(tuner::slot(2), vset::SetError);
    EXPECT_THROW(tuner::setBer(2, 0), vset::SetError);
    vset::powerCycle();
    EXPECT_TRUE(tuner::slot(0).bLocked && !tuner::slot(1).bLocked);
    EXPECT_EQ(tuner::slot(0).s32Ber, 0);
}

TEST_F(VsetTuner, SaysWhatItIs) {
    bringUp();
    const HW_Handle_t hFirst = player(), hSecond = handleOf(HW_TUNER_Open, {1, 1});
    const struct Row {
        const char* pszName;
        Get get;
        std::string (*pText)(unsigned int, unsigned int);
        void (*pSetText)(unsigned int, unsigned int, const std::string&);
        std::vector<HW_U32> numbers, others;
    } kRows[] = {
        {"attribute", HW_TUNER_GetAttr, tuner::attributeText, tuner::setAttributeText, {8, 9}, {0, 7, 10}},
        {"command", HW_TUNER_FactoryCmdGetAttr, tuner::factoryText, tuner::setFactoryText, {0, 1, 2, 3}, {4, 8, 9}},
    };
    const std::string strFull(HW_TUNER_TEXT_SIZE, 'x');
    for (const Row& stRow : kRows) {
        for (const HW_U32 u32Number : stRow.numbers) {
            SCOPED_TRACE(testing::Message() << stRow.pszName << ' ' << u32Number);
            const std::string strOwn = stRow.pText(0, u32Number);
            EXPECT_NE(strOwn, "");
            EXPECT_EQ(bufferOf(stRow.get, hFirst, u32Number), padded(strOwn));
            const std::string strNew = stRow.pszName + std::to_string(u32Number);
            stRow.pSetText(1, u32Number, strNew);
        }
        for (const HW_U32 u32Number : stRow.numbers) {
            SCOPED_TRACE(testing::Message() << stRow.pszName << ' ' << u32Number);
            EXPECT_EQ(bufferOf(stRow.get, hSecond, u32Number), padded(stRow.pszName + std::to_string(u32Number)));
            stRow.pSetText(0, u32Number, strFull);
            EXPECT_EQ(bufferOf(stRow.get, hFirst, u32Number), strFull) << "without a terminator";
            EXPECT_THROW(stRow.pSetText(0, u32Number, strFull + "x"), vset::SetError);
        }
        std::array<char, HW_TUNER_TEXT_SIZE> buffer;
        buffer.fill('\xA5');
        for (const HW_U32 u32Number : stRow.others) {
            EXPECT_EQ(stRow.get(hFirst, u32Number, nullptr, buffer.data()), HW_ERR_NOT_SUPPORT) << u32Number;
            EXPECT_THROW(stRow.pText(0, u32Number), vset::SetError) << u32Number;
            EXPECT_THROW(stRow.pSetText(0, u32Number, "x"), vset::SetError) << u32Number;
        }
        EXPECT_EQ(stRow.get(hFirst, stRow.numbers[0], nullptr, nullptr), HW_ERR_INVALID_PARAMETER);
        EXPECT_EQ(stRow.get(hFirst, stRow.numbers[0], &hFirst, buffer.data()), HW_ERR_INVALID_PARAMETER) << "input";
        EXPECT_THAT(buffer, testing::Each('\xA5'));
    }
    EXPECT_THROW(tuner::factoryText(2, 0), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(tuner::attributeText(0, 8), tuner::attributeText(1, 8));
    EXPECT_NE(tuner::attributeText(0, 8), strFull);
}

TEST_F(VsetTuner, IsInitialisedAnewInTwoSteps) {
    bringUp();
    const HW_Handle_t hTuner = player();
    const struct {
        const char* pszName;
        HW_U32 u32Step, u32Result;
        std::uint64_t u64Inits;
    } kRows[] = {
        {"second step alone", 0, 1, 0}, {"first", 1, 1, 0},        {"second", 0, 1, 1},
        {"second again", 0, 1, 1},      {"first", 1, 1, 1},        {"first again", 1, 1, 1},
        {"no step", 2, 0, 1},           {"second after", 0, 1, 2},
    };
    const std::uint64_t u64Refusals = vset::refusalCount();
    for (const auto& stRow : kRows) {
        EXPECT_EQ(HW_TUNER_FactoryCmdApplyVif(hTuner, stRow.u32Step), stRow.u32Result) << stRow.pszName;
        EXPECT_EQ(tuner::slot(0).u64VifInits, stRow.u64Inits) << stRow.pszName;
    }
    EXPECT_EQ(HW_TUNER_FactoryCmdApplyVif(0, 1), 0u);
    EXPECT_EQ(vset::refusalCount() - u64Refusals, 2u) << "no step, and no handle";
    EXPECT_EQ(tuner::slot(1).u64VifInits, 0u);

    // A step 1 that failed does not count: the step 0 that follows initializes nothing.
    vset::inject({"HW_TUNER_FactoryCmdApplyVif", 0});
    EXPECT_EQ(HW_TUNER_FactoryCmdApplyVif(hTuner, 1), 0u);
    EXPECT_EQ(HW_TUNER_FactoryCmdApplyVif(hTuner, 0), 1u);
    EXPECT_EQ(tuner::slot(0).u64VifInits, 2u);
    EXPECT_EQ(vset::journal().back().s64Result, 1);

    vset::powerCycle();
    EXPECT_EQ(tuner::slot(0).u64VifInits, 0u);
    vset::detach();
    EXPECT_EQ(HW_TUNER_FactoryCmdApplyVif(hTuner, 1), 0u) << "without a set";
}

}  // namespace
