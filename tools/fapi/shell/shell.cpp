// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#include "shell/shell.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include <unistd.h>

#include "cli/help.h"
#include "shell/line_source.h"
#include "target/event_log.h"
#include "target/in_process.h"
#include "target/output.h"
#include "target/surprises.h"
#include "vset/vset.h"
#include "vset/wdt.h"
#include "watch/screen.h"

namespace tool {

namespace {

// In the environment of the shell that goes on after a power cycle: an operation had failed before, and how many lines
// had been read.
constexpr char kFailedBefore[] = "FAPI_SHELL_FAILED";
constexpr char kLinesBefore[] = "FAPI_SHELL_LINES";

unsigned int linesBefore() {
    const char* before = std::getenv(kLinesBefore);
    long long lines = 0;
    return before != nullptr && parseNumber(before, lines) ? static_cast<unsigned int>(lines) : 0;
}

class Shell {
public:
    Shell(const GlobalOptions& options, const ShellOptions& shellOptions, char** arguments)
        : _options(options),
          _shellOptions(shellOptions),
          _arguments(arguments),
          _lines(makeLineSource()),
          _line(linesBefore()),
          _failed(std::getenv(kFailedBefore) != nullptr) {
        pthread_sigmask(SIG_SETMASK, nullptr, &_signals);
        vset::wdt::onReboot([this] { restart("the watchdog has rebooted the set"); });
    }

    ~Shell() {
        vset::wdt::onReboot(endWithSet);
        if (_printer.joinable()) {
            // What has come by now is still printed.
            listenToAllModules(false);
            eventLog().interrupt();
            _printer.join();
        }
    }
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    int run() {
        std::string line;
        while (!_quit && !_end && _lines->read(line)) {
            ++_line;
            try {
                runLine(splitWords(line));
            } catch (const UsageError& error) {
                stop(kExitUsage, error.what());
            }
        }
        return _end ? *_end : _failed && !_lines->isInteractive() ? kExitFailed : kExitGood;
    }

private:
    // Tells what is wrong with the line. Of a pipe none is run behind it.
    void stop(int code, const std::string& why) {
        const bool isPipe = !_lines->isInteractive();
        printError(isPipe ? "line " + std::to_string(_line) + ": " + why : why, _options.json);
        if (isPipe) {
            _end = code;
        }
    }

    void fail() {
        _failed = true;
        if (_shellOptions.endOnFailure) {
            printError("line " + std::to_string(_line) + " has failed, and -e ends the shell", _options.json);
            _end = kExitFailed;
        }
    }

    void runLine(const Words& words) {
        if (words.empty()) {
            return;
        }
        if (words[0] == "quit" || words[0] == "exit") {
            _quit = true;
        } else if (words[0] == "help") {
            help(words);
        } else if (words[0] == "list") {
            printOperations(words.size() > 1 ? words[1] : "", _options.json);
        } else if (words[0] == "watch") {
            watchEvents(words);
        } else if (words[0] == "screen") {
            showPicture(words);
        } else {
            runCommand(Command::parse(words));
        }
    }

    void help(const Words& words) const {
        if (words.size() > 1) {
            printHelp({words.begin() + 1, words.end()}, _options.json);
            return;
        }
        printUsages({{"OPERATION ARGUMENT...", "call an operation"},
                     {"list [PATTERN]", "the operations"},
                     {"help OPERATION", "its arguments, their ranges, an example; TAB completes all words"},
                     {"help set [ACTION]", "what a person does to the set: set ACTION ARGUMENT..."},
                     {"help plan|expect|faults", "the language of plans, and of files of faults"},
                     {"watch on|off", "show events as they come"},
                     {"screen [FILE [WHAT]]",
                      "a picture of panel, window:N, surface:HANDLE, layer:N or capture as PNG, or here"},
                     {"set power-cycle", "off and on again; everything in memory is lost"},
                     {"quit", "end; the set is switched off"}},
                    _options.json);
    }

    void showPicture(const Words& words) {
        try {
            showScreen(words, _options.json);
        } catch (const SetError& error) {
            printError(error.what(), _options.json);
            fail();
        }
    }

    void watchEvents(const Words& words) {
        if (words.size() != 2 || (words[1] != "on" && words[1] != "off")) {
            throw UsageError("usage: watch on|off");
        }
        listenToAllModules(words[1] == "on");
        if (words[1] == "on" && !_printer.joinable()) {
            _printer = std::thread([this] {
                Event event;
                const auto forEver = std::chrono::steady_clock::now() + std::chrono::hours(24 * 365);
                while (eventLog().take(event, forEver)) {
                    _lines->printAbove([&] { printEvent(event, _options.json); });
                }
            });
        }
    }

    void runCommand(const Command& command) {
        if (command.isPowerCycle()) {
            restart("power cycle");
        }
        const Operation* operation = command.operation();
        if (!confirm(_options, command)) {
            if (!_lines->isInteractive()) {
                stop(kExitInterrupted, "is not run, nor what comes behind it");
            }
            return;
        }
        if (operation != nullptr && !_shellOptions.noInit) {
            bringUpFor(operation);
        }
        printWarning(_surprises.next(command));
        const Outcome outcome = command.run();
        printOutcome(command, outcome, _options.json);
        if (!outcome.good) {
            fail();
        }
    }

    // Also on the watchdog's thread, while a line is typed or runs.
    [[noreturn]] void restart(const char* why) {
        _lines->leaveTerminal();
        std::fprintf(stderr, "%s\n", why);
        if (_failed) {
            setenv(kFailedBefore, "1", 1);
        }
        setenv(kLinesBefore, std::to_string(_line).c_str(), 1);
        joinOutputs();
        pthread_sigmask(SIG_SETMASK, &_signals, nullptr);
        execv("/proc/self/exe", _arguments);
        std::fprintf(stderr, "fapi: cannot begin anew: %s\n", std::strerror(errno));
        _exit(kExitSet);
    }

    const GlobalOptions& _options;
    const ShellOptions& _shellOptions;
    char** const _arguments;
    const std::unique_ptr<LineSource> _lines;
    std::atomic<unsigned int> _line;  // of the input, the one that runs
    bool _quit = false;
    std::optional<int> _end;  // the exit code, when what comes behind the line is not run
    Surprises _surprises;
    std::atomic<bool> _failed;
    sigset_t _signals;  // blocked for this program, which is not what the watchdog's thread has blocked
    std::thread _printer;
};

}  // namespace

int runShell(const GlobalOptions& options, const ShellOptions& shellOptions, char** arguments) {
    openSession(options.session);
    return Shell(options, shellOptions, arguments).run();
}

}  // namespace tool
