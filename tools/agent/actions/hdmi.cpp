// SPDX-License-Identifier: Apache-2.0
// What a person does to the set's HDMI ports, CEC, PWM channels and factory daemon, and sees of them.
#include <iterator>
#include <utility>

#include "actions/action.h"
#include "hw3/hw_pwm.h"
#include "vset/cec.h"
#include "vset/extin.h"
#include "vset/factory_daemon.h"
#include "vset/pwm.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

// --- HDMI, CEC, PWM --------------------------------------------------------------------------------------------------

// What stands for the version that a source reads just now.
constexpr long long kCurrent = -1;

Argument port() {
    return {"port", Kind::number, "the HDMI port, from 0", 0, 0xFF};
}

Argument version(long long min, std::vector<Choice> choices, std::optional<std::string> byDefault) {
    choices.push_back({"default", 0});
    return {"version",          Kind::choice,        "which EDID", min, vset::extin::kEdidVersions - 1,
            std::move(choices), std::move(byDefault)};
}

void hdmi(Call& call) {
    const auto number = call.number<unsigned int>(0);
    const vset::extin::HdmiPort port = vset::extin::hdmi(number);
    const bool isCurrent = call.number(1) == kCurrent;
    const std::string edid = vset::extin::edid(number, isCurrent ? port.u32Version : call.number<unsigned int>(1));
    call.out("version", static_cast<long long>(port.u32Version));
    call.out("hotplug", static_cast<long long>(port.u8HotPlug));
    call.out("hotplugs", static_cast<long long>(port.u64HotPlugs));
    call.out("open", static_cast<long long>(port.bOpen));
    call.out("player", static_cast<long long>(port.bPlayer));
    call.out("edid", Bytes(edid.begin(), edid.end()));
}

void setEdid(Call& call) {
    const Bytes& bytes = call.bytes(2);
    vset::extin::setEdid(call.number<unsigned int>(0), call.number<unsigned int>(1),
                         std::string(bytes.begin(), bytes.end()));
}

void cec(Call& call) {
    const vset::cec::Cec cec = vset::cec::state();
    call.out("enabled", static_cast<long long>(cec.bEnabled));
    call.out("earc", static_cast<long long>(cec.s32EarcStatus));
    call.out("open", static_cast<long long>(cec.bOpen));
    call.out("player", static_cast<long long>(cec.bPlayer));
}

Argument channel() {
    return {"channel", Kind::number, "the middleware's number: one more than the library's from 9 on", 0,
            vset::pwm::kChannels - 1};
}

void pwm(Call& call) {
    const auto number = call.number<unsigned int>(0);
    call.out("value0", static_cast<long long>(vset::pwm::value(number, E_HW_PWM_ATTR_0)));
    call.out("value1", static_cast<long long>(vset::pwm::value(number, E_HW_PWM_ATTR_1)));
    call.out("value8", static_cast<long long>(vset::pwm::value(number, E_HW_PWM_ATTR_8)));
}

