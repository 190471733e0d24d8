// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#include "shell/shell.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>

#include <unistd.h>

#include "base/data_output.h"
#include "base/durable_file.h"
#include "base/interrupts.h"
#include "base/terminal.h"
#include "shell/help.h"
#include "shell/line_source.h"
#include "target/output.h"
#include "target/session.h"
#include "target/surprises.h"
#include "target/worker_end.h"
#include "watch/screen.h"

namespace tool {

namespace {

constexpr std::chrono::hours kLong{24};

sigset_t interruptSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    return signals;
}

// Lets Ctrl-C end the wait for an answer of the user's.
class InterruptedRead {
public:
    InterruptedRead() {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGINT, &action, &_before);
        const sigset_t signals = interruptSignal();
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
    ~InterruptedRead() {
        const sigset_t signals = interruptSignal();
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        sigaction(SIGINT, &_before, nullptr);
        if (std::cin.fail()) {
            std::fputc('\n', stderr);
        }
        // The next answer is read all the same.
        std::cin.clear();
        std::clearerr(stdin);
    }
    InterruptedRead(const InterruptedRead&) = delete;
    InterruptedRead& operator=(const InterruptedRead&) = delete;

private:
    struct sigaction _before = {};
};

class Shell {
public:
    Shell(const GlobalOptions& options, const ShellOptions& shellOptions)
        : _options(options),
          _shellOptions(shellOptions),
          _interrupts(interruptSignal()),
          _lines(makeLineSource([this] { return waitForInput(); })) {
        session().listen("event", [this](const Field& params) { showEvent(params); });
        session().listen("log", [this](const Field& params) {
            _lines->printAbove([&] { std::fprintf(stderr, "%s\n", params["text"].textOr("").c_str()); });
        });
        session().listen("worker", [this](const Field& params) {
            if (params["state"] == Field("ended")) {
                followWorker(params);
            }
        });
        session().watch(_interrupts.descriptor(), [this] { interrupt(); });
        keepOn();
    }
    ~Shell() {
        for (const char* method : {"event", "log", "worker"}) {
            session().listen(method, nullptr);
        }
        session().unwatch(_interrupts.descriptor());
    }
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    int run() {
        std::string line;
        while (!_quit && !_end && _lines->read(line)) {
            ++_line;
            _isEnded = false;
            runUnlessWrong(line);
        }
        if (!session().lost().empty()) {
            throw RequestError(ErrorCode::ended, session().lost());
        }
        // What has come by now is still printed.
        stopWatching();
        return _end ? *_end : _failed && !_lines->isInteractive() ? kExitFailed : kExitGood;
    }

private:
    // --- What comes while a line is awaited or runs

    bool waitForInput() {
        bool isReadable = false;
        session().watch(STDIN_FILENO, [&] { isReadable = true; });
        while (!isReadable && !_end && session().lost().empty()) {
            session().pump(kLong);
        }
        session().unwatch(STDIN_FILENO);
        return isReadable && !_end;
    }

    void showEvent(const Field& params) {
        _lines->printAbove([&] {
            if (const long long dropped = params["dropped"].numberOr(0); dropped != 0) {
                printMessage(std::to_string(dropped) + " events came faster than they could be passed on");
            }
            printEvent(parseEvent(params), _options.json);
        });
    }

    // What the library and the set had in memory is gone.
    void followWorker(const Field& params) {
        _surprises.forget();
        const std::string reason = params["reason"].textOr("");
        const bool isOwn = _isEnding || _isCycling;
        if (reason == "watchdog") {
            _lines->printAbove([] { std::fputs("the watchdog has rebooted the set\n", stderr); });
        } else if (reason == "died") {
            complain("the library has died: " + causeOf(params) + "; a new worker starts");
            fail();
        } else if (!isOwn) {
            complain(reason == "power" ? "another client has cut the set's power"
                                       : "another client has ended the set's programs");
        }
        if (!_isCycling) {
            stopWatching();
        }
        if (reason != "power") {
            keepOn();
        }
    }

    void complain(const std::string& what) {
        _lines->printAbove([&] { printError(what, _options.json); });
    }

