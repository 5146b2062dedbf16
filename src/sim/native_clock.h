#pragma once

#include "ports/clock.h"

namespace sim {

// The machine's own clocks.
class NativeClock final : public ports::Clock {
public:
    int64_t SecondsSince1970() override;
    int64_t ProcessMilliseconds() override;
};

} // namespace sim
