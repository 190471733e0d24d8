// SPDX-License-Identifier: Apache-2.0
// The test canvas: its memory, its place on the screen, and the operations that draw on it.
#define FAPI_LOG_TAG "VexTvFApiDisplayTest"
#include <algorithm>

#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_disptst_bitmap.h"
#include "a_vextvfapi_disptst_draw.h"
#include "base/fapi_log.h"
#include "hw3/hw_os.h"
#include "hw3/hw_osd.h"
#include "hw3/hw_sys.h"

namespace {

constexpr std::uint32_t kMaxWidth = 1280;
constexpr std::uint32_t kMaxHeight = 720;
constexpr std::uint32_t kPixelSize = 4;

constexpr HW_S32 kBorrowedLayer = 1;
constexpr HW_U32 kCreatedLayer = 2;
constexpr HW_S32 kLayerWithoutCanvas = 0;

enum class Allocation : std::uint32_t { none, iommu, mmap };

struct DisptstFrameBuffer {
    HW_U64 u64PhysAddr;  // 0: no memory
    Allocation eAllocation;
    std::uint32_t u32Size;   // bytes
    HW_U64 u64VirtAddr;      // of the first pixel; 0: no memory to draw into
    std::uint32_t u32Limit;  // mapped bytes from there on, at most the size
    std::uint32_t u32RequestedWidth;
    std::uint32_t u32RequestedHeight;
    std::uint32_t u32PitchPixels;
    std::uint32_t u32BufferHeight;
    std::uint32_t u32PitchBytes;
    std::uint32_t u32VisibleWidth;
    std::uint32_t u32VisibleHeight;
};

// The memory of a frame buffer.
struct Mapping {
    HW_U64 u64PhysAddr = 0;
    HW_U64 u64VirtAddr = 0;
    std::uint32_t u32Length = 0;
    Allocation eAllocation = Allocation::none;
};

}  // namespace

static DisptstFrameBuffer _stFrameBuffer;
static HW_Handle_t _hLayer;
static HW_Handle_t _hWindow;
static HW_Handle_t _hSurface;
static bool _bOsdHandleInited;
static bool _bOsdLayerHandleCreated;  // else the layer is borrowed and never destroyed

// --- Memory ----------------------------------------------------------------------------------------------------------

static std::uint32_t _a_vextvfapi_disptst_get_frame_buffer_width(std::uint32_t u32Width) {
    return (u32Width + 15) / 16 * 16;
}

static std::uint32_t iommuLength(std::uint32_t u32Size) {
    return (u32Size + 0x3FFF) / 0x4000 * 0x4000;
}

static HW_Result_t freeIommu(HW_U64 u64PhysAddr, std::uint32_t u32Size) {
    const HW_OS_IommuRelease_t stRelease = {u64PhysAddr, iommuLength(u32Size), 0};
    return HW_OS_FreeIommuMemory(&stRelease);
}

static HW_Result_t freeMmap() {
    return HW_SYS_FreeMmapLayout(E_HW_SYS_MMAP_ID_FACTORY_CANVAS);
}

// Allocates memory and maps it; without memory the mapping has no physical address.
static void mapIommu(std::uint32_t u32Size, Mapping& stMapping, const char* pszCaller = __builtin_FUNCTION()) {
    HW_OS_IommuRequest_t stRequest = {"disp_photo", iommuLength(u32Size), 1, 0, 0};
    if (HW_OS_AllocateIommuMemory(&stRequest) != HW_OK) {
        return;
    }
    FAPI_LOGD_AS(pszCaller, "[%s][%d] Allocate IOMMU memory 0x%llx, size = 0x%x\n\n", pszCaller, __LINE__,
                 static_cast<unsigned long long>(stRequest.u64PhysAddr), stRequest.u32Length);
    if (stRequest.u64PhysAddr == 0) {
        return;
    }
    HW_U64 u64VirtAddr = 0;
    const HW_Result_t result = HW_OS_Pa2NonCachedVa(stRequest.u64PhysAddr, &u64VirtAddr);
    FAPI_LOGD_AS(pszCaller, "[%s][%d]virtual Allocate IOMMU memory 0x%llx\n\n", pszCaller, __LINE__,
                 static_cast<unsigned long long>(u64VirtAddr));
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] IOMMU HW_OS_Pa2NonCachedVa failed, code: %d\n\n", result);
        if (freeIommu(stRequest.u64PhysAddr, u32Size) != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OS_FreeIommuMemory Fail.\n\n");
        }
        return;
    }
    stMapping = {stRequest.u64PhysAddr, u64VirtAddr, stRequest.u32Length, Allocation::iommu};
}

