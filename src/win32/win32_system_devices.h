#pragma once

#include "ports/system_devices.h"

namespace win32 {

// The present devices of the System class in the current hardware profile, through SetupAPI.
class Win32SystemDevices final : public ports::SystemDevices {
public:
    std::optional<std::u16string> FindDriverKey(std::u16string_view hardwareIdPart) override;
};

} // namespace win32
