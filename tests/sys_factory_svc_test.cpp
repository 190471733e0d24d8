// SPDX-License-Identifier: Apache-2.0
// The factory daemon's client, and the attributes of the chip.
#include <thread>

#include <gmock/gmock.h>

#include "a_vextvfapi_sys.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/factory_daemon.h"
#include "vset/sys.h"

namespace {

namespace daemon = vset::factory_daemon;
using daemon::Behaviour;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

int sendCommand(int s32Command = 0, const std::string& strParameters = "x") {
    return a_vextvfapi_sys_send_cmd_to_factory_svc(s32Command, strParameters.c_str());
}

class FactoryService : public test::SetTest {
protected:
    void SetUp() override {
        SetTest::SetUp();
        _s32Descriptors = test::openDescriptors();
    }
    void TearDown() override {
        daemon::stop();
        EXPECT_EQ(test::openDescriptors(), _s32Descriptors);
        SetTest::TearDown();
    }

private:
    int _s32Descriptors = 0;
};

TEST_F(FactoryService, CarriesOneRecordAConnection) {
    SKIP_UNDER_EMULATION();
    daemon::start();
    const std::string strLongest(254, 'p');
    EXPECT_EQ(sendCommand(0, strLongest), 0);
    EXPECT_EQ(sendCommand(1, ""), 0);
    const std::vector<daemon::Command> commands = daemon::commands();
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].strRecord, std::string("\2\0\0\0", 4) + strLongest + std::string(2, '\0'));
    EXPECT_EQ(commands[1].strRecord, std::string("\4\0\0\0", 4) + std::string(256, '\0'));
}

TEST_F(FactoryService, RefusesBeforeItConnects) {
    SKIP_UNDER_EMULATION();
    daemon::start();
    const std::string strLog = test::logOf([] {
        EXPECT_EQ(a_vextvfapi_sys_send_cmd_to_factory_svc(7, nullptr), -2);
        EXPECT_EQ(sendCommand(2, std::string(300, 'p')), -2) << "the command is looked at before the length";
        EXPECT_EQ(sendCommand(-1), -2);
        EXPECT_EQ(sendCommand(0, std::string(255, 'p')), -1);
    });
    EXPECT_THAT(strLog, AllOf(HasSubstr("pu8Param is null\n\n"), HasSubstr("s32Cmd is not support\n\n"),
                              HasSubstr("pu8Param is overflow.\n\n"), Not(HasSubstr("factory_client end"))));
    EXPECT_TRUE(daemon::commands().empty());
}

TEST_F(FactoryService, TellsWhatTheDaemonAnswers) {
    SKIP_UNDER_EMULATION();
    struct Row {
        Behaviour eBehaviour;
        int s32Answer;
        int s32Status;
    };
    for (const Row& stRow :
         {Row{Behaviour::answer, 2, -1}, Row{Behaviour::answer, 0, 0}, Row{Behaviour::stutter, 0, 0},
          Row{Behaviour::stutter, 0x102, -1}, Row{Behaviour::hangUp, 0, 0}, Row{Behaviour::hangUpEarly, 0, 0}}) {
        daemon::start(stRow.eBehaviour, stRow.s32Answer);
        EXPECT_EQ(sendCommand(), stRow.s32Status) << static_cast<int>(stRow.eBehaviour) << ' ' << stRow.s32Answer;
    }
    daemon::start(Behaviour::answer, 2);
    EXPECT_THAT(
        test::logOf([] { sendCommand(1, "p"); }),
        AllOf(
            HasSubstr("[D] <a_vextvfapi_sys_send_cmd_to_factory_svc> SOCKET_NAME:@FACTORY_SERVER\n\n"),
            HasSubstr("cmd:4, parameters:p\n\n"),
            HasSubstr("[E] <a_vextvfapi_sys_send_cmd_to_factory_svc> command:1 return 2:No such file or directory\n\n"),
            HasSubstr("factory_client end\n\n")));
}

