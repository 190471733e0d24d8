// SPDX-License-Identifier: Apache-2.0
// Units side by side.
#include "slots/slots.h"

#include <algorithm>
#include <cstdlib>

#include "base/interrupts.h"
#include "base/table.h"
#include "base/terminal.h"
#include "operator/operator.h"
#include "report/verdict_banner.h"
#include "slots/slot_screen.h"

namespace tool {

namespace {

constexpr std::chrono::milliseconds kRefresh{200};

// Options of the command line that are the slots' own or differ from run to run, and whether a value follows.
struct SlotOption {
    const char* name;
    bool hasValue;
};
constexpr SlotOption kCutOptions[] = {{"--slots", true},  {"--targets", true}, {"--param", true},
                                      {"--params", true}, {"--set", true},     {"--target", true},
                                      {"--fresh", false}, {"--json", false},   {"--resume", false}};

// The command line of a slot's run, without what its row and its slot decide.
Words commandOf(const Words& words) {
    const char* chosen = std::getenv("FAPI_HUB");
    Words command = {chosen != nullptr && *chosen != '\0' ? chosen : "/proc/self/exe"};
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto* cut = std::find_if(std::begin(kCutOptions), std::end(kCutOptions), [&](const SlotOption& option) {
            return words[i] == option.name ||
                   (option.hasValue && words[i].rfind(std::string(option.name) + "=", 0) == 0);
        });
        if (cut == std::end(kCutOptions)) {
            command.push_back(words[i]);
        } else if (cut->hasValue && words[i] == cut->name) {
            ++i;
        }
    }
    command.emplace_back("--json");
    return command;
}

// A run that has ended, for the table at the end.
struct EndedRun {
    std::string slot;
    SlotState state;
};

// A question of a slot's run on this terminal.
struct OpenQuestion {
    Slot* slot;
    Field prompt;
    Question question;
    std::optional<TerminalQuestion> terminal;
    long long request = 0;  // by which it is being answered; 0: it is not
};

class Slots {
public:
    Slots(const SlotOptions& options, const RunOptions& run, PreparedRuns prepared)
        : _json(run.json), _command(commandOf(options.words)), _prepared(std::move(prepared)), _screen(_slots) {
        for (const SlotTarget& target : options.slots) {
            _slots.push_back(std::make_unique<Slot>(target));
        }
        const bool hasTable = !run.parameterTable.empty();
        _left = hasTable ? _prepared.rows.size() : _slots.size();
        _hasRows = hasTable;
        _asks = TerminalQuestion::isThere() && _prepared.asksPerson;
    }

    int run() {
        while (isBusy() || mayStart()) {
            startFree();
            wait();
            for (const std::unique_ptr<Slot>& slot : _slots) {
                takeFrom(*slot);
            }
            if (_asks) {
                answerQuestions();
            }
            if (!_question) {
                _screen.refresh();
            }
        }
        _screen.clear();
        conclude();
        return _interrupts.count() != 0 ? std::max<int>(_worst, kExitInterrupted) : _worst;
    }

private:
    bool isBusy() const {
        return std::any_of(_slots.begin(), _slots.end(), [](const auto& slot) { return slot->isBusy(); });
    }
    bool mayStart() const { return _left != 0 && _interrupts.count() == 0; }

    void startFree() {
        for (const std::unique_ptr<Slot>& slot : _slots) {
            // Without a table each slot has one run.
            if (!mayStart() || slot->isBusy() || (!_hasRows && !slot->state().verdict.empty())) {
                continue;
            }
            const std::size_t row = _hasRows ? _prepared.rows.size() - _left : 0;
            --_left;
            Words command = _command;
            const ParameterValues& values = _prepared.rows[row];
            for (const auto& [name, value] : values) {
                command.push_back("--param");
                command.emplace_back(name) += "=" + value;
            }
            slot->start(command, unitOf(values));
            tellEvent(*slot, "begins");
        }
    }

    std::string unitOf(const ParameterValues& given) const {
        const Plan& plan = _prepared.plans.front();
        return unitFor(plan, completeValues(plan.parameters, given));
    }

