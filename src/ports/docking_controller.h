#pragma once

#include "ports/display_adapters.h"

#include <cstdint>
#include <optional>

namespace ports {

// What GetEGPUID gave: its code and the docked GPU's identity (zero when the library wrote none).
struct DockedGpuId {
    LibraryCode Code = 0;
    GPUDeviceID Id;
};

// What GetEGPUConfig gave: its code and the identity words of the first record, when the library
// handed out any records (the records themselves are freed by the port).
struct DockedGpuConfig {
    LibraryCode Code = 0;
    std::optional<GPUDeviceID> FirstId;
};

// What the dock's GetFanSpeed gave: its code, the fan speed and the acoustic level, both starting
// at 0 and left there when the library wrote nothing.
struct DockFanSpeed {
    LibraryCode Code = 0;
    uint32_t Rpm = 0;
    uint32_t Acoustic = 0;
};

// The external-GPU dock controller (ExternalGPUConfigHelper.dll), fetched afresh from the library
// before every call. The library or any of its entries may be missing: such an operation gives
// nullopt.
class DockingController {
public:
    virtual ~DockingController() = default;

    // Called with no change callback.
    virtual std::optional<LibraryCode> Initialize(void* owner) = 0;
    virtual std::optional<LibraryCode> Uninitialize(void* owner) = 0;
    virtual std::optional<DockedGpuId> GetEGPUID() = 0;
    virtual std::optional<DockedGpuConfig> GetEGPUConfig() = 0;
    virtual std::optional<DockFanSpeed> GetFanSpeed() = 0;
};

} // namespace ports
