// SPDX-License-Identifier: Apache-2.0
// What the worker reports unasked.
#include "worker/notices.h"

#include <condition_variable>
#include <csignal>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <sys/prctl.h>

#include "operations/events.h"
#include "protocol/message.h"
#include "supervisor/internal.h"
#include "vset/vset.h"
#include "worker/outbox.h"

namespace tool {

namespace {

// Calls in one notification.
constexpr std::size_t kCallsTogether = 256;

Outbox* g_outbox = nullptr;

// Numbered notifications of one kind. What a slow wire does not take is counted, and the next one says how many that
// were.
class Feed {
public:
    explicit Feed(const char* method) : _method(method) {}

    // The caller has a mutex.
    void offer(Field params) {
        Field all = {{"seq", ++_seq}};
        if (_dropped != 0) {
            all.set("dropped", _dropped);
        }
        for (const auto& entry : params.fields()) {
            all.set(entry.first, params.take(entry.first));
        }
        const bool isTaken = g_outbox->offer(kNotificationMark, toField(Notification{_method, std::move(all)}));
        _dropped = isTaken ? 0 : _dropped + 1;
    }

private:
    const char* const _method;
    long long _seq = 0;
    long long _dropped = 0;
};

// --- Events ----------------------------------------------------------------------------------------------------------

// Never destroyed, as all that a thread of the library can reach.
struct Events {
    std::mutex mutex;
    Feed feed{"event"};
};

Events& theEvents() {
    static Events& events = *new Events;
    return events;
}

void takeEvent(const Event& event) {
    Field params = Field::Fields{};
    addTo(params, event);
    Events& events = theEvents();
    const std::lock_guard<std::mutex> lock(events.mutex);
    events.feed.offer(std::move(params));
}

// --- The journal -----------------------------------------------------------------------------------------------------

struct Journal {
    std::mutex mutex;
    Feed feed{"journal"};
    bool isOn = false;
    std::uint64_t reported = 0;
    std::map<std::thread::id, long long> threads;  // 1, 2, ... in the order in which they appear
};

Journal& theJournal() {
    static Journal& journal = *new Journal;
    return journal;
}

Field callField(Journal& journal, const vset::JournalEntry& entry) {
    const auto count = static_cast<long long>(journal.threads.size());
    return {{"number", entry.u64Number},
            {"begun", entry.u64Begun},
            {"thread", journal.threads.try_emplace(entry.thread, count + 1).first->second},
            {"call", entry.pszCall},
            {"arguments", Field::ofSet(entry.strArguments)},
            {"outputs", Field::ofSet(entry.strOutputs)},
            {"result", entry.s64Result},
            {"errno", entry.s32Errno},
            {"fault", entry.bFault},
            {"refused", entry.bRefused}};
}

void offerCalls(Journal& journal, Field::List calls) {
    using namespace std::chrono;
    Field params = {{"mono", nanoseconds(steady_clock::now().time_since_epoch()).count()},
                    {"wall", nanoseconds(system_clock::now().time_since_epoch()).count()}};
    // Not among the others, which are copied.
    params.set("calls", std::move(calls));
    journal.feed.offer(std::move(params));
}

// The caller has the mutex.
void flush(Journal& journal) {
    Field::List calls;
    for (const vset::JournalEntry& entry : vset::journal(journal.reported)) {
        journal.reported = entry.u64Number;
        calls.push_back(callField(journal, entry));
        if (calls.size() == kCallsTogether) {
            offerCalls(journal, std::exchange(calls, {}));
        }
    }
    if (!calls.empty()) {
        offerCalls(journal, std::move(calls));
    }
}

// --- What must finish ------------------------------------------------------------------------------------------------

enum class Finish { nothing, asked, promised };

struct Finishing {
    std::mutex mutex;
    std::condition_variable changed;
    Finish state = Finish::nothing;

    void set(Finish next) {
        const std::lock_guard<std::mutex> lock(mutex);
        state = next;
        changed.notify_all();
    }
    void waitFor(Finish wanted) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return state == wanted; });
    }
};

Finishing& theFinishing() {
    static Finishing& finishing = *new Finishing;
    return finishing;
}

}  // namespace

void reportTo(Outbox& outbox) {
    g_outbox = &outbox;
}

void reportEvents(bool on) {
    hearEvents(on ? takeEvent : nullptr);
    listenToAllModules(on);
}

std::uint64_t reportJournal(bool on) {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    const bool was = journal.isOn;
    if (was) {
        flush(journal);
    }
    journal.isOn = on;
    // What has been called since the flush is reported with the next one.
    journal.reported = was ? journal.reported : vset::lastCall();
    return journal.reported;
}

void flushJournal() {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    if (journal.isOn && vset::lastCall() != journal.reported) {
        flush(journal);
    }
}

void noteSwitchedOn(unsigned int boots) {
    g_outbox->send(kInternalMark, {{"what", kSwitchedOn}, {"boots", boots}});
}

MustFinish::MustFinish() {
    theFinishing().set(Finish::asked);
    g_outbox->send(kInternalMark, {{"what", kMustFinish}});
    theFinishing().waitFor(Finish::promised);
    prctl(PR_SET_PDEATHSIG, 0);
}

MustFinish::~MustFinish() {
    // A supervisor that has ended before sends no signal, but then the thread that listens to it waits for this end.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    theFinishing().set(Finish::nothing);
}

void MustFinish::go() {
    theFinishing().set(Finish::promised);
}

void MustFinish::waitForEnd() {
    Finishing& finishing = theFinishing();
    std::unique_lock<std::mutex> lock(finishing.mutex);
    finishing.changed.wait(lock, [&] { return finishing.state != Finish::promised; });
}

}  // namespace tool
