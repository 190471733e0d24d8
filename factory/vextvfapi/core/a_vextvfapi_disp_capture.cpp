// SPDX-License-Identifier: Apache-2.0
// Captures of the panel's picture, as BMP files. Contract: a failed capture leaves open what it has opened.
#define FAPI_LOG_TAG "VexTvFApiDisplay"
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "a_vextvfapi_disp.h"
#include "base/fapi_log.h"
#include "hw3/hw_cap.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_osd.h"
#include "hw3/hw_sys.h"

namespace {

constexpr unsigned char kBmpFailed = 0xFF;

constexpr unsigned int kCapturePixelSize = 4;
constexpr unsigned int kCaptureWidth = 1920;
constexpr unsigned int kCaptureHeight = 1080;
constexpr unsigned int kCapturePitch = kCaptureWidth * kCapturePixelSize;
constexpr unsigned int kCaptureSize = kCapturePitch * kCaptureHeight;
// The end of the capture unit's region: room for two pictures, one of which is used.
constexpr unsigned int kCaptureBuffer = 2 * kCaptureSize;

// --- BMP header ------------------------------------------------------------------------------------------------------

constexpr std::size_t kHeaderSize = 54;
using BmpHeader = std::array<unsigned char, kHeaderSize>;

}  // namespace

static void putLittleEndian(BmpHeader& header, std::size_t offset, std::uint32_t u32Value, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
        header[offset + i] = static_cast<unsigned char>(u32Value >> 8 * i);
    }
}

// Makes the header of a picture. Contract: it keeps 16 bits of width and height.
static BmpHeader headerFor(std::uint32_t u32Pitch, std::uint32_t u32Width, std::uint32_t u32Height) {
    BmpHeader header = {'B', 'M'};
    header[10] = kHeaderSize;
    header[14] = 40;  // bytes that describe the picture
    header[26] = 1;   // plane
    header[28] = 32;  // bits a pixel, not compressed
    const std::uint32_t u32ImageSize = u32Pitch * u32Height;
    putLittleEndian(header, 2, u32ImageSize + static_cast<std::uint32_t>(kHeaderSize), 4);
    putLittleEndian(header, 18, u32Width, 2);
    putLittleEndian(header, 22, u32Height, 2);
    putLittleEndian(header, 34, u32ImageSize, 4);
    return header;
}

// --- BMP file --------------------------------------------------------------------------------------------------------

// Writes header and rows. Contract: a failed write ends the file, but is no failure if the file can be closed.
static void writePicture(const BmpHeader& header, const unsigned char* pu8Rows, std::uint32_t u32Pitch,
                         std::uint32_t u32Height, FILE* pFile, const char* pszCaller = __builtin_FUNCTION()) {
    if (HW_FS_Fwrite(header.data(), static_cast<std::uint32_t>(header.size()), 1, pFile) == -1) {
        FAPI_LOGE_AS(pszCaller, "HW_FS_Fwrite Error: failed to write file \n\n");
        return;
    }
    for (std::uint32_t u32Row = u32Height; u32Row != 0; --u32Row) {
        if (HW_FS_Fwrite(pu8Rows + std::uint64_t{u32Row - 1} * u32Pitch, u32Pitch, 1, pFile) == -1) {
            FAPI_LOGE_AS(pszCaller, "HW_FS_Fwrite Error: failed to write file \n\n");
            return;
        }
    }
}

unsigned char _a_vextvfapi_output_bmp_file(const unsigned char* path, unsigned long long virtualAddress,
                                           unsigned int pitch, unsigned int width, unsigned int height) {
    FAPI_LOGD("pcPath: %s, virtAddr: 0x%llx, u32RawDataPitch: %d, u32RawDataWidth: %d, u32RawDataHeight: %d\n\n",
              fapi::logText(path), virtualAddress, pitch, width, height);
    if (virtualAddress == 0) {
        FAPI_LOGE("Error: rawDataAddr is NULL\n\n");
        return kBmpFailed;
    }
    FILE* const pFile = HW_FS_Fopen(reinterpret_cast<const char*>(path), "w");
    if (pFile == nullptr) {
        FAPI_LOGE("HW_FS_Fopen Error: failed to open file \n\n");
        return kBmpFailed;
    }
    writePicture(headerFor(pitch, width, height),
                 reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(virtualAddress)), pitch, height,
                 pFile);
    if (HW_FS_Fclose(pFile) != 0) {
        FAPI_LOGE("HW_FS_Fclose Error\n\n");
        return kBmpFailed;
    }
    const HW_S32 s32Result = HW_FS_Sync();
    if (s32Result != 0) {
        FAPI_LOGE("HW_FS_Sync Error: %d\n\n", s32Result);
        return kBmpFailed;
    }
    return 0;
}

// --- Captures --------------------------------------------------------------------------------------------------------

