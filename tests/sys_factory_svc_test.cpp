// SPDX-License-Identifier: Apache-2.0
// The factory daemon's client, and the attributes of the chip.
#include <algorithm>
#include <functional>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "a_vextvfapi_sys.h"
#include "hw3/hw_sys.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/factory_daemon.h"
#include "vset/sys.h"

// --- Functions of this program, which the library calls in place of others' ------------------------------------------

static bool g_bHangUpFirst = false;
static std::function<HW_Result_t(HW_SYS_AttrBuffer_t&)> g_getAttr;

template <class Function>
static Function* next(Function*, const char* pszName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pszName));
}

// Connects; on request returns when the daemon has hung up, so that no send can come before that.
extern "C" __attribute__((visibility("default"))) int connect(int s32Fd, const sockaddr* pstAddress, socklen_t length) {
    const int s32Result = next(connect, "connect")(s32Fd, pstAddress, length);
    pollfd stHungUp = {s32Fd, 0, 0};
    if (g_bHangUpFirst) {
        poll(&stHungUp, 1, 10000);
        EXPECT_NE(stHungUp.revents & POLLHUP, 0);
    }
    return s32Result;
}

// Answers as the set's chip does, or as one that the set cannot be.
extern "C" HW_Result_t HW_SYS_GetAttr(HW_U32 u32Attr, void* pParam) {
    return g_getAttr ? g_getAttr(*static_cast<HW_SYS_AttrBuffer_t*>(pParam))
                     : next(HW_SYS_GetAttr, "HW_SYS_GetAttr")(u32Attr, pParam);
}

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
          Row{Behaviour::stutter, 0x103, -1}, Row{Behaviour::hangUp, 0, 0}, Row{Behaviour::hangUpEarly, 0, 0}}) {
        daemon::start(stRow.eBehaviour, stRow.s32Answer);
        g_bHangUpFirst = stRow.eBehaviour == Behaviour::hangUpEarly;
        EXPECT_EQ(sendCommand(), stRow.s32Status) << static_cast<int>(stRow.eBehaviour) << ' ' << stRow.s32Answer;
    }
    EXPECT_THAT(test::logOf([] { sendCommand(); }), HasSubstr("Error: send() failed, ret=0, error=Broken pipe\n\n"));
    g_bHangUpFirst = false;
    daemon::start(Behaviour::answer, 2);
    EXPECT_THAT(test::logOf([] { sendCommand(1, "p"); }),
                "VexTvFApiSystem(imp) [D] <a_vextvfapi_sys_send_cmd_to_factory_svc> SOCKET_NAME:@FACTORY_SERVER\n\n"
                "VexTvFApiSystem(imp) [D] <a_vextvfapi_sys_send_cmd_to_factory_svc> cmd:4, parameters:p\n\n"
                "VexTvFApiSystem(imp) [E] <a_vextvfapi_sys_send_cmd_to_factory_svc> command:1 return 2:No such file or "
                "directory\n\n"
                "VexTvFApiSystem(imp) [D] <a_vextvfapi_sys_send_cmd_to_factory_svc> factory_client end\n\n");
}

TEST_F(FactoryService, IsMissedWithoutADaemonOrASocket) {
    EXPECT_THAT(
        test::logOf([] { EXPECT_EQ(sendCommand(), -1); }),
        AllOf(HasSubstr("Error: connect() failed, ret=-1, error=111\n\n"), HasSubstr("factory_client end\n\n")));
    rlimit stLimit = {};
    getrlimit(RLIMIT_NOFILE, &stLimit);
    const rlimit stNone = {0, stLimit.rlim_max};
    EXPECT_THAT(test::logOf([&] {
                    setrlimit(RLIMIT_NOFILE, &stNone);
                    EXPECT_EQ(sendCommand(), -1);
                    setrlimit(RLIMIT_NOFILE, &stLimit);
                }),
                AllOf(HasSubstr("Error: socket() failed, error=24\n\n"), HasSubstr("factory_client end\n\n")));
}

TEST_F(FactoryService, ADescriptorOfZeroIsOne) {
    SKIP_UNDER_EMULATION();
    daemon::start();
    const int s32Input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    EXPECT_EQ(sendCommand(), 0);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "it is closed like any other";
    dup2(s32Input, STDIN_FILENO);
    close(s32Input);
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

    // A path as long as the buffer has no terminator there, and one in a longer buffer.
    g_getAttr = [](const HW_SYS_AttrBuffer_t& stBuffer) {
        std::fill_n(static_cast<char*>(stBuffer.pBuffer), stBuffer.u32BufferSize, 'p');
        return HW_OK;
    };
    for (const unsigned int u32Length : {128u, 129u}) {
        path.assign(200, '#');
        EXPECT_EQ(a_vextvfapi_sys_get_dataindex_path(path.data(), u32Length), 0);
        EXPECT_EQ(std::string(path.begin(), path.begin() + 130),
                  std::string(128, 'p') + (u32Length == 128 ? "##" : std::string("\0#", 2)));
    }
    g_getAttr = nullptr;
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

    vset::inject({"HW_SYS_GetAttr", HW_ERR_NOT_SUPPORT});
    EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(16, au8Hash, &u32Copied), -6);
    EXPECT_EQ(u32Copied, 0u);

    for (const unsigned int u32Size : {0u, 5u, 15u, 17u, 0xFFFFFFFFu}) {
        g_getAttr = [&](HW_SYS_AttrBuffer_t& stBuffer) {
            std::fill_n(static_cast<char*>(stBuffer.pBuffer), 16, 'h');
            stBuffer.u32CopiedSize = u32Size;
            return HW_OK;
        };
        std::string strHash(20, '#');
        EXPECT_EQ(a_vextvfapi_sys_get_customer_hash(20, reinterpret_cast<unsigned char*>(strHash.data()), &u32Copied),
                  0);
        EXPECT_EQ(u32Copied, std::min(u32Size, 16u));
        EXPECT_EQ(strHash, std::string(u32Copied, 'h') + std::string(20 - u32Copied, '#'));
    }
    g_getAttr = nullptr;
}

}  // namespace
