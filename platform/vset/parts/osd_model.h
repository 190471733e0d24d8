// SPDX-License-Identifier: Apache-2.0
// Layers, windows and surfaces of the on-screen graphics, and who holds them.
#ifndef VSET_OSD_MODEL_H
#define VSET_OSD_MODEL_H

#include <array>
#include <memory>
#include <mutex>

#include "emulated_memory.h"
#include "vset/osd.h"
#include "vset_family.h"

namespace vset {

constexpr HW_U8 kOsdPixelSize = 4;  // bytes, in all formats

struct OsdState {
    std::array<std::optional<osd::Layer>, osd::kLayers> layers;  // by number
    std::vector<osd::Surface> surfaces;                          // as they were made
    std::uint32_t u32AddressAlignment = 64, u32PitchAlignment = 64;

    // Return null for a handle of nothing or of another kind.
    osd::Layer* layer(HW_Handle_t hLayer);
    osd::Window* window(HW_Handle_t hWindow);
    osd::Surface* surface(HW_Handle_t hSurface);
};

// Returns the host's memory of all of a surface, or null when there is none or no longer.
std::shared_ptr<HW_U8> memoryOf(const osd::Surface& stSurface);

// The model. The functions that make and destroy are called by locked() bodies, with the state.
class OsdModel : public StatefulModel<OsdState> {
public:
    OsdModel();

    HW_Result_t createLayer(OsdState& state, const HW_OSD_LayerAttr_t& stAttr, HW_Handle_t* phLayer,
                            bool bPlayer = false);
    void destroyLayer(OsdState& state, HW_Handle_t hLayer);
    HW_Result_t createWindow(osd::Layer& stLayer, const HW_OSD_WindowAttr_t& stAttr, HW_Handle_t* phWindow,
                             bool bPlayer = false);
    HW_Result_t createSurface(OsdState& state, const HW_OSD_SurfaceAttr_t& stAttr, HW_Handle_t* phSurface,
                              bool bPlayer = false);
    void destroySurface(OsdState& state, HW_Handle_t hSurface);
    bool isPlayersSurface(HW_Handle_t hSurface) const { return _surfaces.isPlayers(hSurface); }

private:
    void reset() override;
    void setPlayersScene(OsdState& state);

    // handles() has the layers, by their numbers; windows and surfaces are numbered as they are made.
    HandleTable _windows{FamilyId::osdWindow, "HW_OSD_WINDOW"};
    HandleTable _surfaces{FamilyId::osdSurface, "HW_OSD_SURFACE"};
    std::uint64_t _u64Made = 0;
    std::unique_ptr<GuardedMemory> _playersPixels;
};

extern OsdModel& osdModel;

}  // namespace vset

#endif
