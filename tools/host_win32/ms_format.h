#pragma once
// Formats a wide printf-style text the way the host's C run-time does: in a wide format "%s"
// takes a wide string and "%S" a narrow one. MinGW's own wide printf follows ISO C instead
// ("%s" narrow), so the formatting is done by msvcrt's _vsnwprintf itself.
#include <cstdarg>
#include <string>

namespace orvex_host {

std::wstring FormatMs(const wchar_t* format, va_list arguments);
std::wstring FormatMsArgs(const wchar_t* format, ...);

} // namespace orvex_host
