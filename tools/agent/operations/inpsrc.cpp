// SPDX-License-Identifier: Apache-2.0
// Rows of the input source module: calibration, what is on screen, video decoder, tuner. After what changes the chip
// they tell what it holds.
#include <memory>

#include "a_vextvfapi_inpsrc.h"
#include "operations/chip_words.h"
#include "operations/input_words.h"
#include "vset/tuner.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kVga[] = "set plug vga 0";
constexpr char kNoVideo[] = "set disconnect-video 0";
constexpr char kCompositeSource[] = "set plug cvbs 0 720 576 50000 interlaced locked 3";
constexpr char kComposite[] = "set connect-input 0 cvbs 0";

constexpr long long kU8Max = 0xFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;

// --- Calibration -----------------------------------------------------------------------------------------------------

Argument device() {
    return {"device", Kind::choice, "the analogue input; SCART has only automatic calibration",
            0,        kU32Max,      {{"vga", 0}, {"ypbpr", 1}, {"scart", 2}}};
}

Argument word(const char* name, const char* help = "in the chip's units") {
    return {name, Kind::number, help, 0, kU32Max};
}

std::vector<Argument> phases() {
    return {device(), word("red_phase"), word("green_phase"), word("blue_phase")};
}

std::vector<Argument> gainsAndOffsets() {
    return {device(),           word("red_gain"),     word("green_gain"), word("blue_gain"),
            word("red_offset"), word("green_offset"), word("blue_offset")};
}

std::vector<Output> outputsOf(const std::vector<Argument>& arguments) {
    std::vector<Output> outputs;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        outputs.push_back({arguments[i].name, arguments[i].help, false, "", Role::measured});
    }
    return outputs;
}

// The device's first input, as it is calibrated now.
std::string calibrated(const Call& call) {
    constexpr std::uint32_t kTypes[] = {E_HW_EXTIN_TYPE_VGA, E_HW_EXTIN_TYPE_YPBPR, E_HW_EXTIN_TYPE_SCART};
    return calibrationWords(kTypes[call.number(0)], 0);
}

long long getPhase(Call& call) {
    const auto phase = std::make_unique<fapi_core::VexTvFApiAdcPhase_t>();
    const int status = a_vextvfapi_inpsrc_get_adc_phase(call.number<unsigned int>(0), phase.get());
    if (status == 0) {
        call.out("red_phase", static_cast<long long>(phase->u32RedPhase));
        call.out("green_phase", static_cast<long long>(phase->u32GreenPhase));
        call.out("blue_phase", static_cast<long long>(phase->u32BluePhase));
    }
    return status;
}

long long setPhase(Call& call) {
    const int status = a_vextvfapi_inpsrc_set_adc_phase(call.number<unsigned int>(0), call.number<unsigned int>(1),
                                                        call.number<unsigned int>(2), call.number<unsigned int>(3));
    return changed(call, status, [&] { return calibrated(call); });
}

long long getGainOffset(Call& call) {
    const auto values = std::make_unique<fapi_core::VexTvFApiAdcGainOffset_t>();
    const int status = a_vextvfapi_inpsrc_get_adc_gain_offset(call.number<unsigned int>(0), values.get());
    if (status == 0) {
        for (const auto& [name, value] :
             namedValues({values->u32RedGain, values->u32GreenGain, values->u32BlueGain, values->u32RedOffset,
                          values->u32GreenOffset, values->u32BlueOffset})) {
            call.out(name, static_cast<long long>(value));
        }
    }
    return status;
}

long long setGainOffset(Call& call) {
    const int status = a_vextvfapi_inpsrc_set_adc_gain_offset(
        call.number<unsigned int>(0), call.number<unsigned int>(1), call.number<unsigned int>(2),
        call.number<unsigned int>(3), call.number<unsigned int>(4), call.number<unsigned int>(5),
        call.number<unsigned int>(6));
    return changed(call, status, [&] { return calibrated(call); });
}

long long calibrate(Call& call) {
    const int status = a_vextvfapi_inpsrc_auto_gain_offset(call.number<unsigned int>(0));
    return changed(call, status, [&] { return calibrated(call); });
}

