// SPDX-License-Identifier: Apache-2.0
// Bound actions.
#include "station/station_actions.h"

#include <algorithm>
#include <map>

#include "operator/operator.h"
#include "protocol/characters.h"
#include "station/programs.h"
#include "target/session.h"
#include "target/target.h"

namespace tool {

namespace {

constexpr std::size_t kMostArguments = 9;

// The description of an action that only the station's file knows: as many texts as its command has places.
Action plainAction(const Binding& binding) {
    Action action;
    action.name = binding.action;
    action.help = binding.kind == Binding::Kind::person ? "Asks the operator." : "Runs " + binding.command[0] + ".";
    char last = '0';
    for (const std::string& word : binding.command) {
        last = word.size() == 3 && word[0] == '{' ? std::max(last, word[1]) : last;
    }
    for (char number = '1'; number <= last; ++number) {
        action.arguments.push_back({std::string("argument") + number, Kind::text, "As the program takes it."});
    }
    return action;
}

// The agent of the virtual set says what an action's arguments are, and how a person is asked for it.
const Action* knownAction(const std::string& name) {
    static std::optional<AgentDescription> known = []() -> std::optional<AgentDescription> {
        try {
            return describeAgent({});
        } catch (const RequestError&) {
            // This PC has no virtual set.
            return std::nullopt;
        }
    }();
    return known ? known->all().action(name) : nullptr;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
    return text;
}

class StationActions : public BoundActions {
public:
    explicit StationActions(Station station) : _station(std::move(station)) {
        for (const StationFixture& fixture : _station.fixtures) {
            _fixtures.emplace(fixture.name, fixture);
        }
    }

    const std::vector<Action>& actions() override {
        if (!_actions) {
            std::vector<Action> all;
            for (const Binding& binding : _station.bindings) {
                describe(binding, all);
            }
            _actions = std::move(all);
        }
        return *_actions;
    }

    std::string missing(const std::string& action) override {
        actions();
        if (const Binding* binding = bindingOf(action); binding != nullptr && _troubles.count(binding->fixture) != 0) {
            return "set " + action + ": " + _troubles.at(binding->fixture);
        }
        std::vector<std::string> names;
        for (const Action& known : actions()) {
            names.push_back(known.name);
        }
        const std::string near = knownAction(action) == nullptr ? nearest(action, names) : "";
        return "set " + action + " is bound to nothing: the set's agent does not have it, and " +
               (_station.file.empty() ? "there is no station.ini"
                                      : _station.file + " has no line for it in [actions]") +
               (near.empty() ? "" : "; did you mean " + near + "?");
    }

    bool asksOperator(const std::string& action) override {
        const Binding* binding = _station.binding(action);
        return binding != nullptr && binding->kind == Binding::Kind::person;
    }

    void check(const Action& action, const Words& words) override {
        const Binding& binding = *bindingOf(action.name);
        if (binding.kind == Binding::Kind::program) {
            commandOf(binding, action, words);
        }
    }

    CallAnswer carryOut(const Action& action, const std::vector<Value>& arguments, const Words& words) override {
        _isEnded = false;
        const auto check = [this] {
            if (_isEnded) {
                throw RequestError(ErrorCode::canceled, "interrupted");
            }
        };
        const Binding& binding = *bindingOf(action.name);
        switch (binding.kind) {
            case Binding::Kind::fixture:
                return actByFixture(binding, action, arguments, check);
            case Binding::Kind::program:
                return runProgram(commandOf(binding, action, words), _station.programWithin, check);
            default:
                return askOperator(binding, action, words, [&](std::vector<pollfd>& waited, Clock::time_point until) {
                    _wait ? _wait(waited, until) : waitBesidesSet(waited, until);
                    check();
                });
        }
    }

    void waitForPersons(Waiting wait) override { _wait = std::move(wait); }

    void endAwaited() override { _isEnded = true; }

private:
    const Binding* bindingOf(const std::string& action) const {
        const Binding* own = _station.binding(action);
        return own != nullptr ? own : _station.binding(kAllOthers);
    }

    std::string placeOf(const std::string& fixture) const {
        const auto isIt = [&](const StationFixture& each) { return each.name == fixture; };
        const auto found = std::find_if(_station.fixtures.begin(), _station.fixtures.end(), isIt);
        return _station.file + ":" + std::to_string(found->line) + ": ";
    }

    CallAnswer actByFixture(const Binding& binding, const Action& action, const std::vector<Value>& arguments,
                            const CheckWaiting& check) {
        try {
            return _fixtures.at(binding.fixture).act(action, arguments, check);
        } catch (const RequestError& error) {
            if (error.code() != ErrorCode::stationFailed) {
                throw;
            }
            throw RequestError(ErrorCode::stationFailed, placeOf(binding.fixture) + error.what());
        }
    }

