// SPDX-License-Identifier: Apache-2.0
// What this station knows: its sets, its fixtures, and who carries out the actions that a set does not have.
#ifndef FAPI_BENCH_STATION_STATION_H
#define FAPI_BENCH_STATION_STATION_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"
#include "hub/wire_options.h"

namespace tool {

struct StationTarget {
    std::string name;
    std::string file;  // of the station
    unsigned int line = 0;
    Words wire;
    std::string folder;  // of a virtual set, in place of a wire
    bool isChecked = true;
    Words start;
    Words powerCycle;
    unsigned int powerLine = 0;
    Words has;  // what rules of boards may count on
    std::chrono::milliseconds upWithin{30000};

    WireOptions wireOptions() const;
};

struct StationFixture {
    std::string name;
    unsigned int line = 0;
    Words command;
    std::chrono::milliseconds within{30000};  // an action
};

// An instrument that several slots use in turn.
struct StationInstrument {
    std::string name;
    unsigned int line = 0;
    std::chrono::milliseconds within{60000};  // that a run waits for it
};

// A set that is known to fail, and where.
struct KnownBad {
    std::string target, plan, expected;  // `expected`: the file of steps that must fail; an empty plan: there is none
    unsigned int line = 0;
};

// Who carries out an action.
struct Binding {
    enum class Kind { fixture, program, person };
    std::string action;  // kAllOthers: every one that the fixture has and that is not bound otherwise
    unsigned int line = 0;
    Kind kind = Kind::person;
    std::string fixture;
    Words command;     // "{1}" stands for an argument
    std::string text;  // what a person reads; empty: the sentence of the action's description
};
constexpr const char* kAllOthers = "*";

// A file of which only these versions may decide about units.
struct ApprovedFile {
    std::string name;  // without its folder
    unsigned int line = 0;
    Words hashes;  // SHA-256, in hexadecimal digits
};

// How much of past runs stays; nothing means no limit of the station's.
struct KeptRuns {
    std::optional<long long> runs, days, bytes;
};

// Where fapi-feed sends the results of runs to.
struct ResultsServer {
    std::string address;  // empty: there is none
    unsigned int line = 0;
};

struct Station {
    std::string file;  // empty: there is none
    std::string name;
    std::string stage;
    std::chrono::milliseconds programWithin{30000};
    std::chrono::milliseconds personWithin{180000};
    std::vector<StationTarget> targets;
    std::vector<StationFixture> fixtures;
    std::vector<Binding> bindings;
    bool approvesPlans = false;  // what is not among these needs somebody's word
    std::vector<ApprovedFile> approved;
    KeptRuns kept;
    ResultsServer server;
    std::vector<StationInstrument> instruments;
    KnownBad knownBad;

    const StationTarget* target(std::string_view wanted) const;
    const StationFixture* fixture(std::string_view wanted) const;
    // The line for that action itself; null when there is none.
    const Binding* binding(std::string_view action) const;
    const ApprovedFile* approvedFile(std::string_view wanted) const;
};

// Reads a station's text. All problems, in the order of their lines; the station is to be used only without any.
Station parseStation(std::string_view text, std::vector<Problem>& problems);

// The file that is meant: the given one, else $FAPI_STATION, else the first one that there is in this folder, the
// user's configuration, /etc. Empty when there is none.
std::string stationFile(const std::string& given);

// The station of the file, or one without anything for an empty name. Throws StationProblems, and UsageError for a file
// that cannot be read.
Station readStation(const std::string& file);

// A station's file that cannot be used: "FILE:LINE:COLUMN: TEXT", a line each.
class StationProblems : public UsageError {
public:
    using UsageError::UsageError;
};

// All that says who carries out actions, as a text: it differs where that does.
std::string bindingsText(const Station& station);

// The table of all keys, as a page.
std::string stationReference();

}  // namespace tool

#endif
