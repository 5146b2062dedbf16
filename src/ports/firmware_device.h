#pragma once

#include "ports/helper_library.h"

#include <cstdint>
#include <memory>
#include <string>

namespace ports {

// The firmware's ACPI device, open for the helper library's firmware method calls. Destroying it
// closes it.
class FirmwareDevice {
public:
    virtual ~FirmwareDevice() = default;
    // The handle the helper library takes; never null while the device is open.
    virtual AcpiDeviceHandle Handle() const = 0;
};

class FirmwareDevices {
public:
    virtual ~FirmwareDevices() = default;
    // Opens the existing device at path for reading and writing, shared for reading and writing;
    // null when there is no such device.
    virtual std::unique_ptr<FirmwareDevice> Open(const std::u16string& path) = 0;
};

} // namespace ports
