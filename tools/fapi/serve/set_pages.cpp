// SPDX-License-Identifier: Apache-2.0
// Sets, their runs and plans, as the page asks for them.
#include "serve/set_pages.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "plan/files.h"
#include "target/arguments.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kCheckLimit = 20s;
constexpr std::size_t kMostText = 1 << 20;
constexpr std::size_t kTold = 2000;

// What a request carries. Throws MessageError for what is no object of JSON.
Field bodyOf(const WebRequest& request) {
    Field body = parseJsonText(request.body);
    if (!body.isObject()) {
        throw MessageError("the request holds no object");
    }
    return body;
}

Words wordsOf(const Field& list) {
    Words words;
    for (const Field& word : list.list()) {
        words.push_back(word.text());
    }
    return words;
}

// The plans that the page offers: those that have names, and those of this folder.
std::vector<std::string> knownPlans() {
    std::vector<std::string> names = planNames();
    for (const std::string& file : filesIn(".", ".plan")) {
        const std::string name = fs::path(file).filename().string();
        if (std::count(names.begin(), names.end(), fs::path(name).stem()) == 0) {
            names.push_back(name);
        }
    }
    return names;
}

std::string requirePlan(const std::string& name) {
    const std::vector<std::string> names = knownPlans();
    if (std::count(names.begin(), names.end(), name) == 0) {
        throw UsageError("there is no plan " + display(name, 60));
    }
    return name;
}

std::string textOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    return text.substr(0, kMostText);
}

// The objects that a command has printed.
Json linesOf(const std::string& output) {
    Json list = Json::array();
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        list.push_back(parseJson(line));
    }
    return list;
}

Words with(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

}  // namespace

SetPages::SetPages(Board& board, std::vector<ServedSet> sets, Station station, Words words,
                   const std::function<void()>& runEnded)
    : _board(board), _station(std::move(station)), _words(std::move(words)) {
    for (ServedSet& set : sets) {
        _sets.push_back(std::make_unique<SetFollower>(board, std::move(set), runEnded));
    }
}

SetPages::Page SetPages::looking(const std::string& path) {
    static const std::map<std::string, Page> pages = {{"/api/description", &SetPages::description},
                                                      {"/api/picture", &SetPages::picture},
                                                      {"/api/look", &SetPages::look},
                                                      {"/api/plans", &SetPages::plans},
                                                      {"/api/plan", &SetPages::plan}};
    const auto found = pages.find(path);
    return found == pages.end() ? nullptr : found->second;
}

SetPages::Page SetPages::changing(const std::string& path) {
    static const std::map<std::string, Page> pages = {{"/api/act", &SetPages::act},
                                                      {"/api/start", &SetPages::start},
                                                      {"/api/stop", &SetPages::stop},
                                                      {"/api/answer", &SetPages::answer}};
    const auto found = pages.find(path);
    return found == pages.end() ? nullptr : found->second;
}

SetFollower& SetPages::setOf(const std::string& name) {
    for (const std::unique_ptr<SetFollower>& set : _sets) {
        if (set->set().name == name) {
            return *set;
        }
    }
    throw UsageError("there is no set " + display(name, 60));
}

WebAnswer SetPages::description(const WebRequest& request) {
    const std::string text = setOf(request.parameter("set")).description();
    if (text.empty()) {
        return errorAnswer(503, "the set has not been reached yet");
    }
    const Description own = parseDescription(parseJsonText(text));
    Json told = parseJson(text);
    told["by"] = Json::object();
    told["trouble"] = "";
    try {
        Description more;
        for (const Action& action : _station.actions()) {
            if (own.action(action.name) == nullptr) {
                more.actions.push_back(action);
                told["by"][action.name] = _station.whoDoes(action.name);
            }
        }
        const Field described = toField(more);
        for (const Field& action : described["actions"].list()) {
            told["actions"].push_back(jsonOf(action));
        }
    } catch (const std::exception& error) {
        // A fixture that does not answer takes no other action away.
        told["trouble"] = error.what();
    }
    return jsonAnswer(told);
}

WebAnswer SetPages::picture(const WebRequest& request) {
    const SetFollower& set = setOf(request.parameter("set"));
    const std::string prompt = request.parameter("prompt");
    std::string png = prompt.empty() ? set.picture() : set.pictureWith(prompt);
    return png.empty() ? errorAnswer(404, "the set shows no picture") : WebAnswer{200, "image/png", std::move(png), {}};
}

// --- Actions ---------------------------------------------------------------------------------------------------------

WebAnswer SetPages::look(const WebRequest& request) {
    return carryOut(setOf(request.parameter("set")), splitWords(request.parameter("words")), false, false);
}

WebAnswer SetPages::act(const WebRequest& request) {
    const Field body = bodyOf(request);
    return carryOut(setOf(body.at("set").text()), wordsOf(body.at("words")), true, body["confirm"].flagOr(false));
}

