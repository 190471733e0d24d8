// SPDX-License-Identifier: Apache-2.0
// What a person plugs into the set's external inputs, sends to its tuners and sets its decoder to, and sees of them.
#include <algorithm>
#include <iterator>
#include <utility>

#include "actions/action.h"
#include "operations/input_words.h"
#include "vset/tuner.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;
// What stands for a value that is only looked at.
constexpr long long kKeep = -1;

Argument word(const char* name, const char* help, std::optional<std::string> byDefault = std::nullopt) {
    return {name, Kind::number, help, 0, kU32Max, {}, std::move(byDefault)};
}

struct Place {
    std::uint32_t type;
    std::uint32_t index;
};
// Every action here that acts on an input has these first.
Place placeOf(const Call& call) {
    return {call.number<std::uint32_t>(0), call.number<std::uint32_t>(1)};
}

// --- Inputs ----------------------------------------------------------------------------------------------------------

void plug(Call& call) {
    vset::extin::Source source;
    source.stTiming.u32Width = call.number<HW_U32>(2);
    source.stTiming.u32Height = call.number<HW_U32>(3);
    source.stTiming.u32FrameRate = call.number<HW_U32>(4);
    source.stTiming.u8Interlaced = call.number<HW_U8>(5);
    source.u32Status = call.number<std::uint32_t>(6);
    source.u32TvSystem = call.number<std::uint32_t>(7);
    const Place place = placeOf(call);
    vset::extin::plug(place.type, place.index, source);
}

// The set tells no handles but those of what is open; its key of an input is type and index.
std::uint32_t handleOf(const Place& place) {
    const std::uint64_t key = std::uint64_t{place.type} << 32 | place.index;
    for (const vset::OpenHandle& handle : vset::openHandles()) {
        if (handle.strFamily == "HW_EXTIN" && handle.u64Key == key) {
            return handle.u32Handle;
        }
    }
    return 0;
}

void input(Call& call) {
    const Place place = placeOf(call);
    const vset::extin::Input input = vset::extin::input(place.type, place.index);
    call.out("open", static_cast<long long>(input.bOpen));
    call.out("player", static_cast<long long>(input.bPlayer));
    call.out("handle", static_cast<long long>(handleOf(place)));
    call.out("plugged", pluggedWords(input));
}

void needed(Call& call) {
    const Place place = placeOf(call);
    std::optional<vset::extin::Source> source = vset::extin::input(place.type, place.index).source;
    if (!source) {
        throw vset::SetError("nothing is plugged into " + std::string(inputName(place.type)) + " " +
                             std::to_string(place.index));
    }
    source->stNeeded = {call.number<HW_U32>(2), call.number<HW_U32>(3), call.number<HW_U32>(4),
                        call.number<HW_U32>(5), call.number<HW_U32>(6), call.number<HW_U32>(7)};
    vset::extin::plug(place.type, place.index, *source);
}

void calibration(Call& call) {
    const Place place = placeOf(call);
    const vset::extin::Calibration calibration = vset::extin::calibration(place.type, place.index);
    call.out("calibration", calibrationWords(place.type, place.index));
    for (const auto& [name, value] : namedValues(calibration.stGainOffset)) {
        call.out(name, static_cast<long long>(value));
    }
    call.out("automatic", static_cast<long long>(vset::extin::automaticCalibrations(place.type, place.index)));
}

