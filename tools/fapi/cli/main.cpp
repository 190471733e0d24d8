// SPDX-License-Identifier: Apache-2.0
// fapi, the bench tool.
#include <algorithm>
#include <csignal>
#include <string_view>

#include "base/data_output.h"
#include "base/terminal.h"
#include "cli/command_line.h"
#include "hub/hub.h"
#include "program/guard.h"
#include "target/output.h"

namespace {

using namespace tool;

// Known also when the command line is wrong.
bool wantsJson(int argc, char** argv) {
    const auto isEnd = [](const char* word) { return std::string_view(word) == "--"; };
    const auto isJson = [](const char* word) { return std::string_view(word) == "--json"; };
    return std::any_of(argv, std::find_if(argv, argv + argc, isEnd), isJson);
}

}  // namespace

int main(int argc, char** argv) {
    // Its words are for this program alone.
    if (argc > 1 && std::string_view(argv[1]) == "hub") {
        return runHub({argv + 2, argv + argc});
    }
    if (argc > 1 && std::string_view(argv[1]) == kGuardWord) {
        return runGuard({argv + 2, argv + argc});
    }
    // A reader that goes away is an error of the write that meets it, and no reason to stop in the middle of a plan.
    std::signal(SIGPIPE, SIG_IGN);
    // A limit to the size of files is the error of a write, as a full disk is.
    std::signal(SIGXFSZ, SIG_IGN);
    const bool json = wantsJson(argc, argv);
    try {
        int code = CommandLine(argv).run(argc, argv);
        for (const std::string& trouble : takeTroubles()) {
            printMessage(trouble);
            code = code != kExitInterrupted ? kExitSet : code;
        }
        if (isOutputWritten()) {
            return code;
        }
        if (!isReaderGone()) {
            printMessage("standard output cannot be written");
        }
        return code == kExitGood ? kExitFailed : code;
    } catch (const UsageError& error) {
        printError(error.what(), json);
        return kExitUsage;
    } catch (const RequestError& error) {
        if (const Field& damage = error.failure().data["damage"]; damage.isList()) {
            for (const Field& line : damage.list()) {
                printMessage(line.text());
            }
        }
        printError(error.what(), json);
        if (error.code() == ErrorCode::canceled) {
            return kExitInterrupted;
        }
        // The operation has ended the library, or the set.
        return error.code() == ErrorCode::died ? kExitFailed : kExitSet;
    } catch (const std::exception& error) {
        printError(error.what(), json);
        return kExitSet;
    }
}
