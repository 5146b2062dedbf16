#include "win32/win32_profile_strings.h"

#include "win32/wide.h"

#include <algorithm>
#include <limits>
#include <windows.h>

namespace win32 {

namespace {

// A key list longer than this is not a clock table: it is not read.
constexpr std::size_t kMaxKeyListCharacters = 16 * 1024 * 1024;

} // namespace

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

// With no key, GetPrivateProfileStringW lists the section's key names, each terminated, the list
// ended by one more zero; a buffer too small is reported as size - 2, so the buffer grows until
// the list fits.
std::vector<std::u16string> Win32ProfileStrings::KeyNames(const std::u16string& path,
                                                          std::u16string_view section) {
    const std::u16string sectionText(section);
    std::u16string buffer(1024, u'\0');
    for (;;) {
        const DWORD length =
            ::GetPrivateProfileStringW(AsWide(sectionText), nullptr, L"", AsWide(buffer.data()),
                                       static_cast<DWORD>(buffer.size()), AsWide(path));
        if (length + 2 < buffer.size()) {
            buffer.resize(length);
            break;
        }
        if (buffer.size() >= kMaxKeyListCharacters) {
            return {};
        }
        buffer.resize(buffer.size() * 4);
    }
    std::vector<std::u16string> names;
    for (std::size_t start = 0; start < buffer.size();) {
        const std::size_t end = std::min(buffer.find(u'\0', start), buffer.size());
        names.emplace_back(buffer.substr(start, end - start));
        start = end + 1;
    }
    return names;
}

} // namespace win32
