#pragma once

#include <optional>
#include <string>

namespace ports {

// Text values under HKEY_LOCAL_MACHINE.
class MachineRegistry {
public:
    virtual ~MachineRegistry() = default;

    // The string value `name` of the key `path`; nullopt when the key or value is missing or is
    // not text.
    virtual std::optional<std::u16string> ReadString(const std::u16string& path,
                                                     const std::u16string& name) = 0;
};

} // namespace ports
