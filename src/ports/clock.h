#pragma once

#include <cstdint>

namespace ports {

// The two clocks the plug-in reads.
class Clock {
public:
    virtual ~Clock() = default;
    // Wall-clock time in seconds since 1970-01-01 UTC, as _time64 gives it.
    virtual int64_t SecondsSince1970() = 0;
    // Milliseconds since the process started, as clock() gives it on Windows (wall time, not CPU
    // time).
    virtual int64_t ProcessMilliseconds() = 0;
};

} // namespace ports
