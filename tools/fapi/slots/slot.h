// SPDX-License-Identifier: Apache-2.0
// A place of the station where a unit is tested beside others: one run at a time, each a process of its own.
#ifndef FAPI_BENCH_SLOTS_SLOT_H
#define FAPI_BENCH_SLOTS_SLOT_H

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

#include "hub/agent_wire.h"
#include "hub/descriptor.h"
#include "target/fresh_set.h"
#include "target/output.h"
#include "target/target.h"

namespace tool {

// What is known of a slot's present or last run.
struct SlotState {
    std::string unit;
    std::string step;  // the last one that has ended
    std::size_t steps = 0;
    std::string verdict;  // of the run; empty while it goes on
    std::string why;      // where it has none of its own
    std::vector<std::string> reports;
    double seconds = 0;
};

// How a slot reaches its set.
struct SlotTarget {
    std::string name;
    Words options;         // of the command line: "--set FOLDER", "--target NAME"
    TargetOptions target;  // for the questions of its runs
    bool isFresh = false;  // each run has a new set
};

class Slot {
public:
    explicit Slot(SlotTarget target) : _target(std::move(target)) {}
    // A run that goes on is ended at once.
    ~Slot();
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    const std::string& name() const { return _target.name; }
    const SlotState& state() const { return _state; }
    bool isBusy() const { return _child > 0; }

    // Starts a run. `command` is the bench and its words; the slot's own options are added.
    void start(Words command, const std::string& unit);
    void addTo(std::vector<pollfd>& waited);
    // Moves what has come after that wait: objects of the run's progress, and lines of its standard error.
    void move(const std::vector<pollfd>& waited);
    std::deque<Json> takeProgress() { return std::exchange(_progress, {}); }
    std::vector<std::string> takeMessages() { return std::exchange(_messages, {}); }
    // The exit code of a run that has just ended, once.
    std::optional<int> takeEnd() { return std::exchange(_end, std::nullopt); }
    // As Ctrl-C does: teardown and report follow; a second one ends all.
    void interrupt() const;

    // Follows the questions of the run, when its hub is there.
    void follow();
    Target* follower() { return _follower.get(); }
    std::deque<Field>& questions() { return _questions; }

private:
    void read(Descriptor& from, std::string& open, bool isProgress);
    void takeLine(const std::string& line, bool isProgress);
    void reap();

    const SlotTarget _target;
    SlotState _state;
    std::unique_ptr<FreshSet> _fresh;
    pid_t _child = -1;
    Descriptor _output, _errors, _process;
    std::string _openOutput, _openError;
    std::size_t _place = 0;
    Clock::time_point _start;
    std::deque<Json> _progress;
    std::vector<std::string> _messages;
    std::optional<int> _end;
    std::unique_ptr<Target> _follower;
    Clock::time_point _nextTry;
    std::deque<Field> _questions;
};

}  // namespace tool

#endif
