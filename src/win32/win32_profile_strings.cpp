#include "win32/win32_profile_strings.h"

#include "win32/wide.h"

#include <limits>
#include <windows.h>

namespace win32 {

std::u16string Win32ProfileStrings::Read(const std::u16string& path, std::u16string_view section,
                                         std::u16string_view key, std::u16string_view defaultText,
                                         std::size_t capacity) {
    if (capacity == 0 || capacity > std::numeric_limits<DWORD>::max()) {
        return {};
    }
    // The views are not terminated: the call takes terminated copies.
    const std::u16string sectionText(section);
    const std::u16string keyText(key);
    const std::u16string defaultCopy(defaultText);
    std::u16string buffer(capacity, u'\0');
    const DWORD length = ::GetPrivateProfileStringW(AsWide(sectionText), AsWide(keyText),
                                                    AsWide(defaultCopy), AsWide(buffer.data()),
                                                    static_cast<DWORD>(capacity), AsWide(path));
    buffer.resize(std::min<std::size_t>(length, capacity - 1));
    return buffer;
}

} // namespace win32
