#pragma once

#include "ports/firmware_device.h"

namespace win32 {

// The firmware device as a file handle from CreateFileW.
class Win32FirmwareDevices final : public ports::FirmwareDevices {
public:
    std::unique_ptr<ports::FirmwareDevice> Open(const std::u16string& path) override;
};

} // namespace win32