std::vector<ActionRow> linkActions() {
    return {
        ActionRow("hdmi", "Show an HDMI port, and what a source reads from it.",
                  {port(), version(kCurrent, {{"current", kCurrent}}, "current")},
                  {{"version", "which EDID a source reads"},
                   {"hotplug", "level of the hot-plug line"},
                   {"hotplugs", "how often the program has set it"},
                   {"open", "1 when the port is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"edid", "the EDID of that version", true}},
                  hdmi),
        ActionRow("edid", "Replace one of an HDMI port's EDIDs.",
                  {port(),
                   version(0, {}, std::nullopt),
                   {"edid", Kind::bytes, "the EDID: file:PATH", 0, static_cast<long long>(vset::extin::kEdidLimit)}},
                  {}, setEdid),
        ActionRow("cec", "Show CEC and eARC.", {},
                  {{"enabled", "1 when CEC is on"},
                   {"earc", "the eARC status"},
                   {"open", "1 when CEC is open in the middleware"},
                   {"player", "1 when the set's player has opened it"}},
                  cec)
            .inSession(),
        ActionRow("cec-switch", "Switch CEC on or off, as the set's menu does.", {{"state", Kind::flag, "on or off"}},
                  {}, [](Call& call) { vset::cec::setEnabled(call.number(0) != 0); })
            .inSession(),
        ActionRow("earc", "Put eARC to a status, as the audio system at the other end does.",
                  {{"earc", Kind::number, "the status", kI32Min, kI32Max}}, {},
                  [](Call& call) { vset::cec::setEarcStatus(call.number<int>(0)); })
            .inSession(),
        ActionRow("pwm", "Show a PWM channel.", {channel()},
                  {{"value0", "value of attribute 0"},
                   {"value1", "value of attribute 1"},
                   {"value8", "value of attribute 8, which is the library's 2"}},
                  pwm)
            .inSession(),
        ActionRow("pwm-write", "Set one of a PWM channel's values.",
                  {channel(),
                   {"attribute",
                    Kind::choice,
                    "the middleware's attribute",
                    0,
                    0,
                    {{"0", E_HW_PWM_ATTR_0}, {"1", E_HW_PWM_ATTR_1}, {"8", E_HW_PWM_ATTR_8}}},
                   {"value", Kind::number, "the value", 0, kU32Max}},
                  {},
                  [](Call& call) {
                      vset::pwm::setValue(call.number<unsigned int>(0), call.number<unsigned int>(1),
                                          call.number<unsigned int>(2));
                  })
            .inSession(),
    };
}

// --- Factory daemon --------------------------------------------------------------------------------------------------

using vset::factory_daemon::Behaviour;

constexpr long long kOff = -1;

void daemon(Call& call) {
    if (call.number(0) == kOff) {
        vset::factory_daemon::stop();
    } else {
        vset::factory_daemon::start(static_cast<Behaviour>(call.number(0)), call.number<int>(1));
    }
}

void daemonCommands(Call& call) {
    const std::vector<vset::factory_daemon::Command> commands = vset::factory_daemon::commands();
    Rows rows;
    for (const vset::factory_daemon::Command& command : commands) {
        const std::size_t size = command.strRecord.size();
        rows.push_back({std::to_string(command.s32Command) + " \"" + escaped(command.strParameters, true) + "\" (" +
                            std::to_string(size) + " bytes)",
                        {{"command", command.s32Command},
                         {"parameters", command.strParameters},
                         {"size", static_cast<long long>(size)}}});
    }
    const std::string last = commands.empty() ? "" : commands.back().strRecord;
    call.outRows("commands", std::move(rows));
    call.out("count", static_cast<long long>(commands.size()));
    call.out("last", Bytes(last.begin(), last.end()));
    call.out("running", static_cast<long long>(vset::factory_daemon::isRunning()));
    if (call.number(0) != 0) {
        vset::factory_daemon::clearCommands();
    }
}

std::vector<ActionRow> daemonActions() {
    const auto choice = [](const char* name, Behaviour behaviour) {
        return Choice{name, static_cast<long long>(behaviour)};
    };
    return {
        ActionRow("daemon", "Start the factory daemon, tell it how to behave, or stop it.",
                  {{"behaviour",
                    Kind::choice,
                    "answer with the status, stutter (its first byte, then hang up), keep silence, hang up after the "
                    "command or "
                    "before it, or be off",
                    0,
                    0,
                    {choice("answer", Behaviour::answer), choice("stutter", Behaviour::stutter),
                     choice("silence", Behaviour::silence), choice("hang-up", Behaviour::hangUp),
                     choice("hang-up-early", Behaviour::hangUpEarly), Choice{"off", kOff}}},
                   {"result", Kind::number, "the status that it answers", kI32Min, kI32Max, {}, "0"}},
                  {}, daemon)
            .inSession(),
        ActionRow("daemon-commands", "Show what the factory daemon has been sent.",
                  {{"clear", Kind::choice, "whether it is forgotten then", 0, 0, {{"keep", 0}, {"clear", 1}}, "keep"}},
                  {{"commands", "a line each: the daemon's number, parameters, size of the record"},
                   {"count", "how many there are"},
                   {"last", "all bytes of the last one", true},
                   {"running", "1 when the daemon is running"}},
                  daemonCommands)
            .inSession(),
    };
}

}  // namespace

std::vector<ActionRow> hdmiActions() {
    std::vector<ActionRow> rows = linkActions();
    std::vector<ActionRow> daemon = daemonActions();
    std::move(daemon.begin(), daemon.end(), std::back_inserter(rows));
    return rows;
}

}  // namespace tool
