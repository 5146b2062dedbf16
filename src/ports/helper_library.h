#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace ports {

// The firmware's ACPI device ("\\.\RavikACPI") as the helper library takes it: an opaque system
// handle that the plug-in opens and every firmware method call passes through. Null when closed.
using AcpiDeviceHandle = void*;

// The firmware method "DSTS" (four ASCII bytes read as a little-endian word).
inline constexpr uint32_t kFirmwareMethodDsts = 0x53545344;
// The firmware's answer for "no such device".
inline constexpr uint32_t kFirmwareNoDevice = 0xFFFFFFFE;

// What One_WMIMethod_INT gave: its return value (1 = the call succeeded) and the 32-bit result,
// which starts at 0 and stays 0 when the call did not write it.
struct FirmwareReply {
    int32_t Returned = 0;
    uint32_t Result = 0;
};

// What CheckXTUImagePath gave: its result and the two numbers it fills; all are only logged.
struct XtuImagePathCheck {
    int32_t Result = 0;
    int32_t IsChanged = 0;
    int32_t Type = 0;
};

// What RetriveSystemInfo gave: its result and the disk and memory sizes it fills.
struct SystemSizes {
    int32_t Result = 0;
    double TotalDisk = 0.0;
    double AvailableDisk = 0.0;
    double TotalMemory = 0.0;
    double AvailableMemory = 0.0;
};

// The maker's helper library (NativeCorvaneHelper.dll). The library or any of its entries may be
// missing from the plug-in's folder: an operation whose entry is missing gives nullopt and the
// source it stands for is absent.
class HelperLibrary {
public:
    virtual ~HelperLibrary() = default;

    virtual std::optional<int32_t> GetCPUVendor() = 0;
    virtual std::optional<XtuImagePathCheck> CheckXTUImagePath() = 0;
    virtual std::optional<int32_t> HasBeenUsed() = 0;
    virtual std::optional<int32_t> StartUsed() = 0;
    // plugin: the plug-in object, passed through to the library unchanged.
    virtual std::optional<int32_t> StartXTUService(void* plugin) = 0;
    virtual std::optional<int32_t> IsXTUServiceRunning() = 0;
    // Fills buffer (its size is the capacity in characters) with the processor's name.
    virtual std::optional<int32_t> GetProcessorNameString(std::span<char16_t> buffer) = 0;
    virtual std::optional<SystemSizes> RetriveSystemInfo() = 0;
    virtual std::optional<FirmwareReply> One_WMIMethod_INT(AcpiDeviceHandle device, uint32_t method,
                                                           uint32_t deviceId) = 0;
};

} // namespace ports