    // What a fixture describes; nothing when it cannot, for what others carry out goes on without it.
    std::vector<Action> actionsOf(const Binding& binding) {
        if (_troubles.count(binding.fixture) == 0) {
            try {
                return _fixtures.at(binding.fixture).actions();
            } catch (const RequestError& error) {
                _troubles[binding.fixture] = placeOf(binding.fixture) + error.what();
            }
        }
        const Action* known = binding.action == kAllOthers ? nullptr : knownAction(binding.action);
        return known != nullptr ? std::vector{*known} : std::vector<Action>();
    }

    void describe(const Binding& binding, std::vector<Action>& all) {
        if (binding.kind != Binding::Kind::fixture) {
            const Action* known = knownAction(binding.action);
            all.push_back(known != nullptr ? *known : plainAction(binding));
            Action& action = all.back();
            action.isChecked = action.endsWorker = action.sessionOnly = false;
            if (binding.kind == Binding::Kind::person) {
                // A person does what is asked for, and reads nothing.
                action.outputs.clear();
            }
            return;
        }
        const std::size_t before = all.size();
        for (const Action& action : actionsOf(binding)) {
            const bool isMeant =
                binding.action == kAllOthers ? _station.binding(action.name) == nullptr : binding.action == action.name;
            if (isMeant) {
                all.push_back(action);
                all.back().isChecked = false;
            }
        }
        if (all.size() == before && binding.action != kAllOthers && _troubles.count(binding.fixture) == 0) {
            throw UsageError(_station.file + ":" + std::to_string(binding.line) + ": fixture " + binding.fixture +
                             " has no action " + binding.action);
        }
    }

    // No argument becomes anything but one word of the program's, and none that it could take for an option.
    static Words commandOf(const Binding& binding, const Action& action, const Words& words) {
        Words command = {binding.command[0]};
        for (std::size_t i = 1; i < binding.command.size(); ++i) {
            const std::string& word = binding.command[i];
            if (word.size() != 3 || word[0] != '{') {
                command.push_back(word);
                continue;
            }
            const auto place = static_cast<std::size_t>(word[1] - '1');
            const std::string argument = argumentOf(action, words, place);
            if (!argument.empty() && argument[0] == '-') {
                throw UsageError(display(argument, 40) + " begins with a dash: the program could take it for an option",
                                 place);
            }
            command.push_back(argument);
        }
        return command;
    }

    static std::string argumentOf(const Action& action, const Words& words, std::size_t place) {
        if (place < words.size()) {
            return words[place];
        }
        const bool hasDefault = place < action.arguments.size() && action.arguments[place].byDefault.has_value();
        return hasDefault ? *action.arguments[place].byDefault : "";
    }

    static CallAnswer askOperator(const Binding& binding, const Action& action, const Words& words,
                                  const Waiting& wait) {
        Question question;
        question.kind = PromptKind::show;
        question.text = textOf(binding, action, words);
        question.name = action.name;
        if (const std::string missing = theOperator().missing(question); !missing.empty() && !isSessionOpen()) {
            throw RequestError(ErrorCode::stationFailed,
                               "set " + action.name + " is asked of the operator, and " + missing);
        }
        CallAnswer answer;
        answer.begun = Clock::now();
        theOperator().ask(question, wait);
        answer.outcome.good = true;
        answer.ended = Clock::now();
        return answer;
    }

    static std::string textOf(const Binding& binding, const Action& action, const Words& words) {
        std::string text = binding.text.empty() ? action.prompt : binding.text;
        for (std::size_t i = 0; i < std::max(action.arguments.size(), words.size()) && i < kMostArguments; ++i) {
            const std::string value = argumentOf(action, words, i);
            text = replaced(text, "{" + std::to_string(i + 1) + "}", value);
            if (i < action.arguments.size()) {
                text = replaced(text, "${" + action.arguments[i].name + "}", value);
            }
        }
        if (!text.empty()) {
            return text;
        }
        text = "Please: " + action.name;
        for (const std::string& word : words) {
            text += " " + quoteWord(word);
        }
        return text;
    }

    const Station _station;
    std::map<std::string, FixtureProgram> _fixtures;
    std::optional<std::vector<Action>> _actions;
    std::map<std::string, std::string> _troubles;  // of fixtures that could not describe their actions
    bool _isEnded = false;
    Waiting _wait;
};

}  // namespace

std::unique_ptr<BoundActions> stationActions(Station station) {
    return std::make_unique<StationActions>(std::move(station));
}

}  // namespace tool
