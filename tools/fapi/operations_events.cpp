// SPDX-License-Identifier: Apache-2.0
// Rows of the event operations, which all modules have, and the callbacks that they register.
#include <array>
#include <ctime>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_info.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_net.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "event_log.h"
#include "operation.h"

namespace tool {

namespace {

using Object = fapi_core::VexTvFApiEventCommonObject;

// One module's trio. Rows need plain functions, so each module has its own.
template <int (*reg)(fapi_core::VexTvFApiEventCallback_t), int (*unreg)(),
          int (*nty)(unsigned int, const Object&, const Object&, const Object&, const Object&),
          const char* const& module>
struct Trio {
    static int callback(unsigned int event, const Object& a, const Object& b, const Object& c, const Object& d) {
        eventLog().add({std::chrono::system_clock::now(), module, event, {a, b, c, d}});
        return 0;
    }
    static long long registerIt(Call&) { return reg(callback); }
    static long long unregister(Call&) { return unreg(); }
    static long long notify(Call& call) {
        Object first;
        first.value = call.number<int>(1);
        first.text = call.text(2);
        first.data = call.bytes(3);
        const Object none;
        return nty(call.number<unsigned int>(0), first, none, none, none);
    }
    static void listen(bool on) { on ? reg(callback) : unreg(); }
};

struct Module {
    const char* name;
    std::array<const char*, 3> operations;
    std::array<long long (*)(Call&), 3> run;
    void (*listen)(bool on);
};

#define MODULE(m)                                                                                                   \
    constexpr const char* k_##m = #m;                                                                               \
    using Trio_##m =                                                                                                \
        Trio<a_vextvfapi_##m##_reg_callback, a_vextvfapi_##m##_unreg_callback, a_vextvfapi_##m##_nty_event, k_##m>; \
    const Module module_##m = {                                                                                     \
        #m,                                                                                                         \
        {"a_vextvfapi_" #m "_reg_callback", "a_vextvfapi_" #m "_unreg_callback", "a_vextvfapi_" #m "_nty_event"},   \
        {Trio_##m::registerIt, Trio_##m::unregister, Trio_##m::notify},                                             \
        Trio_##m::listen}

MODULE(aud);
MODULE(disp);
MODULE(disptst);
MODULE(info);
MODULE(inpsrc);
MODULE(net);
MODULE(prphrl);
MODULE(sys);

const std::array<const Module*, 8> kModules = {&module_aud,    &module_disp, &module_disptst, &module_info,
                                               &module_inpsrc, &module_net,  &module_prphrl,  &module_sys};

std::string displayObject(const Object& object) {
    std::string text;
    if (object.value != 0 || (object.text.empty() && object.data.empty())) {
        text += " value " + std::to_string(object.value);
    }
    if (!object.text.empty()) {
        text += " text " + display(object.text);
    }
    if (!object.data.empty()) {
        text += " bytes " + hexText(object.data, " ");
    }
    return text;
}

bool isEmpty(const Object& object) {
    return object.value == 0 && object.text.empty() && object.data.empty();
}

}  // namespace

std::vector<Operation> eventOperations() {
    static const std::vector<Argument> kNotify = {
        {"event", Kind::number, "the event's number", 0, 0xFFFFFFFFll},
        {"value", Kind::number, "number of the first payload object", -0x80000000ll, 0x7FFFFFFF, {}, "0"},
        {"text", Kind::text, "text of the first payload object", 0, 0, {}, ""},
        {"data", Kind::bytes, "bytes of the first payload object", 0, 0, {}, ""}};
    std::vector<Operation> rows;
    for (const Module* module : kModules) {
        rows.push_back({module->operations[0],
                        "Register fapi's own callback, whose events watch and the shell show.",
                        Result::status,
                        {},
                        {},
                        module->run[0]});
        rows.push_back(
            {module->operations[1], "Remove the registered callback.", Result::status, {}, {}, module->run[1]});
        rows.push_back({module->operations[2],
                        "Deliver an event to the registered callback; -1 when there is none.",
                        Result::status,
                        kNotify,
                        {},
                        module->run[2]});
    }
    return rows;
}

EventLog& eventLog() {
    static EventLog& log = *new EventLog;
    return log;
}

void EventLog::add(Event event) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _events.push_back(std::move(event));
    _changed.notify_one();
}

bool EventLog::take(Event& event, std::chrono::steady_clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait_until(lock, deadline, [this] { return _interrupted || !_events.empty(); });
    if (_interrupted || _events.empty()) {
        return false;
    }
    event = std::move(_events.front());
    _events.pop_front();
    return true;
}

void EventLog::interrupt() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _interrupted = true;
    _changed.notify_all();
}

void listenToAllModules(bool on) {
    for (const Module* module : kModules) {
        module->listen(on);
    }
}

std::vector<std::string> eventModules() {
    std::vector<std::string> names;
    for (const Module* module : kModules) {
        names.emplace_back(module->name);
    }
    return names;
}

std::string displayEvent(const Event& event) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(event.time);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(event.time.time_since_epoch()).count() % 1000;
    std::tm local = {};
    localtime_r(&seconds, &local);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), "%H:%M:%S", &local);
    std::snprintf(text + length, sizeof(text) - length, ".%03d %s 0x%x", static_cast<int>(milliseconds), event.module,
                  event.number);
    std::string line = text + displayObject(event.objects[0]);
    for (std::size_t i = 1; i < 4; ++i) {
        if (!isEmpty(event.objects[i])) {
            line += " |" + displayObject(event.objects[i]);
        }
    }
    return line;
}

}  // namespace tool