// Logs a failed call; the value is the capture's status. A macro, so that the line number tells the calls apart.
#define FAPI_CAPTURE_FAILED(caller, result) (FAPI_LOGE_AS(caller, "%s fail! eRet = %d\n\n", caller, result), -1)

int a_vextvfapi_disp_capture_screen_to_usb(const unsigned char* path, int captureType) {
    FAPI_LOGD("pcPath: %s, captureType: %d\n\n", fapi::logText(path), captureType);
    switch (captureType) {
        case 0:
            return _a_vextvfapi_disp_capture_osd_to_usb(path, 0);
        case 1:
        case 2:
            return _a_vextvfapi_disp_capture_video_to_usb(path, captureType == 2 ? 1 : 0);
        default:
            return -1;
    }
}

int _a_vextvfapi_disp_capture_osd_to_usb(const unsigned char* path, int layerId) {
    FAPI_LOGD("%s, %d\n\n", fapi::logText(path), layerId);
    HW_Handle_t hLayer = HW_HANDLE_NONE;
    HW_Result_t result = HW_OSD_GetLayerHandle(&layerId, &hLayer);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(__func__, result);
    }
    FAPI_LOGD("hLayerHandle: %d\n\n", hLayer);
    HW_Handle_t hWindow = HW_HANDLE_NONE;
    result = HW_OSD_LayerQueryWindowHandle(hLayer, &hWindow);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(__func__, result);
    }
    FAPI_LOGD("hWindowHandle: %d\n\n", hWindow);
    HW_Handle_t hSurface = HW_HANDLE_NONE;
    result = HW_OSD_WindowGetSurface(hWindow, &hSurface);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(__func__, result);
    }
    FAPI_LOGD("hSurfaceHandle: %d\n\n", hSurface);
    // Only for the log: the pixels are written as they are.
    HW_OSD_ColorFormatInfo_t stColorFmtInfo = {};
    static_cast<void>(HW_OSD_SurfaceGetColorFormat(hSurface, &stColorFmtInfo));
    FAPI_LOGD("HW_OSD_SurfaceGetColorFormat: stColorFmtInfo.eColorFormat: %d, stColorFmtInfo.u8PixelByte: %hhu\n\n",
              stColorFmtInfo.eColorFormat, stColorFmtInfo.u8PixelByte);
    HW_U64 u64Virt = 0;
    HW_U64 u64Phys = 0;
    result = HW_OSD_SurfaceLock(hSurface, &u64Virt, &u64Phys);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(__func__, result);
    }
    FAPI_LOGD("virtAddr: 0x%llx, phyAddr: 0x%llx\n\n", static_cast<unsigned long long>(u64Virt),
              static_cast<unsigned long long>(u64Phys));
    HW_U32 u32Width = 0;
    HW_U32 u32Height = 0;
    result = HW_OSD_SurfaceGetSize(hSurface, &u32Width, &u32Height);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(__func__, result);
    }
    FAPI_LOGD("HW_OSD_SurfaceGetSize(): u32CapFrameW:%d, u32CapFrameH:%d\n\n", u32Width, u32Height);
    const HW_U32 u32Pitch = (u32Width & 0xFFFF) * kCapturePixelSize;
    FAPI_LOGD("u32Pitch: %u, u32CapFrameH: %u\n\n", u32Pitch, u32Height);
    if (_a_vextvfapi_output_bmp_file(path, u64Virt, u32Pitch, u32Width, u32Height) != 0) {
        FAPI_LOGE("_a_vextvfapi_output_bmp_file Fail.\n\n");
        return -1;
    }
    result = HW_OSD_SurfaceUnlock(hSurface);
    return result == HW_OK ? 0 : FAPI_CAPTURE_FAILED(__func__, result);
}

static bool findCaptureBuffer(HW_U64& u64PhysAddr, const char* pszCaller = __builtin_FUNCTION()) {
    HW_SYS_MmapInfo_t stInfo = {};
    const HW_Result_t result = HW_SYS_GetMmapLayout(E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, &stInfo);
    if (result != HW_OK || stInfo.u32Length < kCaptureBuffer) {
        FAPI_LOGE_AS(pszCaller, "Error: Invalid mmap layout E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF with id = %d, len=%d\n\n",
                     E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, static_cast<int>(stInfo.u32Length));
        return false;
    }
    u64PhysAddr = stInfo.u64MiuBase + stInfo.u64Offset + stInfo.u32Length - kCaptureBuffer;
    return true;
}

namespace {

struct VideoCapture {
    HW_Handle_t hDisp = HW_HANDLE_NONE;
    bool bDispOpened = false;
    HW_Handle_t hSurface = HW_HANDLE_NONE;
    HW_Handle_t hCap = HW_HANDLE_NONE;
    HW_U64 u64Virt = 0;  // address of the buffer
};

}  // namespace