    void stopWatching() {
        if (_isWatching) {
            _isWatching = false;
            listenToEvents(false);
        }
    }

    // A shell that only looks, since another client has claimed the set, leaves that to the other.
    void keepOn() {
        try {
            switchOn();
        } catch (const RequestError& error) {
            if (error.code() != ErrorCode::claimed) {
                throw;
            }
        }
    }

    // Ctrl-C ends the line that runs, and with it all lines of a pipe.
    void interrupt() {
        _interrupts.take();
        if (!_lines->isInteractive()) {
            _end = kExitInterrupted;
        }
        if (_isEnding) {
            return;
        }
        _isEnding = true;
        try {
            session().endAwaited();
            _isEnded = true;
        } catch (const RequestError& error) {
            complain(error.code() == ErrorCode::begun ? "the call is not ended in the middle: it must finish"
                                                      : error.what());
        }
        _isEnding = false;
    }

    // --- Lines

    void runUnlessWrong(const std::string& line) {
        try {
            runLine(splitWords(line));
        } catch (const UsageError& error) {
            stop(kExitUsage, error.what());
        } catch (const RequestError& error) {
            if (!session().lost().empty()) {
                throw;
            }
            if (error.code() == ErrorCode::died || error.code() == ErrorCode::canceled) {
                endOfCall(error.failure());
            } else {
                stop(kExitSet, error.what());
            }
        }
    }

    // The worker's end has been told when it came, and counted when it was a crash.
    void endOfCall(const MessageFailure& failure) {
        if (_isEnded) {
            complain(failure.code == ErrorCode::canceled
                         ? "the call is not begun"
                         : "the call is ended, and all that the set had in memory is lost");
        } else if (const std::string reason = failure.data["reason"].textOr("");
                   reason == "power" || reason == "ended") {
            fail();
        }
    }

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
        } catch (const RequestError& error) {
            if (error.code() != ErrorCode::unavailable) {
                throw;
            }
            printError(error.what(), _options.json);
            fail();
        } catch (const FileError& error) {
            printError(error.what(), _options.json);
            fail();
        }
    }

    void watchEvents(const Words& words) {
        if (words.size() != 2 || (words[1] != "on" && words[1] != "off")) {
            throw UsageError("usage: watch on|off");
        }
        if (words[1] == "on") {
            listenToEvents(true);
            _isWatching = true;
        } else {
            stopWatching();
        }
    }

    void runCommand(const Command& command) {
        if (command.isPowerCycle()) {
            cyclePower();
            return;
        }
        if (!isConfirmed(command)) {
            if (!_lines->isInteractive()) {
                stop(kExitInterrupted, "is not run, nor what comes behind it");
            }
            return;
        }
        printWarning(_surprises.next(command));
        const Outcome outcome = _shellOptions.noInit ? command.run({false}).outcome : runPrepared(command);
        printOutcome(command, outcome, _options.json);
        if (!outcome.good) {
            fail();
        }
    }

    bool isConfirmed(const Command& command) const {
        const InterruptedRead read;
        return confirm(_options, command);
    }

    void cyclePower() {
        std::fputs("power cycle\n", stderr);
        stopWatching();
        _isCycling = true;
        try {
            powerCycle();
        } catch (...) {
            _isCycling = false;
            throw;
        }
        _isCycling = false;
    }

    const GlobalOptions& _options;
    const ShellOptions& _shellOptions;
    Interrupts _interrupts;
    const std::unique_ptr<LineSource> _lines;
    unsigned int _line = 0;  // of the input, the one that runs
    bool _quit = false;
    std::optional<int> _end;  // the exit code, when what comes behind the line is not run
    Surprises _surprises;
    bool _failed = false;
    bool _isWatching = false;
    bool _isCycling = false;  // this shell switches the set off and on
    bool _isEnding = false;   // this shell ends the call that runs
    bool _isEnded = false;    // this shell has ended what the line called
};

}  // namespace

int runShell(const GlobalOptions& options, const ShellOptions& shellOptions) {
    SessionOptions sessionOptions = options.session;
    sessionOptions.client = "fapi shell";
    openSession(sessionOptions);
    return Shell(options, shellOptions).run();
}

}  // namespace tool
