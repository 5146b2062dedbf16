#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace ports {

// Records the graphics-adapter library fills, laid out as the library lays them out (natural
// alignment, little-endian); the dock library's identity records share GPUDeviceID's two words.
struct GPUDeviceID {
    uint32_t Word0 = 0; // high 16 bits: the PCI device ID; low 16 bits: the vendor ID
    uint32_t Word1 = 0;
};

inline bool operator==(const GPUDeviceID& a, const GPUDeviceID& b) {
    return a.Word0 == b.Word0 && a.Word1 == b.Word1;
}

struct GPUBasicInfo {
    int32_t Vendor = 0;
    uint32_t EmptyFlags = 0; // bit set = item not available
    char16_t FullName[256] = {};
    int32_t MemorySize = 0;
    int32_t BusWidth = 0;
};

struct GPUMaxInfo {
    uint32_t ProcessorFrequency = 0;
    uint32_t MemoryFrequency = 0;
    int32_t Voltage = 0;
    int16_t Usage = 0;
    int16_t Temperature = 0;
};

struct GPUCurrentInfo {
    uint32_t Reserved = 0;
    uint32_t State = 0; // 1 = active
    uint32_t ProcessorFrequency = 0;
    uint32_t MemoryFrequency = 0;
    int32_t Voltage = 0;
    int16_t Usage = 0;
    int16_t Temperature = 0;
};

static_assert(sizeof(GPUDeviceID) == 8);
static_assert(sizeof(GPUBasicInfo) == 528);
static_assert(sizeof(GPUMaxInfo) == 16);
static_assert(sizeof(GPUCurrentInfo) == 24);

// Codes of the maker's libraries: HRESULT style, negative = failure.
using LibraryCode = int32_t;

inline bool Succeeded(LibraryCode code) {
    return code >= 0;
}

// The system's GPU as the graphics-adapter library hands it out. Destroying the object hands it
// back to the library (DestroyDevice).
class DisplayAdapterDevice {
public:
    virtual ~DisplayAdapterDevice() = default;

    virtual uint32_t GetVendor() = 0; // 1 = NVIDIA
    virtual uint32_t GetType() = 0;   // information is read only from type 1
    virtual LibraryCode GetDeviceID(GPUDeviceID& id) = 0;
    virtual LibraryCode GetBasicInfo(GPUBasicInfo& info) = 0;
    virtual LibraryCode GetMaxInfo(GPUMaxInfo& info) = 0;
    virtual LibraryCode GetCurrentInfo(GPUCurrentInfo& info) = 0;
    virtual LibraryCode GetFanSpeed(uint32_t& rpm) = 0;
};

// What CreateDevice gave: its code and, when the code is not negative, the device.
struct CreatedDevice {
    LibraryCode Code = 0;
    std::unique_ptr<DisplayAdapterDevice> Device;
};

// The process-wide controller of the graphics-adapter library (GPUControlLibrary.dll). The
// library or any of its entries may be missing: such an operation gives nullopt.
class DisplayAdapterController {
public:
    using ChangeCallback = void (*)(void* owner);

    virtual ~DisplayAdapterController() = default;

    virtual std::optional<LibraryCode> Initialize(void* owner, ChangeCallback callback) = 0;
    virtual std::optional<LibraryCode> Uninitialize(void* owner) = 0;
    virtual std::optional<LibraryCode> Refresh(uint32_t flags) = 0;
    virtual std::optional<CreatedDevice> CreateDevice() = 0;
};

} // namespace ports
