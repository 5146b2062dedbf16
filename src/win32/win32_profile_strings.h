#pragma once

#include "ports/profile_strings.h"

namespace win32 {

// INI values through GetPrivateProfileStringW.
class Win32ProfileStrings final : public ports::ProfileStrings {
public:
    std::u16string Read(const std::u16string& path, std::u16string_view section,
                        std::u16string_view key, std::u16string_view defaultText,
                        std::size_t capacity) override;
};

} // namespace win32