// Allocates and maps the fixed region. False when the region is too small.
static bool mapMmap(std::uint32_t u32Size, Mapping& stMapping, const char* pszCaller = __builtin_FUNCTION()) {
    HW_SYS_MmapInfo_t stInfo = {};
    static_cast<void>(HW_SYS_AllocateMmapLayout(E_HW_SYS_MMAP_ID_FACTORY_CANVAS, &stInfo));
    if (stInfo.u32Length == 0 || stInfo.u32Length < u32Size) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] Frame buffer size is not enough, buffer size: 0x%x, required size: 0x%x\n\n",
                     stInfo.u32Length, u32Size);
        if (freeMmap() != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "[Pattern] HW_SYS_FreeMmapLayout Fail.\n\n");
        }
        return false;
    }
    const HW_U64 u64PhysAddr = stInfo.u64MiuBase + stInfo.u64Offset;
    HW_U64 u64VirtAddr = 0;
    const HW_Result_t result = HW_OS_Pa2NonCachedVa(u64PhysAddr, &u64VirtAddr);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] MMAP HW_OS_Pa2NonCachedVa failed, code: %d\n\n", result);
    }
    if (result != HW_OK || u64PhysAddr == 0) {
        if (freeMmap() != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "[Pattern] HW_SYS_FreeMmapLayout Fail.\n\n");
        }
        return true;
    }
    stMapping = {u64PhysAddr, u64VirtAddr, stInfo.u32Length, Allocation::mmap};
    return true;
}

// Returns an alignment, a power of two; 1 when the chip does not report it.
static HW_U32 surfaceAlignment(HW_OSD_SurfaceCap_e eCapability) {
    HW_U32 u32Alignment = 0;
    static_cast<void>(HW_OSD_SurfaceQueryCapability(eCapability, E_HW_OSD_COLOR_ARGB8888, &u32Alignment));
    return u32Alignment != 0 ? u32Alignment : 1;
}

template <class Number>
static Number alignUp(Number value, HW_U32 u32Alignment) {
    return ((Number{u32Alignment} - 1) | (value - 1)) + 1;
}

// Returns how many bytes of the mapping follow the first pixel.
static std::uint32_t drawableBytes(const Mapping& stMapping, HW_U64 u64FirstPixel, std::uint32_t u32Size) {
    const HW_U64 u64Shift = u64FirstPixel - stMapping.u64VirtAddr;
    return u64Shift < stMapping.u32Length
               ? std::min(u32Size, static_cast<std::uint32_t>(stMapping.u32Length - u64Shift))
               : 0;
}

static bool _disptst_get_frame_buffer(std::uint32_t width, std::uint32_t height) {
    if (_stFrameBuffer.u64PhysAddr != 0) {
        FAPI_LOGE("[Pattern] Frame Buffer is already allocated.\n\n");
        return true;
    }
    const std::uint32_t u32VisibleWidth = std::min(width, kMaxWidth);
    const std::uint32_t u32VisibleHeight = std::min(height, kMaxHeight);
    const std::uint32_t u32PitchPixels = _a_vextvfapi_disptst_get_frame_buffer_width(u32VisibleWidth);
    _stFrameBuffer.u32RequestedWidth = width;
    _stFrameBuffer.u32RequestedHeight = height;
    const HW_U32 u32AddrAlign = surfaceAlignment(E_HW_OSD_SURFACE_CAP_ADDR_ALIGN);
    const HW_U32 u32PitchAlign = surfaceAlignment(E_HW_OSD_SURFACE_CAP_PITCH_ALIGN);
    const std::uint32_t u32Size = u32VisibleHeight * u32PitchPixels * kPixelSize;

    Mapping stMapping;
    mapIommu(u32Size, stMapping);
    if (stMapping.u64PhysAddr == 0) {
        FAPI_LOGE("[%s][%d] Failed to Allocate IOMMU memory, Try Allocate MMAP memory.\n\n", __func__, __LINE__);
        if (!mapMmap(u32Size, stMapping)) {
            return false;
        }
    }
    if (stMapping.u64PhysAddr == 0) {
        FAPI_LOGE("[%s][%d] Failed to Allocate Memory.\n\n", __func__, __LINE__);
        return false;
    }
    _stFrameBuffer.u64PhysAddr = stMapping.u64PhysAddr;
    _stFrameBuffer.eAllocation = stMapping.eAllocation;
    _stFrameBuffer.u32Size = u32Size;
    _stFrameBuffer.u64VirtAddr = alignUp(stMapping.u64VirtAddr, u32AddrAlign);
    _stFrameBuffer.u32Limit = drawableBytes(stMapping, _stFrameBuffer.u64VirtAddr, u32Size);
    _stFrameBuffer.u32PitchPixels = u32PitchPixels;
    _stFrameBuffer.u32BufferHeight = u32VisibleHeight;
    _stFrameBuffer.u32PitchBytes = alignUp(u32PitchPixels * kPixelSize, u32PitchAlign);
    _stFrameBuffer.u32VisibleWidth = u32VisibleWidth;
    _stFrameBuffer.u32VisibleHeight = u32VisibleHeight;
    FAPI_LOGD("[%s][%d]Allocate _virtAddress : 0x%llx\n\n", __func__, __LINE__,
              static_cast<unsigned long long>(_stFrameBuffer.u64VirtAddr));
    return true;
}

