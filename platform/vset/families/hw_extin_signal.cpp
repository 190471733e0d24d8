// SPDX-License-Identifier: Apache-2.0
// The sources plugged into the external inputs, the calibration of the analog inputs, and the video decoder.
#include <array>
#include <map>
#include <mutex>

#include "extin_inputs.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

using Parameters = std::array<HW_U32, E_HW_EXTIN_FACTORY_LAST>;

// The inputs' signals: a part of the external inputs that has no handles and is reset with the other parts. Sources and
// counts are keyed by a handle's key, parameters by a decoder's index.
class SignalModel : public FamilyModel {
public:
    SignalModel() : FamilyModel(FamilyId::extin, "signals") {}

    // Guards all members below, and the calibration in the folder.
    std::mutex mutex;
    std::map<std::uint64_t, extin::Source> sources;
    std::map<std::uint64_t, std::uint64_t> automaticRuns;
    std::map<HW_U32, Parameters> decoders;

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        sources.clear();
        automaticRuns.clear();
        decoders.clear();
    }
};
SignalModel& model = *new SignalModel;

// --- Calibration -----------------------------------------------------------------------------------------------------

// Returns the name of an analog input's type in the configuration; null for types without a converter.
const char* converterOf(HW_U32 u32Type) {
    switch (u32Type) {
        case E_HW_EXTIN_TYPE_YPBPR:
            return "ypbpr";
        case E_HW_EXTIN_TYPE_VGA:
            return "vga";
        case E_HW_EXTIN_TYPE_SCART:
            return "scart";
        default:
            return nullptr;
    }
}

std::string entryOf(const ExtinInput& input) {
    return converterOf(input.u32Type) + std::to_string(input.u32Index);
}

// Returns an input's calibration; the board's own until it is changed.
extin::Calibration calibrationOf(const ExtinInput& input) {
    const auto calibrations = setConfig().calibrations;
    const auto found = calibrations.find(entryOf(input));
    return found != calibrations.end() ? found->second : extin::Calibration();
}

template <class Change>
void changeCalibration(const ExtinInput& input, Change&& change) {
    changeSetConfig([&](SetConfig& stConfig) { change(stConfig.calibrations[entryOf(input)]); });
}

HW_Result_t calibrate(const ExtinInput& input) {
    if (converterOf(input.u32Type) == nullptr) {
        return HW_ERR_NOT_SUPPORT;
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto source = model.sources.find(keyOf(input));
    if (source == model.sources.end() || source->second.u32Status != E_HW_EXTIN_SIGNAL_LOCKED) {
        return HW_ERR_FAILED;
    }
    changeCalibration(input, [&](extin::Calibration& stNow) { stNow.stGainOffset = source->second.stNeeded; });
    ++model.automaticRuns[keyOf(input)];
    return HW_OK;
}

bool hasCalibration(const ExtinInput& input, HW_U32 u32Attr) {
    return converterOf(input.u32Type) != nullptr &&
           (u32Attr == E_HW_EXTIN_ATTR_ADC_PHASE || u32Attr == E_HW_EXTIN_ATTR_ADC_GAIN_OFFSET);
}

// --- Timing and the decoder ------------------------------------------------------------------------------------------

HW_Result_t getTiming(const ExtinInput& input, HW_EXTIN_Timing_t& stTiming) {
    const std::optional<extin::Source> source = sourceOf(input);
    if (!source) {
        return HW_ERR_FAILED;
    }
    stTiming = source->stTiming;
    return HW_OK;
}

// Runs `body` on a parameter of the decoder of an open handle.
template <class Body>
HW_Result_t withParameter(HW_Handle_t hExtin, HW_U32 u32FactoryType, const void* pRecord, Body&& body) {
    return withInput(hExtin, pRecord, [&](const ExtinInput& input) -> HW_Result_t {
        if (input.u32Type != E_HW_EXTIN_TYPE_VD || u32FactoryType < E_HW_EXTIN_FACTORY_FIRST ||
            u32FactoryType > E_HW_EXTIN_FACTORY_LAST) {
            return HW_ERR_NOT_SUPPORT;
        }
        const std::lock_guard<std::mutex> lock(model.mutex);
        body(model.decoders[input.u32Index][u32FactoryType - E_HW_EXTIN_FACTORY_FIRST]);
        return HW_OK;
    });
}

// --- Checks of the control API ---------------------------------------------------------------------------------------

void requireConverter(const ExtinInput& input) {
    requireInput(input);
    if (converterOf(input.u32Type) == nullptr) {
        throw SetError(nameOf(input) + ": has nothing to calibrate");
    }
}

void requireParameter(unsigned int u32Decoder, unsigned int u32Parameter) {
    requireInput({E_HW_EXTIN_TYPE_VD, u32Decoder});
    if (u32Parameter < E_HW_EXTIN_FACTORY_FIRST || u32Parameter > E_HW_EXTIN_FACTORY_LAST) {
        throw SetError("decoder parameter " + std::to_string(u32Parameter) + ": they are numbered 1 to " +
                       std::to_string(E_HW_EXTIN_FACTORY_LAST));
    }
}

void requireSource(const extin::Source& source) {
    if (source.stTiming.u8Interlaced > 1) {
        throw SetError("source: interlaced is 0 or 1");
    }
    if (source.u32Status > E_HW_EXTIN_SIGNAL_UNKNOWN) {
        throw SetError("signal status " + std::to_string(source.u32Status) + ": there is none such");
    }
    if (source.u32TvSystem > E_HW_EXTIN_TV_SYSTEM_NONE) {
        throw SetError("television standard " + std::to_string(source.u32TvSystem) + ": there is none such");
    }
}

}  // namespace

