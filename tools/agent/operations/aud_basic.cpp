// SPDX-License-Identifier: Apache-2.0
// Rows of the audio module's basic effects, equalisers among them.
#include <utility>

#include "a_vextvfapi_aud.h"
#include "operations/aud.h"
#include "vset/aout.h"

namespace tool::aud {

namespace {

using BasicParam = fapi_core::VexTvFApiAudBasicSoundParam_t;

constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;

const std::vector<Choice>& basicEffects() {
    static const std::vector<Choice> all = {{"prescale", E_VEXTVFAPI_AUD_BASIC_SND_PRESCALE},
                                            {"eq", E_VEXTVFAPI_AUD_BASIC_SND_EQ},
                                            {"peq", E_VEXTVFAPI_AUD_BASIC_SND_PEQ},
                                            {"treble", E_VEXTVFAPI_AUD_BASIC_SND_TREBLE},
                                            {"bass", E_VEXTVFAPI_AUD_BASIC_SND_BASS},
                                            {"avc", E_VEXTVFAPI_AUD_BASIC_SND_AVC},
                                            {"surround", E_VEXTVFAPI_AUD_BASIC_SND_SURROUND},
                                            {"balance", E_VEXTVFAPI_AUD_BASIC_SND_BALANCE},
                                            {"drc", E_VEXTVFAPI_AUD_BASIC_SND_DRC},
                                            {"echo", E_VEXTVFAPI_AUD_BASIC_SND_ECHO},
                                            {"nr", E_VEXTVFAPI_AUD_BASIC_SND_NR},
                                            {"hpf", E_VEXTVFAPI_AUD_BASIC_SND_HPF},
                                            {"limiter", E_VEXTVFAPI_AUD_BASIC_SND_LIMITER}};
    return all;
}

// --- What the chip holds ---------------------------------------------------------------------------------------------

std::string basicSound(std::size_t type) {
    HW_AOUT_BasicSound_t neverSent = {};
    neverSent.u32Type = static_cast<HW_U32>(type);
    return vset::aout::describe(vset::aout::sound().basic.at(type).value_or(neverSent));
}

template <e_vextvfapi_aud_basic_snd_type type>
std::string basicSoundOf(Call&) {
    return basicSound(type);
}

// Of the type that is the first argument.
std::string basicSoundOfType(Call& call) {
    return basicSound(call.number<std::size_t>(0));
}

// --- A record of parameters ------------------------------------------------------------------------------------------

// Where the single value of an effect stands in the record; null: it has none there.
unsigned int BasicParam::*valueOf(long long type) {
    switch (type) {
        case E_VEXTVFAPI_AUD_BASIC_SND_PRESCALE:
            return &BasicParam::u32Prescale;
        case E_VEXTVFAPI_AUD_BASIC_SND_TREBLE:
            return &BasicParam::u32Treble;
        case E_VEXTVFAPI_AUD_BASIC_SND_BASS:
            return &BasicParam::u32Bass;
        case E_VEXTVFAPI_AUD_BASIC_SND_BALANCE:
            return &BasicParam::u32Balance;
        case E_VEXTVFAPI_AUD_BASIC_SND_ECHO:
            return &BasicParam::u32EchoTime;
        case E_VEXTVFAPI_AUD_BASIC_SND_NR:
            return &BasicParam::u32NrThreshold;
        default:
            return nullptr;
    }
}

NumberListForm formOf(long long type) {
    constexpr std::size_t kBands = std::size(BasicParam().au32EqLevel);
    if (type == E_VEXTVFAPI_AUD_BASIC_SND_EQ) {
        return {"VALUES", "at most 8 levels of eq: LEVEL,LEVEL,...", 1, 0, kBands, kU32Max};
    }
    if (type == E_VEXTVFAPI_AUD_BASIC_SND_PEQ) {
        return {"VALUES", "at most 8 bands of peq: GAIN/FREQUENCY/Q,GAIN/FREQUENCY/Q,...", 3, 0, kBands, kU32Max};
    }
    if (valueOf(type) != nullptr) {
        return {"VALUES", "one number, which is what this effect has", 1, 1, 1, kU32Max};
    }
    return {"VALUES", "nothing, because this effect has no values", 1, 0, 0, kU32Max};
}

void checkValues(const std::vector<Value>& values, const std::vector<std::string>&) {
    parseNumberList(formOf(std::get<long long>(values[0])), std::get<std::string>(values[1]));
}

void fill(long long type, const NumberList& rows, long long count, BasicParam& param) {
    if (const auto value = valueOf(type)) {
        param.*value = rows[0][0];
        return;
    }
    const bool isPeq = type == E_VEXTVFAPI_AUD_BASIC_SND_PEQ;
    (isPeq ? param.u32PeqBandCount : param.u32EqBandCount) = static_cast<unsigned int>(countOr(count, rows));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (isPeq) {
            param.au32PeqGain[i] = rows[i][0];
            param.au32PeqFreq[i] = rows[i][1];
            param.au32PeqQ[i] = rows[i][2];
        } else {
            param.au32EqLevel[i] = rows[i][0];
        }
    }
}

long long setParam(Call& call) {
    const auto param = std::make_unique<BasicParam>();
    fill(call.number(0), parseNumberList(formOf(call.number(0)), call.text(1)), call.number(2), *param);
    return changed(call,
                   a_vextvfapi_aud_basic_snd_set_param(call.number<e_vextvfapi_aud_basic_snd_type>(0), param.get()),
                   basicSoundOfType);
}

// --- Rows ------------------------------------------------------------------------------------------------------------

Argument value(const char* name, const char* help) {
    return {name, Kind::number, help, 0, kU16Max};
}

Argument band() {
    return value("index", "the band, 0 to 4");
}

}  // namespace

