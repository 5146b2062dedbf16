#pragma once

#include "ports/machine_registry.h"

namespace win32 {

class Win32MachineRegistry final : public ports::MachineRegistry {
public:
    std::optional<std::u16string> ReadString(const std::u16string& path,
                                             const std::u16string& name) override;
};

} // namespace win32
