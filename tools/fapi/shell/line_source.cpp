// SPDX-License-Identifier: Apache-2.0
// Where the lines of the shell come from.
#include "shell/line_source.h"

#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <utility>
#include <vector>

#include <histedit.h>
#include <unistd.h>

#include "base/table.h"
#include "base/terminal.h"
#include "shell/completion.h"

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

class PipedLines : public LineSource {
public:
    explicit PipedLines(Wait wait) : _wait(std::move(wait)) {}

    bool read(std::string& line) override {
        std::size_t end = 0;
        while ((end = _waiting.find('\n')) == std::string::npos) {
            char bytes[4096];
            const ssize_t length = _wait() ? ::read(STDIN_FILENO, bytes, sizeof(bytes)) : 0;
            if (length <= 0) {
                line = std::exchange(_waiting, {});
                return !line.empty();
            }
            _waiting.append(bytes, static_cast<std::size_t>(length));
        }
        line = _waiting.substr(0, end);
        _waiting.erase(0, end + 1);
        return true;
    }
    bool isInteractive() const override { return false; }

private:
    const Wait _wait;
    std::string _waiting;  // has been read, and is no line yet
};

class EditedLines : public LineSource {
public:
    explicit EditedLines(Wait wait)
        : _wait(std::move(wait)),
          _editLine(el_init("fapi", stdin, stderr, stderr)),
          _history(history_init()),
          _file(historyFile()) {
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
            // At once: a signal may end the process while the line runs.
            history(_history, &_event, H_SAVE, _file.c_str());
        }
        return true;
    }
    bool isInteractive() const override { return true; }

    void printAbove(const std::function<void()>& print) override {
        // In the place of what is typed, or of what the terminal has shown of it while a line runs.
        std::fputs("\r\033[K", stderr);
        print();
        if (_isTyped) {
            el_set(_editLine, EL_REFRESH);
        }
    }

private:
    static int readCharacter(EditLine* editLine, wchar_t* character) {
        EditedLines* self = nullptr;
        el_get(editLine, EL_CLIENTDATA, &self);
        return self->_wait() ? readWide(character) : 0;
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

    const Wait _wait;
    EditLine* _editLine;
    History* _history;
    HistEvent _event = {};
    std::string _file;
    bool _isTyped = false;
};

}  // namespace

std::unique_ptr<LineSource> makeLineSource(LineSource::Wait wait) {
    if (isatty(STDIN_FILENO) != 0) {
        return std::make_unique<EditedLines>(std::move(wait));
    }
    return std::make_unique<PipedLines>(std::move(wait));
}

}  // namespace tool
