// SPDX-License-Identifier: Apache-2.0
// HW_DISP, HW_DISPOUT, HW_OSD, HW_CAP, DVAL, DVVDO.
#include "describe.h"
#include "dval/dval.h"
#include "dval/dvvdo.h"
#include "hw3/hw_cap.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_osd.h"

namespace vset {

static void fields(CallText& text, const HW_DISP_OpenParams_t& st) {
    text.number("sdWindow", st.u32SdWindow);
    text.text("name", st.pszName);
}
static void fields(CallText& text, const HW_DISP_ConnectQuery_t& st) {
    text.number("word0", st.u32Word0);
    text.number("kind", st.u32ModuleKind);
    text.number("word2", st.u32Word2);
}
static void fields(CallText& text, const HW_DISP_Rect_t& st) {
    text.number("x", st.u16X);
    text.number("y", st.u16Y);
    text.number("width", st.u16Width);
    text.number("height", st.u16Height);
}
static void fields(CallText& text, const HW_DISP_InputRect_t& st) {
    text.number("x", st.u16X);
    text.number("y", st.u16Y);
    text.number("width", st.u16Width);
    text.number("height", st.u16Height);
    text.number("baseWidth", st.u16BaseWidth);
    text.number("baseHeight", st.u16BaseHeight);
}
static void fields(CallText& text, const HW_DISP_TestPattern_t& st) {
    text.number("mode", st.u32Mode);
    text.number("enable", st.u32Enable);
    text.number("param", st.u32Param);
    text.numbers("color", st.au32Value);
}
static void fields(CallText& text, const HW_DISP_MuteColor_t& st) {
    text.numbers("color", st.au32Value);
}
static void fields(CallText& text, const HW_DISP_ColorTemp_t& st) {
    text.numbers("value", st.au32Value);
}
static void fields(CallText& text, const HW_DISP_PqBlock_t& st) {
    text.number("index", st.u32Index);
    text.number("enable", st.u8Enable);
}
static void fields(CallText& text, const HW_DISP_Enable_t& st) {
    text.number("enable", st.u8Enable);
}
static void fields(CallText& text, const HW_DISP_StructParam_t& st) {
    text.number("kind", st.u32Kind);
    text.numbers("value", st.as32Value);
}
static void fields(CallText& text, const HW_DISP_PqRange_t& st) {
    text.numbers("min", st.as32Min);
    text.numbers("max", st.as32Max);
}
static void fields(CallText& text, const HW_DISP_GammaCurve_t& st) {
    constexpr std::size_t kCurveBytes = 256 * sizeof(HW_U16);
    text.number("word0", st.u32Word0);
    text.number("word1", st.u32Word1);
    text.bytes("red", st.apu16Curve[0], kCurveBytes);
    text.bytes("green", st.apu16Curve[1], kCurveBytes);
    text.bytes("blue", st.apu16Curve[2], kCurveBytes);
    text.numbers("last", st.au16Last);
}
static void fields(CallText& text, const HW_DISP_PqVersionRequest_t& st) {
    text.number("type", st.u32PqType);
}
static void fields(CallText& text, const HW_DISP_PqVersion_t& st) {
    text.text("version", st.au8Text, sizeof(st.au8Text));
}
static void fields(CallText& text, const HW_DISP_ControllerParams_t& st) {
    text.number("index", st.u32Index);
}

static void fields(CallText& text, const HW_DISPOUT_InitParams_t& st) {
    text.number("reserved", st.u8Reserved);
}
static void fields(CallText& text, const HW_DISPOUT_HandleParams_t& st) {
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_DISPOUT_OpenParams_t& st) {
    text.number("index", st.u32Index);
}
static void fields(CallText& text, const HW_DISPOUT_PwmRange_t& st) {
    text.number("min", st.u32PwmMinVal);
    text.number("max", st.u32PwmMaxVal);
}
static void fields(CallText& text, const HW_DISPOUT_LvdsSsc_t& st) {
    text.number("enable", st.u8Enable);
    text.number("span", st.u16SscSpan);
    text.number("step", st.u16SscStep);
}
static void fields(CallText& text, const HW_DISPOUT_Panel7_t& st) {
    text.number("a", st.u8A);
    text.number("b", st.u8B);
}
static void fields(CallText& text, const HW_DISPOUT_Panel8_t& st) {
    text.number("a", st.u8A);
    text.number("b", st.u16B);
    text.number("c", st.u16C);
    text.number("d", st.u16D);
}
static void fields(CallText& text, const HW_DISPOUT_FrcDevice_t& st) {
    text.number("model", st.eExtFrcModel);
    text.number("version", st.u32FwVer);
}
static void fields(CallText& text, const HW_DISPOUT_TconInfo_t& st) {
    text.text("project", st.u8TconProjectName, sizeof(st.u8TconProjectName));
    text.text("customer", st.u8TconCustomerName, sizeof(st.u8TconCustomerName));
    text.bytes("data", st.u8TconData, sizeof(st.u8TconData));
}

static void fields(CallText& text, const HW_OSD_InitParams_t& st) {
    text.number("reserved", st.u32Reserved);
    text.number("surfaces", st.u32SurfaceMax);
}
static void fields(CallText& text, const HW_OSD_LayerAttr_t& st) {
    text.number("layer", st.u32LayerId);
    text.number("flags", st.u32Flags);
    text.number("x", st.u32X);
    text.number("y", st.u32Y);
    text.number("width", st.u32Width);
    text.number("height", st.u32Height);
    text.number("srcWidth", st.u32SrcWidth);
    text.number("srcHeight", st.u32SrcHeight);
}
static void fields(CallText& text, const HW_OSD_WindowAttr_t& st) {
    text.handle("layer", st.hLayer);
    text.number("x", st.u32X);
    text.number("y", st.u32Y);
    text.number("width", st.u32Width);
    text.number("height", st.u32Height);
    text.number("flag", st.u8Flag);
    text.number("format", st.u32ColorFormat);
    text.number("bufferMode", st.u32BufferMode);
    text.number("srcWidth", st.u32SrcWidth);
    text.number("srcHeight", st.u32SrcHeight);
    text.numbers("reserved", st.au32Reserved);
}
static void fields(CallText& text, const HW_OSD_SurfaceAttr_t& st) {
    text.number("width", st.u32Width);
    text.number("height", st.u32Height);
    text.number("pitch", st.u32Pitch);
    text.number("format", st.u32ColorFormat);
    text.number("reserved", st.u32Reserved);
    text.number("memory", st.u32MemKind);
    text.handle("address", st.u64Address);
    text.number("reserved64", st.u64Reserved);
}
static void fields(CallText& text, const HW_OSD_ColorFormatInfo_t& st) {
    text.number("format", st.eColorFormat);
    text.number("pixelBytes", st.u8PixelByte);
}
static void fields(CallText& text, const HW_OSD_ColorMatrix_t& st) {
    text.number("enable", st.u8Enable);
    text.number("hue", st.u16Hue);
    text.number("saturation", st.u16Saturation);
    text.number("contrast", st.u16Contrast);
    text.number("brightness", st.u16Brightness);
    text.number("redGain", st.u16RedGain);
    text.number("greenGain", st.u16GreenGain);
    text.number("blueGain", st.u16BlueGain);
    text.number("reserved", st.u32Reserved);
}

static void fields(CallText& text, const HW_CAP_OpenParams_t& st) {
    text.bytes("reserved", st.au8Reserved, sizeof(st.au8Reserved));
}
static void fields(CallText& text, const HW_CAP_ConnectParams_t& st) {
    text.number("reserved", st.u32Reserved);
}
static void fields(CallText& text, const HW_CAP_Description_t& st) {
    text.handle("buffer", st.u64VirtAddr);
    text.number("bufferSize", st.u32BufferSize);
    text.number("width", st.u32Width);
    text.number("height", st.u32Height);
    text.number("format", st.u32Format);
    text.number("flag", st.u32Flag);
    text.numbers("reserved", st.au32Reserved);
}
static void fields(CallText& text, const HW_CAP_Result_t& st) {
    text.number("width", st.u32Width);
    text.number("height", st.u32Height);
    text.number("pitch", st.u32Pitch);
    text.number("size", st.u32Size);
}

static void fields(CallText& text, const DVVDO_OverScan_t& st) {
    text.number("top", st.s32Top);
    text.number("bottom", st.s32Bottom);
    text.number("left", st.s32Left);
    text.number("right", st.s32Right);
}

namespace describe {

namespace {

WriteArgument pictureParameter(std::size_t index) {
    return attributeValue("value", index, 1,
                          {{E_HW_DISP_PICTURE_COLOR_TEMP, value<HW_DISP_ColorTemp_t>},
                           {E_HW_DISP_PICTURE_PQ_BLOCK, value<HW_DISP_PqBlock_t>},
                           {E_HW_DISP_PICTURE_STRUCT, value<HW_DISP_StructParam_t>},
                           {E_HW_DISP_PICTURE_PQ_RANGE, value<HW_DISP_PqRange_t>},
                           {E_HW_DISP_PICTURE_GAMMA_ENABLE, value<HW_DISP_Enable_t>},
                           {E_HW_DISP_PICTURE_GAMMA_CURVE, value<HW_DISP_GammaCurve_t>},
                           {E_HW_DISP_PICTURE_PQ_MASTER, value<HW_DISP_Enable_t>},
                           {E_HW_DISP_PICTURE_PQ_VERSION, value<HW_DISP_PqVersion_t>},
                           {kAnyNumber, value<HW_S32>}});
}

WriteArgument pictureQuery() {
    return attributeValue("input", 2, 1, {{E_HW_DISP_PICTURE_PQ_VERSION, value<HW_DISP_PqVersionRequest_t>}});
}

WriteArgument windowAttribute() {
    return attributeValue("value", 2, 1,
                          {{E_HW_DISP_ATTR_MUTE_COLOR, value<HW_DISP_MuteColor_t>},
                           {E_HW_DISP_ATTR_TEST_PATTERN, value<HW_DISP_TestPattern_t>}});
}

WriteArgument panelAttribute(std::size_t index) {
    return attributeValue("value", index, 1,
                          {{E_HW_DISPOUT_PANEL_PWM_RANGE, value<HW_DISPOUT_PwmRange_t>},
                           {E_HW_DISPOUT_PANEL_LVDS_SSC, value<HW_DISPOUT_LvdsSsc_t>},
                           {E_HW_DISPOUT_PANEL_7, value<HW_DISPOUT_Panel7_t>},
                           {E_HW_DISPOUT_PANEL_8, value<HW_DISPOUT_Panel8_t>},
                           {E_HW_DISPOUT_PANEL_FRC_DEVICE, value<HW_DISPOUT_FrcDevice_t>},
                           {E_HW_DISPOUT_PANEL_TCON_INFO, value<HW_DISPOUT_TconInfo_t>},
                           {kAnyNumber, value<HW_U32>}});
}

// Writes at most as many handles as there was room for, however many modules are connected.
void writeModules(CallText& text, const ArgumentValues& values) {
    const auto* const phModules = valueOf<const HW_Handle_t*>(values[3]);
    for (std::size_t i = 0; i < values[2] || (i == 0 && text.wantsAll()); ++i) {
        text.handle("module", text.wantsAll() ? 0 : phModules[i]);
    }
}

Parameter lockedAddress(const char* pszName, std::size_t index) {
    return output([=](CallText& text, const ArgumentValues& values) {
        const auto* const pu64 = valueOf<const HW_U64*>(values[index]);
        pu64 != nullptr ? text.handle(pszName, *pu64) : text.null(pszName);
    });
}

}  // namespace

std::vector<CallDescription> display() {
    return {
        lookUp(VSET_DESCRIBE(HW_DISP_GetHandle, "name", handle())),
        VSET_DESCRIBE(HW_DISP_Open, "params", handle()),
        VSET_DESCRIBE(HW_DISP_Close, handle()),
        VSET_DESCRIBE(HW_DISP_GetConnectedNum, handle(), "query", "count"),
        VSET_DESCRIBE(HW_DISP_GetConnected, handle(), "query", "room", output(writeModules)),
        VSET_DESCRIBE(HW_DISP_GetDispRect, handle(), "rect"),
        VSET_DESCRIBE(HW_DISP_SetInputRect, handle(), "rect"),
        VSET_DESCRIBE(HW_DISP_SetAttr, handle(), "attr", input(windowAttribute())),
        VSET_DESCRIBE(HW_DISP_SetPictureParam, handle(), "param", input(pictureParameter(2))),
        VSET_DESCRIBE(HW_DISP_GetPictureParam, handle(), "param", input(pictureQuery()), output(pictureParameter(3))),
        VSET_DESCRIBE(HW_DISP_SetMute, handle(), "flags"),
        VSET_DESCRIBE(HW_DISP_SetUnMute, handle(), "flags"),
        VSET_DESCRIBE(HW_DISP_ApplySetting, handle()),
        lookUp(VSET_DESCRIBE(HW_DISP_GetController, "params", handle())),
        VSET_DESCRIBE(HW_DISP_OpenController, "params", handle()),
        VSET_DESCRIBE(HW_DISP_CloseController, handle()),
        VSET_DESCRIBE(HW_DISP_SetControlAttr, handle(), "attr",
                      input(attributeValue("param", 2, 1, {{E_HW_DISP_CONTROL_FREE_RUN, value<HW_S32>}}))),
        VSET_DESCRIBE(HW_DISP_SetOutputTiming, handle(), "timing"),

        VSET_DESCRIBE(HW_DISPOUT_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_DISPOUT_GetHandle, "params", handle())),
        VSET_DESCRIBE(HW_DISPOUT_Open, "params", handle()),
        VSET_DESCRIBE(HW_DISPOUT_Close, handle()),
        VSET_DESCRIBE(HW_DISPOUT_PanelSetAttr, handle(), "attr", input(panelAttribute(2))),
        VSET_DESCRIBE(HW_DISPOUT_PanelGetAttr, handle(), "attr", unusedInput(2), output(panelAttribute(3))),

        VSET_DESCRIBE(HW_OSD_Init, "params"),
        lookUp(VSET_DESCRIBE(HW_OSD_GetLayerHandle, "layer", handle())),
        VSET_DESCRIBE(HW_OSD_LayerCreate, "attr", handle()),
        VSET_DESCRIBE(HW_OSD_LayerDestroy, handle()),
        VSET_DESCRIBE(HW_OSD_LayerShow, handle()),
        VSET_DESCRIBE(HW_OSD_LayerHide, handle()),
        VSET_DESCRIBE(HW_OSD_LayerGetSize, handle(), "width", "height"),
        lookUp(VSET_DESCRIBE(HW_OSD_LayerQueryWindowHandle, handle(), handle("window"))),
        VSET_DESCRIBE(HW_OSD_LayerSetColorMatrix, handle(), "matrix"),
        VSET_DESCRIBE(HW_OSD_WindowCreate, "attr", handle()),
        VSET_DESCRIBE(HW_OSD_WindowSetZOrder, handle(), "zOrder"),
        VSET_DESCRIBE(HW_OSD_WindowShow, handle()),
        VSET_DESCRIBE(HW_OSD_WindowHide, handle()),
        VSET_DESCRIBE(HW_OSD_WindowFlipByExternSurface, handle(), handle("surface")),
        VSET_DESCRIBE(HW_OSD_WindowGetSurface, handle(), handle("surface")),
        VSET_DESCRIBE(HW_OSD_SurfaceQueryCapability, "capability", "format", "value"),
        VSET_DESCRIBE(HW_OSD_SurfaceCreate, "attr", handle()),
        VSET_DESCRIBE(HW_OSD_SurfaceDestroy, handle()),
        VSET_DESCRIBE(HW_OSD_SurfaceGetColorFormat, handle(), "info"),
        VSET_DESCRIBE(HW_OSD_SurfaceLock, handle(), lockedAddress("virtAddr", 1), lockedAddress("physAddr", 2)),
        VSET_DESCRIBE(HW_OSD_SurfaceUnlock, handle()),
        VSET_DESCRIBE(HW_OSD_SurfaceGetSize, handle(), "width", "height"),

        VSET_DESCRIBE(HW_CAP_Open, "params", handle()),
        VSET_DESCRIBE(HW_CAP_Close, handle()),
        VSET_DESCRIBE(HW_CAP_ConnectInput, handle(), handle("window"), "params"),
        VSET_DESCRIBE(HW_CAP_DisconnectInput, handle(), handle("window")),
        VSET_DESCRIBE(HW_CAP_CaptureOne, handle(), "description", "answer"),

        VSET_DESCRIBE(DVAL_Init),
        VSET_DESCRIBE(DVVDO_Reset, "window"),
        VSET_DESCRIBE(DVVDO_SetArg, "window", "arg", "value"),
        VSET_DESCRIBE(DVVDO_SetOverScan, "window", "overscan"),
    };
}

}  // namespace describe

}  // namespace vset