Argument basicEffect(const char* name, const char* help, long long max, std::optional<std::string> byDefault) {
    return {name, Kind::choice, help, 0, max, basicEffects(), std::move(byDefault)};
}

std::vector<OperationRow> basicOperations() {
    return {
        OperationRow("a_vextvfapi_aud_adv_set_prescale", "Set the prescale.", Result::status,
                     {enable(), value("value", "1 to 255")}, {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_prescale, basicSoundOf<E_VEXTVFAPI_AUD_BASIC_SND_PRESCALE>>)
            .example("aud_adv_set_prescale on 90"),
        OperationRow("a_vextvfapi_aud_adv_set_NR", "Switch noise reduction on with a threshold, or off.",
                     Result::status, {enable(), value("threshold", "0 to 255")}, {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_NR, basicSoundOf<E_VEXTVFAPI_AUD_BASIC_SND_NR>>)
            .example("aud_adv_set_NR on 7"),
        OperationRow("a_vextvfapi_aud_adv_set_peq_q_value",
                     "Set the Q of one band of the parametric equaliser, and all else of it to 0.", Result::status,
                     {band(), value("q", "the Q")}, {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_peq_q_value, basicSoundOf<E_VEXTVFAPI_AUD_BASIC_SND_PEQ>>)
            .example("aud_adv_set_peq_q_value 1 9"),
        OperationRow("a_vextvfapi_aud_adv_set_peq_freq_value",
                     "Set the frequency of one band of the parametric equaliser, and all else of it to 0.",
                     Result::status, {band(), value("freq", "the frequency")}, {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_peq_freq_value, basicSoundOf<E_VEXTVFAPI_AUD_BASIC_SND_PEQ>>)
            .example("aud_adv_set_peq_freq_value 0 30"),
        OperationRow("a_vextvfapi_aud_adv_set_peq_gain_value",
                     "Set the gain of one band of the parametric equaliser, and all else of it to 0.", Result::status,
                     {band(), value("gain", "the gain")}, {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_peq_gain_value, basicSoundOf<E_VEXTVFAPI_AUD_BASIC_SND_PEQ>>)
            .example("aud_adv_set_peq_gain_value 2 120"),
        OperationRow("a_vextvfapi_aud_adv_set_peq_value",
                     "Set one band of the parametric equaliser, and the others to 0.", Result::status,
                     {band(), value("gain", "0 to 360"), value("freq", "20 to 20000 Hz"), value("q", "5 to 160")},
                     {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_peq_value, basicSoundOf<E_VEXTVFAPI_AUD_BASIC_SND_PEQ>>)
            .example("aud_adv_set_peq_value 3 120 1000 10"),
        OperationRow(
            "a_vextvfapi_aud_adv_enable_basic_sound_effect", "Switch a basic effect on or off, with its parameters 0.",
            Result::status, {basicEffect("type", "the effect", kU32Max), enable()}, {chip()},
            [](Call& call) {
                return changed(call,
                               a_vextvfapi_aud_adv_enable_basic_sound_effect(
                                   call.number<e_vextvfapi_aud_basic_snd_type>(0), call.number<unsigned char>(1)),
                               basicSoundOfType);
            })
            .example("aud_adv_enable_basic_sound_effect surround on"),
        OperationRow("a_vextvfapi_aud_basic_snd_set_param", "Switch a basic effect on with its values.", Result::status,
                     {basicEffect("type", "the effect", kU32Max),
                      {"values",
                       Kind::text,
                       "a number for prescale, treble, bass, balance, echo and nr; LEVEL,LEVEL,... for eq; "
                       "GAIN/FREQUENCY/Q,GAIN/FREQUENCY/Q,... for peq; nothing for the others",
                       0,
                       0,
                       {},
                       ""},
                      count("bands", "how many bands the record names", kU32Max)},
                     {chip()}, setParam)
            .checkedBy(checkValues)
            .example("aud_basic_snd_set_param eq 1,2,3,4,5"),
    };
}

}  // namespace tool::aud
