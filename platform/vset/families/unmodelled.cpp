// SPDX-License-Identifier: Apache-2.0
// Functions without a model.
#include "hw3/hw_cap.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_osd.h"
#include "hw3/hw_tuner.h"
#include "hw3/hw_video.h"
#include "vset_call.h"

// One line each.
// clang-format off

// External inputs
HW_Result_t HW_EXTIN_DeInit() { return vset::unmodelled(__func__); }
HW_Result_t HW_EXTIN_AutoGainOffset(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_EXTIN_DetectTvSystem(HW_Handle_t, HW_U32, HW_U32*) { return vset::unmodelled(__func__); }
HW_Result_t HW_EXTIN_GetSignalStatus(HW_Handle_t, HW_U32*) { return vset::unmodelled(__func__); }
HW_Result_t HW_EXTIN_FactorySetAttr(HW_Handle_t, HW_U32, const void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_EXTIN_FactoryGetAttr(HW_Handle_t, HW_U32, const void*, void*) { return vset::unmodelled(__func__); }

// Tuner
HW_Result_t HW_TUNER_Init(const HW_TUNER_InitParams_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_TUNER_GetCaps(HW_TUNER_Caps_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_TUNER_GetHandle(const HW_TUNER_HandleParams_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_TUNER_Open(const HW_TUNER_OpenParams_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_TUNER_GetAttr(HW_Handle_t, HW_U32, const void*, void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_TUNER_FactoryCmdGetAttr(HW_Handle_t, HW_U32, const void*, void*) { return vset::unmodelled(__func__); }
HW_U32 HW_TUNER_FactoryCmdApplyVif(HW_Handle_t, HW_U32) { return vset::unmodelled(__func__, 0); }
HW_Result_t HW_TUNER_GetLock(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_TUNER_GetBer(HW_Handle_t, HW_S32*) { return vset::unmodelled(__func__); }

// Video paths
HW_Result_t HW_VIDEO_GetAttr(HW_Handle_t, HW_U32, const void*, void*) { return vset::unmodelled(__func__); }

// On-screen display
HW_Result_t HW_OSD_Init(const HW_OSD_InitParams_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_GetLayerHandle(const HW_S32*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerCreate(const HW_OSD_LayerAttr_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerDestroy(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerShow(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerHide(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerGetSize(HW_Handle_t, HW_U32*, HW_U32*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerQueryWindowHandle(HW_Handle_t, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_LayerSetColorMatrix(HW_Handle_t, const HW_OSD_ColorMatrix_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_WindowCreate(const HW_OSD_WindowAttr_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_WindowSetZOrder(HW_Handle_t, HW_U32) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_WindowShow(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_WindowHide(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_WindowFlipByExternSurface(HW_Handle_t, HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_WindowGetSurface(HW_Handle_t, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceQueryCapability(HW_U32, HW_U32, HW_U32*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceCreate(const HW_OSD_SurfaceAttr_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceDestroy(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceGetColorFormat(HW_Handle_t, HW_OSD_ColorFormatInfo_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceLock(HW_Handle_t, HW_U64*, HW_U64*) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceUnlock(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_OSD_SurfaceGetSize(HW_Handle_t, HW_U32*, HW_U32*) { return vset::unmodelled(__func__); }

// Display windows
HW_Result_t HW_DISP_GetHandle(const char*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_Open(const HW_DISP_OpenParams_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_Close(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_GetConnectedNum(HW_Handle_t, const HW_DISP_ConnectQuery_t*, HW_U32*)
    { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_GetConnected(HW_Handle_t, const HW_DISP_ConnectQuery_t*, HW_U32, HW_Handle_t*)
    { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_GetDispRect(HW_Handle_t, HW_DISP_Rect_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetInputRect(HW_Handle_t, const HW_DISP_InputRect_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetAttr(HW_Handle_t, HW_U32, const void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetPictureParam(HW_Handle_t, HW_U32, const void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_GetPictureParam(HW_Handle_t, HW_U32, const void*, void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetMute(HW_Handle_t, HW_U32) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetUnMute(HW_Handle_t, HW_U32) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_ApplySetting(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_GetController(const HW_DISP_ControllerParams_t*, HW_Handle_t*)
    { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_OpenController(const HW_DISP_ControllerParams_t*, HW_Handle_t*)
    { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_CloseController(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetControlAttr(HW_Handle_t, HW_U32, const void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISP_SetOutputTiming(HW_Handle_t, HW_U32) { return vset::unmodelled(__func__); }

// Display output
HW_Result_t HW_DISPOUT_Init(const HW_DISPOUT_InitParams_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISPOUT_GetHandle(const HW_DISPOUT_HandleParams_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISPOUT_Open(const HW_DISPOUT_OpenParams_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISPOUT_Close(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISPOUT_PanelSetAttr(HW_Handle_t, HW_U32, const void*) { return vset::unmodelled(__func__); }
HW_Result_t HW_DISPOUT_PanelGetAttr(HW_Handle_t, HW_U32, const void*, void*) { return vset::unmodelled(__func__); }

// Capture
HW_Result_t HW_CAP_Open(const HW_CAP_OpenParams_t*, HW_Handle_t*) { return vset::unmodelled(__func__); }
HW_Result_t HW_CAP_Close(HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_CAP_ConnectInput(HW_Handle_t, HW_Handle_t, const HW_CAP_ConnectParams_t*)
    { return vset::unmodelled(__func__); }
HW_Result_t HW_CAP_DisconnectInput(HW_Handle_t, HW_Handle_t) { return vset::unmodelled(__func__); }
HW_Result_t HW_CAP_CaptureOne(HW_Handle_t, const HW_CAP_Description_t*, HW_CAP_Result_t*)
    { return vset::unmodelled(__func__); }
