#pragma once

#include "ports/critical_section.h"

#include <windows.h>

namespace win32 {

class Win32CriticalSection final : public ports::CriticalSection {
public:
    Win32CriticalSection() noexcept { ::InitializeCriticalSection(&section_); }
    ~Win32CriticalSection() override { ::DeleteCriticalSection(&section_); }

    void lock() override { ::EnterCriticalSection(&section_); }
    void unlock() override { ::LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

} // namespace win32
