// SPDX-License-Identifier: Apache-2.0
// The set's factory daemon, as a client of its socket sees it. A PC has the socket's name once: never two at a time.
#include <cstring>
#include <filesystem>
#include <functional>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/set_fixture.h"
#include "support/waiting.h"
#include "vset/factory_daemon.h"

namespace {

using test::eventually;
using ::testing::SizeIs;
using vset::factory_daemon::Behaviour;

// Returns the address that clients connect to.
sockaddr_un address() {
    sockaddr_un stAddress = {};
    stAddress.sun_family = AF_UNIX;
    std::memcpy(stAddress.sun_path, "\0FACTORY_SERVER", 15);
    return stAddress;
}
constexpr socklen_t kAddressSize = sizeof(sa_family_t) + 15;

std::string word(int s32Status) {
    return {reinterpret_cast<const char*>(&s32Status), sizeof(s32Status)};
}

std::string commandRecord(int s32Command, const std::string& strParameters) {
    std::string strRecord = word(s32Command) + strParameters;
    strRecord.resize(260, '\0');
    return strRecord;
}

class Client {
public:
    Client() : _s32Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const sockaddr_un stAddress = address();
        _bConnected = connect(_s32Socket, reinterpret_cast<const sockaddr*>(&stAddress), kAddressSize) == 0;
    }
    ~Client() { close(_s32Socket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool isConnected() const { return _bConnected; }
    void hangUp() { shutdown(_s32Socket, SHUT_RDWR); }
    void stopSending() { shutdown(_s32Socket, SHUT_WR); }
    void stopListening() { shutdown(_s32Socket, SHUT_RD); }

    void send(const std::string& bytes) {
        // Nothing may be sent to a daemon that has hung up already.
        if (!bytes.empty()) {
            EXPECT_EQ(::send(_s32Socket, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
        }
    }
    // Returns all bytes until the daemon closes the connection, which it must do.
    std::string answer() {
        std::string bytes;
        char acChunk[16];
        while (isReadable(10000)) {
            const ssize_t length = read(_s32Socket, acChunk, sizeof(acChunk));
            if (length <= 0) {
                return bytes;
            }
            bytes.append(acChunk, static_cast<std::size_t>(length));
        }
        ADD_FAILURE() << "the connection stays open";
        return bytes;
    }
    // Returns whether there is anything to read, the end included.
    bool isReadable(int s32Milliseconds) {
        pollfd stEnd = {_s32Socket, POLLIN, 0};
        return poll(&stEnd, 1, s32Milliseconds) > 0;
    }

private:
    const int _s32Socket;
    bool _bConnected = false;
};

std::string ask(const std::string& strRecord) {
    Client client;
    EXPECT_TRUE(client.isConnected());
    client.send(strRecord);
    return client.answer();
}

class VsetFactoryDaemon : public test::MiddlewareTest {
protected:
    void SetUp() override {
        SKIP_UNDER_EMULATION();
        MiddlewareTest::SetUp();
        _descriptors = test::openDescriptors();
    }
    void TearDown() override {
        if (IsSkipped()) {
            return;
        }
        vset::factory_daemon::stop();
        EXPECT_LE(test::openDescriptors(), _descriptors);
        EXPECT_FALSE(Client().isConnected());
        MiddlewareTest::TearDown();
    }

    int _descriptors = 0;
};

TEST_F(VsetFactoryDaemon, AnswersWithAStatusWord) {
    EXPECT_FALSE(Client().isConnected());
    vset::factory_daemon::start(Behaviour::answer, 0x01020304);
    EXPECT_EQ(ask(commandRecord(-4, "text")), word(0x01020304));
    vset::factory_daemon::start(Behaviour::stutter, 0x0102030E);
    EXPECT_EQ(ask(commandRecord(2, "")), "\x0E");
    vset::factory_daemon::start(Behaviour::hangUpEarly);
    EXPECT_EQ(ask(""), "");
    const std::vector<vset::factory_daemon::Command> all = vset::factory_daemon::commands();
    ASSERT_THAT(all, SizeIs(2)) << "nothing has been read at last";
    EXPECT_EQ(all[0].s32Command, -4);
    EXPECT_EQ(all[0].strParameters, "text");
}

TEST_F(VsetFactoryDaemon, KeepsAClientWaitingUntilItIsToldOtherwise) {
    const std::function<void()> kEnds[] = {[] { vset::factory_daemon::start(Behaviour::answer, 1); },
                                           vset::factory_daemon::stop, vset::detach};
    for (const std::function<void()>& end : kEnds) {
        SCOPED_TRACE(&end - kEnds);
        vset::factory_daemon::start(Behaviour::silence, 7);
        vset::factory_daemon::clearCommands();
        Client client;
        client.send(commandRecord(4, "wait"));
        EXPECT_TRUE(eventually([] { return vset::factory_daemon::commands().size() == 1; }));
        EXPECT_FALSE(client.isReadable(100));
        end();
        EXPECT_EQ(client.answer(), "");
    }
    EXPECT_THROW(vset::factory_daemon::start(), vset::SetError) << "without a set";
}

// No client may hold up or end the daemon.
TEST_F(VsetFactoryDaemon, SurvivesItsClients) {
    vset::factory_daemon::start(Behaviour::answer, 3);
    Client deaf, gone, slow;
    deaf.stopListening();
    deaf.send(commandRecord(2, "nobody reads the answer"));
    EXPECT_TRUE(eventually([] { return vset::factory_daemon::commands().size() == 1; }));
    gone.hangUp();
    const std::string strRecord = commandRecord(2, "in pieces");
    slow.send(strRecord.substr(0, 7));
    EXPECT_FALSE(slow.isReadable(50));
    slow.send(strRecord.substr(7));
    EXPECT_EQ(slow.answer(), word(3));
    ASSERT_THAT(vset::factory_daemon::commands(), SizeIs(2)) << "a client that hangs up has sent nothing";
    EXPECT_EQ(vset::factory_daemon::commands()[1].strRecord, strRecord);

    Client partial;
    partial.send(strRecord.substr(0, 100));
    partial.stopSending();
    EXPECT_EQ(partial.answer(), "") << "to part of a record";
    EXPECT_EQ(vset::factory_daemon::commands().back().strRecord, strRecord.substr(0, 100));

    Client silent;
    EXPECT_TRUE(silent.isConnected());
    EXPECT_LT(test::secondsOf(vset::factory_daemon::stop), test::patient(20)) << "even while a client is connected";
    EXPECT_EQ(silent.answer(), "") << "which has asked nothing";
}

// What the set has open is not for programs that its program starts.
TEST_F(VsetFactoryDaemon, NoChildGetsADescriptorOfTheSet) {
    vset::factory_daemon::start(Behaviour::silence);
    Client client;
    client.send(commandRecord(1, "stay"));
    EXPECT_TRUE(eventually([] { return vset::factory_daemon::commands().size() == 1; }));
    int s32Seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string strTarget = std::filesystem::read_symlink(entry.path(), error).string();
        const int s32Fd = std::stoi(entry.path().filename());
        for (const std::string& strBegin : {folder(), std::string("/dev/ptmx"), std::string("/dev/pts/"),
                                            std::string("socket:"), std::string("anon_inode:[eventfd]")}) {
            if (s32Fd > 2 && strTarget.rfind(strBegin, 0) == 0) {
                EXPECT_EQ(fcntl(s32Fd, F_GETFD), FD_CLOEXEC) << strTarget;
                ++s32Seen;
            }
        }
    }
    EXPECT_GE(s32Seen, 18)
        << "lock, seven lines, five of them with both ends, daemon, client, and who wakes the threads";
}

TEST_F(VsetFactoryDaemon, StartsAgainAndOnlyOnce) {
    for (int i = 0; i < 50; ++i) {
        vset::factory_daemon::start(Behaviour::answer, i);
        ASSERT_EQ(ask(commandRecord(2, "again")), word(i));
        ASSERT_THAT(vset::factory_daemon::commands(), SizeIs(1));
        vset::factory_daemon::stop();
        ASSERT_FALSE(vset::factory_daemon::isRunning());
        ASSERT_EQ(test::openDescriptors(), _descriptors);
    }
    const sockaddr_un stAddress = address();
    const int s32Other = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(s32Other, reinterpret_cast<const sockaddr*>(&stAddress), kAddressSize), 0);
    EXPECT_THROW(vset::factory_daemon::start(), vset::SetError) << "another daemon has the socket";
    EXPECT_FALSE(vset::factory_daemon::isRunning());
    close(s32Other);
    vset::factory_daemon::start();
    vset::powerCycle();
    EXPECT_EQ(ask(commandRecord(2, "")), word(0)) << "until it is stopped or the set is given back";
    vset::detach();
    EXPECT_FALSE(Client().isConnected());
    vset::attach(folder());
    EXPECT_FALSE(vset::factory_daemon::isRunning());
}

}  // namespace