std::vector<OperationRow> calibrationOperations() {
    return {
        OperationRow("a_vextvfapi_inpsrc_init",
                     "Bring up external inputs and tuner, and learn how many inputs there are.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_inpsrc_init(); })
            .example("inpsrc_init"),
        OperationRow("a_vextvfapi_inpsrc_deinit", "Shut the external inputs down.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_inpsrc_deinit(); })
            .example("inpsrc_deinit"),
        OperationRow("a_vextvfapi_inpsrc_get_adc_phase", "Get the converter's phases of an analogue input.",
                     Result::status, {device()}, outputsOf(phases()), getPhase)
            .example("inpsrc_get_adc_phase vga", {kVga}),
        OperationRow("a_vextvfapi_inpsrc_set_adc_phase", "Set the converter's phases of an analogue input.",
                     Result::status, phases(), {chip()}, setPhase)
            .example("inpsrc_set_adc_phase vga 11 12 13", {kVga}),
        OperationRow("a_vextvfapi_inpsrc_get_adc_gain_offset",
                     "Get the converter's gains and offsets of an analogue input.", Result::status, {device()},
                     outputsOf(gainsAndOffsets()), getGainOffset)
            .example("inpsrc_get_adc_gain_offset vga", {kVga}),
        OperationRow("a_vextvfapi_inpsrc_set_adc_gain_offset",
                     "Set the converter's gains and offsets of an analogue input.", Result::status, gainsAndOffsets(),
                     {chip()}, setGainOffset)
            .example("inpsrc_set_adc_gain_offset vga 1065 1052 1071 131 127 134", {kVga}),
        OperationRow("a_vextvfapi_inpsrc_auto_gain_offset",
                     "Let the chip calibrate an analogue input from the signal that is there.", Result::status,
                     {device()}, {chip()}, calibrate)
            .example("inpsrc_auto_gain_offset vga", {kVga}),
        OperationRow("_a_vextvfapi_inpsrc_get_vga_handle",
                     "Get hold of the module's VGA handle; answers 1 when it was opened for that.", Result::value, {},
                     {}, [](Call&) -> long long { return _a_vextvfapi_inpsrc_get_vga_handle(); })
            .example("_inpsrc_get_vga_handle"),
        OperationRow("_a_vextvfapi_inpsrc_get_ypbpr_handle",
                     "Get hold of the module's YPbPr handle; answers 1 when it was opened for that.", Result::value, {},
                     {}, [](Call&) -> long long { return _a_vextvfapi_inpsrc_get_ypbpr_handle(); })
            .example("_inpsrc_get_ypbpr_handle"),
    };
}

// --- What is on screen -----------------------------------------------------------------------------------------------

// A byte that an operation writes, behind which a sanitizer sees one more.
using BytePtr = std::unique_ptr<unsigned char>;

long long tellSource(Call& call, int status, unsigned char source, bool isType) {
    call.out("source", static_cast<long long>(source));
    call.out("name", isType ? std::string(inputName(source)) : sourceName(source));
    return status;
}

template <int (*operation)(unsigned char*), bool isType>
long long currentSource(Call& call) {
    const BytePtr source(new unsigned char(0));
    const int status = operation(source.get());
    return tellSource(call, status, *source, isType);
}

long long currentSourceOrType(Call& call) {
    const BytePtr source(new unsigned char(0));
    const int status = _a_vextvfapi_inpsrc_get_current_input_source(source.get(), call.number<unsigned char>(0));
    return tellSource(call, status, *source, call.number(0) != 0);
}

// Only what is found is written.
long long sourceOfHandle(Call& call) {
    const BytePtr source(new unsigned char(0));
    const int status =
        _a_vextvfapi_inpsrc_get_src_by_extin_handle(call.number<int>(0), source.get(), call.number<unsigned char>(1));
    return status == 0 ? tellSource(call, status, *source, call.number(1) != 0) : status;
}

long long inputTiming(Call& call) {
    const auto timing = std::make_unique<fapi_core::VexTvFApiVideoTiming>();
    const int status = a_vextvfapi_inpsrc_get_input_timing(*timing);
    if (status == 0) {
        call.out("width", static_cast<long long>(timing->u32Width));
        call.out("height", static_cast<long long>(timing->u32Height));
        call.out("rate", static_cast<long long>(timing->u32FrameRate));
        call.out("interlaced", static_cast<long long>(timing->u8Interlaced));
        call.out("timing",
                 timingWords(timing->u32Width, timing->u32Height, timing->u8Interlaced != 0, timing->u32FrameRate));
    }
    return status;
}

// What no operation has written is not told.
constexpr unsigned char kUnwritten = 0xFF;

template <int (*operation)(unsigned char*)>
long long tellByte(Call& call, const char* name) {
    const BytePtr byte(new unsigned char(kUnwritten));
    const int status = operation(byte.get());
    if (*byte != kUnwritten) {
        call.out(name, static_cast<long long>(*byte));
    }
    return status;
}

template <int (*operation)(unsigned char*)>
long long videoStandard(Call& call) {
    return tellByte<operation>(call, "standard");
}

Argument asType() {
    return {"what",  Kind::choice, "its number, or its type: any other byte", 0, kU8Max, {{"source", 0}, {"type", 1}},
            "source"};
}

std::vector<OperationRow> screenOperations() {
    const std::vector<Output> source = {{"source", "its number"}, {"name", "what that is"}};
    const std::vector<Output> standard = {{"standard", "0 to 9; 10: none was detected"}};
    return {
        OperationRow("a_vextvfapi_inpsrc_get_current_input_source", "Tell the source of the picture.", Result::status,
                     {}, source, currentSource<a_vextvfapi_inpsrc_get_current_input_source, false>)
            .example("inpsrc_get_current_input_source", {kNoVideo, kComposite}),
        OperationRow("a_vextvfapi_inpsrc_get_current_input_source_type",
                     "Tell the source of the picture as type of the input.", Result::status, {}, source,
                     currentSource<a_vextvfapi_inpsrc_get_current_input_source_type, true>)
            .example("inpsrc_get_current_input_source_type", {kNoVideo, kComposite}),
        OperationRow("_a_vextvfapi_inpsrc_get_current_input_source",
                     "Tell the source of the picture by number or type.", Result::status, {asType()}, source,
                     currentSourceOrType)
            .example("_inpsrc_get_current_input_source type", {kNoVideo, kComposite}),
        OperationRow("_a_vextvfapi_inpsrc_get_src_by_extin_handle",
                     "Tell which external input has a handle; \"set input\" tells handles.", Result::status,
                     {{"handle", Kind::number, "the handle", kI32Min, kU32Max}, asType()}, source, sourceOfHandle)
            .example("_inpsrc_get_src_by_extin_handle 0x36545F49", {"_inpsrc_get_vga_handle"}),
        OperationRow("a_vextvfapi_inpsrc_get_input_timing", "Tell the timing of the picture.", Result::status, {},
                     {{"width", "pixels of a line", false, "px"},
                      {"height", "lines", false, "px"},
                      {"rate", "frames in 1000 s", false, "mHz", Role::measured},
                      {"interlaced", "1 when it is interlaced"},
                      {"timing", "all that in words"}},
                     inputTiming)
            .example("inpsrc_get_input_timing", {kNoVideo, "set plug hdmi 1", "set connect-input 0 hdmi 1"}),
        OperationRow("a_vextvfapi_inpsrc_get_video_standard",
                     "Tell the television standard of the analogue source on screen.", Result::status, {}, standard,
                     videoStandard<a_vextvfapi_inpsrc_get_video_standard>)
            .example("inpsrc_get_video_standard", {kNoVideo, kCompositeSource, kComposite}),
        OperationRow("_a_vextvfapi_inpsrc_get_video_standard", "The same, as the other modules call it.",
                     Result::status, {}, standard, videoStandard<_a_vextvfapi_inpsrc_get_video_standard>)
            .example("_inpsrc_get_video_standard", {kNoVideo, kCompositeSource, kComposite}),
    };
}

// --- Video decoder and tuner -----------------------------------------------------------------------------------------

template <int (*operation)(unsigned char*)>
long long decoderSignal(Call& call) {
    return tellByte<operation>(call, "locked");
}

long long getDecoderParameter(Call& call) {
    const auto value = std::make_unique<unsigned int>(0);
    const int status = a_vextvfapi_inpsrc_get_factory_vd_para(call.number<unsigned int>(0), value.get());
    if (status == 0) {
        call.out("value", static_cast<long long>(*value));
    }
    return status;
}

long long setDecoderParameter(Call& call) {
    const auto parameter = call.number<unsigned int>(0);
    const int status = a_vextvfapi_inpsrc_set_factory_vd_para(parameter, call.number<unsigned int>(1));
    return changed(call, status, [&] {
        return "parameter " + std::to_string(parameter) + " " +
               std::to_string(vset::extin::decoderParameter(0, parameter));
    });
}

long long vifInit(Call& call) {
    return changed(call, a_vextvfapi_inpsrc_vif_init(),
                   [] { return "initialised " + std::to_string(vset::tuner::slot(0).u64VifInits) + " times"; });
}

// Texts that were had stay after a failure.
long long demodInfo(Call& call) {
    const auto info = std::make_unique<fapi_core::VexTvFApiDemodInfoParam_t>();
    const int status = a_vextvfapi_inpsrc_get_demod_info(info.get());
    call.out("name", info->strName);
    call.out("version", info->strVersion);
    call.out("build", info->strBuildNumber);
    call.out("changes", info->strChangeList);
    return status;
}

long long bitErrorRate(Call& call) {
    const auto rate = std::make_unique<int>(0);
    const int status = a_vextvfapi_inpsrc_get_ber(rate.get());
    if (status == 0) {
        call.out("ber", static_cast<long long>(*rate));
    }
    return status;
}

std::vector<OperationRow> receptionOperations() {
    const std::vector<Output> locked = {{"locked", "0 no signal, 1 locked, 2 unknown"}};
    return {
        OperationRow("a_vextvfapi_inpsrc_check_vd_signal_locked",
                     "Tell whether the video decoder has a signal; it stays open.", Result::status, {}, locked,
                     decoderSignal<a_vextvfapi_inpsrc_check_vd_signal_locked>)
            .example("inpsrc_check_vd_signal_locked"),
        OperationRow("_a_vextvfapi_inpsrc_check_vd_signal_locked", "The same, as the other modules call it.",
                     Result::status, {}, locked, decoderSignal<_a_vextvfapi_inpsrc_check_vd_signal_locked>)
            .example("_inpsrc_check_vd_signal_locked"),
        OperationRow("a_vextvfapi_inpsrc_set_factory_vd_para",
                     "Set a factory parameter of the video decoder, which stays open.", Result::status,
                     {word("parameter", "1 to 16"), word("value", "its value")}, {chip()}, setDecoderParameter)
            .example("inpsrc_set_factory_vd_para 3 0x55"),
        OperationRow("a_vextvfapi_inpsrc_get_factory_vd_para",
                     "Get a factory parameter of the video decoder, which stays open.", Result::status,
                     {word("parameter", "1 to 16")}, {{"value", "its value"}}, getDecoderParameter)
            .example("inpsrc_get_factory_vd_para 3"),
        OperationRow("_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e",
                     "Answer the middleware's number of a factory parameter; 17 for all above 16.", Result::value,
                     {word("parameter", "its number")}, {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(call.number<unsigned int>(0));
                     })
            .example("_inpsrc_convert_to_HW_EXTIN_FactoryType_e 3"),
        OperationRow("a_vextvfapi_inpsrc_vif_init", "Initialise the tuner's intermediate-frequency stage anew.",
                     Result::status, {}, {chip()}, vifInit)
            .example("inpsrc_vif_init"),
        OperationRow("a_vextvfapi_inpsrc_get_demod_info",
                     "Tell what the demodulator says of itself; needs an open tuner.", Result::status, {},
                     {{"name", "its name"},
                      {"version", "its version"},
                      {"build", "its build"},
                      {"changes", "its list of changes"}},
                     demodInfo)
            .example("inpsrc_get_demod_info"),
        OperationRow("a_vextvfapi_inpsrc_get_ber",
                     "Tell the bit error rate of the first locked tuner, with no external input on screen.",
                     Result::status, {}, {{"ber", "the rate", false, "", Role::measured}}, bitErrorRate)
            .example("inpsrc_get_ber"),
    };
}

}  // namespace

std::vector<OperationRow> inpsrcOperations() {
    std::vector<OperationRow> rows = calibrationOperations();
    for (std::vector<OperationRow> some : {screenOperations(), receptionOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
