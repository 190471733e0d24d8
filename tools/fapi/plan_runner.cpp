// SPDX-License-Identifier: Apache-2.0
// Watches the processes that run a plan, and brings it to its end whatever becomes of them.
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "plan_report.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t g_interrupts = 0;

void noteInterrupt(int) {
    g_interrupts = g_interrupts + 1;
}

// Blocks Ctrl-C but while the run waits, so that none is lost between a look at the count and the wait. Gives back the
// mask to wait with, which is also that of the processes that run plans.
sigset_t catchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = noteInterrupt;
    sigset_t blocked, before;
    sigemptyset(&blocked);
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaction(signal, &action, nullptr);
        sigaddset(&blocked, signal);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    return before;
}

// One plan's run: a process after the other until the last step is done.
class Run {
public:
    Run(const Plan& plan, const SessionOptions& session, bool details, bool json, const sigset_t& waitMask)
        : _session(session), _details(details), _waitMask(waitMask), _progress(plan, json) {
        _result.plan = &plan;
        _result.start = std::chrono::system_clock::now();
        _result.setFolder = setFolder(session);
        _result.steps.resize(plan.steps.size());
    }

    // The exit code. kExitSet: the set could not be had, and nothing was called.
    int run() {
        const Clock::time_point start = Clock::now();
        while (!_done && !_abandoned) {
            watchProcess();
        }
        _result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (!_refusal.empty()) {
            std::fprintf(stderr, "fapi: %s\n", _refusal.c_str());
            return kExitSet;
        }
        _progress.finish(_result);
        return g_interrupts != 0 ? kExitInterrupted : _result.isGood() ? kExitGood : kExitFailed;
    }

    const PlanResult& result() const { return _result; }

private:
    void watchProcess() {
        int ends[2];
        if (pipe(ends) != 0) {
            throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
        }
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child < 0) {
            throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
        }
        if (child == 0) {
            close(ends[0]);
            pthread_sigmask(SIG_SETMASK, &_waitMask, nullptr);
            runPlanProcess(*_result.plan, _session, _position, _details, ends[1]);
        }
        close(ends[1]);
        _powerCycle = false;
        _running = false;
        readRecords(ends[0], child);
        close(ends[0]);
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        if (!_done && !_powerCycle) {
            afterDeath(status);
        }
    }

    void readRecords(int descriptor, pid_t child) {
        std::string buffer;
        char chunk[65536];
        for (;;) {
            if (g_interrupts > _interruptsSeen) {
                // The first Ctrl-C ends the step, and the teardown follows; the second ends everything.
                _interruptsSeen = g_interrupts;
                _abandoned = _interruptsSeen > 1;
                kill(child, SIGKILL);
            }
            pollfd waited = {descriptor, POLLIN, 0};
            if (ppoll(&waited, 1, nullptr, &_waitMask) < 0) {
                continue;
            }
            const ssize_t length = read(descriptor, chunk, sizeof(chunk));
            if (length <= 0) {
                return;
            }
            buffer.append(chunk, static_cast<std::size_t>(length));
            std::size_t start = 0;
            for (std::size_t end; (end = buffer.find('\n', start)) != std::string::npos; start = end + 1) {
                take(decode(buffer.substr(start, end - start)));
            }
            buffer.erase(0, start);
        }
    }

    void take(Record record) {
        _position = record.position;
        StepResult* step = _position.step < _result.steps.size() ? &_result.steps[_position.step] : nullptr;
        switch (record.kind) {
            case RecordKind::start:
                _running = true;
                step->attempts = _position.attempt;
                _progress.begin(_position.step, _position.attempt);
                break;
            case RecordKind::command:
                record.command["attempt"] = _position.attempt;
                step->commands.push_back(std::move(record.command));
                break;
            case RecordKind::end:
                step->seconds += record.seconds;
                step->verdict = _position.judgement.verdict;
                step->text = _position.judgement.text;
                if (!isBad(step->verdict) || _position.attempt > _result.plan->steps[_position.step].retry) {
                    _running = false;
                    _progress.end(_position.step, *step);
                }
                break;
            case RecordKind::powerCycle:
                _powerCycle = true;
                break;
            case RecordKind::done:
                _done = true;
                break;
            case RecordKind::refused:
                _refusal = record.text;
                _abandoned = true;
                break;
        }
    }

    // The process is gone without having said so: goes on with the teardown.
    void afterDeath(int status) {
        if (_abandoned) {
            return;
        }
        const bool interrupted = g_interrupts != 0 && !_teardownAfterInterrupt;
        _teardownAfterInterrupt = g_interrupts != 0;
        if (_running) {
            StepResult& step = _result.steps[_position.step];
            step.verdict = interrupted ? Verdict::interrupted : Verdict::died;
            step.text = interrupted ? ""
                        : WIFSIGNALED(status)
                            ? std::string("the process died: ") + strsignal(WTERMSIG(status))
                            : "the process ended with exit code " + std::to_string(WEXITSTATUS(status));
            _progress.end(_position.step, step);
        } else if (!interrupted) {
            // Between two steps, where nothing of the plan runs: not to be tried for ever.
            _refusal = "the plan's process died between two steps";
            _abandoned = true;
        }
        Position next;
        next.step = _position.step + (_running ? 1 : 0);
        next.stopped = true;
        next.variables = std::move(_position.variables);
        _position = std::move(next);
    }

    const SessionOptions& _session;
    const bool _details;
    const sigset_t _waitMask;
    Progress _progress;
    PlanResult _result;
    Position _position;
    std::string _refusal;
    bool _powerCycle = false;
    bool _running = false;
    bool _done = false;
    bool _abandoned = false;
    bool _teardownAfterInterrupt = false;
    int _interruptsSeen = 0;
};

