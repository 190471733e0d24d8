// SPDX-License-Identifier: Apache-2.0
// The cut of the standard factory link's bytes into messages, without a tty.
#include "base/fapi_message_framer.h"

#include <atomic>
#include <functional>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/reference_framer.h"

extern std::atomic<unsigned char> u8TvFactoryDebug;

namespace {

using ::testing::ElementsAre;
using Messages = std::vector<std::string>;

constexpr unsigned int kSize = fapi::ReceiveBuffer::kSize;

void configure(fapi::FramerSettings& settings, signed char mode, char terminator, unsigned int limit) {
    settings.s8Mode = mode;
    settings.u8Terminator = static_cast<unsigned char>(terminator);
    settings.u32TargetBufferLimit = limit;
}

struct Case {
    const char* name;
    signed char mode;
    char terminator;
    unsigned int limit;
    std::string bytes;
    Messages messages;
};

const std::string kFull(kSize, 'x');

const Case kCases[] = {
    {"a CR LF pair is one line", 0, '\r', kSize, "AB\r\nC\n\r\rD\r", {"AB", "C", "D"}},
    {"the rest of a line is held", 0, '\r', kSize, "AB\rCD", {"AB"}},
    {"zero bytes are bytes", 0, '\r', kSize, std::string("A\0B\n", 4), {std::string("A\0B", 3)}},
    {"a line as long as the limit is sent before its end", 0, '\r', kSize, kFull + "\ny\n", {kFull, "y"}},
    {"by size line ends are bytes", 1, '\r', 4, "abc\r\nfghij", {"abc\r", "\nfgh"}},
    {"a negative mode cuts by size", -128, ';', 2, "a;b\r", {"a;", "b\r"}},
    {"a terminator, line ends are bytes", 2, ';', kSize, "A\nB;;C\r;", {"A\nB", "C\r"}},
    {"a terminator and a limit, whichever is first", 2, ';', 3, "ab;cde;f;", {"ab", "cde", "f"}},
    {"the terminator may be a zero byte", 2, '\0', kSize, std::string("A\0\0B\0", 5), {"A", "B"}},
    {"byte by byte", 3, '\r', 0, "a\r\n\xFF", {"a", "\r", "\n", "\xFF"}},
    {"line mode under a limit of 0 sends every line end as nothing", 0, '\r', 0, "a\rb", {"a", "", "b"}},
    {"mode 3 keeps the limit it finds", 3, '\r', 2, "abcd", {"ab", "cd"}},
};

TEST(MessageFramer, CutsHoweverTheBytesArrive) {
    for (const Case& testCase : kCases) {
        SCOPED_TRACE(testCase.name);
        for (const std::size_t chunk : {testCase.bytes.size(), std::size_t{1}, std::size_t{3}, std::size_t{kSize}}) {
            fapi::FramerSettings settings;
            configure(settings, testCase.mode, testCase.terminator, testCase.limit);
            test::Framer framer(settings);
            framer.adoptLimit();
            for (std::size_t i = 0; i < testCase.bytes.size(); i += chunk) {
                framer.feed(testCase.bytes.substr(i, chunk));
            }
            EXPECT_EQ(framer.messages(), testCase.messages) << "in reads of " << chunk;
        }
    }
}

// Bytes, changes of the settings and reads in any order cut as they would one byte after the other.
TEST(MessageFramer, CutsLikeTheReference) {
    std::mt19937 random(20260815);
    const auto below = [&](unsigned int n) { return random() % n; };
    constexpr char kAlphabet[] = {'a', 'b', '\r', '\n', ';', '\0'};
    constexpr unsigned int kLimits[] = {0, 1, 2, 5, 64, kSize};
    for (int run = 0; run < 3000; ++run) {
        SCOPED_TRACE(run);
        fapi::FramerSettings settings;
        test::Framer framer(settings);
        test::ReferenceFramer reference(settings);
        for (int step = 0; step < 12; ++step) {
            if (below(3) == 0) {
                configure(settings, static_cast<signed char>(static_cast<int>(below(5)) - 1), kAlphabet[below(6)],
                          kLimits[below(6)]);
            }
            framer.adoptLimit();
            reference.adoptLimit();
            std::string bytes(below(20), '\0');
            for (char& byte : bytes) {
                byte = kAlphabet[below(sizeof(kAlphabet))];
            }
            framer.feed(bytes);
            reference.feed(bytes);
        }
        ASSERT_EQ(framer.messages(), reference.messages());
    }
}

// Runs an action when a message arrives, as the host's callback may.
class Acting : public test::Framer {
public:
    Acting(const fapi::FramerSettings& settings, std::function<void()> action)
        : Framer(settings), _action(std::move(action)) {}

private:
    void receive(const fapi_core::VexTvFApiEventCommonObject& message) override {
        Framer::receive(message);
        _action();
    }

    const std::function<void()> _action;
};

TEST(MessageFramer, AChangeTakesEffectAtTheNextByte) {
    fapi::FramerSettings settings;
    Acting framer(settings, [&] { configure(settings, 2, ';', kSize); });
    framer.feed("ab\rcd\re;fg\n;");
    EXPECT_THAT(framer.messages(), ElementsAre("ab", "cd\re", "fg\n"));
}

// Stopping the other link takes the buffer away.
TEST(MessageFramer, WithoutItsBufferTheRestIsDropped) {
    fapi::FramerSettings settings;
    Acting framer(settings, [&] { framer.buffer().release(); });
    framer.feed("ab\rcd\ref");
    framer.feed("gh\r");
    EXPECT_THAT(framer.messages(), ElementsAre("ab"));
    EXPECT_FALSE(framer.buffer().exists());
}

TEST(MessageFramer, AnEmptyMessageIsLoggedAsAnEmptyText) {
    fapi::FramerSettings settings;
    configure(settings, 2, ';', 0);
    test::Framer framer(settings);
    framer.adoptLimit();
    testing::internal::CaptureStdout();
    u8TvFactoryDebug = 1;
    framer.feed(";");
    u8TvFactoryDebug = 0;
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(framer.messages(), Messages{""});
    EXPECT_NE(log.find("[std_factory_uart] \n\n"), std::string::npos) << log;
}

TEST(ReceiveBuffer, HoldsNoMoreThanItsSize) {
    fapi::ReceiveBuffer buffer;
    std::vector<unsigned char> message;
    EXPECT_FALSE(buffer.append(nullptr, 0));
    EXPECT_FALSE(buffer.take(nullptr, 0, message));
    ASSERT_TRUE(buffer.allocate());
    const std::vector<unsigned char> bytes(kSize - 1, 'x');
    EXPECT_TRUE(buffer.append(bytes.data(), bytes.size()));
    EXPECT_TRUE(buffer.append(bytes.data(), bytes.size()));
    EXPECT_EQ(buffer.count(), kSize);
    EXPECT_TRUE(buffer.take(bytes.data(), 1, message));
    EXPECT_EQ(message.size(), kSize + 1);
    EXPECT_EQ(buffer.count(), 0u);
    // Allocating what is there only empties it.
    EXPECT_TRUE(buffer.append(bytes.data(), 5));
    ASSERT_TRUE(buffer.allocate());
    EXPECT_EQ(buffer.count(), 0u);
    EXPECT_TRUE(buffer.append(bytes.data(), 5));
    buffer.release();
    buffer.release();
    EXPECT_FALSE(buffer.exists());
    EXPECT_FALSE(buffer.take(bytes.data(), 1, message)) << "what was held has gone with it";
}

}  // namespace