static bool _disptst_free_frame_buffer() {
    switch (_stFrameBuffer.eAllocation) {
        case Allocation::mmap:
            if (freeMmap() != HW_OK) {
                FAPI_LOGE("[Pattern] HW_SYS_FreeMmapLayout Fail.\n\n");
            }
            break;
        case Allocation::iommu:
            if (freeIommu(_stFrameBuffer.u64PhysAddr, _stFrameBuffer.u32Size) != HW_OK) {
                FAPI_LOGE("[Pattern] HW_OS_FreeIommuMemory Fail.\n\n");
            }
            break;
        case Allocation::none:
            FAPI_LOGE("[Pattern] Frame Buffer is not allocated.\n\n");
            break;
    }
    _stFrameBuffer.u64PhysAddr = 0;
    _stFrameBuffer.eAllocation = Allocation::none;
    _stFrameBuffer.u32Size = 0;
    _stFrameBuffer.u64VirtAddr = 0;
    return true;
}

// --- On the screen ---------------------------------------------------------------------------------------------------

static bool borrowLayer(const char* pszCaller = __builtin_FUNCTION()) {
    HW_U32 u32Width = 0;
    HW_U32 u32Height = 0;
    static_cast<void>(HW_OSD_LayerGetSize(_hLayer, &u32Width, &u32Height));
    // Contract: the error level of this line, which is no failure.
    FAPI_LOGE_AS(pszCaller, "[Pattern] layer width[%u], height[%u]\n\n", u32Width, u32Height);
    HW_Result_t result = HW_OSD_LayerQueryWindowHandle(_hLayer, &_hWindow);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OSD_LayerQueryWindowHandle failed ret: %d\n\n", result);
        _hLayer = HW_HANDLE_NONE;
        return false;
    }
    result = HW_OSD_LayerHide(_hLayer);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OSD_LayerHide failed, code: %d\n\n", result);
        return false;
    }
    return true;
}

// Returns where a picture of the requested size begins when the canvas shows its middle.
static HW_U32 centered(std::uint32_t u32Requested, std::uint32_t u32Visible) {
    return u32Requested > u32Visible ? (u32Requested - u32Visible) / 2 : 0;
}

static bool createWindow(const char* pszCaller) {
    const HW_U32 u32Width = _stFrameBuffer.u32VisibleWidth;
    const HW_U32 u32Height = _stFrameBuffer.u32VisibleHeight;
    const HW_OSD_WindowAttr_t stAttr = {_hLayer, 0,        0,         u32Width, u32Height, 1, E_HW_OSD_COLOR_ARGB8888,
                                        2,       u32Width, u32Height, {}};
    HW_Result_t result = HW_OSD_WindowCreate(&stAttr, &_hWindow);
    if (result != HW_OK) {
        static_cast<void>(HW_OSD_LayerDestroy(_hLayer));
        _hLayer = HW_HANDLE_NONE;
        FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OSD_WindowCreate failed, code: %d\n\n", result);
        return false;
    }
    result = HW_OSD_WindowSetZOrder(_hWindow, 0);
    if (result != HW_OK) {
        static_cast<void>(HW_OSD_LayerDestroy(_hLayer));
        _hLayer = HW_HANDLE_NONE;
        _hWindow = HW_HANDLE_NONE;
        FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OSD_WindowSetZOrder failed, code: %d\n\n", result);
        return false;
    }
    _bOsdLayerHandleCreated = true;
    return true;
}

