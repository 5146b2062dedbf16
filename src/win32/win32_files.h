#pragma once

#include "ports/files.h"

namespace win32 {

// Files through the shell's path helpers and plain file calls.
class Win32Files final : public ports::Files {
public:
    bool Exists(const std::u16string& path) override;
    std::optional<std::vector<uint8_t>> ReadAll(const std::u16string& path) override;
    bool ClearAttributes(const std::u16string& path) override;
    bool Delete(const std::u16string& path) override;
};

// Folders from the module's own path and the shell's special and known folders.
class Win32Folders final : public ports::Folders {
public:
    std::optional<std::u16string> PluginFolder() override;
    std::optional<std::u16string> CommonAppData() override;
    std::optional<std::u16string> ProgramData() override;
    std::optional<std::u16string> LocalAppData() override;
};

} // namespace win32
