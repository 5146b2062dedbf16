#include "win32/win32_machine_registry.h"

#include "win32/wide.h"

#include <windows.h>

namespace win32 {

std::optional<std::u16string> Win32MachineRegistry::ReadString(const std::u16string& path,
                                                               const std::u16string& name) {
    // The value may grow between asking its size and reading it: ask again then.
    for (int attempt = 0; attempt < 3; ++attempt) {
        DWORD bytes = 0;
        LSTATUS status = ::RegGetValueW(HKEY_LOCAL_MACHINE, AsWide(path), AsWide(name),
                                        RRF_RT_REG_SZ, nullptr, nullptr, &bytes);
        if (status != ERROR_SUCCESS) {
            return std::nullopt;
        }
        std::u16string text(bytes / sizeof(char16_t) + 1, u'\0');
        bytes = static_cast<DWORD>(text.size() * sizeof(char16_t));
        status = ::RegGetValueW(HKEY_LOCAL_MACHINE, AsWide(path), AsWide(name), RRF_RT_REG_SZ,
                                nullptr, text.data(), &bytes);
        if (status == ERROR_SUCCESS) {
            text.resize(text.find(u'\0'));
            return text;
        }
        if (status != ERROR_MORE_DATA) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace win32
