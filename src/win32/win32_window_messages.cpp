#include "win32/win32_window_messages.h"

#include "win32/wide.h"

#include <windows.h>

namespace win32 {

uint32_t Win32WindowMessages::Register(const std::u16string& name) {
    return ::RegisterWindowMessageW(AsWide(name));
}

} // namespace win32
