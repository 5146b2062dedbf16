#pragma once

#include "ports/clock.h"

namespace win32 {

// _time64 and the C run-time's clock(), which on Windows counts wall time since the process
// started.
class Win32Clock final : public ports::Clock {
public:
    int64_t SecondsSince1970() override;
    int64_t ProcessMilliseconds() override;
};

} // namespace win32