std::vector<ActionRow> plugActions() {
    const std::vector<Choice> systems = {{"none", E_HW_EXTIN_TV_SYSTEM_NONE}};
    return {
        ActionRow(
            "plug", "Plug a source into an external input.",
            {inputType(),
             inputIndex(),
             word("width", "pixels of a line", "1920"),
             word("height", "lines", "1080"),
             word("rate", "frames in 1000 s", "60000"),
             {"scan", Kind::choice, "how it is scanned", 0, 0, {{"progressive", 0}, {"interlaced", 1}}, "progressive"},
             {"signal",
              Kind::choice,
              "what the set makes of it",
              0,
              kU32Max,
              {{"none", E_HW_EXTIN_SIGNAL_NONE},
               {"locked", E_HW_EXTIN_SIGNAL_LOCKED},
               {"unknown", E_HW_EXTIN_SIGNAL_UNKNOWN}},
              "locked"},
             {"system", Kind::choice, "the television system, 0 to 9", 0, kU32Max, systems, "none"}},
            {}, plug)
            .asking("Plug a source of ${width} x ${height} into input ${type} ${index}.")
            .inSession(),
        ActionRow("unplug", "Take the source of an external input away.", {inputType(), inputIndex()}, {},
                  [](Call& call) { vset::extin::unplug(placeOf(call).type, placeOf(call).index); })
            .asking("Take the source of input ${type} ${index} away.")
            .inSession(),
        ActionRow("input", "Show an external input.", {inputType(), inputIndex("0")},
                  {{"open", "1 when it is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"handle", "its handle; 0: it is not open"},
                   {"plugged", "what is plugged in"}},
                  input)
            .inSession(),
        ActionRow("needed", "Say what the converter must be set to for the source that is plugged in.",
                  {inputType(), inputIndex(), word("red_gain", "in the chip's units"), word("green_gain", "the same"),
                   word("blue_gain", "the same"), word("red_offset", "the same"), word("green_offset", "the same"),
                   word("blue_offset", "the same")},
                  {}, needed)
            .inSession(),
        ActionRow("calibration", "Show what the converter of an analogue input is set to.",
                  {analogInputType(), inputIndex("0")},
                  {{"calibration", "it in words"},
                   {"red_gain", "in the chip's units"},
                   {"green_gain", "the same"},
                   {"blue_gain", "the same"},
                   {"red_offset", "the same"},
                   {"green_offset", "the same"},
                   {"blue_offset", "the same"},
                   {"automatic", "how often automatic calibration has succeeded since the set was switched on"}},
                  calibration),
    };
}

// --- Tuner and video decoder -----------------------------------------------------------------------------------------

// A text that a tuner says of itself.
struct TunerText {
    const char* name;
    const char* help;
    std::string (*get)(unsigned int slot, unsigned int number);
    void (*set)(unsigned int slot, unsigned int number, const std::string& text);
    unsigned int number;
};

constexpr TunerText kTunerTexts[] = {
    {"name", "of the demodulator", vset::tuner::factoryText, vset::tuner::setFactoryText, E_HW_TUNER_FACTORY_CMD_NAME},
    {"version", "of the demodulator", vset::tuner::factoryText, vset::tuner::setFactoryText,
     E_HW_TUNER_FACTORY_CMD_VERSION},
    {"build", "of the demodulator", vset::tuner::factoryText, vset::tuner::setFactoryText,
     E_HW_TUNER_FACTORY_CMD_BUILD_NUMBER},
    {"changes", "of the demodulator", vset::tuner::factoryText, vset::tuner::setFactoryText,
     E_HW_TUNER_FACTORY_CMD_CHANGE_LIST},
    {"tuner", "the tuner's name", vset::tuner::attributeText, vset::tuner::setAttributeText,
     E_HW_TUNER_ATTR_TUNER_NAME},
    {"streams", "how many streams it has", vset::tuner::attributeText, vset::tuner::setAttributeText,
     E_HW_TUNER_ATTR_TS_STREAMS_NUM},
};

Argument slotNumber(std::optional<std::string> byDefault = std::nullopt) {
    return {"slot", Kind::number, "the tuner's slot", 0, vset::tuner::kSlotLimit - 1, {}, std::move(byDefault)};
}

void tuner(Call& call) {
    const auto number = call.number<unsigned int>(0);
    const vset::tuner::Slot slot = vset::tuner::slot(number);
    call.out("open", static_cast<long long>(slot.bOpen));
    call.out("player", static_cast<long long>(slot.bPlayer));
    call.out("locked", static_cast<long long>(slot.bLocked));
    call.out("ber", static_cast<long long>(slot.s32Ber));
    call.out("vif", static_cast<long long>(slot.u64VifInits));
    for (const TunerText& text : kTunerTexts) {
        call.out(text.name, text.get(number, text.number));
    }
}

void tunerText(Call& call) {
    const TunerText& text = kTunerTexts[call.number<std::size_t>(1)];
    text.set(call.number<unsigned int>(0), text.number, call.text(2));
}

void decoder(Call& call) {
    const auto parameter = call.number<unsigned int>(0);
    if (call.number(1) != kKeep) {
        vset::extin::setDecoderParameter(0, parameter, call.number<std::uint32_t>(1));
    }
    call.out("value", static_cast<long long>(vset::extin::decoderParameter(0, parameter)));
}

std::vector<Output> tunerOutputs() {
    std::vector<Output> outputs = {{"open", "1 when it is open in the middleware"},
                                   {"player", "1 when the set's player has opened it"},
                                   {"locked", "1 when it receives a station"},
                                   {"ber", "the bit error rate"},
                                   {"vif", "how often its IF stage was initialised anew"}};
    for (const TunerText& text : kTunerTexts) {
        outputs.push_back({text.name, text.help});
    }
    return outputs;
}

std::vector<ActionRow> receptionActions() {
    std::vector<Choice> texts;
    for (const TunerText& text : kTunerTexts) {
        texts.push_back({text.name, static_cast<long long>(texts.size())});
    }
    return {
        ActionRow("tuner", "Show a tuner.", {slotNumber("0")}, tunerOutputs(), tuner).inSession(),
        ActionRow("lock-tuner", "Let a tuner receive a station; the set's player opens it unless somebody has it open.",
                  {slotNumber()}, {}, [](Call& call) { vset::tuner::lock(call.number<unsigned int>(0)); })
            .asking("Give tuner ${slot} a station that it can receive.")
            .inSession(),
        ActionRow("unlock-tuner", "Take the station of a tuner away.", {slotNumber()}, {},
                  [](Call& call) { vset::tuner::unlock(call.number<unsigned int>(0)); })
            .asking("Take the antenna of tuner ${slot} away.")
            .inSession(),
        ActionRow("ber", "Set the bit error rate of a tuner.",
                  {slotNumber(), {"value", Kind::number, "the rate", kI32Min, kI32Max}}, {},
                  [](Call& call) { vset::tuner::setBer(call.number<unsigned int>(0), call.number<std::int32_t>(1)); })
            .inSession(),
        ActionRow("tuner-text", "Change what a tuner says of itself.",
                  {slotNumber(),
                   {"which", Kind::choice, "the text", 0, 0, texts},
                   {"text", Kind::text, "what it says", 0, static_cast<long long>(vset::tuner::kTextLimit)}},
                  {}, tunerText)
            .inSession(),
        ActionRow("decoder", "Show a factory parameter of the video decoder, or set it.",
                  {{"parameter", Kind::number, "its number", 1, E_HW_EXTIN_FACTORY_LAST},
                   {"value", Kind::choice, "what is set first", 0, kU32Max, {{"keep", kKeep}}, "keep"}},
                  {{"value", "what it holds"}}, decoder)
            .inSession(),
    };
}

}  // namespace

std::vector<ActionRow> inputActions() {
    std::vector<ActionRow> rows = plugActions();
    std::vector<ActionRow> reception = receptionActions();
    std::move(reception.begin(), reception.end(), std::back_inserter(rows));
    return rows;
}

}  // namespace tool