static bool createLayer(const char* pszCaller = __builtin_FUNCTION()) {
    const HW_U32 u32Width = _stFrameBuffer.u32VisibleWidth;
    const HW_U32 u32Height = _stFrameBuffer.u32VisibleHeight;
    const HW_OSD_LayerAttr_t stAttr = {kCreatedLayer,
                                       7,
                                       centered(_stFrameBuffer.u32RequestedWidth, u32Width),
                                       centered(_stFrameBuffer.u32RequestedHeight, u32Height),
                                       u32Width,
                                       u32Height,
                                       u32Width,
                                       u32Height};
    const HW_Result_t result = HW_OSD_LayerCreate(&stAttr, &_hLayer);
    if (result != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OSD_LayerCreate failed ret: %d, _hLayer==NULL? %d\n\n", result,
                     static_cast<int>(_hLayer == HW_HANDLE_NONE));
        _hLayer = HW_HANDLE_NONE;
        return false;
    }
    return createWindow(pszCaller);
}

static void destroyCreatedLayer() {
    if (_bOsdLayerHandleCreated) {
        static_cast<void>(HW_OSD_LayerDestroy(_hLayer));
        _bOsdLayerHandleCreated = false;
    }
}

static bool createSurface(const char* pszCaller = __builtin_FUNCTION()) {
    const HW_OSD_SurfaceAttr_t stAttr = {_stFrameBuffer.u32PitchPixels,
                                         _stFrameBuffer.u32BufferHeight,
                                         _stFrameBuffer.u32PitchBytes,
                                         E_HW_OSD_COLOR_ARGB8888,
                                         0,
                                         E_HW_OSD_MEM_PHYSICAL,
                                         _stFrameBuffer.u64PhysAddr,
                                         0};
    const HW_Result_t result = HW_OSD_SurfaceCreate(&stAttr, &_hSurface);
    if (result != HW_OK) {
        destroyCreatedLayer();
        _hLayer = HW_HANDLE_NONE;
        _hWindow = HW_HANDLE_NONE;
        FAPI_LOGE_AS(pszCaller, "[Pattern] HW_OSD_SurfaceCreate failed, code: %d\n\n", result);
        return false;
    }
    return true;
}

static bool _disptst_osd_handle_create() {
    if (_bOsdHandleInited) {
        FAPI_LOGI("[Pattern] OSD handle inited.\n\n");
        return true;
    }
    if (_stFrameBuffer.u64VirtAddr == 0) {
        FAPI_LOGE("[Pattern] Frame buffer is not allocated.\n\n");
        return false;
    }
    HW_Result_t result = HW_OSD_GetLayerHandle(&kBorrowedLayer, &_hLayer);
    if (result == HW_OK) {
        if (!borrowLayer()) {
            return false;
        }
    } else {
        FAPI_LOGE("[Pattern] HW_OSD_GetLayerHandle failed ret: %d\n\n", result);
        FAPI_LOGE("[Pattern] Get OSD_LAYER1 fail! Try to create OSD_LAYER_2\n\n");
        if (!createLayer()) {
            return false;
        }
    }
    if (!createSurface()) {
        return false;
    }
    result = HW_OSD_WindowFlipByExternSurface(_hWindow, _hSurface);
    if (result != HW_OK) {
        destroyCreatedLayer();
        static_cast<void>(HW_OSD_SurfaceDestroy(_hSurface));
        _hSurface = HW_HANDLE_NONE;
        _hWindow = HW_HANDLE_NONE;
        _hLayer = HW_HANDLE_NONE;
        FAPI_LOGE("[Pattern] HW_OSD_WindowFlipByExternSurface failed, code: %d\n\n", result);
        return false;
    }
    _bOsdHandleInited = true;
    return true;
}

static bool _disptst_osd_handle_destroy() {
    if (!_bOsdHandleInited) {
        FAPI_LOGE("[Pattern] There's no pattern setup.\n\n");
        return true;
    }
    if (_bOsdLayerHandleCreated) {
        const HW_Result_t result = HW_OSD_LayerDestroy(_hLayer);
        if (result != HW_OK) {
            FAPI_LOGE("[Pattern] HW_OSD_LayerDestroy failed, code: %d\n\n", result);
            return false;
        }
        _bOsdLayerHandleCreated = false;
    }
    const HW_Result_t result = HW_OSD_SurfaceDestroy(_hSurface);
    if (result != HW_OK) {
        FAPI_LOGE("[Pattern] HW_OSD_SurfaceDestroy failed, code: %d\n\n", result);
        return false;
    }
    _hSurface = HW_HANDLE_NONE;
    _hWindow = HW_HANDLE_NONE;
    _hLayer = HW_HANDLE_NONE;
    _bOsdHandleInited = false;
    FAPI_LOGI("OSD handle destroyed.\n\n");
    return true;
}

