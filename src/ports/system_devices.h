#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ports {

// The present devices of the System device class, as SetupAPI lists them.
class SystemDevices {
public:
    virtual ~SystemDevices() = default;

    // The driver key (SPDRP_DRIVER) of the first device one of whose hardware ids contains
    // hardwareIdPart; nullopt when no device has it, an empty text when its driver key cannot be
    // read.
    virtual std::optional<std::u16string> FindDriverKey(std::u16string_view hardwareIdPart) = 0;
};

} // namespace ports
