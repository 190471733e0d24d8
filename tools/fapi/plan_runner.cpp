// SPDX-License-Identifier: Apache-2.0
// `fapi run` and `fapi check`: from files to exit codes.
#include <cstring>
#include <filesystem>
#include <fstream>

#include "plan_report.h"
#include "plan_run.h"
#include "terminal.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// A new set in a temporary folder, which is removed unless it may be wanted for finding a fault.
class FreshSet {
public:
    FreshSet() : _folder((fs::temp_directory_path() / "fapi-set-XXXXXX").string()) {
        const vset::HostPaths hostPaths;
        if (mkdtemp(_folder.data()) == nullptr) {
            throw vset::SetError(_folder + ": " + std::strerror(errno));
        }
    }
    ~FreshSet() {
        const vset::HostPaths hostPaths;
        std::error_code error;
        if (!_kept) {
            fs::remove_all(_folder, error);
        }
    }
    FreshSet(const FreshSet&) = delete;
    FreshSet& operator=(const FreshSet&) = delete;

    const std::string& folder() const { return _folder; }
    void keep() {
        _kept = true;
        std::fprintf(stderr, "fapi: the set is kept in %s\n", _folder.c_str());
    }

private:
    std::string _folder;
    bool _kept = false;
};

// All plans, or none when one of them has a problem; those are printed.
bool readPlans(const std::vector<std::string>& files, std::vector<Plan>& plans) {
    bool good = true;
    const vset::HostPaths hostPaths;
    for (const std::string& file : files) {
        std::error_code error;
        std::ifstream stream;
        if (fs::is_regular_file(file, error)) {
            stream.open(file, std::ios::binary);
        }
        if (!stream.is_open()) {
            std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
            good = false;
            continue;
        }
        std::vector<Problem> problems;
        plans.push_back(parsePlan(std::string(std::istreambuf_iterator<char>(stream), {}), problems));
        plans.back().file = file;
        for (const Problem& problem : problems) {
            std::fprintf(stderr, "%s:%u: %s\n", file.c_str(), problem.line, problem.text.c_str());
        }
        good = good && problems.empty();
    }
    return good;
}

void printDryRun(const Plan& plan) {
    printLine(printable(plan.name));
    for (const Step& step : plan.steps) {
        std::string line = "  " + std::string(step.teardown ? "teardown: " : "") + printable(step.name);
        if (step.retry != 0) {
            line += " (up to " + std::to_string(step.retry + 1) + " attempts, " + std::to_string(step.every.count()) +
                    " ms apart)";
        }
        printLine(line);
        for (const PlanLine& planLine : step.lines) {
            printLine("    " + planLine.text());
            for (const Expectation& expectation : planLine.expectations) {
                printLine("        " + expectation.text);
            }
        }
    }
}

int exitCode(const PlanResult& result, const Interrupts& interrupts) {
    return interrupts.count() != 0 ? kExitInterrupted : result.isGood() ? kExitGood : kExitFailed;
}

int runPlan(const Plan& plan, const RunOptions& options, const std::string& folder, Interrupts& interrupts) {
    SessionOptions session = options.session;
    std::optional<FreshSet> fresh;
    if (options.fresh) {
        session.folder = fresh.emplace().folder();
    }
    Progress progress(plan, options.json);
    std::optional<ReportFiles> report;
    if (!options.noReport) {
        report.emplace(plan, folder);
    }
    PlanRun run(plan, session, report ? report->stem() : "", progress, interrupts);
    run.run();
    progress.finish(run.result());
    int code = exitCode(run.result(), interrupts);
    std::vector<std::string> files;
    if (report) {
        try {
            files = report->write(run.result());
        } catch (const std::runtime_error& error) {
            std::fprintf(stderr, "fapi: %s\n", error.what());
            code = std::max<int>(code, kExitSet);
        }
    }
    if (fresh && code != kExitGood) {
        fresh->keep();
    }
    progress.conclude(run.result(), files);
    return code;
}

}  // namespace

int checkPlans(const std::vector<std::string>& files) {
    std::vector<Plan> plans;
    return readPlans(files, plans) ? kExitGood : kExitUsage;
}

int runPlans(const RunOptions& options) {
    std::vector<Plan> plans;
    if (!readPlans(options.files, plans)) {
        return kExitUsage;
    }
    if (options.dryRun) {
        for (const Plan& plan : plans) {
            printDryRun(plan);
        }
        return kExitGood;
    }
    const std::string folder = options.report.empty() ? "reports" : options.report;
    if (!options.noReport) {
        prepareReportFolder(folder);
    }
    Interrupts interrupts;
    int worst = kExitGood;
    for (const Plan& plan : plans) {
        worst = std::max(worst, runPlan(plan, options, folder, interrupts));
        if (worst >= kExitSet) {
            break;
        }
    }
    return worst;
}

}  // namespace tool
