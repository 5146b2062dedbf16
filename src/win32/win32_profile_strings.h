#pragma once

#include "ports/profile_strings.h"

namespace win32 {

// INI values through GetPrivateProfileStringW.
class Win32ProfileStrings final : public ports::ProfileStrings {
public:
    std::u16string Read(const std::u16string& path, std::u16string_view section,
                        std::u16string_view key, std::u16string_view defaultText,
                        std::size_t capacity) override;
    std::vector<std::u16string> KeyNames(const std::u16string& path,
                                         std::u16string_view section) override;
};

} // namespace win32
