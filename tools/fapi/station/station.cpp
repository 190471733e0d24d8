// SPDX-License-Identifier: Apache-2.0
// A station's file.
#include "station/station.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "station/keys.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kStationFile = "station.ini";
constexpr const char* kActions = "actions";
constexpr const char* kPlans = "plans";
constexpr const char* kPageHead =
    "# The station's file\n"
    "\n"
    "`station.ini` says which sets a station has, what its fixtures are, and who carries out the actions that a set's "
    "agent\n"
    "does not have. `fapi station reference` prints this page from the table of its keys; not to be edited.\n"
    "`examples/station.ini` is one.\n"
    "\n"
    "The file is the one of `--station FILE`, else `$FAPI_STATION`, else the first of `station.ini` in the present "
    "folder,\n"
    "`$XDG_CONFIG_HOME/fapi/station.ini` or `~/.config/fapi/station.ini`, and `/etc/fapi/station.ini`. A line is "
    "`[SECTION]`,\n"
    "`[SECTION NAME]` or `KEY = VALUE`; one that begins with `#` or `;` is a comment. A value is cut into words as a "
    "line of a\n"
    "plan is: `\"two words\\n\"`. A program is an argument vector, never a line of a shell. A wire and a `power-cycle` "
    "run in the\n"
    "folder `/`. A program that takes longer than it may is ended with its children: SIGTERM, two seconds, SIGKILL. "
    "What is\n"
    "wrong is named by file and line, all at once; `fapi station check` tries the rest.\n";

std::string didYouMeanOneOf(const std::string& word, const std::vector<std::string>& known) {
    const std::string near = nearest(word, known);
    if (!near.empty()) {
        return ", did you mean " + near + "?";
    }
    std::string list;
    for (const std::string& name : known) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return known.empty() ? "" : ", expected one of " + list;
}

template <class Row>
std::vector<std::string> namesOf(const std::vector<Row>& rows) {
    std::vector<std::string> names;
    names.reserve(rows.size());
    for (const Row& row : rows) {
        names.push_back(row.name);
    }
    return names;
}

template <class Row>
const Row* findNamed(const std::vector<Row>& rows, std::string_view name) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.name == name; });
    return found == rows.end() ? nullptr : &*found;
}

class StationReader {
public:
    StationReader(std::string_view text, std::vector<Problem>& problems) : _problems(problems) {
        for (const IniSection& section : parseIni(text, problems)) {
            if (begin(section)) {
                for (const IniEntry& entry : section.entries) {
                    read(section, entry);
                }
                finish(section);
            }
        }
        checkFixtures();
        std::stable_sort(problems.begin(), problems.end(),
                         [](const Problem& left, const Problem& right) { return left.line < right.line; });
    }
    Station take() { return std::move(_station); }

private:
    void problem(unsigned int line, const std::string& text, std::size_t column = 1) {
        _problems.push_back({line, column, text});
    }

    bool begin(const IniSection& section) {
        const auto& kinds = sectionKinds();
        const auto kind =
            std::find_if(kinds.begin(), kinds.end(), [&](const SectionKind& row) { return section.kind == row.kind; });
        if (kind == kinds.end()) {
            std::vector<std::string> known;
            known.reserve(kinds.size());
            for (const SectionKind& row : kinds) {
                known.emplace_back(row.kind);
            }
            problem(section.line, "no such section: " + section.kind + didYouMeanOneOf(section.kind, known));
            return false;
        }
        if (kind->isNamed == section.name.empty()) {
            problem(section.line, std::string(kind->kind) +
                                      (kind->isNamed ? ": its name is missing: [" : " has no name: [") + kind->kind +
                                      (kind->isNamed ? " NAME]" : "]"));
            return false;
        }
        const auto isNamed = [&](const StationInstrument& known) { return known.name == section.name; };
        const bool isTwice = (section.kind == "target" && _station.target(section.name) != nullptr) ||
                             (section.kind == "instrument" &&
                              std::any_of(_station.instruments.begin(), _station.instruments.end(), isNamed)) ||
                             (section.kind == "fixture" && _station.fixture(section.name) != nullptr);
        if (isTwice) {
            problem(section.line, "there is a " + section.kind + " " + section.name + " already");
            return false;
        }
        if (section.kind == "target") {
            _station.targets.emplace_back();
            _station.targets.back().name = section.name;
            _station.targets.back().line = section.line;
        } else if (section.kind == "fixture") {
            _station.fixtures.emplace_back();
            _station.fixtures.back().name = section.name;
            _station.fixtures.back().line = section.line;
        } else if (section.kind == "instrument") {
            if (section.name.find('/') != std::string::npos) {
                problem(section.line, "instrument " + section.name + ": expected a name without a slash");
                return false;
            }
            _station.instruments.emplace_back();
            _station.instruments.back().name = section.name;
            _station.instruments.back().line = section.line;
        }
        _station.approvesPlans = _station.approvesPlans || section.kind == kPlans;
        return true;
    }

    void read(const IniSection& section, const IniEntry& entry) {
        try {
            const auto isIt = [&](const IniEntry& other) { return other.key == entry.key && other.line < entry.line; };
            if (std::any_of(section.entries.begin(), section.entries.end(), isIt)) {
                problem(entry.line, "there is a " + entry.key + " already");
            } else if (section.kind == kActions) {
                _station.bindings.push_back(parseBinding(entry));
            } else if (section.kind == kPlans) {
                _station.approved.push_back(parseApprovedFile(entry));
            } else {
                keyOf(section, entry).read({_station, entry});
            }
        } catch (const UsageError& error) {
            const std::size_t offset = error.word() ? columnOf(entry.text, *error.word()) - 1 : 0;
            problem(entry.line, error.what(), entry.column + offset);
        }
    }

