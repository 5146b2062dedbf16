#pragma once

#include "ports/clock.h"

#include <atomic>
#include <cstdint>

namespace sim {

// A clock that tests set: both readings stay where they were put.
class FakeClock final : public ports::Clock {
public:
    explicit FakeClock(int64_t secondsSince1970 = 1'795'000'000) : seconds_(secondsSince1970) {}

    int64_t SecondsSince1970() override { return seconds_.load(); }
    int64_t ProcessMilliseconds() override { return milliseconds_.load(); }

    void SetSecondsSince1970(int64_t seconds) { seconds_.store(seconds); }
    void SetProcessMilliseconds(int64_t milliseconds) { milliseconds_.store(milliseconds); }

private:
    std::atomic<int64_t> seconds_;
    std::atomic<int64_t> milliseconds_{0};
};

} // namespace sim
