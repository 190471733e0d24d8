// SPDX-License-Identifier: Apache-2.0
// Rows of the audio module. After what changes the chip they tell what it holds now.
#include "operations/aud.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "a_vextvfapi_aud.h"
#include "vset/aout.h"

namespace tool::aud {

// --- What the rows share ---------------------------------------------------------------------------------------------

long long changed(Call& call, int status, ChipWords words) {
    return tool::changed(call, status, [&] { return words(call); });
}

Argument enable() {
    return {"enable", Kind::choice, "off, or on: any other byte", 0, 0xFF, {{"off", 0}, {"on", 1}}};
}

// What stands for the length of a list that is given.
constexpr long long kListed = -1;

Argument count(const char* name, const char* help, long long max) {
    return {name, Kind::choice, help, 0, max, {{"listed", kListed}}, "listed"};
}

long long countOr(long long count, const NumberList& rows) {
    return count == kListed ? static_cast<long long>(rows.size()) : count;
}

namespace {

using DapParam = fapi_core::VexTvFApiAdvSndDolbyDapParams_t;

constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

// --- What the chip holds ---------------------------------------------------------------------------------------------

std::string openPaths(Call&) {
    std::string text;
    for (unsigned int i = 0; i < vset::aout::kPaths; ++i) {
        text += vset::aout::path(i).bOpen ? " " + std::to_string(i) : "";
    }
    return "open paths:" + (text.empty() ? " none" : text);
}

std::string advancedType(Call&) {
    return "advanced sound: " + vset::aout::advancedName(vset::aout::sound().u32AdvancedType);
}

std::string advancedParameters(Call&) {
    HW_AOUT_AdvSndParams_t neverSent = {};
    neverSent.u32Type = E_HW_AOUT_ADV_SND_NONE;
    return vset::aout::describe(vset::aout::sound().advancedParameters.value_or(neverSent));
}

std::string dtsBypass(Call&) {
    return std::string("DTS bypass: ") + (vset::aout::sound().bDtsBypass ? "on" : "off");
}

std::string delayWords(Call&) {
    return "path 0: delay " + std::to_string(vset::aout::path(0).u32DelayMs) + " ms";
}

std::string volumeWords(Call& call) {
    const auto path = call.number<unsigned int>(0);
    return "path " + std::to_string(path) + ": volume " + std::to_string(vset::aout::path(path).u8Volume);
}

std::string volumeTables(Call& call) {
    const auto only = call.number<unsigned int>(0);
    std::string text;
    for (unsigned int i = 0; i < vset::aout::kPaths; ++i) {
        const vset::aout::Path path = vset::aout::path(i);
        if (path.volumeTable && (only == fapi_core::E_VEXTVFAPI_AUDIO_OUT_PATH_ALL || only == i)) {
            text += "path " + std::to_string(i) + ": volume table \"" + path.volumeTable->strName + "\" of " +
                    std::to_string(path.volumeTable->entries.size()) + " entries\n";
        }
    }
    return text;
}

std::string audioQualityFile(Call&) {
    return "audio-quality parameters: " + vset::aout::sound().strAqFile;
}

// --- Effects and their parts by name ---------------------------------------------------------------------------------

constexpr long long kTrueSurround = 1;
constexpr long long kTheater = 2;
constexpr long long kPureSound = 3;
constexpr long long kDbx = 4;
constexpr long long kDolbyDap = 6;
constexpr long long kVirtualX = 7;

const std::vector<Choice>& effects() {
    static const std::vector<Choice> all = {
        {"none", 0},   {"srs-tshd", kTrueSurround}, {"srs-theater", kTheater}, {"srs-pure", kPureSound},
        {"dbx", kDbx}, {"dolby-volume", 5},         {"dolby-dap", kDolbyDap},  {"dts-virtualx", kVirtualX}};
    return all;
}

struct Part {
    long long effect;
    Choice choice;
};

// No name stands for parts of two effects. A combination of DBX names what is on in it.
const std::vector<Part>& parts() {
    static const std::vector<Part> all = {
        {kTrueSurround, {"trubass", 0}},
        {kTrueSurround, {"dc", 1}},
        {kTrueSurround, {"definition", 2}},
        {kTrueSurround, {"srs-3d", 3}},
        {kTrueSurround, {"trubass-level-independent", 4}},
        {kTheater, {"cc3d", 5}},
        {kTheater, {"cc3d-depth-process", 6}},
        {kTheater, {"cc3d-surround-boost", 7}},
        {kTheater, {"cc3d-tshd-mix", 8}},
        {kTheater, {"cc3d-fade", 9}},
        {kTheater, {"cc3d-trubass-hdx", 10}},
        {kTheater, {"cc3d-max", 11}},
        {kTheater, {"tshd", 12}},
        {kTheater, {"geq", 13}},
        {kTheater, {"trudialog", 14}},
        {kTheater, {"cs", 15}},
        {kTheater, {"common-max", 16}},
        {kPureSound, {"hard-limiter", 0}},
        {kPureSound, {"active-eq", 1}},
        {kPureSound, {"hpf", 2}},
        {kPureSound, {"trubass-hd", 3}},
        {kDbx, {"all-off", 0}},
        {kDbx, {"surround", 1}},
        {kDbx, {"night", 2}},
        {kDbx, {"night+surround", 3}},
        {kDbx, {"normal", 4}},
        {kDbx, {"normal+surround", 5}},
        {kDbx, {"sonic", 6}},
        {kDbx, {"sonic+surround", 7}},
        {kDbx, {"sonic+night", 8}},
        {kDbx, {"sonic+night+surround", 9}},
        {kDbx, {"sonic+normal", 10}},
        {kDbx, {"sonic+normal+surround", 11}},
        {kDolbyDap, {"total", 0}},
        {kDolbyDap, {"atmos", 1}},
        {kVirtualX, {"trusrndx", 0}},
        {kVirtualX, {"tbhdx", 1}},
        {kVirtualX, {"mbhl", 2}},
    };
    return all;
}

std::vector<Choice> partChoices() {
    std::vector<Choice> choices;
    for (const Part& part : parts()) {
        choices.push_back(part.choice);
    }
    return choices;
}

std::string effectName(long long effect) {
    for (const Choice& choice : effects()) {
        if (choice.value == effect) {
            return choice.name;
        }
    }
    return "effect " + std::to_string(effect);
}

// A number is any effect's, a name is one effect's only.
void checkPart(const std::vector<Value>& values, const std::vector<std::string>& words) {
    const long long effect = std::get<long long>(values[0]);
    for (const Part& part : parts()) {
        if (words.size() > 1 && words[1] == part.choice.name && part.effect != effect) {
            throw UsageError("SUB is \"" + words[1] + "\", which is a part of " + effectName(part.effect) +
                             " and not of " + effectName(effect));
        }
    }
}

// --- Attributes ------------------------------------------------------------------------------------------------------

template <class Record>
Record recordOf(const Bytes& bytes) {
    Record record;
    std::memcpy(&record, bytes.data(), sizeof(record));
    return record;
}

struct Attribute {
    Choice choice;
    std::size_t size;  // of its record
    std::string (*words)(const Bytes& record);
};

const std::vector<Attribute>& attributes() {
    static const std::vector<Attribute> all = {
        {{"dts-bypass", E_HW_AOUT_ATTR_DTS_BYPASS},
         sizeof(HW_U8),
         [](const Bytes& record) { return std::string(record[0] != 0 ? "on" : "off"); }},
        {{"basic-sound", E_HW_AOUT_ATTR_BASIC_SOUND},
         sizeof(HW_AOUT_BasicSound_t),
         [](const Bytes& record) { return vset::aout::describe(recordOf<HW_AOUT_BasicSound_t>(record)); }},
        {{"advanced-type", E_HW_AOUT_ATTR_ADV_SND_TYPE},
         sizeof(HW_U32),
         [](const Bytes& record) { return vset::aout::advancedName(recordOf<HW_U32>(record)); }},
        {{"advanced-parameters", E_HW_AOUT_ATTR_ADV_SND_PARAM},
         sizeof(HW_AOUT_AdvSndParams_t),
         [](const Bytes& record) { return vset::aout::describe(recordOf<HW_AOUT_AdvSndParams_t>(record)); }},
    };
    return all;
}

std::vector<Choice> attributeChoices() {
    std::vector<Choice> choices;
    for (const Attribute& attribute : attributes()) {
        choices.push_back(attribute.choice);
    }
    return choices;
}

long long getAttribute(Call& call) {
    Bytes input = Call::buffer(1, call.number<unsigned char>(1));
    // Enough for any attribute.
    Bytes record = Call::buffer(sizeof(HW_AOUT_AdvSndParams_t));
    const int status = a_vextvfapi_aud_get_attr(call.number<unsigned int>(0), input.data(), record.data());
    if (status != 0) {
        return status;
    }
    for (const Attribute& attribute : attributes()) {
        if (attribute.choice.value == call.number(0)) {
            record.resize(attribute.size);
            call.out("words", attribute.words(record));
        }
    }
    call.out("record", std::move(record));
    return status;
}

// --- Parameters, tables ----------------------------------------------------------------------------------------------

long long setDolbyDap(Call& call) {
    const auto param = std::make_unique<DapParam>();
    std::copy(call.bytes(1).begin(), call.bytes(1).end(), reinterpret_cast<unsigned char*>(param.get()));
    param->stDapGainParam.s32PreGain = call.number<int>(0);
    return changed(call, a_vextvfapi_aud_adv_snd_set_dolby_dap_param(param.get()), advancedParameters);
}

constexpr NumberListForm kTable = {"ENTRIES", "numbers from 0 to 65535 with commas between them", 1, 1, kU16Max,
                                   kU16Max};

void checkTable(const std::vector<Value>& values, const std::vector<std::string>&) {
    parseNumberList(kTable, std::get<std::string>(values[2]));
}

// Tells the set how long the table is while it is handed over: the middleware does not.
long long setVolumeTable(Call& call) {
    const NumberList rows = parseNumberList(kTable, call.text(2));
    const auto entries = std::make_unique<unsigned short[]>(rows.size());
    std::transform(rows.begin(), rows.end(), entries.get(),
                   [](const NumberList::value_type& row) { return static_cast<unsigned short>(row[0]); });
    const bool hasSet = !vset::folder().empty();
    if (hasSet) {
        vset::aout::setVolumeTableLength(rows.size());
    }
    const int status =
        a_vextvfapi_aud_set_volume_table(call.number<fapi_core::VexTvFApiAudioOutPathEnum>(0), entries.get(),
                                         static_cast<unsigned short>(countOr(call.number(3), rows)), call.utext(1));
    if (hasSet) {
        vset::aout::setVolumeTableLength(1);
    }
    return changed(call, status, volumeTables);
}

long long getDelay(Call& call) {
    unsigned int delay = 0;
    const int status = a_vextvfapi_aud_adv_get_speaker_delay(&delay);
    if (status == 0) {
        call.out("delay", static_cast<long long>(delay));
    }
    return status;
}

long long getVolume(Call& call) {
    auto path = call.number<unsigned int>(0);
    unsigned int volume = 0;
    const int status = a_vextvfapi_aud_adv_get_volume(&path, &volume);
    if (status == 0) {
        call.out("volume", static_cast<long long>(volume));
    }
    return status;
}

// --- Rows ------------------------------------------------------------------------------------------------------------

Argument effect() {
    return {"type", Kind::choice, "the effect", 0, kU32Max, effects()};
}

Argument path() {
    return {"path", Kind::number, "the output path, 0 (main) to 8", 0, kU32Max};
}

std::vector<OperationRow> startUpOperations() {
    return {
        OperationRow("a_vextvfapi_aud_init", "Bring up audio core and outputs; forgets the Dolby DAP parameters.",
                     Result::status, {}, {}, [](Call&) -> long long { return a_vextvfapi_aud_init(); })
            .example("aud_init"),
        OperationRow("a_vextvfapi_aud_deinit", "Shut down audio core and outputs.", Result::status, {}, {chip()},
                     [](Call& call) { return changed(call, a_vextvfapi_aud_deinit(), openPaths); })
            .example("aud_deinit"),
        OperationRow("a_vextvfapi_aud_open", "Get hold of the output paths, as every operation does by itself.",
                     Result::status, {}, {chip()},
                     [](Call& call) { return changed(call, a_vextvfapi_aud_open(), openPaths); })
            .example("aud_open"),
        OperationRow("a_vextvfapi_aud_close", "Close the output paths that the library has opened.", Result::status, {},
                     {chip()}, [](Call& call) { return changed(call, a_vextvfapi_aud_close(), openPaths); })
            .example("aud_close", {"aud_open"}),
    };
}

std::vector<OperationRow> advancedOperations() {
    return {
        OperationRow("a_vextvfapi_aud_adv_snd_enable", "Switch to an advanced sound effect.", Result::status,
                     {effect()}, {chip()}, setByAddress<a_vextvfapi_aud_adv_snd_enable, advancedType>)
            .example("aud_adv_snd_enable srs-theater"),
        OperationRow("a_vextvfapi_aud_adv_snd_enable_sub",
                     "Switch one part of an effect on or off and its others off, or choose a combination of dbx.",
                     Result::status,
                     {effect(),
                      {"sub", Kind::choice, "the part, or the combination of dbx by what is on in it", 0, kU32Max,
                       partChoices()},
                      enable()},
                     {chip()}, setByAddress<a_vextvfapi_aud_adv_snd_enable_sub, advancedParameters>)
            .checkedBy(checkPart)
            .example("aud_adv_snd_enable_sub dbx sonic+night on"),
        OperationRow("a_vextvfapi_aud_adv_snd_set_param", "Send the parameters of dbx or dolby-dap.", Result::status,
                     {effect()}, {chip()}, setByAddress<a_vextvfapi_aud_adv_snd_set_param, advancedParameters>)
            .example("aud_adv_snd_set_param dbx"),
        OperationRow("a_vextvfapi_aud_adv_snd_set_dolby_dap_param", "Remember parameters of dolby-dap, and send them.",
                     Result::status,
                     {{"pregain", Kind::number, "the pre-gain", kI32Min, kI32Max},
                      {"record",
                       Kind::bytes,
                       "the record from its beginning, in which the pre-gain is put; zeros behind it",
                       0,
                       static_cast<long long>(sizeof(DapParam)),
                       {},
                       ""}},
                     {chip()}, setDolbyDap)
            .example("aud_adv_snd_set_dolby_dap_param -12"),
        OperationRow("a_vextvfapi_aud_dts_bypass", "Let DTS through untouched, or decode it.", Result::status,
                     {enable()}, {chip()}, setByAddress<a_vextvfapi_aud_dts_bypass, dtsBypass>)
            .example("aud_dts_bypass on"),
        OperationRow(
            "a_vextvfapi_aud_get_attr", "Ask for an attribute of the main path.", Result::status,
            {{"attribute", Kind::choice, "the attribute", 0, kU32Max, attributeChoices()},
             basicEffect("input", "the input byte; for basic-sound the effect", 0xFF, "0")},
            {{"record", "its bytes; 1,604 of an attribute without a name", true}, {"words", "the same in words"}},
            getAttribute)
            .example("aud_get_attr basic-sound bass", {"aud_basic_snd_set_param bass 12"}),
    };
}

std::vector<OperationRow> levelOperations() {
    return {
        OperationRow("a_vextvfapi_aud_adv_set_speaker_delay", "Set the delay of the main path.", Result::status,
                     {{"delay", Kind::number, "0 to 250 ms", 0, kU32Max}}, {chip()},
                     setByAddress<a_vextvfapi_aud_adv_set_speaker_delay, delayWords>)
            .example("aud_adv_set_speaker_delay 30"),
        OperationRow("a_vextvfapi_aud_adv_get_speaker_delay", "Tell the delay of the main path.", Result::status, {},
                     {{"delay", "how late the sound is", false, "ms"}}, getDelay)
            .example("aud_adv_get_speaker_delay"),
        OperationRow(
            "a_vextvfapi_aud_adv_set_volume", "Set the volume of a path.", Result::status,
            {path(), {"volume", Kind::number, "0 to 100 percent, of which only the low byte is looked at", 0, kU32Max}},
            {chip()}, setByAddress<a_vextvfapi_aud_adv_set_volume, volumeWords>)
            .example("aud_adv_set_volume 3 30"),
        OperationRow("a_vextvfapi_aud_adv_get_volume", "Tell the volume of a path.", Result::status, {path()},
                     {{"volume", "how loud it is", false, "%"}}, getVolume)
            .example("aud_adv_get_volume 3"),
        OperationRow("a_vextvfapi_aud_set_volume_table", "Load a volume table for one path, or for all.",
                     Result::status,
                     {{"path", Kind::choice, "the output path, 1 to 8", 0, kU32Max, {{"all", 0}}},
                      {"name", Kind::text, "the table's name"},
                      {"entries", Kind::text, "the table: 0,10,20,..."},
                      count("length", "the length that is told", kU16Max)},
                     {chip()}, setVolumeTable)
            .checkedBy(checkTable)
            .example("aud_set_volume_table all Linear 0,25,50,75,100"),
        OperationRow(
            "a_vextvfapi_aud_load_aq_params", "Load a file of audio-quality parameters.", Result::status,
            {{"file", Kind::path, "the file"}}, {chip()},
            [](Call& call) { return changed(call, a_vextvfapi_aud_load_aq_params(call.utext(0)), audioQualityFile); })
            .example("aud_load_aq_params /mnt/usb/sound.aq", {"set put /mnt/usb/sound.aq text:sound"}),
    };
}

}  // namespace

}  // namespace tool::aud

namespace tool {

std::vector<OperationRow> audOperations() {
    std::vector<OperationRow> rows;
    for (std::vector<OperationRow> some :
         {aud::startUpOperations(), aud::advancedOperations(), aud::basicOperations(), aud::levelOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
