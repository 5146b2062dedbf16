#pragma once

#include "sim/fake_clock.h"
#include "sim/forwarding_kernel_objects.h"

#include <algorithm>
#include <atomic>

// Native kernel objects whose timed waits take no real time: a wait that would time out moves the
// fake clock on by its time-out instead, plus `lateMs` when it waits at all, as a wait that wakes
// late does. Waits without a time-out are real.
class FakeTimeKernelObjects final : public sim::ForwardingKernelObjects {
public:
    FakeTimeKernelObjects(ports::KernelObjects& real, sim::FakeClock& clock)
        : ForwardingKernelObjects(real), clock_(clock) {}

    std::atomic<int64_t> lateMs{0};

    // The longest time-out of a timed wait so far.
    uint32_t LongestTimeout() const { return longestTimeout_.load(); }

    ports::WaitOutcome WaitAny(std::span<ports::Waitable* const> objects,
                               uint32_t timeoutMs) override {
        if (timeoutMs == ports::kInfinite) {
            return real_.WaitAny(objects, timeoutMs);
        }
        const ports::WaitOutcome outcome = real_.WaitAny(objects, 0);
        if (outcome.status == ports::WaitStatus::TimedOut && timeoutMs > 0) {
            longestTimeout_.store(std::max(longestTimeout_.load(), timeoutMs));
            clock_.SetProcessMilliseconds(clock_.ProcessMilliseconds() + timeoutMs + lateMs);
        }
        return outcome;
    }

private:
    sim::FakeClock& clock_;
    std::atomic<uint32_t> longestTimeout_{0};
};