WebAnswer SetPages::carryOut(SetFollower& set, const Words& words, bool mayChange, bool isConfirmed) {
    const std::string described = set.description();
    if (described.empty()) {
        return errorAnswer(503, "the set has not been reached yet");
    }
    const Description description = parseDescription(parseJsonText(described));
    const Action* action = words.empty() ? nullptr : description.action(words[0]);
    if (action == nullptr) {
        const std::vector<Action> here = _station.actions();
        const auto found = std::find_if(here.begin(), here.end(),
                                        [&](const Action& one) { return !words.empty() && one.name == words[0]; });
        if (found == here.end()) {
            throw UsageError("there is no such action");
        }
        return mayChange ? carryOutHere(set, *found, words) : errorAnswer(403, "the station acts by a change alone");
    }
    if (!mayChange && action->danger != Danger::reads) {
        return errorAnswer(403, action->name + " changes the set");
    }
    if (action->danger != Danger::reads && action->danger != Danger::changes && !isConfirmed) {
        return errorAnswer(409, action->name + " destroys something, and was not confirmed");
    }
    Field::List arguments;
    for (const Value& value : parseWords(action->arguments, {words.begin() + 1, words.end()})) {
        arguments.push_back(Field::ofSet(value));
    }
    return jsonAnswer(jsonOf(
        set.ask("act", {{"action", action->name}, {"arguments", std::move(arguments)}, {"confirm", isConfirmed}})));
}

// The hub does not see what the station does, so who has the set is asked here.
WebAnswer SetPages::carryOutHere(const SetFollower& set, const Action& action, const Words& words) {
    const Json claim = _board.get("set/" + set.set().name).value("claim", Json());
    if (claim.is_object() && !claim.value("shared", false)) {
        return errorAnswer(409, claim.value("name", std::string()) + " has claimed the set");
    }
    static_cast<void>(parseWords(action.arguments, {words.begin() + 1, words.end()}));
    return _station.carryOut(set.set().name, set.set().words, words);
}

// --- Plans and runs --------------------------------------------------------------------------------------------------

WebAnswer SetPages::plans(const WebRequest&) {
    return jsonAnswer(knownPlans());
}

// With what is wrong with it, and what a run would do.
WebAnswer SetPages::plan(const WebRequest& request) {
    const std::string name = requirePlan(request.parameter("plan"));
    const Words& words = setOf(request.parameter("set")).set().words;
    const std::string file = planFile(name).value_or("");
    Json told = {{"plan", name}, {"file", file}, {"text", textOf(file)}, {"problems", Json::array()}};
    const ToolResult checked = runTool(with(words, {"--json", "check", name}), kCheckLimit);
    for (const Json& line : linesOf(checked.output)) {
        if (line.contains("problem") || line.contains("warning")) {
            told["problems"].push_back(line);
        }
    }
    told["good"] = checked.code == 0;
    if (checked.code == 0) {
        const ToolResult dry = runTool(with(words, {"--json", "run", "--dry-run", name}), kCheckLimit);
        const Json lines = linesOf(dry.output);
        told["run"] = lines.empty() ? Json() : lines.back();
        const fs::path limits = lines.empty() ? "" : lines.back().value("limits", std::string());
        if (!limits.empty() && limits == limits.filename()) {
            told["limits"] = textOf((fs::path(file).parent_path() / limits).string());
        }
    } else if (told["problems"].empty()) {
        told["problems"].push_back({{"problem", checked.errors}});
    }
    return jsonAnswer(told);
}

WebAnswer SetPages::start(const WebRequest& request) {
    const Field body = bodyOf(request);
    SetFollower& set = setOf(body.at("set").text());
    if (set.runner() != 0) {
        return errorAnswer(409, "a run of this set goes on");
    }
    Words words = with(with(set.set().words, {"run", requirePlan(body.at("plan").text())}), _words);
    for (const auto& [name, value] : body["parameters"].isObject() ? body["parameters"].fields() : Field::Fields()) {
        words.push_back("--param=" + name + "=" + value.text());
    }
    if (body["shared"].flagOr(false)) {
        words.emplace_back("--shared");
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    // It may have to wait before it begins: for a store that is locked, say.
    if (std::any_of(_started.begin(), _started.end(), [&](Started& each) {
            return each.set == set.set().name && !each.process.wait(0ms) && set.lastRunner() != each.process.pid();
        })) {
        return errorAnswer(409, "a run of this set is about to begin");
    }
    _board.set("start/" + set.set().name, {{"code", 0}, {"text", ""}});
    _started.push_back({set.set().name, ToolProcess(words)});
    return jsonAnswer({{"pid", _started.back().process.pid()}});
}

void SetPages::tick() {
    const std::lock_guard<std::mutex> lock(_mutex);
    for (auto at = _started.begin(); at != _started.end();) {
        const std::string key = "start/" + at->set;
        if (!at->process.wait(0ms)) {
            if (setOf(at->set).runner() == at->process.pid()) {
                _board.set(key, nullptr);
            }
            ++at;
            continue;
        }
        const std::string errors = at->process.errors();
        const bool isFailed = at->process.code() >= 2 && !errors.empty();
        _board.set(key, isFailed ? Json{{"code", at->process.code()}, {"text", errors.substr(0, kTold)}} : Json());
        at = _started.erase(at);
    }
}

// As Ctrl-C does: the first time the run ends with its teardown and report.
WebAnswer SetPages::stop(const WebRequest& request) {
    const long long runner = setOf(bodyOf(request).at("set").text()).runner();
    if (runner <= 0 || kill(static_cast<pid_t>(runner), SIGINT) != 0) {
        return errorAnswer(409, "no run of this set goes on");
    }
    return jsonAnswer({{"stopped", runner}});
}

WebAnswer SetPages::answer(const WebRequest& request) {
    const Field body = bodyOf(request);
    const Field result = setOf(body.at("set").text())
                             .ask("answer", {{"prompt", body.at("prompt").number()},
                                             {"answer", body.at("answer").text()},
                                             {"who", body["who"].textOr("")},
                                             {"where", "page"}});
    return jsonAnswer({{"taken", result["taken"].flagOr(false)}, {"why", result["why"].textOr("")}});
}

}  // namespace tool