// --- Operations ------------------------------------------------------------------------------------------------------

int a_vextvfapi_disptst_gen_gop_test_pattern_on(unsigned int width, unsigned int height) {
    if (!_disptst_get_frame_buffer(width, height)) {
        FAPI_LOGE("[Pattern] Frame buffer create failed\n\n");
        return -1;
    }
    if (!_disptst_osd_handle_create()) {
        FAPI_LOGE("[Pattern] OSD Handle create failed\n\n");
        return -1;
    }
    return 0;
}

int a_vextvfapi_disptst_gen_gop_test_pattern_off() {
    FAPI_LOGI("Generate GOP test pattern OFF.\n\n");
    const bool bDestroyed = _disptst_osd_handle_destroy();
    if (!bDestroyed) {
        FAPI_LOGE("[Pattern] OSD Handle destroy failed\n\n");
    }
    // Contract: the memory is freed whatever became of the layer.
    _disptst_free_frame_buffer();
    return bDestroyed ? 0 : -1;
}

int a_vextvfapi_disptst_gen_gop_test_pattern_show() {
    if (!_bOsdHandleInited) {
        FAPI_LOGE("[Pattern] OSD Handle is not inited.\n\n");
        return -1;
    }
    const HW_Result_t result = HW_OSD_LayerShow(_hLayer);
    if (result != HW_OK) {
        FAPI_LOGE("[Pattern] HW_OSD_LayerShow failed, code: %d\n\n", result);
        return -1;
    }
    return 0;
}

int a_vextvfapi_disptst_gen_gop_test_pattern_hide() {
    if (!_bOsdHandleInited) {
        FAPI_LOGE("[Pattern] OSD Handle is not inited.\n\n");
        return -1;
    }
    const HW_Result_t result = HW_OSD_LayerHide(_hLayer);
    if (result != HW_OK) {
        FAPI_LOGE("[Pattern] HW_OSD_LayerHide failed, code: %d\n\n", result);
        return -1;
    }
    return 0;
}

static bool isDrawable(const char* pszCaller = __builtin_FUNCTION()) {
    if (_stFrameBuffer.u64VirtAddr == 0) {
        FAPI_LOGE_AS(pszCaller, "[Pattern] Frame buffer is not allocated.\n\n");
        return false;
    }
    return true;
}

static DisptstCanvas canvas() {
    return {reinterpret_cast<unsigned char*>(static_cast<std::uintptr_t>(_stFrameBuffer.u64VirtAddr)),
            _stFrameBuffer.u32Limit, _stFrameBuffer.u32PitchPixels, _stFrameBuffer.u32VisibleWidth,
            _stFrameBuffer.u32BufferHeight};
}

int a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(const unsigned char* fileName, unsigned int width,
                                                    unsigned int height) {
    FAPI_LOGI("Generate GOP test pattern by BMP file.\n\n");
    FAPI_LOGI("File name: %s, size: %dx%d\n\n", fapi::logText(fileName), width, height);
    if (a_vextvfapi_disptst_gen_gop_test_pattern_on(width, height) != 0 ||
        a_vextvfapi_disptst_gen_gop_test_pattern_hide() != 0) {
        return -1;
    }
    if (!_load_bitmap_to_buffer(canvas(), fileName, 0, 0, 0, 0, width, height)) {
        FAPI_LOGE("[Pattern] Load BMP to buffer failed\n\n");
        return -1;
    }
    return a_vextvfapi_disptst_gen_gop_test_pattern_show();
}

int a_vextvfapi_disptst_gen_gop_test_pattern_draw_line(fapi_core::VexTvFApiGOPPatternLine_t line) {
    FAPI_LOGI("[Pattern] a_vextvfapi_disptst_gen_gop_test_pattern_draw_line\n\n");
    FAPI_LOGI("[Pattern] From (%d,%d) to (%d,%d)\n\n", line.u32StartX, line.u32StartY, line.u32EndX, line.u32EndY);
    FAPI_LOGI("[Pattern] Color: (%d,%d,%d,%d)\n\n", line.stColor.u8Alpha, line.stColor.u8Red, line.stColor.u8Green,
              line.stColor.u8Blue);
    if (isDrawable()) {
        _a_vextvfapi_disptst_plot_line(canvas(), line.stColor, line.u32StartX, line.u32StartY, line.u32EndX,
                                       line.u32EndY);
    }
    // Contract: unlike the other operations, a success without a canvas, too.
    return 0;
}

