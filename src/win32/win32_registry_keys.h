#pragma once

#include "ports/registry_keys.h"

namespace win32 {

// HKEY_LOCAL_MACHINE through KEY_WOW64_64KEY.
class Win32RegistryKeys final : public ports::RegistryKeys {
public:
    uint32_t Delete(const std::u16string& path) override;
    ports::OpenedKey OpenForRead(const std::u16string& path) override;
};

} // namespace win32
