// SPDX-License-Identifier: Apache-2.0
// `fapi station check`.
#include "cli/station_check.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include <sys/statvfs.h>
#include <sys/timex.h>
#include <unistd.h>

#include "base/terminal.h"
#include "cli/station.h"
#include "plan/files.h"
#include "plan/program_step.h"
#include "program/program_run.h"
#include "record/database.h"
#include "record/identity.h"
#include "record/results_store.h"
#include "record/schema.h"
#include "run/plan_files.h"
#include "station/instruments.h"
#include "station/programs.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr unsigned long long kMebibyte = 1 << 20;
// A shift's reports and pictures.
constexpr unsigned long long kLeastFree = 1024 * kMebibyte;
// Requests by which the noise of a wire is measured.
constexpr int kNoiseRequests = 50;
constexpr std::chrono::minutes kKnownBadLimit{10};

std::string countOf(long long count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

class StationCheck {
public:
    StationCheck(const Station& station, std::string reports, bool asJson)
        : _station(station), _reports(std::move(reports)), _asJson(asJson) {}

    int run() {
        check("rights", 0, [&] { return rightsText(); });
        check("disk", 0, [&] { return diskText(); });
        check("store", 0, [&] { return storeText(); });
        if (!_station.server.address.empty()) {
            check("server", _station.server.line, [&] { return serverText(); });
        }
        check("clock", 0, [&] { return clockText(); });
        for (const StationTarget& target : _station.targets) {
            check("target " + target.name, target.line, [&] { return targetText(target); });
            if (!target.wire.empty() && _isLastGood) {
                check("wire of " + target.name, target.line, [&] { return noiseText(target.isChecked); });
            }
        }
        for (const StationFixture& fixture : _station.fixtures) {
            check("fixture " + fixture.name, fixture.line, [&] { return fixtureText(fixture); });
        }
        for (const Binding& binding : _station.bindings) {
            if (binding.kind == Binding::Kind::program) {
                check("action " + binding.action, binding.line, [&] { return requireStationProgram(binding.command); });
            }
        }
        for (const StationInstrument& instrument : _station.instruments) {
            check("instrument " + instrument.name, instrument.line, [&] {
                const std::string user = userOf(instrument);
                return user.empty() ? "free" : "in use by " + user;
            });
        }
        for (const ApprovedFile& file : _station.approved) {
            if (fs::path(file.name).extension() == ".plan") {
                check("plan " + file.name, file.line, [&] { return approvalText(file); });
            }
        }
        // The known-bad set's plan joins its hub.
        _joined.clear();
        if (!_station.knownBad.plan.empty()) {
            check("known-bad " + _station.knownBad.target, _station.knownBad.line, [&] { return knownBadText(); });
        }
        tellTodo();
        return _todo.empty() ? kExitGood : kExitSet;
    }

private:
    void check(const std::string& what, unsigned int line, const std::function<std::string()>& text) {
        std::string told;
        _isLastGood = true;
        try {
            told = text();
        } catch (const std::exception& error) {
            _isLastGood = false;
            told = error.what();
        }
        const std::string place = line == 0 ? "" : _station.file + ":" + std::to_string(line) + ": ";
        if (!_isLastGood) {
            _todo.push_back(place + what + ": " + told);
        }
        if (_asJson) {
            printLine(jsonLine({{"what", what}, {"line", line}, {"good", _isLastGood}, {"text", told}}));
        } else {
            printLine(printable(_isLastGood ? what + ": ok" + (told.empty() ? "" : ": " + told)
                                            : place + what + ": " + told));
        }
    }

    void tellTodo() const {
        if (_asJson) {
            return;
        }
        const char* color = _todo.empty() ? kGreen : kRed;
        const std::string word =
            _todo.empty() ? "READY" : "NOT READY: " + countOf(static_cast<long long>(_todo.size()), "thing") + " to do";
        printLine("");
        printLine(usesColors() ? color + word + kColorsOff : word);
        for (std::size_t i = 0; i < _todo.size(); ++i) {
            printLine("  " + std::to_string(i + 1) + ". " + printable(_todo[i]));
        }
    }

    // --- The PC
    // ----------------------------------------------------------------------------------------------------------

    std::string rightsText() const {
        const std::string folder = fs::exists(_reports) ? _reports : fs::absolute(_reports).parent_path().string();
        if (access(folder.c_str(), W_OK | X_OK) != 0) {
            throw SetError(folder + " cannot be written: give this user the right, or another folder with --report");
        }
        return "";
    }

    std::string diskText() const {
        struct statvfs disk = {};
        const std::string folder = fs::exists(_reports) ? _reports : fs::absolute(_reports).parent_path().string();
        if (statvfs(folder.c_str(), &disk) != 0) {
            throw SetError(folder + " cannot be read");
        }
        const unsigned long long free = 1ULL * disk.f_bavail * disk.f_frsize;
        if (free < kLeastFree) {
            throw SetError(std::to_string(free / kMebibyte) +
                           " MiB are free, a shift needs 1024: fapi clean --keep-runs N makes room");
        }
        return std::to_string(free / kMebibyte) + " MiB free";
    }

    std::string storeText() {
        const std::string file = resultsFileIn(_reports);
        if (!fs::exists(file)) {
            return "no results yet";
        }
        Database database(file, Access::write);
        migrate(database);
        {
            Statement newest(database, "select coalesce(max(began), '') from run");
            newest.into(_newestRun);
            newest.run();
            newest.next();
        }
        const long long waiting = findNumber(database, "select count(*) from outbox where parked = 0").value_or(0);
        const long long parked = findNumber(database, "select count(*) from outbox where parked = 1").value_or(0);
        if (parked != 0) {
            throw SetError("the server has refused " + countOf(parked, "run") + ": see fapi results status");
        }
        return countOf(waiting, "run") + " in the outbox";
    }

    // Runs wait for a server that is away, so that it keeps no shift from its work.
    std::string serverText() const {
        checkServerAddress(_station.server.address);
        try {
            const Database server(_station.server.address, Access::read);
            return "answers";
        } catch (const ResultsError& error) {
            return std::string("runs wait for it: ") + error.what();
        }
    }

    // A run that is older than the one before it would be in no statistics that can be trusted.
    std::string clockText() const {
        const std::string now = utcText(std::chrono::system_clock::now());
        if (now < _newestRun) {
            throw SetError("it is " + now + ", and the newest run began at " + _newestRun + ": set the clock");
        }
        timex state = {};
        const bool isSynchronized =
            adjtimex(&state) != -1 && (static_cast<unsigned int>(state.status) & STA_UNSYNC) == 0;
        return now + (isSynchronized ? "" : ", not synchronized with a server");
    }

    // --- Sets and fixtures
    // -----------------------------------------------------------------------------------------------

    static std::string requireStationProgram(const Words& command) {
        if (programFile(command[0], ".").empty()) {
            throw SetError(command[0] + ": no such program, or not executable");
        }
        return "";
    }

    std::string targetText(const StationTarget& target) {
        if (!target.wire.empty()) {
            requireStationProgram(target.wire);
        }
        if (!target.powerCycle.empty()) {
            requireStationProgram(target.powerCycle);
        }
        // A fixture may need the set.
        const Field& hello = _joined.emplace_back(Target::join(targetOptionsOf(target)))->hello();
        return hello["kind"].textOr("board") + ", agent " + hello["agent"].textOr("?") + ", library " +
               hello["library"].textOr("?");
    }

    // Of the set that was joined last.
    std::string noiseText(bool isChecked) {
        Target& target = *_joined.back();
        int damaged = 0;
        target.listen("wire", [&](const Field& params) { damaged += params["state"].textOr("") == "damaged" ? 1 : 0; });
        const Clock::time_point start = Clock::now();
        for (int i = 0; i < kNoiseRequests; ++i) {
            target.request("set.log");
        }
        target.listen("wire", [](const Field&) {});
        const double each = std::chrono::duration<double, std::milli>(Clock::now() - start).count() / kNoiseRequests;
        if (damaged != 0) {
            throw SetError(std::to_string(damaged) + " of " + std::to_string(kNoiseRequests) +
                           " answers came damaged: look at cable, ground and speed");
        }
        char text[64];
        std::snprintf(text, sizeof(text), "%d answers in %.1f ms each", kNoiseRequests, each);
        return text + std::string(isChecked ? ", none damaged" : "");
    }

    static std::string fixtureText(const StationFixture& fixture) {
        requireStationProgram(fixture.command);
        return countOf(static_cast<long long>(FixtureProgram(fixture).actions().size()), "action");
    }

    // --- Plans
    // -----------------------------------------------------------------------------------------------------------

    static std::string fileOf(const std::string& plan) {
        const std::optional<std::string> file = planFile(plan);
        if (!file) {
            throw SetError(unknownPlan(plan));
        }
        return *file;
    }

    std::string approvalText(const ApprovedFile& approved) const {
        std::vector<Plan> plans;
        if (!readPlansAndFaults(_asJson, {fileOf(approved.name)}, "", plans)) {
            throw SetError("has problems");
        }
        if (std::count(approved.hashes.begin(), approved.hashes.end(), plans.front().hash) == 0) {
            throw SetError("is not an approved version: its SHA-256 is " + plans.front().hash);
        }
        return "approved";
    }

    // As a run of its own, which keeps no record among those of units.
    std::string knownBadText() const {
        const KnownBad& bad = _station.knownBad;
        const char* own = std::getenv("FAPI_HUB");
        ProgramCall call;
        call.file = own != nullptr && *own != '\0' ? own : "/proc/self/exe";
        call.command = {"fapi", "--station",   _station.file, "--target",   bad.target,      "--yes",
                        "run",  "--no-report", "--expected",  bad.expected, fileOf(bad.plan)};
        call.within = kKnownBadLimit;
        const ProgramResult result = runPlanProgram(call, waitBesidesSet);
        if (result.exitCode != kProgramPassed) {
            throw SetError(
                "has not failed where it must: " + (result.problem.empty() ? result.lastLine() : result.problem) +
                "; until it does, no verdict of this station can be trusted");
        }
        return "fails where it must";
    }

    const Station& _station;
    const std::string _reports;
    const bool _asJson;
    bool _isLastGood = true;
    std::string _newestRun;
    std::vector<std::string> _todo;
    std::vector<std::unique_ptr<Target>> _joined;
};

}  // namespace

int checkStationReady(const Station& station, const std::string& reports, bool asJson) {
    return StationCheck(station, reports, asJson).run();
}

}  // namespace tool