// A new set in a temporary folder, which is removed unless it may be wanted for finding a fault.
class FreshSet {
public:
    explicit FreshSet(SessionOptions& session) {
        std::string folder = (fs::temp_directory_path() / "fapi-set-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) {
            throw vset::SetError(folder + ": " + std::strerror(errno));
        }
        _folder = folder;
        session.folder = folder;
    }
    ~FreshSet() {
        if (!_kept) {
            const vset::HostPaths hostPaths;
            std::error_code error;
            fs::remove_all(_folder, error);
        }
    }
    FreshSet(const FreshSet&) = delete;
    FreshSet& operator=(const FreshSet&) = delete;

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
        std::ifstream stream(file, std::ios::binary);
        if (!stream || !fs::is_regular_file(file, error)) {
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
    printLine(plan.name);
    for (const Step& step : plan.steps) {
        std::string line = "  " + std::string(step.teardown ? "teardown: " : "") + step.name;
        if (step.retry != 0) {
            line += " (up to " + std::to_string(step.retry + 1) + " attempts)";
        }
        printLine(line);
        for (const PlanLine& planLine : step.lines) {
            printLine("    " + planLine.text());
        }
    }
}

std::string reportFolder(const RunOptions& options) {
    const std::string folder = options.report.empty() ? "reports" : options.report;
    const vset::HostPaths hostPaths;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || access(folder.c_str(), W_OK) != 0) {
        throw vset::SetError(folder + ": reports cannot be written there");
    }
    return folder;
}

// "reports/factory-line-20260214-101530"
std::string reportStem(const std::string& folder, const PlanResult& result) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(result.start);
    std::tm local = {};
    localtime_r(&seconds, &local);
    char time[32];
    std::strftime(time, sizeof(time), "-%Y%m%d-%H%M%S", &local);
    return (fs::path(folder) / fs::path(result.plan->file).stem()).string() + time;
}

void printVerdict(const PlanResult& result, const std::vector<std::string>& written, bool json) {
    std::string line = "plan \"" + result.plan->name + "\": " + std::to_string(result.count(Verdict::passed)) +
                       " passed, " + std::to_string(result.count(Verdict::marginal)) + " marginal, " +
                       std::to_string(result.count(Verdict::failed) + result.count(Verdict::died) +
                                      result.count(Verdict::interrupted)) +
                       " failed, " + std::to_string(result.count(Verdict::notRun)) + " not run";
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), " in %.1f s", result.seconds);
    line += seconds;
    if (json) {
        Json object = {{"plan", result.plan->name}, {"good", result.isGood()}, {"reports", written}};
        printLine(jsonLine(object));
        return;
    }
    for (const std::string& file : written) {
        line += (&file == &written.front() ? "; report: " : ", ") + file;
    }
    printLine(line);
}

int runPlan(const Plan& plan, const RunOptions& options, const std::string& folder, const sigset_t& waitMask) {
    SessionOptions session = options.session;
    std::unique_ptr<FreshSet> fresh;
    if (options.fresh) {
        fresh = std::make_unique<FreshSet>(session);
    }
    Run run(plan, session, !options.noReport, options.json, waitMask);
    const int code = run.run();
    if (code == kExitSet) {
        return code;
    }
    std::vector<std::string> written;
    if (!options.noReport) {
        for (const auto& report : reports()) {
            written.push_back(report->write(run.result(), reportStem(folder, run.result())));
        }
    }
    if (fresh != nullptr && code != kExitGood) {
        fresh->keep();
    }
    printVerdict(run.result(), written, options.json);
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
    const std::string folder = options.noReport ? "" : reportFolder(options);
    const sigset_t waitMask = catchInterrupts();
    int worst = kExitGood;
    for (const Plan& plan : plans) {
        worst = std::max(worst, runPlan(plan, options, folder, waitMask));
        if (worst >= kExitSet) {
            break;
        }
    }
    return worst;
}

}  // namespace tool
