// SPDX-License-Identifier: Apache-2.0
// The cut of what comes through the command pipe, without a pipe.
#include "base/fapi_command_scanner.h"

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

extern std::atomic<unsigned char> u8TvFactoryDebug;

namespace {

using Texts = std::vector<std::string>;

class Collector : public fapi::CommandReceiver {
public:
    void receive(const unsigned char* pu8Command, std::size_t length) override {
        commands.emplace_back(pu8Command, pu8Command + length);
    }

    Texts commands;
};

// From memory of exactly that size.
bool scan(fapi::CommandScanner& scanner, const std::string& bytes) {
    std::vector<unsigned char> exact(bytes.begin(), bytes.end());
    return scanner.scan(exact.data(), exact.size());
}

std::string ended(std::string text) {
    text += '\0';
    return text;
}

struct Case {
    const char* name;
    char end;
    Texts reads;
    Texts commands;
    bool goesOn;
};

const Case kCases[] = {
    {"the newline behind an end is an empty command", ';', {"AT;\n"}, {ended("AT"), ended("")}, true},
    {"the last byte of a read is an end whatever it is", ';', {"ABC", "D"}, {ended("AB"), ended("")}, true},
    {"an underscore before it is a blank", ';', {"say_it_\n"}, {ended("say_it ")}, true},
    {"so is one that nothing precedes", ';', {"_;"}, {ended(" ")}, true},
    {"an underscore alone is the end", ';', {"_"}, {ended("")}, true},
    {"an end that is an underscore", '_', {"a_b_\n"}, {ended("a"), ended("b ")}, true},
    {"zero bytes are bytes", ';', {std::string("a\0b\n", 4)}, {ended(std::string("a\0b", 3))}, true},
    {"the end may be a zero byte", '\0', {std::string("a\0b\n", 4)}, {ended("a"), ended("b")}, true},
    {"an interrupt ends all, its command is lost", ';', {"a;b\x03"}, {ended("a")}, false},
    {"an interrupt inside a read is a byte", ';', {"a\x03;\n"}, {ended("a\x03"), ended("")}, true},
    {"an interrupt that is the end is an end", '\x03', {"ab\x03"}, {ended("ab")}, true},
    {"an underscore before it is a blank, too", '\x03', {"ab_\x03"}, {ended("ab ")}, true},
    {"and may be the end before an interrupt", ' ', {"AT_\x03"}, {ended("AT")}, false},
};

TEST(CommandScanner, Cuts) {
    for (const Case& testCase : kCases) {
        SCOPED_TRACE(testCase.name);
        Collector collector;
        fapi::CommandScanner scanner(static_cast<unsigned char>(testCase.end), collector);
        bool goesOn = true;
        for (const std::string& bytes : testCase.reads) {
            goesOn = scan(scanner, bytes);
        }
        EXPECT_EQ(collector.commands, testCase.commands);
        EXPECT_EQ(goesOn, testCase.goesOn);
    }
}

// 2,047 bytes and their end fill the buffer; a byte more and the command is lost, which is logged.
TEST(CommandScanner, ALongCommandIsLost) {
    Collector collector;
    fapi::CommandScanner scanner(';', collector);
    const std::string longest(fapi::CommandScanner::kSize - 1, 'x');
    scan(scanner, longest + ";\n");
    ASSERT_EQ(collector.commands, (Texts{ended(longest), ended("")}));

    collector.commands.clear();
    testing::internal::CaptureStdout();
    u8TvFactoryDebug = 1;
    scan(scanner, longest + "xyz;\n");
    u8TvFactoryDebug = 0;
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(collector.commands, (Texts{ended("yz"), ended("")}));
    EXPECT_NE(log.find("\033[43;31m[fapi_command_scanner.cpp, TestBody, "), std::string::npos) << log;
    EXPECT_NE(log.find("] buffer overflow detected!! u16ReceivedBytes = 2048\033[0m\n\n"), std::string::npos) << log;
}

}  // namespace