    static const StationKey& keyOf(const IniSection& section, const IniEntry& entry) {
        std::vector<std::string> known;
        for (const StationKey& key : stationKeys()) {
            if (section.kind == key.section) {
                if (entry.key == key.name) {
                    return key;
                }
                known.emplace_back(key.name);
            }
        }
        throw UsageError("no such key: " + entry.key + didYouMeanOneOf(entry.key, known));
    }

    void finish(const IniSection& section) {
        if (section.kind == "target") {
            const StationTarget& target = _station.targets.back();
            if (target.wire.empty() == target.folder.empty()) {
                problem(section.line, "target " + target.name + ": expected either a wire or a set");
            }
        } else if (section.kind == "fixture" && _station.fixtures.back().command.empty()) {
            problem(section.line, "fixture " + section.name + ": its command is missing");
        }
    }

    void checkFixtures() {
        for (const Binding& binding : _station.bindings) {
            if (binding.kind == Binding::Kind::fixture && _station.fixture(binding.fixture) == nullptr) {
                problem(binding.line, binding.action + ": no such fixture: " + binding.fixture +
                                          didYouMeanOneOf(binding.fixture, namesOf(_station.fixtures)));
            }
        }
    }

    std::vector<Problem>& _problems;
    Station _station;
};

}  // namespace

const StationTarget* Station::target(std::string_view wanted) const {
    return findNamed(targets, wanted);
}

const StationFixture* Station::fixture(std::string_view wanted) const {
    return findNamed(fixtures, wanted);
}

const ApprovedFile* Station::approvedFile(std::string_view wanted) const {
    return findNamed(approved, wanted);
}

const Binding* Station::binding(std::string_view action) const {
    const auto found = std::find_if(bindings.begin(), bindings.end(),
                                    [&](const Binding& binding) { return binding.action == action; });
    return found == bindings.end() ? nullptr : &*found;
}

Station parseStation(std::string_view text, std::vector<Problem>& problems) {
    return StationReader(text, problems).take();
}

std::string stationFile(const std::string& given) {
    const char* named = std::getenv("FAPI_STATION");
    if (!given.empty() || (named != nullptr && *named != '\0')) {
        return given.empty() ? named : given;
    }
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    std::vector<std::string> places = {kStationFile};
    if (config != nullptr && *config == '/') {
        places.push_back(std::string(config) + "/fapi/" + kStationFile);
    } else if (home != nullptr && *home == '/') {
        places.push_back(std::string(home) + "/.config/fapi/" + kStationFile);
    }
    places.push_back(std::string("/etc/fapi/") + kStationFile);
    std::error_code error;
    const auto found = std::find_if(places.begin(), places.end(),
                                    [&](const std::string& place) { return fs::is_regular_file(place, error); });
    return found == places.end() ? "" : *found;
}

WireOptions StationTarget::wireOptions() const {
    return {name, wire, isChecked, start, powerCycle, file + ":" + std::to_string(powerLine), upWithin};
}

Station readStation(const std::string& file) {
    if (file.empty()) {
        return {};
    }
    std::error_code error;
    std::ifstream stream;
    if (fs::is_regular_file(file, error)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        throw UsageError(file + ": cannot be read");
    }
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    std::vector<Problem> problems;
    Station station = parseStation(text, problems);
    std::string all;
    for (const Problem& problem : problems) {
        all += (all.empty() ? "" : "\n") + file + ":" + std::to_string(problem.line) + ":" +
               std::to_string(problem.column) + ": " + problem.text;
    }
    if (!all.empty()) {
        throw StationProblems(all);
    }
    station.file = file;
    for (StationTarget& target : station.targets) {
        target.file = file;
    }
    return station;
}

std::string stationReference() {
    std::string text = kPageHead;
    for (const SectionKind& kind : sectionKinds()) {
        text += std::string("\n## [") + kind.kind + (kind.isNamed ? " NAME]" : "]") + "\n\n" + kind.help + "\n";
        std::string rows;
        for (const StationKey& key : stationKeys()) {
            if (std::string_view(key.section) == kind.kind) {
                rows += std::string("| `") + key.name + "` | " + key.type + " | " + key.byDefault + " | " + key.limit +
                        " | " + key.help + " |\n";
            }
        }
        if (!rows.empty()) {
            text += "\n| key | type | default | at most | meaning |\n| --- | --- | --- | --- | --- |\n" + rows;
        }
    }
    return text;
}

std::string bindingsText(const Station& station) {
    std::string text;
    const auto add = [&text](const std::string& word) { text += word + '\n'; };
    const auto addAll = [&](const Words& words) { std::for_each(words.begin(), words.end(), add); };
    for (const StationFixture& fixture : station.fixtures) {
        add("fixture " + fixture.name);
        addAll(fixture.command);
    }
    for (const Binding& binding : station.bindings) {
        add("action " + binding.action + " " + std::to_string(static_cast<int>(binding.kind)));
        add(binding.fixture);
        add(binding.text);
        addAll(binding.command);
    }
    return text;
}

}  // namespace tool