std::optional<extin::Source> sourceOf(const ExtinInput& input) {
    const std::lock_guard<std::mutex> lock(model.mutex);
    const auto source = model.sources.find(keyOf(input));
    return source != model.sources.end() ? std::optional<extin::Source>(source->second) : std::nullopt;
}

HW_Result_t setSignalAttr(const ExtinInput& input, HW_U32 u32Attr, const void* pParam) {
    if (!hasCalibration(input, u32Attr)) {
        return HW_ERR_NOT_SUPPORT;
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    changeCalibration(input, [&](extin::Calibration& stNow) {
        if (u32Attr == E_HW_EXTIN_ATTR_ADC_PHASE) {
            stNow.stPhase = *static_cast<const HW_EXTIN_AdcPhase_t*>(pParam);
        } else {
            stNow.stGainOffset = *static_cast<const HW_EXTIN_AdcGainOffset_t*>(pParam);
        }
    });
    return HW_OK;
}

HW_Result_t getSignalAttr(const ExtinInput& input, HW_U32 u32Attr, void* pOutput) {
    if (u32Attr == E_HW_EXTIN_ATTR_TIMING) {
        return getTiming(input, *static_cast<HW_EXTIN_Timing_t*>(pOutput));
    }
    if (!hasCalibration(input, u32Attr)) {
        return HW_ERR_NOT_SUPPORT;
    }
    const extin::Calibration stNow = calibrationOf(input);
    if (u32Attr == E_HW_EXTIN_ATTR_ADC_PHASE) {
        *static_cast<HW_EXTIN_AdcPhase_t*>(pOutput) = stNow.stPhase;
    } else {
        *static_cast<HW_EXTIN_AdcGainOffset_t*>(pOutput) = stNow.stGainOffset;
    }
    return HW_OK;
}

}  // namespace vset

HW_Result_t HW_EXTIN_AutoGainOffset(HW_Handle_t hExtin) {
    return vset::call(__func__, {hExtin}, [&]() -> HW_Result_t {
        const std::optional<vset::ExtinInput> input = vset::openInput(hExtin);
        return input ? vset::calibrate(*input) : HW_Result_t{HW_ERR_INVALID_HANDLE};
    });
}

