// SPDX-License-Identifier: Apache-2.0
// Rows of the event operations, which all modules have, and the callbacks that they register.
#include <array>
#include <atomic>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_info.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_net.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "operations/events.h"
#include "operations/operation.h"

namespace tool {

namespace {

using Object = fapi_core::VexTvFApiEventCommonObject;

std::atomic<void (*)(const Event&)> g_listener{nullptr};

EventObject objectOf(const Object& object) {
    return {object.value, object.text, object.data};
}

// One module's trio. Rows need plain functions, so each module has its own.
template <int (*reg)(fapi_core::VexTvFApiEventCallback_t), int (*unreg)(),
          int (*nty)(unsigned int, const Object&, const Object&, const Object&, const Object&),
          const char* const& module>
struct Trio {
    static int callback(unsigned int event, const Object& a, const Object& b, const Object& c, const Object& d) {
        if (const auto listener = g_listener.load()) {
            listener({std::chrono::system_clock::now(),
                      std::chrono::steady_clock::now(),
                      module,
                      event,
                      {objectOf(a), objectOf(b), objectOf(c), objectOf(d)}});
        }
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

}  // namespace

std::vector<OperationRow> eventOperations() {
    static const std::vector<Argument> kNotify = {
        {"event", Kind::number, "the event's number", 0, 0xFFFFFFFFll},
        {"value", Kind::number, "number of the first payload object", -0x80000000ll, 0x7FFFFFFF, {}, "0"},
        {"text", Kind::text, "text of the first payload object", 0, 0, {}, ""},
        {"data", Kind::bytes, "bytes of the first payload object", 0, 0, {}, ""}};
    std::vector<OperationRow> rows;
    for (const Module* module : kModules) {
        const std::string name = module->name, registration = name + "_reg_callback";
        rows.push_back(OperationRow(module->operations[0],
                                    "Register the agent's own callback, whose events watch and the shell show.",
                                    Result::status, {}, {}, module->run[0])
                           .example(registration.c_str()));
        rows.push_back(OperationRow(module->operations[1], "Remove the registered callback.", Result::status, {}, {},
                                    module->run[1])
                           .example((name + "_unreg_callback").c_str()));
        rows.push_back(OperationRow(module->operations[2],
                                    "Deliver an event to the registered callback; -1 when there is none.",
                                    Result::status, kNotify, {}, module->run[2])
                           .example((name + "_nty_event 1 1").c_str(), {registration}));
    }
    return rows;
}

void hearEvents(void (*listener)(const Event& event)) {
    g_listener = listener;
}

void listenToAllModules(bool on) {
    for (const Module* module : kModules) {
        module->listen(on);
    }
}

std::vector<std::string> eventModules() {
    std::vector<std::string> names;
    names.reserve(std::size(kModules));
    for (const Module* module : kModules) {
        names.emplace_back(module->name);
    }
    return names;
}

}  // namespace tool
