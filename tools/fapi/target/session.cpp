// SPDX-License-Identifier: Apache-2.0
// A process's hold on a virtual set, and where its output goes.
#include "target/session.h"

#include <cstdlib>
#include <optional>
#include <set>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "actions/log_switch.h"
#include "base/terminal.h"
#include "target/event_log.h"
#include "target/in_process.h"
#include "target/output.h"
#include "vset/vset.h"
#include "vset/wdt.h"

namespace tool {

namespace {

FILE* g_dataOutput = nullptr;

}  // namespace

FILE* dataOutput() {
    return g_dataOutput != nullptr ? g_dataOutput : stdout;
}

void separateOutputs() {
    std::fflush(stdout);
    const int data = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (data < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        std::perror("fapi");
        std::exit(kExitSet);
    }
    g_dataOutput = fdopen(data, "w");
    setvbuf(g_dataOutput, nullptr, isatty(data) != 0 ? _IOLBF : _IOFBF, BUFSIZ);
    // The library's log is to stand where it happens, between the lines of fapi.
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void joinOutputs() {
    // Not all streams: another thread may be waiting for input, and has that one locked.
    std::fflush(stdout);
    std::fflush(dataOutput());
    dup2(fileno(dataOutput()), STDOUT_FILENO);
}

bool isOutputWritten() {
    return std::fflush(dataOutput()) == 0 && std::ferror(dataOutput()) == 0;
}

bool isReaderGone() {
    pollfd output = {fileno(dataOutput()), POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

std::string setFolder(const SessionOptions& options) {
    return options.folder.empty() ? vset::defaultFolder() : options.folder;
}

void openSession(const SessionOptions& options) {
    const std::string folder = setFolder(options);
    const vset::HostPaths hostPaths;
    if (access((folder + "/set.json").c_str(), F_OK) == 0) {
        const std::vector<std::string> damage = vset::check(folder);
        for (const std::string& line : damage) {
            printMessage(line);
        }
        if (!damage.empty() && !options.damaged) {
            throw vset::SetError(folder + ": is damaged (--damaged goes on all the same)");
        }
    }
    vset::wdt::onReboot(endWithSet);
    hearEvents([](const Event& event) { eventLog().add(event); });
    vset::attach(folder);
    if (options.log) {
        setLogSwitch(LogState::on);
    }
}

void endWithSet() {
    std::fputs("fapi: the watchdog has rebooted the set\n", stderr);
    std::fflush(dataOutput());
    // Not exit(): other threads go on meanwhile.
    _exit(kExitFailed);
}

void bringUpFor(const Operation* operation) {
    static std::set<std::string> done;
    const std::vector<std::string> needs = operation != nullptr ? operation->needs : findOperation("sys_deinit")->needs;
    for (const std::string& name : needs) {
        const Operation* init = findOperation(name);
        if (init == nullptr || !done.insert(name).second) {
            continue;
        }
        const Outcome outcome = invoke(*init, {});
        if (!outcome.good) {
            std::fprintf(stderr, "fapi: %s answered %lld%s\n", name.c_str(), outcome.status, reasonOf(outcome).c_str());
        }
        printRefusals(outcome);
    }
    if (operation != nullptr) {
        done.insert(operation->name);
    }
}

}  // namespace tool
