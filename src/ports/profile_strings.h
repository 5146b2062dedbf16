#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ports {

// Values of INI files, read as GetPrivateProfileStringW reads them.
class ProfileStrings {
public:
    virtual ~ProfileStrings() = default;

    // The value of key in section of the file at path as it lands in a buffer of capacity
    // characters: at most capacity - 1 of them; defaultText (cut the same way) when the file,
    // section or key is missing.
    virtual std::u16string Read(const std::u16string& path, std::u16string_view section,
                                std::u16string_view key, std::u16string_view defaultText,
                                std::size_t capacity) = 0;
    // The key names of section, in file order; empty when the file or section is missing.
    virtual std::vector<std::u16string> KeyNames(const std::u16string& path,
                                                 std::u16string_view section) = 0;
};

} // namespace ports
