#include "sim/native_kernel_objects.h"
#include "sim/native_waitable.h"

#include <atomic>
#include <gtest/gtest.h>
#include <vector>

namespace {

using ports::kInfinite;
using ports::Waitable;
using ports::WaitStatus;

// Written as the base's own documentation shows a new native waitable.
class FakeProcess final : public ports::Waitable, public sim::NativeWaitable {
public:
    void End() { Signal(); }
};

class Turnstile final : public ports::Waitable, public sim::NativeWaitable {
public:
    Turnstile() : NativeWaitable(sim::SignalState::Reset::Auto) {}
    void Open() { Signal(); }
};

class NativeWaitableTest : public ::testing::Test {
protected:
    sim::NativeKernelObjects kernel;
};

TEST_F(NativeWaitableTest, waitable_derived_from_the_base_releases_a_wait_and_stays_signalled) {
    FakeProcess process;
    auto other = kernel.NewEvent(true, false);
    Waitable* const objects[] = {other.get(), &process};
    EXPECT_EQ(kernel.WaitAny(objects, 0).status, WaitStatus::TimedOut);
    auto waiter = kernel.StartThread(
        [&] { return static_cast<uint32_t>(kernel.WaitAny(objects, kInfinite).index); });
    process.End();
    ASSERT_TRUE(kernel.Wait(*waiter, kInfinite).Signalled(0));
    EXPECT_EQ(waiter->ExitCode(), 1u);
    EXPECT_TRUE(kernel.Wait(process, 0).Signalled(0));
}

TEST_F(NativeWaitableTest, auto_reset_waitable_is_consumed_by_the_wait_it_releases) {
    Turnstile turnstile;
    turnstile.Open();
    EXPECT_TRUE(kernel.Wait(turnstile, 0).Signalled(0));
    EXPECT_EQ(kernel.Wait(turnstile, 0).status, WaitStatus::TimedOut);
}

TEST_F(NativeWaitableTest, object_may_be_destroyed_while_a_wait_on_it_runs) {
    auto process = std::make_unique<FakeProcess>();
    auto stop = kernel.NewEvent(true, false);
    Waitable* const objects[] = {process.get(), stop.get()};
    auto waiter = kernel.StartThread(
        [&] { return static_cast<uint32_t>(kernel.WaitAny(objects, kInfinite).index); });
    kernel.Sleep(20); // most likely the waiter is blocked by now; the outcome is the same if not
    process.reset();
    stop->Set();
    ASSERT_TRUE(kernel.Wait(*waiter, kInfinite).Signalled(0));
    EXPECT_EQ(waiter->ExitCode(), 1u);
}

TEST_F(NativeWaitableTest, same_object_twice_in_a_wait_reports_its_first_index) {
    auto event = kernel.NewEvent(false, false);
    Waitable* const objects[] = {event.get(), event.get()};
    auto waiter = kernel.StartThread(
        [&] { return static_cast<uint32_t>(kernel.WaitAny(objects, kInfinite).index); });
    event->Set();
    ASSERT_TRUE(kernel.Wait(*waiter, kInfinite).Signalled(0));
    EXPECT_EQ(waiter->ExitCode(), 0u);
    EXPECT_EQ(kernel.Wait(*event, 0).status, WaitStatus::TimedOut);
}

// Consumers acknowledge every item they take; a Set that released two of them would count twice.
TEST_F(NativeWaitableTest, every_set_of_an_auto_reset_event_releases_one_of_many_waiters) {
    constexpr int kItems = 2000;
    auto work = kernel.NewEvent(false, false);
    auto taken = kernel.NewEvent(false, false);
    auto stop = kernel.NewEvent(true, false);
    std::atomic<int> consumed{0};
    const auto consume = [&] {
        Waitable* const objects[] = {work.get(), stop.get()};
        while (kernel.WaitAny(objects, kInfinite).Signalled(0)) {
            consumed.fetch_add(1);
            taken->Set();
        }
        return 0u;
    };
    std::vector<std::unique_ptr<ports::Thread>> consumers;
    for (int count = 0; count < 4; ++count) {
        consumers.push_back(kernel.StartThread(consume));
    }
    for (int item = 0; item < kItems; ++item) {
        work->Set();
        ASSERT_TRUE(kernel.Wait(*taken, kInfinite).Signalled(0));
    }
    stop->Set();
    for (const auto& consumer : consumers) {
        ASSERT_TRUE(kernel.Wait(*consumer, kInfinite).Signalled(0));
    }
    EXPECT_EQ(consumed.load(), kItems);
}

} // namespace
