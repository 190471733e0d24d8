// SPDX-License-Identifier: Apache-2.0
// `fapi shell`: one line after the other.
#include "shell.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <thread>

#include <histedit.h>
#include <termios.h>
#include <unistd.h>

#include "event_log.h"
#include "output.h"
#include "screen.h"
#include "table.h"
#include "terminal.h"
#include "vset/vset.h"
#include "vset/wdt.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// In the environment of the shell that goes on after a power cycle: an operation had failed before.
constexpr char kFailedBefore[] = "FAPI_SHELL_FAILED";

char* prompt(EditLine*) {
    static char text[] = "fapi> ";
    return text;
}

// TAB: goes on as far as there is only one way, else shows the ways.
unsigned char complete(EditLine* editLine, int) {
    const LineInfo* info = el_line(editLine);
    const std::string line(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
    const std::string rest = completion(line);
    if (!rest.empty()) {
        return el_insertstr(editLine, rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    const std::vector<std::string> found = completions(line);
    if (found.empty()) {
        return CC_ERROR;
    }
    std::fprintf(stderr, "\n%s", printable(inColumns(found, terminalColumns(stderr)), "\n").c_str());
    return CC_REDISPLAY;
}

std::string historyFile() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    const fs::path folder =
        state != nullptr && *state != '\0' ? fs::path(state) : fs::path(home != nullptr ? home : "/") / ".local/state";
    std::error_code error;
    const vset::HostPaths hostPaths;
    fs::create_directories(folder / "fapi", error);
    return (folder / "fapi/history").string();
}

// Where lines come from.
class LineSource {
public:
    virtual ~LineSource() = default;
    virtual bool read(std::string& line) = 0;
    virtual bool isInteractive() const = 0;
    // Puts the terminal back as it was before: another program goes on with it. Any thread.
    virtual void leaveTerminal() const {}
};

// Takes no byte more than its line: what comes behind a power cycle belongs to the program that goes on.
class PipedLines : public LineSource {
public:
    bool read(std::string& line) override {
        line.clear();
        char c = '\0';
        while (::read(STDIN_FILENO, &c, 1) == 1) {
            if (c == '\n') {
                return true;
            }
            line += c;
        }
        return !line.empty();
    }
    bool isInteractive() const override { return false; }
};

class EditedLines : public LineSource {
public:
    EditedLines()
        : _terminal(terminalState()),
          _editLine(el_init("fapi", stdin, stderr, stderr)),
          _history(history_init()),
          _file(historyFile()) {
        history(_history, &_event, H_SETSIZE, 1000);
        history(_history, &_event, H_SETUNIQUE, 1);
        const vset::HostPaths hostPaths;
        history(_history, &_event, H_LOAD, _file.c_str());
        el_set(_editLine, EL_PROMPT, prompt);
        el_set(_editLine, EL_EDITOR, "emacs");
        el_set(_editLine, EL_HIST, history, _history);
        // Wide, because the narrow one never frees its copies.
        el_wset(_editLine, EL_ADDFN, L"fapi-complete", L"Complete the word", complete);
        el_set(_editLine, EL_BIND, "^I", "fapi-complete", nullptr);
        el_set(_editLine, EL_BIND, "^R", "em-inc-search-prev", nullptr);
        // Ctrl-C ends what runs; while a line is typed it only throws the line away.
        el_set(_editLine, EL_SETTY, "-d", "-isig", nullptr);
        el_set(_editLine, EL_BIND, "^C", "em-kill-line", nullptr);
        el_set(_editLine, EL_SIGNAL, 1);
        el_source(_editLine, nullptr);
    }
    ~EditedLines() override {
        history_end(_history);
        el_end(_editLine);
    }
    EditedLines(const EditedLines&) = delete;
    EditedLines& operator=(const EditedLines&) = delete;

    bool read(std::string& line) override {
        int length = 0;
        const char* text = el_gets(_editLine, &length);
        if (text == nullptr || length <= 0) {
            std::fputc('\n', stderr);
            return false;
        }
        line.assign(text, static_cast<std::size_t>(length));
        line.erase(line.find_last_not_of("\r\n") + 1);
        if (line.find_first_not_of(" \t") != std::string::npos) {
            history(_history, &_event, H_ENTER, line.c_str());
            // At once: the line may end the process.
            const vset::HostPaths hostPaths;
            history(_history, &_event, H_SAVE, _file.c_str());
        }
        return true;
    }
    bool isInteractive() const override { return true; }
    void leaveTerminal() const override { tcsetattr(STDIN_FILENO, TCSADRAIN, &_terminal); }

private:
    static termios terminalState() {
        termios state = {};
        tcgetattr(STDIN_FILENO, &state);
        return state;
    }

    const termios _terminal;
    EditLine* _editLine;
    History* _history;
    HistEvent _event = {};
    std::string _file;
};

class Shell {
public:
    Shell(const GlobalOptions& options, bool noInit, char** arguments)
        : _options(options), _noInit(noInit), _arguments(arguments), _failed(std::getenv(kFailedBefore) != nullptr) {
        if (isatty(STDIN_FILENO) != 0) {
            _lines = std::make_unique<EditedLines>();
        } else {
            _lines = std::make_unique<PipedLines>();
        }
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
        while (!_quit && _lines->read(line)) {
            try {
                runLine(splitWords(line));
            } catch (const UsageError& error) {
                printError(error.what(), _options.json);
                if (!_lines->isInteractive()) {
                    return kExitUsage;
                }
            }
        }
        return _failed && !_lines->isInteractive() ? kExitFailed : kExitGood;
    }

private:
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

    void help(const Words& words) {
        if (words.size() > 1) {
            printDescription(words[1], _options.json);
            return;
        }
        tell("OPERATION ARGUMENT...", "call an operation (help OPERATION tells its arguments; TAB completes)");
        tell("list [PATTERN]", "the operations");
        tell("watch on|off", "show events as they come");
        tell("screen [FILE [WHAT]]",
             "a picture of panel, window:N, surface:HANDLE, layer:N or capture as PNG, or here");
        tell("set power-cycle", "off and on again; everything in memory is lost");
        for (const Hand& hand : hands()) {
            tell(std::string("set ") + hand.name + argumentsUsage(hand.arguments), hand.help);
        }
        tell("quit", "end; the set is switched off");
    }

    // A line of the help.
    void tell(const std::string& usage, const std::string& help) const {
        constexpr std::size_t kHelpColumn = 23;
        const std::string gap(usage.size() + 2 < kHelpColumn ? kHelpColumn - usage.size() : 2, ' ');
        printLine(_options.json ? jsonLine({{"usage", usage}, {"help", help}}) : usage + gap + help);
    }

    void showPicture(const Words& words) {
        try {
            showScreen(words, _options.json);
        } catch (const vset::SetError& error) {
            printError(error.what(), _options.json);
            _failed = true;
        }
    }

    void watchEvents(const Words& words) {
        if (words.size() != 2 || (words[1] != "on" && words[1] != "off")) {
            throw UsageError("usage: watch on|off");
        }
        listenToAllModules(words[1] == "on");
        if (words[1] == "on" && !_printer.joinable()) {
            _printer = std::thread([json = _options.json] {
                Event event;
                const auto forEver = std::chrono::steady_clock::now() + std::chrono::hours(24 * 365);
                while (eventLog().take(event, forEver)) {
                    printEvent(event, json);
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
            return;
        }
        if (operation != nullptr && !_noInit) {
            bringUpFor(operation);
        }
        const Outcome outcome = command.run();
        if (!outcome.good) {
            _failed = true;
        }
        printOutcome(command, outcome, _options.json);
    }

    // Also on the watchdog's thread, while a line is typed or runs.
    [[noreturn]] void restart(const char* why) {
        _lines->leaveTerminal();
        std::fprintf(stderr, "%s\n", why);
        if (_failed) {
            setenv(kFailedBefore, "1", 1);
        }
        joinOutputs();
        pthread_sigmask(SIG_SETMASK, &_signals, nullptr);
        execv("/proc/self/exe", _arguments);
        std::fprintf(stderr, "fapi: cannot begin anew: %s\n", std::strerror(errno));
        _exit(kExitSet);
    }

    const GlobalOptions& _options;
    const bool _noInit;
    char** const _arguments;
    std::unique_ptr<LineSource> _lines;
    bool _quit = false;
    std::atomic<bool> _failed;
    sigset_t _signals;  // blocked for this program, which is not what the watchdog's thread has blocked
    std::thread _printer;
};

}  // namespace

int runShell(const GlobalOptions& options, bool noInit, char** arguments) {
    openSession(options.session);
    return Shell(options, noInit, arguments).run();
}

}  // namespace tool
