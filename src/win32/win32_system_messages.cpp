#include "win32/win32_system_messages.h"

#include "win32/wide.h"

#include <cwchar>
#include <memory>
#include <windows.h>

namespace win32 {

namespace {

struct LocalFreeDeleter {
    void operator()(wchar_t* text) const noexcept { ::LocalFree(text); }
};

} // namespace

std::u16string Win32SystemMessages::Text(int32_t code) {
    wchar_t* buffer = nullptr;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    const std::unique_ptr<wchar_t, LocalFreeDeleter> owned(buffer);
    if (length == 0 || buffer == nullptr) {
        wchar_t hex[16] = {};
        std::swprintf(hex, std::size(hex), L"0x%08X", static_cast<unsigned>(code));
        return AsUtf16(hex);
    }
    return std::u16string(AsUtf16(buffer), length);
}

} // namespace win32