HW_Result_t HW_EXTIN_DetectTvSystem(HW_Handle_t hExtin, HW_U32 u32Mode, HW_U32* pu32TvSystem) {
    return vset::call(__func__, {hExtin, u32Mode, pu32TvSystem}, [&]() -> HW_Result_t {
        return vset::withInput(hExtin, pu32TvSystem, [&](const vset::ExtinInput& input) -> HW_Result_t {
            if (u32Mode != 1) {
                return HW_ERR_INVALID_PARAMETER;
            }
            const std::optional<vset::extin::Source> source = vset::sourceOf(input);
            *pu32TvSystem = source ? source->u32TvSystem : HW_U32{E_HW_EXTIN_TV_SYSTEM_NONE};
            return HW_OK;
        });
    });
}

HW_Result_t HW_EXTIN_GetSignalStatus(HW_Handle_t hExtin, HW_U32* pu32Status) {
    return vset::call(__func__, {hExtin, pu32Status}, [&]() -> HW_Result_t {
        return vset::withInput(hExtin, pu32Status, [&](const vset::ExtinInput& input) -> HW_Result_t {
            const std::optional<vset::extin::Source> source = vset::sourceOf(input);
            *pu32Status = source ? source->u32Status : HW_U32{E_HW_EXTIN_SIGNAL_NONE};
            return HW_OK;
        });
    });
}

HW_Result_t HW_EXTIN_FactorySetAttr(HW_Handle_t hExtin, HW_U32 u32FactoryType, const void* pParam) {
    return vset::call(__func__, {hExtin, u32FactoryType, pParam}, [&]() -> HW_Result_t {
        return vset::withParameter(hExtin, u32FactoryType, pParam,
                                   [&](HW_U32& u32Value) { u32Value = *static_cast<const HW_U32*>(pParam); });
    });
}

HW_Result_t HW_EXTIN_FactoryGetAttr(HW_Handle_t hExtin, HW_U32 u32FactoryType, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hExtin, u32FactoryType, pInput, pOutput}, [&]() -> HW_Result_t {
        // A query takes no input.
        return vset::withParameter(hExtin, u32FactoryType, pInput == nullptr ? pOutput : nullptr,
                                   [&](const HW_U32& u32Value) { *static_cast<HW_U32*>(pOutput) = u32Value; });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::extin {

void plug(std::uint32_t u32Type, std::uint32_t u32Index, const Source& source) {
    const ExtinInput stInput = {u32Type, u32Index};
    requireInput(stInput);
    requireSource(source);
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.sources[keyOf(stInput)] = source;
}

void unplug(std::uint32_t u32Type, std::uint32_t u32Index) {
    const ExtinInput stInput = {u32Type, u32Index};
    requireInput(stInput);
    const std::lock_guard<std::mutex> lock(model.mutex);
    if (model.sources.erase(keyOf(stInput)) == 0) {
        throw SetError(nameOf(stInput) + ": nothing is plugged in");
    }
}

Calibration calibration(std::uint32_t u32Type, std::uint32_t u32Index) {
    requireConverter({u32Type, u32Index});
    return calibrationOf({u32Type, u32Index});
}

void setCalibration(std::uint32_t u32Type, std::uint32_t u32Index, const Calibration& stCalibration) {
    requireConverter({u32Type, u32Index});
    const HostPaths hostPaths;
    const std::lock_guard<std::mutex> lock(model.mutex);
    changeCalibration({u32Type, u32Index}, [&](Calibration& stNow) { stNow = stCalibration; });
}

std::uint64_t automaticCalibrations(std::uint32_t u32Type, std::uint32_t u32Index) {
    requireConverter({u32Type, u32Index});
    const std::lock_guard<std::mutex> lock(model.mutex);
    return model.automaticRuns[keyOf({u32Type, u32Index})];
}

std::uint32_t decoderParameter(unsigned int u32Decoder, unsigned int u32Parameter) {
    requireParameter(u32Decoder, u32Parameter);
    const std::lock_guard<std::mutex> lock(model.mutex);
    return model.decoders[u32Decoder][u32Parameter - E_HW_EXTIN_FACTORY_FIRST];
}

void setDecoderParameter(unsigned int u32Decoder, unsigned int u32Parameter, std::uint32_t u32Value) {
    requireParameter(u32Decoder, u32Parameter);
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.decoders[u32Decoder][u32Parameter - E_HW_EXTIN_FACTORY_FIRST] = u32Value;
}

}  // namespace vset::extin
