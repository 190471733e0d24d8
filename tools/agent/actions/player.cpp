// SPDX-License-Identifier: Apache-2.0
// What the set's player opens and closes: the library finds it open, or is refused, meanwhile.
#include "actions/action.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_flash.h"
#include "vset/aout.h"
#include "vset/cap.h"
#include "vset/cec.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/extin.h"
#include "vset/flash.h"
#include "vset/gpio.h"
#include "vset/iic.h"
#include "vset/net.h"
#include "vset/pm.h"
#include "vset/pwm.h"
#include "vset/sar.h"
#include "vset/tuner.h"
#include "vset/uart.h"

namespace tool {

namespace {

struct Holding {
    const char* name;
    void (*hold)(unsigned int number);
    void (*release)(unsigned int number);
};

// A part of which there is one.
template <void (*hold)(), void (*release)()>
constexpr Holding single(const char* name) {
    return {name, [](unsigned int) { hold(); }, [](unsigned int) { release(); }};
}

template <std::uint32_t type>
constexpr Holding input(const char* name) {
    return {name, [](unsigned int number) { vset::extin::hold(type, number); },
            [](unsigned int number) { vset::extin::release(type, number); }};
}

// The interface at that place of the list, which is what a person sees.
std::string interfaceName(unsigned int number) {
    const std::vector<vset::net::Interface> interfaces = vset::net::interfaces();
    if (number >= interfaces.size()) {
        throw vset::SetError("there are only " + std::to_string(interfaces.size()) + " network interfaces");
    }
    return interfaces[number].strName;
}

const Holding kHoldings[] = {
    {"window", vset::disp::hold, vset::disp::release},
    single<vset::disp::holdController, vset::disp::releaseController>("controller"),
    single<vset::dispout::hold, vset::dispout::release>("output"),
    single<vset::cap::hold, vset::cap::release>("capture"),
    input<E_HW_EXTIN_TYPE_VGA>("vga"),
    input<E_HW_EXTIN_TYPE_YPBPR>("ypbpr"),
    input<E_HW_EXTIN_TYPE_SCART>("scart"),
    input<E_HW_EXTIN_TYPE_HDMI>("hdmi"),
    input<E_HW_EXTIN_TYPE_VD>("vd"),
    {"tuner", vset::tuner::hold, vset::tuner::release},
    {"audio-path", vset::aout::hold, vset::aout::release},
    {"uart", vset::uart::hold, vset::uart::release},
    {"adc", vset::sar::hold, vset::sar::release},
    {"iic", vset::iic::hold, vset::iic::release},
    {"pad", vset::gpio::hold, vset::gpio::release},
    {"pwm", vset::pwm::hold, vset::pwm::release},
    single<vset::cec::hold, vset::cec::release>("cec"),
    single<vset::pm::hold, vset::pm::release>("pm"),
    {"flash", vset::flash::hold, vset::flash::release},
    {"net", [](unsigned int number) { vset::net::hold(interfaceName(number)); },
     [](unsigned int number) { vset::net::release(interfaceName(number)); }},
};

void player(Call& call) {
    const Holding& holding = kHoldings[call.number<std::size_t>(0)];
    (call.number(1) != 0 ? holding.hold : holding.release)(call.number<unsigned int>(2));
}

}  // namespace

std::vector<ActionRow> playerActions() {
    constexpr long long kMost = 0xFFFF;
    std::vector<Choice> holdings;
    for (const Holding& holding : kHoldings) {
        holdings.push_back({holding.name, static_cast<long long>(holdings.size())});
    }
    return {
        ActionRow("player", "Have the set's player open a part of the set, or close it.",
                  {{"part", Kind::choice, "what", 0, 0, holdings},
                   {"state", Kind::flag, "on or off"},
                   {"number", Kind::number, "which of several: a pad, a bus, a channel", 0, kMost, {}, "0"}},
                  {}, player)
            .inSession(),
    };
}

}  // namespace tool
