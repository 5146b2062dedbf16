#include "win32/win32_clock.h"

#include <ctime>

namespace win32 {

int64_t Win32Clock::SecondsSince1970() {
    return _time64(nullptr);
}

int64_t Win32Clock::ProcessMilliseconds() {
    return static_cast<int64_t>(std::clock()) * 1000 / CLOCKS_PER_SEC;
}

} // namespace win32