TEST_F(FactoryService, IsMissedWithoutADaemon) {
    const std::string strLog = test::logOf([] { EXPECT_EQ(sendCommand(), -1); });
    EXPECT_THAT(strLog, AllOf(HasSubstr("Error: connect() failed, ret=-1, error=111\n\n"),
                              HasSubstr("factory_client end\n\n")));
}

TEST_F(FactoryService, IsWaitedForAsLongAsItTakes) {
    SKIP_UNDER_EMULATION();
    daemon::start(Behaviour::silence);
    std::atomic<int> s32Status{7};
    std::thread client([&] { s32Status = sendCommand(); });
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(s32Status, 7);
    daemon::stop();
    client.join();
    EXPECT_EQ(s32Status, 0) << "no answer counts as success";
}

// --- Attributes of the chip ------------------------------------------------------------------------------------------

class ChipAttributes : public test::LibraryTest {};

TEST_F(ChipAttributes, DataIndexPath) {
    std::vector<unsigned char> path(200, '#');
    EXPECT_EQ(a_vextvfapi_sys_get_dataindex_path(path.data(), 127), -1);
    EXPECT_EQ(a_vextvfapi_sys_get_dataindex_path(nullptr, 128), -1);
    EXPECT_EQ(path, std::vector<unsigned char>(200, '#'));
    EXPECT_EQ(a_vextvfapi_sys_get_dataindex_path(path.data(), 200), 0);
    std::string strExpected = "/vendor/factory/config/dataindex.ini";
    strExpected.resize(200, '\0');
    EXPECT_EQ(std::string(path.begin(), path.end()), strExpected);

    path.assign(200, '#');
    vset::inject({"HW_SYS_GetAttr", HW_ERR_NOT_IMPLEMENT});
    EXPECT_EQ(a_vextvfapi_sys_get_dataindex_path(path.data(), 128), -3);
    EXPECT_EQ(path[0], '\0') << "a failure leaves an empty path";
    EXPECT_EQ(path[127], '\0');
    EXPECT_EQ(path[128], '#');
}

TEST_F(ChipAttributes, CustomerHash) {
    unsigned char au8Hash[17];
    std::fill(std::begin(au8Hash), std::end(au8Hash), '#');
    unsigned int u32Copied = 99;
    EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(15, au8Hash, &u32Copied), -1);
    EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(16, nullptr, &u32Copied), -1);
    EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(16, au8Hash, nullptr), -1);
    EXPECT_EQ(u32Copied, 99u);
    EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(17, au8Hash, &u32Copied), 0);
    // Places that overlap spoil what the caller reads, and nothing else.
    alignas(unsigned int) unsigned char au8Both[16];
    test::logOf([&] {
        EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(16, au8Both, reinterpret_cast<unsigned int*>(au8Both)), 0);
    });
    EXPECT_EQ(u32Copied, 16u);
    const vset::sys::CustomerHash hash = vset::sys::customerHash();
    EXPECT_TRUE(std::equal(hash.begin(), hash.end(), au8Hash));
    EXPECT_EQ(au8Hash[16], '#');
    EXPECT_THAT(test::logOf([&] { a_vextvfapi_sys_get_customer_hash(16, au8Hash, &u32Copied); }),
                AllOf(HasSubstr("u32CopiedCustomerHashSize:0010.\n"),
                      HasSubstr("<a_vextvfapi_sys_get_customer_hash> pu8CustomerHash = \"\n"),
                      HasSubstr("<a_vextvfapi_sys_get_customer_hash> 0x4c\n"),
                      HasSubstr("<a_vextvfapi_sys_get_customer_hash> \"\n\n")));

    vset::inject({"HW_SYS_GetAttr", HW_ERR_NOT_SUPPORT});
    EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(16, au8Hash, &u32Copied), -6);
    EXPECT_EQ(u32Copied, 0u);
}

}  // namespace
