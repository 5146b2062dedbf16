// Twenty lives of the plug-in on one simulated laptop give back every thread, kernel object and
// heap byte they took; bench/load_cycles runs a thousand and prints the figures.
#include "load_cycles.h"

#include <gtest/gtest.h>

namespace {

constexpr int kCycles = 20;

TEST(LoadCycleTest, twenty_load_and_unload_cycles_with_a_recording_leave_nothing_behind) {
    std::string failure;
    // The first life may set up what lasts for the process (the command table, the C run-time).
    ASSERT_TRUE(load_cycles::OneCycle(failure)) << failure;
    const load_cycles::Holdings before = load_cycles::Measure();
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        ASSERT_TRUE(load_cycles::OneCycle(failure)) << "cycle " << cycle << ": " << failure;
    }
    const load_cycles::Holdings after = load_cycles::Measure();
    EXPECT_EQ(after, before) << "before: " << load_cycles::Describe(before)
                             << "\nafter:  " << load_cycles::Describe(after);
    EXPECT_GT(before.threads, 0u);
    EXPECT_GT(before.heapBytes, 0);
}

} // namespace