    void wait() {
        std::vector<pollfd> waited = {{_interrupts.descriptor(), POLLIN, 0}};
        if (_question && _question->terminal) {
            waited.push_back({_question->terminal->descriptor(), POLLIN, 0});
        }
        for (const std::unique_ptr<Slot>& slot : _slots) {
            slot->addTo(waited);
        }
        poll(waited.data(), waited.size(), static_cast<int>(kRefresh.count()));
        if (_interrupts.take()) {
            for (const std::unique_ptr<Slot>& slot : _slots) {
                slot->interrupt();
            }
        }
        for (const std::unique_ptr<Slot>& slot : _slots) {
            slot->move(waited);
        }
    }

    void takeFrom(Slot& slot) {
        for (Json& object : slot.takeProgress()) {
            if (_json) {
                object["slot"] = slot.name();
                printLine(jsonLine(object));
            } else if (object.contains("step") && isBadName(object.value("verdict", ""))) {
                _screen.tell("slot " + slot.name() + ": " + printable(object["step"].get<std::string>()) + ": " +
                             object["verdict"].get<std::string>() + ": " + printable(object.value("text", "")));
            }
        }
        for (const std::string& message : slot.takeMessages()) {
            _screen.clear();
            std::fprintf(stderr, "slot %s: %s\n", slot.name().c_str(), printable(message).c_str());
        }
        if (const std::optional<int> code = slot.takeEnd()) {
            _worst = std::max(_worst, *code);
            _ended.push_back({slot.name(), slot.state()});
            tellEvent(slot, slot.state().verdict + (slot.state().why.empty() ? "" : ": " + slot.state().why));
        }
    }

    static bool isBadName(const std::string& verdict) {
        return verdict != verdictName(Verdict::passed) && verdict != verdictName(Verdict::marginal) &&
               verdict != verdictName(Verdict::skipped);
    }

    void tellEvent(const Slot& slot, const std::string& what) {
        const std::string unit = slot.state().unit;
        if (_json) {
            printLine(jsonLine({{"slot", slot.name()}, {"unit", unit}, {"run", what}}));
        } else {
            _screen.tell("slot " + slot.name() + ": " + (unit.empty() ? "" : "unit " + printable(unit) + ": ") +
                         printable(what));
        }
    }

    // --- Questions
    // -------------------------------------------------------------------------------------------------------

    void answerQuestions() {
        for (const std::unique_ptr<Slot>& slot : _slots) {
            slot->follow();
        }
        if (_question && !isStillAsked()) {
            if (_question->terminal) {
                _question->terminal->tell("the question is answered or gone");
            }
            _question.reset();
        }
        if (!_question) {
            showNext();
        } else if (_question->request != 0) {
            takeReply();
        } else {
            readTerminal();
        }
    }

    bool isStillAsked() const {
        const std::deque<Field>& asked = _question->slot->questions();
        return _question->slot->follower() != nullptr &&
               (_question->request != 0 || std::any_of(asked.begin(), asked.end(), [&](const Field& prompt) {
                    return prompt["prompt"] == _question->prompt["prompt"];
                }));
    }

    void showNext() {
        for (const std::unique_ptr<Slot>& slot : _slots) {
            for (const Field& prompt : slot->questions()) {
                const bool isAnswerable = prompt["answered"].flagOr(true);
                if (isAnswerable) {
                    show(*slot, prompt);
                    return;
                }
            }
        }
    }

    void show(Slot& slot, const Field& prompt) {
        _screen.clear();
        _question.emplace(OpenQuestion{&slot, prompt, {}, std::nullopt, 0});
        Question& question = _question->question;
        for (const PromptKind kind : {PromptKind::ask, PromptKind::choose, PromptKind::scan, PromptKind::show}) {
            question.kind = prompt["kind"].textOr("") == promptName(kind) ? kind : question.kind;
        }
        question.text = prompt["text"].textOr("");
        for (const Field& choice : prompt["choices"].isList() ? prompt["choices"].list() : Field::List()) {
            question.choices.push_back(choice.textOr(""));
        }
        std::optional<Picture> picture;
        try {
            const std::string file = prompt["shown"].textOr("");
            picture = file.empty() ? std::nullopt : std::optional(readPng(file));
        } catch (const SetError&) {
            // The question is over, or has no picture that could be shown.
        }
        const std::string unit = slot.state().unit;
        _question->terminal.emplace(question, "SLOT " + slot.name() + (unit.empty() ? "" : ", " + unit), picture);
    }

