// SPDX-License-Identifier: Apache-2.0
// What a person sees of the set's audio outputs, and does to them.
#include "actions/action.h"
#include "vset/aout.h"

namespace tool {

namespace {

Argument path() {
    return {"path", Kind::number, "the output path; 0 is the main one", 0, vset::aout::kPaths - 1};
}

void sound(Call& call) {
    const vset::aout::Sound sound = vset::aout::sound();
    call.outLines("sound", vset::aout::describeAll());
    call.out("effect", vset::aout::advancedName(sound.u32AdvancedType));
    call.out("parameters", sound.advancedParameters ? vset::aout::describe(*sound.advancedParameters) : std::string());
    call.out("bypass", static_cast<long long>(sound.bDtsBypass));
    call.out("file", sound.strAqFile);
}

void audioPath(Call& call) {
    const vset::aout::Path path = vset::aout::path(call.number<unsigned int>(0));
    const vset::aout::VolumeTable table = path.volumeTable.value_or(vset::aout::VolumeTable());
    call.out("open", static_cast<long long>(path.bOpen));
    call.out("player", static_cast<long long>(path.bPlayer));
    call.out("blocked", static_cast<long long>(path.bBlocked));
    call.out("volume", static_cast<long long>(path.u8Volume));
    call.out("delay", static_cast<long long>(path.u32DelayMs));
    call.out("table", table.strName);
    call.outNumbers("entries", table.entries);
}

}  // namespace

std::vector<ActionRow> soundActions() {
    return {
        ActionRow("sound", "Show everything that the chip holds of sound.", {},
                  {{"sound", "a line for each path and effect"},
                   {"effect", "the advanced effect that was switched to last"},
                   {"parameters", "the parameters that an advanced effect was sent last"},
                   {"bypass", "1 when DTS is let through"},
                   {"file", "the audio-quality parameters that were loaded last"}},
                  sound)
            .inSession(),
        ActionRow("audio-path", "Show an audio output path.", {path()},
                  {{"open", "1 when it is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"blocked", "1 when it cannot be opened"},
                   {"volume", "in percent"},
                   {"delay", "in ms"},
                   {"table", "name of the volume table that was loaded last"},
                   {"entries", "that table"}},
                  audioPath)
            .inSession(),
        ActionRow("block-path", "Make an audio output path one that cannot be opened, or take that back.",
                  {path(), {"state", Kind::flag, "on or off"}}, {},
                  [](Call& call) { vset::aout::setBlocked(call.number<unsigned int>(0), call.number(1) != 0); })
            .inSession(),
    };
}

}  // namespace tool
