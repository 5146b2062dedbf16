#include "host_win32/ms_format.h"

#include <vector>
#include <windows.h>

namespace orvex_host {
namespace {

using VsnwprintfEntry = int (*)(wchar_t* buffer, size_t count, const wchar_t* format,
                                va_list arguments);

// msvcrt.dll stays loaded for the life of the process: the host's C run-time lives there.
VsnwprintfEntry MsVsnwprintf() {
    static const VsnwprintfEntry entry = [] {
        HMODULE crt = GetModuleHandleW(L"msvcrt.dll");
        if (crt == nullptr) {
            crt = LoadLibraryW(L"msvcrt.dll");
        }
        return crt == nullptr ? nullptr
                              : reinterpret_cast<VsnwprintfEntry>(
                                    reinterpret_cast<void*>(GetProcAddress(crt, "_vsnwprintf")));
    }();
    return entry;
}

constexpr size_t kLargestText = size_t{1} << 20;

} // namespace

std::wstring FormatMs(const wchar_t* format, va_list arguments) {
    const VsnwprintfEntry vsnwprintf = MsVsnwprintf();
    if (format == nullptr || vsnwprintf == nullptr) {
        return {};
    }
    // _vsnwprintf answers -1 when the text does not fit: grow and format again.
    for (size_t capacity = 256; capacity <= kLargestText; capacity *= 2) {
        std::vector<wchar_t> buffer(capacity);
        va_list attempt;
        va_copy(attempt, arguments);
        const int written = vsnwprintf(buffer.data(), capacity, format, attempt);
        va_end(attempt);
        if (written >= 0 && static_cast<size_t>(written) < capacity) {
            return {buffer.data(), static_cast<size_t>(written)};
        }
    }
    return {};
}

std::wstring FormatMsArgs(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::wstring text = FormatMs(format, arguments);
    va_end(arguments);
    return text;
}

} // namespace orvex_host
