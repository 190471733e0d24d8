// SPDX-License-Identifier: Apache-2.0
// Asserts member offsets of the public records, which hosts compile against. Nothing runs; a change does not
// compile.
#include <cstddef>

#include "fapi_core.h"

using namespace fapi_core;

#define LIES_AT(record, member, offset) static_assert(offsetof(record, member) == (offset), #record "::" #member)

LIES_AT(VexTvFApiGOPPatternColor_t, u8Red, 0);
LIES_AT(VexTvFApiGOPPatternColor_t, u8Green, 1);
LIES_AT(VexTvFApiGOPPatternColor_t, u8Blue, 2);
LIES_AT(VexTvFApiGOPPatternColor_t, u8Alpha, 3);

LIES_AT(VexTvFApiGOPPatternLine_t, u32StartX, 0);
LIES_AT(VexTvFApiGOPPatternLine_t, u32StartY, 4);
LIES_AT(VexTvFApiGOPPatternLine_t, u32EndX, 8);
LIES_AT(VexTvFApiGOPPatternLine_t, u32EndY, 12);
LIES_AT(VexTvFApiGOPPatternLine_t, stColor, 16);

LIES_AT(VexTvFApiGOPPatternRect_t, u32X, 0);
LIES_AT(VexTvFApiGOPPatternRect_t, u32Y, 4);
LIES_AT(VexTvFApiGOPPatternRect_t, u32Width, 8);
LIES_AT(VexTvFApiGOPPatternRect_t, u32Height, 12);
LIES_AT(VexTvFApiGOPPatternRect_t, stColor, 16);
LIES_AT(VexTvFApiGOPPatternRect_t, u32BorderWidth, 20);
LIES_AT(VexTvFApiGOPPatternRect_t, stBorderColor, 24);

LIES_AT(VexTvFApiGOPPatternAttr_t, bEnable, 0);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16Hue, 2);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16Saturation, 4);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16Contrast, 6);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16Brightness, 8);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16RedGain, 10);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16GreenGain, 12);
LIES_AT(VexTvFApiGOPPatternAttr_t, u16BlueGain, 14);

LIES_AT(_VexFApiDisptstBurnModeParam, pColorTable, 0);
LIES_AT(_VexFApiDisptstBurnModeParam, u8ColorTableSize, sizeof(void*));
LIES_AT(_VexFApiDisptstBurnModeParam, u8Interval, sizeof(void*) + 1);

LIES_AT(VexTvFApiDispTstPattern, u32Enable, 0);
LIES_AT(VexTvFApiDispTstPattern, u32Param, 4);
LIES_AT(VexTvFApiDispTstPattern, au32Value, 8);

LIES_AT(VexTvFApiAdcPhase_t, u32RedPhase, 0);
LIES_AT(VexTvFApiAdcPhase_t, u32GreenPhase, 4);
LIES_AT(VexTvFApiAdcPhase_t, u32BluePhase, 8);

LIES_AT(VexTvFApiAdcGainOffset_t, u32RedGain, 0);
LIES_AT(VexTvFApiAdcGainOffset_t, u32GreenGain, 4);
LIES_AT(VexTvFApiAdcGainOffset_t, u32BlueGain, 8);
LIES_AT(VexTvFApiAdcGainOffset_t, u32RedOffset, 12);
LIES_AT(VexTvFApiAdcGainOffset_t, u32GreenOffset, 16);
LIES_AT(VexTvFApiAdcGainOffset_t, u32BlueOffset, 20);

LIES_AT(VexTvFApiVideoTiming, u32Width, 0);
LIES_AT(VexTvFApiVideoTiming, u32Height, 4);
LIES_AT(VexTvFApiVideoTiming, u32FrameRate, 8);
LIES_AT(VexTvFApiVideoTiming, u8Interlaced, 12);

LIES_AT(VexTvFApiDispHsyModelRange, as32Min, 0);
LIES_AT(VexTvFApiDispHsyModelRange, as32Max, 12);

LIES_AT(VexTvFApiDispTconInfo, u8TconProjectName, 0);
LIES_AT(VexTvFApiDispTconInfo, u8TconCustomerName, 16);
LIES_AT(VexTvFApiDispTconInfo, u8TconData, 32);

LIES_AT(VexTvFApiDispExtFrcDeviceInfo, eExtFrcModel, 0);
LIES_AT(VexTvFApiDispExtFrcDeviceInfo, u32FwVer, 4);