int a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect(fapi_core::VexTvFApiGOPPatternRect_t rect) {
    FAPI_LOGI("[Pattern] a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect\n\n");
    FAPI_LOGI("[Pattern] From (%d,%d), size: %dx%d\n\n", rect.u32X, rect.u32Y, rect.u32Width, rect.u32Height);
    FAPI_LOGI("[Pattern] Color: (%d,%d,%d,%d)\n\n", rect.stColor.u8Alpha, rect.stColor.u8Red, rect.stColor.u8Green,
              rect.stColor.u8Blue);
    if (!isDrawable()) {
        return -1;
    }
    _a_vextvfapi_disptst_plot_rect(canvas(), rect.stColor, rect.u32X, rect.u32Y, rect.u32Width, rect.u32Height,
                                   rect.stBorderColor, rect.u32BorderWidth);
    return 0;
}

// The record is passed by value: contract.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap(fapi_core::VexTvFApiGOPPatternBitmap_t bitmap) {
    FAPI_LOGI("[Pattern] a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap\n\n");
    FAPI_LOGI("[Pattern] From (%d,%d), filename: %s\n\n", bitmap.u32X, bitmap.u32Y, bitmap.strFileName.c_str());
    FAPI_LOGI("[Pattern] Crop from (%d,%d), size: %dx%d\n\n", bitmap.u32CropX, bitmap.u32CropY, bitmap.u32CropWidth,
              bitmap.u32CropHeight);
    if (!isDrawable()) {
        return -1;
    }
    // Contract: a picture that cannot be drawn is only logged.
    static_cast<void>(_load_bitmap_to_buffer(
        canvas(), reinterpret_cast<const unsigned char*>(bitmap.strFileName.c_str()), bitmap.u32X, bitmap.u32Y,
        bitmap.u32CropX, bitmap.u32CropY, bitmap.u32CropWidth, bitmap.u32CropHeight));
    return 0;
}

int a_vextvfapi_disptst_gop_pattern_set_attr(fapi_core::VexTvFApiGOPPatternAttr_t attr) {
    FAPI_LOGI("[Pattern] Set GOP test pattern attribute\n\n");
    FAPI_LOGI("[Pattern] Enable: %u\n\n", static_cast<unsigned int>(attr.bEnable));
    FAPI_LOGI("[Pattern] HUE: %u\n\n", attr.u16Hue);
    FAPI_LOGI("[Pattern] Saturation: %u\n\n", attr.u16Saturation);
    FAPI_LOGI("[Pattern] Contrast: %u\n\n", attr.u16Contrast);
    FAPI_LOGI("[Pattern] Brightness: %u\n\n", attr.u16Brightness);
    FAPI_LOGI("[Pattern] Red gain: %u\n\n", attr.u16RedGain);
    FAPI_LOGI("[Pattern] Green gain: %u\n\n", attr.u16GreenGain);
    FAPI_LOGI("[Pattern] Blue gain: %u\n\n", attr.u16BlueGain);
    if (_hLayer == HW_HANDLE_NONE) {
        FAPI_LOGE("[Pattern] OSD handle null! Try to get OSD_Layer_0 handle.\n\n");
        // Contract: it stays the module's layer until a canvas is taken away.
        if (HW_OSD_GetLayerHandle(&kLayerWithoutCanvas, &_hLayer) != HW_OK) {
            FAPI_LOGE("[Pattern] Get OSD_Layer_0 Failed\n\n");
            return -1;
        }
    }
    const HW_OSD_ColorMatrix_t stMatrix = {static_cast<HW_U8>(attr.bEnable ? 1 : 0),
                                           0,
                                           attr.u16Hue,
                                           attr.u16Saturation,
                                           attr.u16Contrast,
                                           attr.u16Brightness,
                                           attr.u16RedGain,
                                           attr.u16GreenGain,
                                           attr.u16BlueGain,
                                           0};
    if (HW_OSD_LayerSetColorMatrix(_hLayer, &stMatrix) != HW_OK) {
        FAPI_LOGE("[Pattern] GOP test pattern set ColorMatrix attribute fail!\n\n");
        return -1;
    }
    return 0;
}
