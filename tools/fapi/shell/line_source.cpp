// SPDX-License-Identifier: Apache-2.0
// Where the lines of the shell come from.
#include "shell/line_source.h"

#include <atomic>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <vector>

#include <histedit.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include "base/table.h"
#include "base/terminal.h"
#include "shell/shell.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

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
    fs::create_directories(folder / "fapi", error);
    return (folder / "fapi/history").string();
}

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
          _file(historyFile()),
          _redraw(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        history(_history, &_event, H_SETSIZE, 1000);
        history(_history, &_event, H_SETUNIQUE, 1);
        history(_history, &_event, H_LOAD, _file.c_str());
        el_set(_editLine, EL_PROMPT, prompt);
        el_set(_editLine, EL_EDITOR, "emacs");
        el_set(_editLine, EL_HIST, history, _history);
        // Wide, because the narrow one never frees its copies.
        el_wset(_editLine, EL_ADDFN, L"fapi-complete", L"Complete the word", complete);
        el_set(_editLine, EL_BIND, "^I", "fapi-complete", nullptr);
        el_set(_editLine, EL_BIND, "^R", "em-inc-search-prev", nullptr);
        el_set(_editLine, EL_CLIENTDATA, this);
        el_wset(_editLine, EL_GETCFN, readCharacter);
        // Ctrl-C ends what runs; while a line is typed it only throws the line away.
        el_set(_editLine, EL_SETTY, "-d", "-isig", nullptr);
        el_set(_editLine, EL_BIND, "^C", "em-kill-line", nullptr);
        el_set(_editLine, EL_SIGNAL, 1);
        el_source(_editLine, nullptr);
    }
    ~EditedLines() override {
        history_end(_history);
        el_end(_editLine);
        close(_redraw);
    }
    EditedLines(const EditedLines&) = delete;
    EditedLines& operator=(const EditedLines&) = delete;

    bool read(std::string& line) override {
        int length = 0;
        _isTyped = true;
        const char* text = el_gets(_editLine, &length);
        _isTyped = false;
        if (text == nullptr || length <= 0) {
            std::fputc('\n', stderr);
            return false;
        }
        line.assign(text, static_cast<std::size_t>(length));
        line.erase(line.find_last_not_of("\r\n") + 1);
        if (line.find_first_not_of(" \t") != std::string::npos) {
            history(_history, &_event, H_ENTER, line.c_str());
            // At once: the line may end the process.
            history(_history, &_event, H_SAVE, _file.c_str());
        }
        return true;
    }
    bool isInteractive() const override { return true; }
    void leaveTerminal() const override { tcsetattr(STDIN_FILENO, TCSADRAIN, &_terminal); }

    void printAbove(const std::function<void()>& print) override {
        const bool isTyped = _isTyped;
        if (isTyped) {
            // In the place of what is typed.
            std::fputs("\r\033[K", stderr);
        }
        print();
        if (isTyped) {
            // The thread that edits draws: the editor belongs to it.
            eventfd_write(_redraw, 1);
        }
    }

private:
    // As the editor's own, but it also draws the line again when it is told to.
    static int readCharacter(EditLine* editLine, wchar_t* character) {
        EditedLines* self = nullptr;
        el_get(editLine, EL_CLIENTDATA, &self);
        pollfd waited[] = {{STDIN_FILENO, POLLIN, 0}, {self->_redraw, POLLIN, 0}};
        do {
            eventfd_t times = 0;
            if (poll(waited, 2, -1) > 0 && eventfd_read(self->_redraw, &times) == 0) {
                el_set(editLine, EL_REFRESH);
            }
        } while (waited[0].revents == 0);
        return readWide(character);
    }

    // 1 for a character, 0 at the end, -1 for an error.
    static int readWide(wchar_t* character) {
        std::mbstate_t state = {};
        char c = '\0';
        ssize_t length = 0;
        while ((length = ::read(STDIN_FILENO, &c, 1)) == 1) {
            const std::size_t used = std::mbrtowc(character, &c, 1, &state);
            if (used == static_cast<std::size_t>(-1)) {
                *character = static_cast<unsigned char>(c);
            }
            if (used != static_cast<std::size_t>(-2)) {
                return 1;
            }
        }
        return static_cast<int>(length);
    }

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
    const int _redraw;
    std::atomic<bool> _isTyped{false};
};

}  // namespace

std::unique_ptr<LineSource> makeLineSource() {
    if (isatty(STDIN_FILENO) != 0) {
        return std::make_unique<EditedLines>();
    }
    return std::make_unique<PipedLines>();
}

}  // namespace tool