    void readTerminal() {
        pollfd typed = {_question->terminal->descriptor(), POLLIN, 0};
        if (typed.fd < 0 || poll(&typed, 1, 0) != 1) {
            return;
        }
        const std::optional<std::string> line = _question->terminal->read();
        if (!line) {
            return;
        }
        const ReadAnswer read = readAnswer(_question->question, *line);
        if (!read.problem.empty()) {
            _question->terminal->refuse(read.problem);
            return;
        }
        Field params = {{"prompt", _question->prompt["prompt"]}, {"answer", read.text}, {"who", theOperator().name()}};
        params.set("where", TerminalQuestion::place());
        _question->request = _question->slot->follower()->begin("answer", params);
    }

    // Whether it is an answer says the run.
    void takeReply() {
        Target& follower = *_question->slot->follower();
        if (!follower.isFinished(_question->request)) {
            return;
        }
        try {
            const Field reply = follower.finish(_question->request);
            if (!reply["taken"].flagOr(false)) {
                _question->terminal->refuse(reply["why"].textOr(""));
                _question->request = 0;
                return;
            }
        } catch (const SetError&) {
            // The run is gone, and its question with it.
        }
        _question.reset();
    }

    // --- The end
    // ---------------------------------------------------------------------------------------------------------

    void conclude() {
        Verdict worst = _interrupts.count() != 0 ? Verdict::interrupted : Verdict::passed;
        for (const EndedRun& run : _ended) {
            for (const Verdict verdict : {Verdict::marginal, Verdict::failed, Verdict::error, Verdict::interrupted}) {
                worst = run.state.verdict == verdictName(verdict) ? std::max(worst, verdict) : worst;
            }
        }
        if (_json) {
            printLine(jsonLine({{"verdict", verdictName(worst)}, {"runs", _ended.size()}}));
            return;
        }
        Table table({{"slot"}, {"unit"}, {"verdict"}, {"seconds", Align::right, 2}, {"report", Align::left, 1}}, 1);
        for (const EndedRun& run : _ended) {
            char seconds[32];
            std::snprintf(seconds, sizeof(seconds), "%.1f", run.state.seconds);
            table.add({{run.slot},
                       {run.state.unit},
                       {run.state.verdict},
                       {seconds},
                       {run.state.reports.empty() ? run.state.why : run.state.reports.back()}});
        }
        printLine("");
        table.print();
        printVerdict(worst);
    }

    const bool _json;
    const Words _command;
    const PreparedRuns _prepared;
    Interrupts _interrupts;
    std::vector<std::unique_ptr<Slot>> _slots;
    SlotScreen _screen;
    std::size_t _left = 0;  // runs that have not begun
    bool _hasRows = false;
    bool _asks = false;
    std::optional<OpenQuestion> _question;
    std::vector<EndedRun> _ended;
    int _worst = kExitGood;
};

}  // namespace

std::vector<SlotTarget> virtualSlots(std::size_t count, const SessionOptions& session, bool isFresh) {
    std::vector<SlotTarget> slots;
    for (std::size_t i = 1; i <= count; ++i) {
        SlotTarget slot;
        slot.name = std::to_string(i);
        slot.isFresh = isFresh;
        slot.target.folder = setFolder(session) + "-" + slot.name;
        slot.options = {"--set", slot.target.folder};
        slots.push_back(slot);
    }
    return slots;
}

int runInSlots(const SlotOptions& slots, const RunOptions& options) {
    std::optional<PreparedRuns> prepared = prepareRuns(options);
    if (!prepared) {
        return kExitUsage;
    }
    if (options.parameterTable.empty() && slots.slots.size() > 1) {
        for (const Plan& plan : prepared->plans) {
            if (!plan.unit.empty()) {
                throw UsageError(plan.file +
                                 ": the plan names a unit, and each slot has another one: give a row for "
                                 "each with --params FILE");
            }
        }
    }
    return Slots(slots, options, std::move(*prepared)).run();
}

}  // namespace tool
