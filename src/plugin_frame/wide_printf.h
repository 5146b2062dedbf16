#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

// Formats a wide printf-style text the way the Microsoft C run-time does for wide functions: "%s"
// and "%c" take wide text, "%S"/"%hs" and "%C"/"%hc" narrow text, "l" means 32 bits and "I64"
// or "ll" 64 bits. Components that log through a callable of their own format their lines with it,
// and tests read with it what a plug-in asked the host to log.
std::u16string FormatMs(const char16_t* format, va_list args);
std::u16string FormatMs(const char16_t* format, ...);
// The same into a buffer of capacity characters (capacity > 0): what does not fit is cut, the
// text is always terminated. Returns the length kept.
std::size_t FormatMsInto(char16_t* buffer, std::size_t capacity, const char16_t* format,
                         va_list args);
std::size_t FormatMsInto(char16_t* buffer, std::size_t capacity, const char16_t* format, ...);
