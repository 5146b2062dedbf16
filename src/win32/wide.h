#pragma once

#include <string>

namespace win32 {

// Behaviour code keeps wide text as UTF-16 in char16_t; Windows' wchar_t is the same two-byte
// UTF-16, so crossing into a Win32 call is only a change of pointer type.
static_assert(sizeof(wchar_t) == sizeof(char16_t), "Win32 wide text is UTF-16");

inline const wchar_t* AsWide(const char16_t* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* AsWide(char16_t* text) noexcept {
    return reinterpret_cast<wchar_t*>(text);
}
inline const wchar_t* AsWide(const std::u16string& text) noexcept {
    return AsWide(text.c_str());
}

inline const char16_t* AsUtf16(const wchar_t* text) noexcept {
    return reinterpret_cast<const char16_t*>(text);
}
inline char16_t* AsUtf16(wchar_t* text) noexcept {
    return reinterpret_cast<char16_t*>(text);
}

} // namespace win32
