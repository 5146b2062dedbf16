#include "sim/native_clock.h"

#include <chrono>

namespace sim {
namespace {

using std::chrono::steady_clock;

steady_clock::time_point ProcessStart() {
    static const auto start = steady_clock::now();
    return start;
}

// Taken while the program starts up rather than on the first reading.
[[maybe_unused]] const auto processStartTaken = ProcessStart();

} // namespace

int64_t NativeClock::SecondsSince1970() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

int64_t NativeClock::ProcessMilliseconds() {
    const auto elapsed = steady_clock::now() - ProcessStart();
    return std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
}

} // namespace sim
