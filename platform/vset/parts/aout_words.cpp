// SPDX-License-Identifier: Apache-2.0
// The records of the audio outputs in words.
#include <algorithm>
#include <iterator>
#include <map>

#include "vset/aout.h"

namespace vset::aout {

namespace {

// --- Advanced sound --------------------------------------------------------------------------------------------------

// An effect that a byte of the parameters switches.
struct SubEffect {
    std::size_t position;
    const char* pszName;
};
using SubEffects = std::vector<SubEffect>;

struct AdvancedSound {
    const char* pszName;
    SubEffects subEffects;
};

const AdvancedSound* findAdvanced(HW_U32 u32Type) {
    static const std::map<HW_U32, AdvancedSound>& sounds = *new std::map<HW_U32, AdvancedSound>{
        {E_HW_AOUT_ADV_SND_SRS_TSHD,
         {"SRS True Surround HD",
          {{0, "trubass"}, {1, "dc"}, {2, "definition"}, {3, "srs 3d"}, {4, "trubass level independent"}}}},
        {E_HW_AOUT_ADV_SND_SRS_THEATER,
         {"SRS Theater",
          {{16, "cc3d"},
           {17, "cc3d depth process"},
           {18, "cc3d surround boost"},
           {19, "cc3d tshd mix"},
           {20, "cc3d fade"},
           {21, "cc3d trubass hdx"},
           {22, "cc3d max"},
           {32, "tshd"},
           {33, "geq"},
           {34, "trudialog"},
           {35, "cs"},
           {36, "common max"}}}},
        {E_HW_AOUT_ADV_SND_SRS_PURE,
         {"SRS Pure Sound", {{0, "hard limiter"}, {1, "active eq"}, {2, "hpf"}, {3, "trubass hd"}}}},
        {E_HW_AOUT_ADV_SND_DTS_VIRTUALX,
         {"DTS Virtual X", {{0, "trusrndx"}, {1, "tbhdx"}, {2, "mbhl"}, {3, "3"}, {4, "4"}, {5, "5"}, {6, "6"}}}},
        {E_HW_AOUT_ADV_SND_DOLBY_VOLUME, {"Dolby Volume", {}}},
        {E_HW_AOUT_ADV_SND_DOLBY_DAP, {"Dolby DAP", {{0, "total"}, {1, "atmos"}}}},
        {E_HW_AOUT_ADV_SND_DBX, {"DBX", {}}},
        {E_HW_AOUT_ADV_SND_NONE, {"none", {}}},
    };
    const auto found = sounds.find(u32Type);
    return found != sounds.end() ? &found->second : nullptr;
}

// Returns "geq on, cs on, rest off".
std::string describeSubEffects(const SubEffects& subEffects, const HW_U8* pu8Enable) {
    std::string strOn;
    std::size_t on = 0;
    for (const SubEffect& stEffect : subEffects) {
        if (pu8Enable[stEffect.position] != 0) {
            strOn += (on == 0 ? "" : ", ") + std::string(stEffect.pszName) + " on";
            ++on;
        }
    }
    if (on == 0) {
        return "all off";
    }
    return on == subEffects.size() ? "all on" : strOn + ", rest off";
}

// Returns the word for a number that counts from 0, or the number.
std::string word(const std::vector<const char*>& words, HW_U32 u32Number) {
    return u32Number < words.size() ? words[u32Number] : std::to_string(u32Number);
}

// Describes DBX, whose numbers are the reverse of switches.
std::string describeDbx(const HW_AOUT_Dbx_t& stDbx) {
    return "sonic " + word({"on", "off"}, stDbx.u32SonicMode) + ", volume " +
           word({"normal", "night", "off"}, stDbx.u32VolumeMode) + ", surround " +
           word({"on", "off"}, stDbx.u32SurroundMode);
}

// Returns whether a full parameter record is where other parameters have two switches.
bool isFullDap(const HW_AOUT_AdvSndParams_t& stParams) {
    return stParams.u32Type == E_HW_AOUT_ADV_SND_DOLBY_DAP &&
           std::any_of(std::begin(stParams.attr.au8Raw) + sizeof(HW_AOUT_DolbyDapSub_t), std::end(stParams.attr.au8Raw),
                       [](HW_U8 u8Byte) { return u8Byte != 0; });
}

// --- Basic sound -----------------------------------------------------------------------------------------------------

constexpr const char* kBasicNames[kBasicTypes] = {"prescale", "EQ",  "PEQ",  "treble", "bass", "AVC",    "surround",
                                                  "balance",  "DRC", "echo", "NR",     "HPF",  "limiter"};

// An array of values in the slots of the basic-sound record, one for each band.
struct BandArray {
    const char* pszName;
    std::size_t firstSlot;
};

struct Equaliser {
    HW_U32 u32Type;
    std::size_t bands;
    std::vector<BandArray> arrays;
};

const Equaliser* findEqualiser(HW_U32 u32Type) {
    static const std::vector<Equaliser>& equalisers = *new std::vector<Equaliser>{
        {E_HW_AOUT_BASIC_SND_EQ, 8, {{"level", 0}}},
        {E_HW_AOUT_BASIC_SND_PEQ,
         HW_AOUT_PEQ_BANDS,
         {{"gain", 0}, {"frequency", HW_AOUT_PEQ_BANDS}, {"Q", std::size_t{2} * HW_AOUT_PEQ_BANDS}}},
    };
    const auto found = std::find_if(equalisers.begin(), equalisers.end(),
                                    [&](const Equaliser& stRow) { return stRow.u32Type == u32Type; });
    return found != equalisers.end() ? &*found : nullptr;
}

// Returns "5 bands: gain 0 0 120 0 0, frequency ...". The record's count may have any value.
std::string describeBands(const Equaliser& equaliser, const HW_AOUT_BasicSound_t& stSound) {
    std::string strWords = std::to_string(stSound.u16Value) + (stSound.u16Value == 1 ? " band" : " bands");
    if (stSound.u16Value > equaliser.bands) {
        strWords += " (of " + std::to_string(equaliser.bands) + ")";
    }
    const std::size_t bands = std::min<std::size_t>(stSound.u16Value, equaliser.bands);
    const char* pszBefore = ": ";
    for (const BandArray& stArray : equaliser.arrays) {
        if (bands == 0) {
            break;
        }
        strWords += pszBefore + std::string(stArray.pszName);
        for (std::size_t i = 0; i < bands; ++i) {
            strWords += ' ' + std::to_string(stSound.band.au16Band[stArray.firstSlot + i]);
        }
        pszBefore = ", ";
    }
    return strWords;
}

// --- Paths -----------------------------------------------------------------------------------------------------------

std::string describeTable(const VolumeTable& stTable) {
    std::string strWords = "volume table \"" + stTable.strName + "\":";
    for (const std::uint16_t u16Entry : stTable.entries) {
        strWords += ' ' + std::to_string(u16Entry);
    }
    return strWords;
}

// Returns an empty text for a path that is as after switching on.
std::string describePath(const Path& stPath) {
    const Path stNew;
    std::vector<std::string> words;
    if (stPath.bOpen) {
        words.emplace_back(stPath.bPlayer ? "held by the player" : "open");
    }
    if (stPath.bBlocked) {
        words.emplace_back("blocked");
    }
    if (stPath.u8Volume != stNew.u8Volume) {
        words.push_back("volume " + std::to_string(stPath.u8Volume));
    }
    if (stPath.u32DelayMs != stNew.u32DelayMs) {
        words.push_back("delay " + std::to_string(stPath.u32DelayMs) + " ms");
    }
    if (stPath.volumeTable) {
        words.push_back(describeTable(*stPath.volumeTable));
    }
    std::string strWords;
    for (const std::string& strWord : words) {
        strWords += (strWords.empty() ? "" : ", ") + strWord;
    }
    return strWords;
}

}  // namespace

std::string advancedName(std::uint32_t u32Type) {
    const AdvancedSound* pSound = findAdvanced(u32Type);
    return pSound != nullptr ? pSound->pszName : std::to_string(u32Type);
}

std::string describe(const HW_AOUT_AdvSndParams_t& stParams) {
    std::string strName = advancedName(stParams.u32Type);
    if (stParams.u32Type == E_HW_AOUT_ADV_SND_DBX) {
        return strName + ": " + describeDbx(stParams.attr.stDbx);
    }
    if (isFullDap(stParams)) {
        return strName + ": pre-gain " + std::to_string(stParams.attr.stDolbyDapParams.stDapGainParam.s32PreGain) +
               ", full parameter record";
    }
    const AdvancedSound* pSound = findAdvanced(stParams.u32Type);
    if (pSound == nullptr || pSound->subEffects.empty()) {
        return strName;
    }
    return strName + ": " + describeSubEffects(pSound->subEffects, stParams.attr.au8Raw);
}

std::string describe(const HW_AOUT_BasicSound_t& stSound) {
    const std::string strName = word({std::begin(kBasicNames), std::end(kBasicNames)}, stSound.u32Type) +
                                (stSound.u8Enable != 0 ? " on" : " off");
    const Equaliser* pEqualiser = findEqualiser(stSound.u32Type);
    return pEqualiser != nullptr ? strName + ", " + describeBands(*pEqualiser, stSound)
                                 : strName + ": " + std::to_string(stSound.u16Value);
}

std::string describeAll() {
    std::string strLines;
    for (unsigned int i = 0; i < kPaths; ++i) {
        const std::string strWords = describePath(path(i));
        if (!strWords.empty()) {
            strLines += "path " + std::to_string(i) + ": " + strWords + '\n';
        }
    }
    const Sound stSound = sound();
    strLines += std::string("DTS bypass: ") + (stSound.bDtsBypass ? "on" : "off") + '\n';
    strLines += "advanced sound: " + advancedName(stSound.u32AdvancedType) + '\n';
    if (stSound.advancedParameters) {
        strLines += describe(*stSound.advancedParameters) + '\n';
    }
    for (const auto& basic : stSound.basic) {
        if (basic) {
            strLines += describe(*basic) + '\n';
        }
    }
    if (!stSound.strAqFile.empty()) {
        strLines += "audio-quality parameters: " + stSound.strAqFile + '\n';
    }
    return strLines;
}

}  // namespace vset::aout
