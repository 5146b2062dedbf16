#pragma once

#include <cstddef>
#include <cstdint>

namespace ports {

// Something a thread can wait for (event, thread, process). Only the implementation that made an
// object can wait on it; handing a foreign object to a wait makes the wait fail.
class Waitable {
public:
    virtual ~Waitable() = default;

protected:
    Waitable() = default;
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;
};

// Time-out meaning "no time-out".
inline constexpr uint32_t kInfinite = 0xFFFFFFFF;

enum class WaitStatus { Signalled, TimedOut, Failed };

// Outcome of a wait: for Signalled, index names the object that ended the wait (the lowest
// signalled index when several are).
struct WaitOutcome {
    WaitStatus status = WaitStatus::Failed;
    std::size_t index = 0;

    bool Signalled(std::size_t which) const {
        return status == WaitStatus::Signalled && index == which;
    }
};

// The number WaitForMultipleObjects returns for the outcome (WAIT_OBJECT_0 + index,
// WAIT_TIMEOUT, WAIT_FAILED), for log lines that show it.
inline uint32_t WaitResultCode(const WaitOutcome& outcome) {
    switch (outcome.status) {
    case WaitStatus::Signalled:
        return static_cast<uint32_t>(outcome.index);
    case WaitStatus::TimedOut:
        return 258;
    case WaitStatus::Failed:
        break;
    }
    return 0xFFFFFFFF;
}

} // namespace ports
