#include "process_handles.h"

#include <windows.h>

uintptr_t NextHandleValue() {
    const HANDLE probe = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ::CloseHandle(probe);
    return reinterpret_cast<uintptr_t>(probe);
}
