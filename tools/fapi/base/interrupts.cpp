// SPDX-License-Identifier: Apache-2.0
// Ctrl-C for what must not end in the middle.
#include "base/interrupts.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include <sys/signalfd.h>
#include <unistd.h>

namespace tool {

sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    // Under nohup it is to be ignored, which a blocked signal is not.
    struct sigaction hangUp = {};
    sigaction(SIGHUP, nullptr, &hangUp);
    if (hangUp.sa_handler != SIG_IGN) {
        sigaddset(&signals, SIGHUP);
    }
    return signals;
}

Interrupts::Interrupts(const sigset_t& signals) {
    sigemptyset(&_taken);
    pthread_sigmask(SIG_BLOCK, &signals, &_before);
    _descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (_descriptor < 0) {
        throw std::runtime_error(std::string("signalfd: ") + std::strerror(errno));
    }
}

Interrupts::~Interrupts() {
    // What came too late to end anything is not to end what follows.
    take();
    close(_descriptor);
    giveBack();
}

bool Interrupts::take() {
    const unsigned int before = _count;
    signalfd_siginfo info;
    while (read(_descriptor, &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
        ++_count;
        sigaddset(&_taken, static_cast<int>(info.ssi_signo));
    }
    return _count != before;
}

void Interrupts::giveBack() const {
    pthread_sigmask(SIG_SETMASK, &_before, nullptr);
}

}  // namespace tool
