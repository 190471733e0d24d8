// SPDX-License-Identifier: Apache-2.0
// Ctrl-C for what must not end in the middle.
#ifndef FAPI_BENCH_BASE_INTERRUPTS_H
#define FAPI_BENCH_BASE_INTERRUPTS_H

#include <csignal>

namespace tool {

// Ctrl-C, SIGTERM, and SIGHUP of a terminal that is closed, unless the program was started to outlive that.
sigset_t endingSignals();

// Those, or others, from the making of this on: kept from ending the process, and counted. Must be made before other
// threads are: they inherit the blocked signals.
class Interrupts {
public:
    explicit Interrupts(const sigset_t& signals = endingSignals());
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    // Readable when there are new ones.
    int descriptor() const { return _descriptor; }
    // Counts the new ones; true when there were any.
    bool take();
    unsigned int count() const { return _count; }
    // Whether one of those counted was this signal.
    bool tookSignal(int signal) const { return sigismember(&_taken, signal) == 1; }
    // In a process of its own: signals act as before.
    void giveBack() const;

private:
    sigset_t _before;
    sigset_t _taken;
    int _descriptor = -1;
    unsigned int _count = 0;
};

}  // namespace tool

#endif
