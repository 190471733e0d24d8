// SPDX-License-Identifier: Apache-2.0
// Lines of plans that ask a person.
#include "plan/prompt.h"

#include <algorithm>
#include <array>

#include "judge/parameter.h"
#include "judge/variables.h"
#include "target/target_description.h"

namespace tool {

namespace {

struct PromptUsage {
    PromptKind kind;
    const char* word;
    const char* usage;
};

constexpr std::array<PromptUsage, 4> kPrompts = {
    {{PromptKind::ask, "ask", "expected: ask \"TEXT\" [with picture WHAT] [within TIME]"},
     {PromptKind::choose, "choose", "expected: choose \"TEXT\" WORD WORD... [with picture WHAT] [within TIME]"},
     {PromptKind::scan, "scan", "expected: scan NAME [matches RE] \"TEXT\" [with picture WHAT] [within TIME]"},
     {PromptKind::show, "show",
      "expected: show \"TEXT\" until done|TIME|event NUMBER ... within TIME [with picture WHAT]"}}};

constexpr std::chrono::hours kLongestPrompt{1};

// The reader of one line, whose options are cut off its end first.
class PromptReader {
public:
    explicit PromptReader(const Words& words) : _words(words), _end(words.size()) {
        const auto row = std::find_if(kPrompts.begin(), kPrompts.end(),
                                      [&](const PromptUsage& known) { return words[0] == known.word; });
        _usage = row->usage;
        _prompt.kind = row->kind;
    }

    PromptLine read() {
        // The time of an event is the event's.
        const bool isForEvent = std::find(_words.begin(), _words.end(), "event") != _words.end();
        if (_prompt.kind != PromptKind::show || !isForEvent) {
            cutTime();
        }
        cutPicture();
        switch (_prompt.kind) {
            case PromptKind::scan:
                readScan();
                break;
            case PromptKind::choose:
                readText(1);
                readChoices();
                break;
            case PromptKind::show:
                readText(1);
                readEnd();
                break;
            default:
                readText(1);
                requireEnd(2);
        }
        return std::move(_prompt);
    }

private:
    [[noreturn]] void fail(std::size_t word) const { throw UsageError(_usage, word); }

    void requireEnd(std::size_t used) const {
        if (_end != used) {
            fail(std::min(used, _end));
        }
    }

    void cutTime() {
        if (_end < 4 || _words[_end - 2] != "within") {
            return;
        }
        _prompt.within = timeAt(_end - 1);
        _end -= 2;
    }

    std::chrono::milliseconds timeAt(std::size_t place) const {
        std::chrono::milliseconds time{0};
        if (variablesOf(_words[place]).empty() &&
            (!parseTime(_words[place], time) || time.count() < 1 || time > kLongestPrompt)) {
            throw UsageError(display(_words[place], 40) + ": expected a time like 500ms or 30s, at most an hour",
                             place);
        }
        return time;
    }

    void cutPicture() {
        if (_end < 5 || _words[_end - 2] != "picture" || _words[_end - 3] != "with") {
            return;
        }
        _prompt.picture = _words[_end - 1];
        try {
            if (variablesOf(_prompt.picture).empty()) {
                parsePictureWord(description().pictures, _prompt.picture);
            }
        } catch (const UsageError& error) {
            throw UsageError(error.what(), _end - 1);
        }
        _end -= 3;
    }

    void readText(std::size_t place) {
        if (place >= _end || _words[place].empty()) {
            fail(std::min(place, _end));
        }
        _prompt.text = _words[place];
    }

    void readChoices() {
        _prompt.choices.assign(_words.begin() + 2, _words.begin() + static_cast<std::ptrdiff_t>(_end));
        if (_prompt.choices.size() < 2) {
            fail(_end);
        }
        for (std::size_t i = 0; i < _prompt.choices.size(); ++i) {
            const auto before = _prompt.choices.begin() + static_cast<std::ptrdiff_t>(i);
            if (before->empty() || std::find(_prompt.choices.begin(), before, *before) != before) {
                throw UsageError(display(*before, 40) + ": expected different words to choose from", i + 2);
            }
        }
    }

    void readScan() {
        constexpr char kNameCharacters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
        if (_end < 2 || _words[1].empty() || _words[1].find_first_not_of(kNameCharacters) != std::string::npos) {
            fail(1);
        }
        _prompt.name = _words[1];
        std::size_t next = 2;
        if (next + 1 < _end && _words[next] == "matches") {
            _prompt.pattern = _words[next + 1];
            try {
                static_cast<void>(parsePattern(_prompt.pattern));
            } catch (const UsageError& error) {
                throw UsageError(error.what(), next + 1);
            }
            next += 2;
        }
        readText(next);
        requireEnd(next + 1);
    }

    void readEnd() {
        if (_end < 4 || _words[2] != "until") {
            fail(_end > 2 && _words[2] == "until" ? _end : std::min<std::size_t>(2, _end));
        }
        if (_words[3] == "event") {
            readEvent();
            return;
        }
        requireEnd(4);
        if (_words[3] != "done") {
            _prompt.end.kind = PromptEnd::Kind::time;
            _prompt.end.time = timeAt(3);
        }
    }

    void readEvent() {
        const Words event(_words.begin() + 3, _words.begin() + static_cast<std::ptrdiff_t>(_end));
        try {
            _prompt.end.event = parseEventCondition(event);
        } catch (const UsageError& error) {
            throw error.behind(3, error.what());
        }
        _prompt.end.kind = PromptEnd::Kind::event;
        _prompt.end.text = "expect";
        for (const std::string& word : event) {
            _prompt.end.text += " " + quoteWord(word);
        }
    }

    const Words& _words;
    std::size_t _end;  // of the words that no option has taken
    const char* _usage;
    PromptLine _prompt;
};

}  // namespace

const char* promptName(PromptKind kind) {
    return kPrompts[static_cast<std::size_t>(kind)].word;
}

bool isPromptWord(const std::string& word) {
    return std::any_of(kPrompts.begin(), kPrompts.end(), [&](const PromptUsage& known) { return word == known.word; });
}

PromptLine parsePrompt(const Words& words) {
    return PromptReader(words).read();
}

std::vector<std::string> promptOutputs(const PromptLine& prompt) {
    return prompt.needsAnswer() ? std::vector<std::string>{"answer", "who", "seconds"} : std::vector<std::string>();
}

}  // namespace tool
