// SPDX-License-Identifier: Apache-2.0
// The program fapi-agent: options, descriptors and signals.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>

#include <fcntl.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include "supervisor/limits.h"
#include "supervisor/supervisor.h"

namespace tool {

namespace {

#if defined(FAPI_FACTORY_MARKER)
// The agent of a board serves only a set that has this file.
constexpr char kMarker[] = FAPI_FACTORY_MARKER;
constexpr bool kIsBoard = true;
constexpr char kUsage[] =
    "usage: fapi-agent [--folder PATH]... [--partition NAME=BYTES]...\n"
    "Serves one client on its standard streams, on a set in factory mode.\n"
    "  --folder PATH           the client may read and write files in this folder\n"
    "  --partition NAME=BYTES  the client may read and write this partition of the eMMC, which has so many bytes\n"
    "  --version               print the version\n";
#else
constexpr char kMarker[] = "/";
constexpr bool kIsBoard = false;
constexpr char kUsage[] =
    "usage: fapi-agent [--set FOLDER] [--damaged] [--as-board SOCKET]\n"
    "Serves one client on its standard streams; docs/agent-protocol.md describes the protocol.\n"
    "  --set FOLDER   the virtual set's folder\n"
    "  --damaged      go on with a damaged set\n"
    "  --as-board SOCKET  the virtual set in the role of a board: its actions are for who connects there\n"
    "  --version      print the version\n";
#endif

// A terminal, such as a serial console, passes bytes as they are while the object lives.
class RawTerminal {
public:
    explicit RawTerminal(int terminal) : _terminal(terminal), _isTerminal(tcgetattr(terminal, &_before) == 0) {
        if (_isTerminal) {
            termios raw = _before;
            cfmakeraw(&raw);
            tcsetattr(_terminal, TCSANOW, &raw);
        }
    }
    ~RawTerminal() {
        if (_isTerminal) {
            tcsetattr(_terminal, TCSANOW, &_before);
        }
    }
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

private:
    const int _terminal;
    termios _before = {};
    const bool _isTerminal;
};

// The signals that the supervisor reads in its loop.
int openSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGHUP, SIGINT, SIGCHLD}) {
        sigaddset(&signals, number);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

// Moves the wire above the standard descriptors: what is printed by mistake goes to standard error.
void separateWire(int& in, int& out) {
    in = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    out = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    // A program may be started without it.
    if (fcntl(STDERR_FILENO, F_GETFD) < 0) {
        dup2(null, STDERR_FILENO);
    }
    dup2(STDERR_FILENO, STDOUT_FILENO);
    if (null > STDERR_FILENO) {
        close(null);
    }
}

// Whether the words begin with an option and its value; they are added to the options then.
bool takeOption(AgentOptions& options, std::string_view word, const char* value) {
    if (!kIsBoard && word == "--set" && value != nullptr) {
        options.folder = value;
        return true;
    }
    if (!kIsBoard || value == nullptr || !Limits().take(word, value)) {
        return false;
    }
    options.limits.emplace_back(word);
    options.limits.emplace_back(value);
    return true;
}

int serve(const AgentOptions& options) {
    if (access(kMarker, F_OK) != 0) {
        std::fprintf(stderr, "fapi-agent: %s: %s: this set is not in factory mode\n", kMarker, std::strerror(errno));
        return 1;
    }
    int in = -1, out = -1;
    separateWire(in, out);
    const int signals = openSignals();
    if (in < 0 || out < 0 || signals < 0) {
        std::perror("fapi-agent");
        return 1;
    }
    const RawTerminal raw(in);
    Wire wire(in, out);
    Supervisor(options, wire, signals).run();
    return 0;
}

}  // namespace

}  // namespace tool

int main(int argc, char** argv) {
    tool::AgentOptions options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (tool::takeOption(options, word, argv[i + 1])) {
            ++i;
        } else if (!tool::kIsBoard && word == "--as-board" && i + 1 < argc) {
            options.hands = argv[++i];
        } else if (!tool::kIsBoard && word == "--damaged") {
            options.damaged = true;
        } else if (word == "--version" || word == "--help") {
            std::fputs(word == "--help" ? tool::kUsage : FAPI_VERSION "\n", stdout);
            return 0;
        } else {
            std::fprintf(stderr, "fapi-agent: %s: unknown\n%s", argv[i], tool::kUsage);
            return 2;
        }
    }
    try {
        return tool::serve(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fapi-agent: %s\n", error.what());
        return 1;
    }
}
