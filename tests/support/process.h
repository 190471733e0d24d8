// SPDX-License-Identifier: Apache-2.0
// A program as a user or a script runs it, and a process of a test's own.
#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace test {

// Runs `body` in a copy of this process. Returns 0, the code with which it exits early, or 128 + signal.
int runInChild(const std::function<void()>& body);

struct ProcessResult {
    int s32Exit = -1;       // exit code, or 128 + signal
    std::string strOutput;  // standard output
    std::string strError;   // standard error
};

// Runs the program with pipes. It is killed after nearly two minutes; the exit code is then 128 + 9.
ProcessResult runProcess(const std::vector<std::string>& command, const std::string& strInput = "");

// Runs the program on a terminal of its own and types each line of `typed` when the text before it has appeared; an
// empty text means at once. All that appears is in strOutput.
constexpr char kSilence[] = "(a second of silence)";  // to wait for
struct Typed {
    std::string strWaitFor;
    std::string strKeys;
    std::string strDevice = "";  // that gets them in place of the terminal
};
ProcessResult runOnTerminal(const std::vector<std::string>& command, const std::vector<Typed>& typed,
                            unsigned int u32Columns = 200);

// The most memory that a running process has had; 0 after its end, and with a sanitizer, which keeps what is free.
inline double peakMebibytesOf([[maybe_unused]] pid_t process) {
#ifndef FAPI_SANITIZED
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string strLine; std::getline(status, strLine);) {
        if (strLine.rfind("VmHWM:", 0) == 0) {
            return std::stod(strLine.substr(6)) / 1024;
        }
    }
#endif
    return 0;
}

}  // namespace test

#endif