// Puts a surface on the buffer to obtain the buffer's address. Returns 0, or -1 with a message.
static int findBuffer(HW_U64 u64Buffer, VideoCapture& stCapture, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_OSD_SurfaceAttr_t stAttr = {
        kCaptureWidth, kCaptureHeight, kCapturePitch, E_HW_OSD_COLOR_CAPTURE, 0, E_HW_OSD_MEM_PHYSICAL, u64Buffer, 0};
    HW_Result_t result = HW_OSD_SurfaceCreate(&stAttr, &stCapture.hSurface);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(pszCaller, result);
    }
    HW_U64 u64Phys = 0;
    result = HW_OSD_SurfaceLock(stCapture.hSurface, &stCapture.u64Virt, &u64Phys);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(pszCaller, result);
    }
    FAPI_LOGD_AS(pszCaller, "virtAddr: 0x%llx, phyAddr: 0x%llx\n\n", static_cast<unsigned long long>(stCapture.u64Virt),
                 static_cast<unsigned long long>(u64Phys));
    result = HW_OSD_SurfaceUnlock(stCapture.hSurface);
    return result == HW_OK ? 0 : FAPI_CAPTURE_FAILED(pszCaller, result);
}

// Captures one picture into the buffer. Returns 0, or -1 with a message.
static int takePicture(unsigned char u8Flag, VideoCapture& stCapture, const char* pszCaller = __builtin_FUNCTION()) {
    const HW_CAP_OpenParams_t stOpen = {};
    HW_Result_t result = HW_CAP_Open(&stOpen, &stCapture.hCap);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(pszCaller, result);
    }
    FAPI_LOGD_AS(pszCaller, "hCapHandle: %d\n\n", stCapture.hCap);
    const HW_CAP_ConnectParams_t stConnect = {};
    result = HW_CAP_ConnectInput(stCapture.hCap, stCapture.hDisp, &stConnect);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(pszCaller, result);
    }
    const HW_CAP_Description_t stDescription = {
        stCapture.u64Virt, kCaptureSize, kCaptureWidth, kCaptureHeight, E_HW_CAP_FORMAT_2, u8Flag == 1 ? 1u : 0u, {}};
    HW_CAP_Result_t stResult = {};
    result = HW_CAP_CaptureOne(stCapture.hCap, &stDescription, &stResult);
    return result == HW_OK ? 0 : FAPI_CAPTURE_FAILED(pszCaller, result);
}

static HW_Result_t releaseCapture(const VideoCapture& stCapture) {
    HW_Result_t result = HW_OK;
    if (stCapture.hSurface != HW_HANDLE_NONE) {
        result |= HW_OSD_SurfaceDestroy(stCapture.hSurface);
    }
    if (stCapture.hCap != HW_HANDLE_NONE && stCapture.hDisp != HW_HANDLE_NONE) {
        result |= HW_CAP_DisconnectInput(stCapture.hCap, stCapture.hDisp);
    }
    if (stCapture.bDispOpened) {
        // Contract: the display output's close, which refuses a window's handle. A window that was opened here stays
        // open.
        static_cast<void>(HW_DISPOUT_Close(stCapture.hDisp));
    }
    if (stCapture.hCap != HW_HANDLE_NONE) {
        result |= HW_CAP_Close(stCapture.hCap);
    }
    return result;
}

int _a_vextvfapi_disp_capture_video_to_usb(const unsigned char* path, unsigned char flag) {
    FAPI_LOGD("pcPath: %s\n\n", fapi::logText(path));
    VideoCapture stCapture;
    stCapture.bDispOpened = _a_vextvfapi_disp_get_disp_handle(&stCapture.hDisp);
    // Only for the log: the capture is always a full picture.
    HW_DISP_Rect_t stRect = {};
    HW_Result_t result = HW_DISP_GetDispRect(stCapture.hDisp, &stRect);
    if (result != HW_OK) {
        return FAPI_CAPTURE_FAILED(__func__, result);
    }
    FAPI_LOGD("Panel u16X: %hu, u16Y: %hu, u16Width: %hu, u16Height: %hu\n\n", stRect.u16X, stRect.u16Y,
              stRect.u16Width, stRect.u16Height);
    FAPI_LOGD("u32CapFrameW: %u, u32Pitch: %u, u32CapFrameH: %u\n\n", kCaptureWidth, kCapturePitch, kCaptureHeight);
    HW_U64 u64Buffer = 0;
    if (!findCaptureBuffer(u64Buffer) || findBuffer(u64Buffer, stCapture) != 0 || takePicture(flag, stCapture) != 0) {
        return -1;
    }
    if (_a_vextvfapi_output_bmp_file(path, stCapture.u64Virt, kCapturePitch, kCaptureWidth, kCaptureHeight) != 0) {
        FAPI_LOGE("_a_vextvfapi_output_bmp_file Fail.\n\n");
        return -1;
    }
    result = releaseCapture(stCapture);
    return result == HW_OK ? 0 : FAPI_CAPTURE_FAILED(__func__, result);
}
