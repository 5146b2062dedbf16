#include "ports_conformance.h"

namespace {

using namespace std::chrono_literals;

TEST_P(PortsConformance, seconds_since_1970_agree_with_the_system_clock) {
    auto clock = GetParam().newClock();
    const auto expected = std::chrono::duration_cast<std::chrono::seconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count();
    EXPECT_NEAR(static_cast<double>(clock->SecondsSince1970()), static_cast<double>(expected), 5.0);
}

TEST_P(PortsConformance, process_milliseconds_never_go_back) {
    auto clock = GetParam().newClock();
    auto previous = clock->ProcessMilliseconds();
    EXPECT_GE(previous, 0);
    for (int reading = 0; reading < 10000; ++reading) {
        const auto now = clock->ProcessMilliseconds();
        ASSERT_GE(now, previous);
        previous = now;
    }
}

TEST_P(PortsConformance, process_milliseconds_count_wall_time_not_processor_time) {
    auto clock = GetParam().newClock();
    const auto before = clock->ProcessMilliseconds();
    kernel->Sleep(200);
    EXPECT_GE(clock->ProcessMilliseconds() - before, (200ms - kTimerSlack).count());
}

TEST_P(PortsConformance, process_milliseconds_count_from_the_process_start) {
    auto clock = GetParam().newClock();
    EXPECT_GE(clock->ProcessMilliseconds(), 0);
    EXPECT_LT(clock->ProcessMilliseconds(), std::chrono::milliseconds(24h).count());
}

TEST_P(PortsConformance, sleep_lasts_at_least_as_long_as_asked) {
    const auto start = std::chrono::steady_clock::now();
    kernel->Sleep(100);
    EXPECT_GE(MillisecondsSince(start), 100ms - kTimerSlack);
}

} // namespace
