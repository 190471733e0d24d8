// SPDX-License-Identifier: Apache-2.0
// The keys of a station's file.
#include "station/keys.h"

#include <algorithm>

#include "protocol/value.h"

namespace tool {

namespace {

std::string oneWord(const IniEntry& entry) {
    if (entry.words.size() != 1 || entry.words[0].empty()) {
        throw UsageError(entry.key + ": expected one word, in quotes when it has blanks",
                         std::min<std::size_t>(entry.words.size(), 1));
    }
    return entry.words[0];
}

Words command(const IniEntry& entry) {
    if (entry.words.empty() || entry.words[0].empty()) {
        throw UsageError(entry.key + ": expected a program and its arguments", 0);
    }
    return entry.words;
}

std::chrono::milliseconds timeUpTo(const IniEntry& entry, std::chrono::seconds most) {
    std::chrono::milliseconds time{0};
    if (entry.words.size() != 1 || !parseTime(entry.words[0], time) || time.count() < 1 || time > most) {
        throw UsageError(
            entry.key + ": expected a time up to " + std::to_string(most.count()) + "s, such as 1500ms or 30s", 0);
    }
    return time;
}

// "WAIT-FOR" "TYPE" "WAIT-FOR" "TYPE"
Words conversation(const IniEntry& entry) {
    if (entry.words.empty() || entry.words.size() % 2 != 0) {
        throw UsageError(entry.key + ": expected pairs: a text to wait for (\"\" waits for nothing) and one to type",
                         entry.words.size());
    }
    return entry.words;
}

bool isChecked(const IniEntry& entry) {
    const std::string word = oneWord(entry);
    if (word != "checked" && word != "plain") {
        throw UsageError(entry.key + ": expected checked or plain", 0);
    }
    return word == "checked";
}

std::optional<long long> countUpTo(const IniEntry& entry, long long most) {
    long long number = 0;
    if (!parseNumber(oneWord(entry), number) || number < 1 || number > most) {
        throw UsageError(entry.key + ": expected a number from 1 to " + std::to_string(most), 0);
    }
    return number;
}

KnownBad knownBad(const IniEntry& entry) {
    if (entry.words.size() != 3) {
        throw UsageError(entry.key + ": expected a target, a plan and the file of what must fail",
                         std::min<std::size_t>(entry.words.size(), 3));
    }
    return {entry.words[0], entry.words[1], entry.words[2], entry.line};
}

// Whether it can be reached, and how, is found out when it is used.
std::string serverAddress(const IniEntry& entry) {
    std::string address = oneWord(entry);
    if (address.rfind("postgres", 0) != 0 && address.find('=') == std::string::npos) {
        throw UsageError(entry.key + ": expected postgresql://HOST/DATABASE or service=NAME", 0);
    }
    return address;
}

constexpr std::chrono::seconds kTenMinutes{600};
constexpr std::size_t kHashDigits = 64;
constexpr long long kMostRuns = 1000000;
constexpr long long kMostDays = 10000;
constexpr long long kMostBytes = 1000000000000;

}  // namespace

const std::vector<SectionKind>& sectionKinds() {
    static const std::vector<SectionKind> kinds = {
        {"station", false, "The station itself."},
        {"target", true, "A set, as `--target NAME` means it."},
        {"fixture", true,
         "A program that carries out actions and speaks the agent's protocol on its standard streams."},
        {"instrument", true, "An instrument that the slots of a station share: one run uses it at a time."},
        {"actions", false,
         "Who carries out the actions that a set's agent does not have. The keys are names of actions.\n"
         "\n"
         "| line | meaning |\n"
         "| --- | --- |\n"
         "| `NAME = fixture FIXTURE` | the fixture, which describes the action |\n"
         "| `* = fixture FIXTURE` | all that it describes, where no other line says otherwise |\n"
         "| `NAME = run PROGRAM ARGUMENT...` | a program. `{1}` to `{9}`, words of their own, stand for the action's "
         "arguments, each of which stays one word; one that begins with a dash is refused. Exit code 0 is a success, 1 "
         "a "
         "failure of the set, all else an error of the station. Lines `NAME=VALUE` that it prints are outputs |\n"
         "| `NAME = operator [TEXT]` | the operator, by a question that Enter answers; `{1}` is an argument. "
         "Where nobody could answer a run is refused before it begins |"},
        {"plans", false,
         "The files that may decide about units here: plans, their limits, files of faults. A line is `FILE = "
         "SHA256...`: a file's name without its folder, and its SHA-256, or those of several versions. With this "
         "section a run with another file, or with another version, is refused before it begins, and the refusal "
         "names the SHA-256 to write here: for a file alone what `sha256sum` prints. `fapi run --unapproved "
         "--reason TEXT` runs it nevertheless, and the record says who did so and why."},
        {"results", false,
         "Where the results of runs go, and how much of past runs stays. `fapi run --keep N` means other numbers of "
         "runs."},
    };
    return kinds;
}

const std::vector<StationKey>& stationKeys() {
    static const std::vector<StationKey> keys = {
        {"station", "name", "text", "", "", "What the station is called.",
         [](const KeyPlace& at) { at.station.name = oneWord(at.entry); }},
        {"station", "stage", "text", "", "", "The stage of production that its runs belong to.",
         [](const KeyPlace& at) { at.station.stage = oneWord(at.entry); }},
        {"station", "program-within", "time", "30s", "600s",
         "How long a program of an action may take. It is ended then.",
         [](const KeyPlace& at) { at.station.programWithin = timeUpTo(at.entry, kTenMinutes); }},
        {"station", "operator-within", "time", "180s", "600s",
         "How long the operator may take. Without an answer the step's verdict is an error.",
         [](const KeyPlace& at) { at.station.personWithin = timeUpTo(at.entry, kTenMinutes); }},
        {"station", "known-bad", "three words", "", "",
         "A target that must fail, the plan that finds that, and the file of what must fail (`fapi run --expected`). "
         "`fapi station check` runs it.",
         [](const KeyPlace& at) { at.station.knownBad = knownBad(at.entry); }},
        {"target", "wire", "program", "", "", "Its standard streams are the wire to the set's agent.",
         [](const KeyPlace& at) { at.target().wire = command(at.entry); }},
        {"target", "set", "folder", "", "", "The folder of a virtual set, in place of a wire.",
         [](const KeyPlace& at) { at.target().folder = oneWord(at.entry); }},
        {"target", "framing", "`checked`, `plain`", "checked", "",
         "`plain` only for a wire that neither loses bytes nor carries other text.",
         [](const KeyPlace& at) { at.target().isChecked = isChecked(at.entry); }},
        {"target", "start", "pairs of texts", "", "",
         "At a login console, in turn: a text to wait for, and one to type then. `\"login:\" \"root\\n\" \"# \" \"exec "
         "/data/fapi-agent\\n\"`",
         [](const KeyPlace& at) { at.target().start = conversation(at.entry); }},
        {"target", "power-cycle", "program", "", "",
         "Switches the set off and on, and ends with exit code 0 when that is done. Without it `set power-cycle` of a "
         "board "
         "begins with a new worker.",
         [](const KeyPlace& at) {
             at.target().powerCycle = command(at.entry);
             at.target().powerLine = at.entry.line;
         }},
        {"target", "up-within", "time", "30s", "600s",
         "How long the agent may take to answer after the wire's start, a lost wire or a power cycle. A wire that is "
         "lost again and again is given up when it has brought so long nothing but the answer to its greeting.",
         [](const KeyPlace& at) { at.target().upWithin = timeUpTo(at.entry, kTenMinutes); }},
        {"target", "has", "words", "", "",
         "What the board claims to have, for the rules of `fapi conformance` that need it: `has = pwm registers`.",
         [](const KeyPlace& at) { at.target().has = at.entry.words; }},
        {"results", "keep-runs", "number", "100", "1000000", "How many runs the store keeps.",
         [](const KeyPlace& at) { at.station.kept.runs = countUpTo(at.entry, kMostRuns); }},
        {"results", "keep-days", "number", "", "10000", "Older runs are removed.",
         [](const KeyPlace& at) { at.station.kept.days = countUpTo(at.entry, kMostDays); }},
        {"results", "keep-bytes", "number", "", "1000000000000",
         "The oldest runs are removed until reports, pictures and attached files of the others have no more bytes.",
         [](const KeyPlace& at) { at.station.kept.bytes = countUpTo(at.entry, kMostBytes); }},
        {"results", "server", "text", "", "",
         "The server that `fapi-feed` sends the results to where its command line names none: "
         "`postgresql://HOST/DATABASE` or `service=NAME`, without a password.",
         [](const KeyPlace& at) {
             at.station.server = {serverAddress(at.entry), at.entry.line};
         }},
        {"fixture", "command", "program", "", "", "Runs as long as the bench needs it.",
         [](const KeyPlace& at) { at.fixture().command = command(at.entry); }},
        {"fixture", "within", "time", "30s", "600s", "How long it may take to answer. It is ended then.",
         [](const KeyPlace& at) { at.fixture().within = timeUpTo(at.entry, kTenMinutes); }},
        {"instrument", "within", "time", "60s", "600s",
         "How long a step waits for it (`use NAME` in plans). Then the step's verdict is an error.",
         [](const KeyPlace& at) { at.instrument().within = timeUpTo(at.entry, kTenMinutes); }},
    };
    return keys;
}

ApprovedFile parseApprovedFile(const IniEntry& entry) {
    ApprovedFile file = {entry.key, entry.line, entry.words};
    for (std::size_t i = 0; i < std::max<std::size_t>(file.hashes.size(), 1); ++i) {
        const bool isHash = i < file.hashes.size() && file.hashes[i].size() == kHashDigits &&
                            file.hashes[i].find_first_not_of("0123456789abcdef") == std::string::npos;
        if (!isHash) {
            throw UsageError(entry.key + ": expected a SHA-256, 64 digits of 0..9 and a..f", i);
        }
    }
    return file;
}

Binding parseBinding(const IniEntry& entry) {
    Binding binding = {entry.key, entry.line, Binding::Kind::person, {}, {}, {}};
    const Words& words = entry.words;
    const std::string how = words.empty() ? "" : words[0];
    if (how == "fixture" && words.size() == 2) {
        binding.kind = Binding::Kind::fixture;
        binding.fixture = words[1];
    } else if (how == "run" && words.size() > 1 && entry.key != kAllOthers) {
        binding.kind = Binding::Kind::program;
        binding.command.assign(words.begin() + 1, words.end());
    } else if (how == "operator" && words.size() <= 2 && entry.key != kAllOthers) {
        binding.text = words.size() == 2 ? words[1] : "";
    } else {
        throw UsageError(entry.key == kAllOthers
                             ? "*: expected fixture NAME"
                             : entry.key + ": expected fixture NAME, run PROGRAM ARGUMENT..., or operator [TEXT]",
                         0);
    }
    for (std::size_t i = 1; i < binding.command.size(); ++i) {
        const std::string& word = binding.command[i];
        const bool isArgument =
            word.size() == 3 && word[0] == '{' && word[1] >= '1' && word[1] <= '9' && word[2] == '}';
        if (!isArgument && word.find('{') != std::string::npos) {
            throw UsageError(entry.key + ": " + display(word, 40) + ": an argument, {1} to {9}, is a word of its own",
                             i + 1);
        }
    }
    return binding;
}

}  // namespace tool
