#include "ports_conformance.h"

#include <array>
#include <vector>

namespace {

using ports::kInfinite;
using ports::kMaxWaitObjects;
using ports::Waitable;
using ports::WaitStatus;

TEST_P(PortsConformance, lowest_signalled_index_wins) {
    auto first = kernel->NewEvent(true, false);
    auto second = kernel->NewEvent(true, true);
    auto third = kernel->NewEvent(true, true);
    Waitable* const objects[] = {first.get(), second.get(), third.get()};
    EXPECT_TRUE(kernel->WaitAny(objects, kInfinite).Signalled(1));
    first->Set();
    EXPECT_TRUE(kernel->WaitAny(objects, kInfinite).Signalled(0));
}

TEST_P(PortsConformance, only_the_winning_auto_reset_event_is_consumed) {
    auto automatic = kernel->NewEvent(false, true);
    auto manual = kernel->NewEvent(true, true);
    Waitable* const objects[] = {automatic.get(), manual.get()};
    EXPECT_TRUE(kernel->WaitAny(objects, 0).Signalled(0));
    EXPECT_FALSE(IsSignalled(*automatic));
    EXPECT_TRUE(IsSignalled(*manual));
}

TEST_P(PortsConformance, auto_reset_event_behind_the_winner_stays_set) {
    auto manual = kernel->NewEvent(true, true);
    auto automatic = kernel->NewEvent(false, true);
    auto later = kernel->NewEvent(false, true);
    Waitable* const objects[] = {manual.get(), automatic.get(), later.get()};
    EXPECT_TRUE(kernel->WaitAny(objects, 0).Signalled(0));
    EXPECT_TRUE(IsSignalled(*automatic));
    EXPECT_TRUE(IsSignalled(*later));
}

// Each waiter leaves with the index that released it: 0 for the auto-reset event, 1 for `stop`.
// The pause lets both block first, so that the one Set has two waiters to choose from.
TEST_P(PortsConformance, one_set_of_an_auto_reset_event_releases_exactly_one_of_two_waiters) {
    auto automatic = kernel->NewEvent(false, false);
    auto stop = kernel->NewEvent(true, false);
    const auto startWaiter = [&](ports::Event& ready) {
        return kernel->StartThread([&] {
            Waitable* const objects[] = {automatic.get(), stop.get()};
            ready.Set();
            const auto outcome = kernel->WaitAny(objects, kInfinite);
            return outcome.status == WaitStatus::Signalled ? static_cast<uint32_t>(outcome.index)
                                                           : 99u;
        });
    };
    auto firstReady = kernel->NewEvent(true, false);
    auto secondReady = kernel->NewEvent(true, false);
    auto first = startWaiter(*firstReady);
    auto second = startWaiter(*secondReady);
    ASSERT_TRUE(kernel->Wait(*firstReady, kInfinite).Signalled(0));
    ASSERT_TRUE(kernel->Wait(*secondReady, kInfinite).Signalled(0));
    kernel->Sleep(50);

    automatic->Set();
    Waitable* const waiters[] = {first.get(), second.get()};
    ASSERT_EQ(kernel->WaitAny(waiters, kInfinite).status, WaitStatus::Signalled);
    stop->Set();
    ASSERT_TRUE(kernel->Wait(*first, kInfinite).Signalled(0));
    ASSERT_TRUE(kernel->Wait(*second, kInfinite).Signalled(0));
    EXPECT_EQ(*first->ExitCode() + *second->ExitCode(), 1u);
    EXPECT_FALSE(IsSignalled(*automatic));
}

TEST_P(PortsConformance, setting_a_manual_reset_event_releases_every_waiter) {
    auto manual = kernel->NewEvent(true, false);
    std::vector<std::unique_ptr<ports::Thread>> waiters;
    for (int count = 0; count < 4; ++count) {
        waiters.push_back(kernel->StartThread(
            [&] { return static_cast<uint32_t>(kernel->Wait(*manual, kInfinite).status); }));
    }
    manual->Set();
    for (const auto& waiter : waiters) {
        ASSERT_TRUE(kernel->Wait(*waiter, kInfinite).Signalled(0));
        EXPECT_EQ(waiter->ExitCode(), static_cast<uint32_t>(WaitStatus::Signalled));
    }
    EXPECT_TRUE(IsSignalled(*manual));
}

TEST_P(PortsConformance, wait_times_out_no_earlier_than_asked) {
    auto event = kernel->NewEvent(true, false);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(kernel->Wait(*event, 150).status, WaitStatus::TimedOut);
    EXPECT_GE(MillisecondsSince(start), std::chrono::milliseconds(150) - kTimerSlack);
}

TEST_P(PortsConformance, timed_out_wait_leaves_a_later_set_for_the_next_waiter) {
    auto automatic = kernel->NewEvent(false, false);
    EXPECT_EQ(kernel->Wait(*automatic, 10).status, WaitStatus::TimedOut);
    automatic->Set();
    EXPECT_TRUE(IsSignalled(*automatic));
}

TEST_P(PortsConformance, zero_time_out_polls_once) {
    auto event = kernel->NewEvent(true, false);
    EXPECT_EQ(kernel->Wait(*event, 0).status, WaitStatus::TimedOut);
    event->Set();
    EXPECT_TRUE(kernel->Wait(*event, 0).Signalled(0));
}

TEST_P(PortsConformance, wait_on_threads_and_events_reports_the_thread_that_ended) {
    auto never = kernel->NewEvent(true, false);
    auto release = kernel->NewEvent(true, false);
    auto thread = kernel->StartThread([&] {
        kernel->Wait(*release, kInfinite);
        return 0u;
    });
    Waitable* const objects[] = {never.get(), thread.get()};
    EXPECT_EQ(kernel->WaitAny(objects, 0).status, WaitStatus::TimedOut);
    release->Set();
    EXPECT_TRUE(kernel->WaitAny(objects, kInfinite).Signalled(1));
}

TEST_P(PortsConformance, wait_on_the_most_objects_reaches_the_last) {
    std::vector<std::unique_ptr<ports::Event>> events;
    std::array<Waitable*, kMaxWaitObjects> objects{};
    for (auto& object : objects) {
        events.push_back(kernel->NewEvent(true, false));
        object = events.back().get();
    }
    events.back()->Set();
    EXPECT_TRUE(kernel->WaitAny(objects, kInfinite).Signalled(kMaxWaitObjects - 1));
}

TEST_P(PortsConformance, wait_on_no_objects_fails) {
    EXPECT_EQ(kernel->WaitAny({}, 0).status, WaitStatus::Failed);
}

TEST_P(PortsConformance, wait_on_too_many_objects_fails) {
    auto event = kernel->NewEvent(true, true);
    std::array<Waitable*, kMaxWaitObjects + 1> objects{};
    objects.fill(event.get());
    EXPECT_EQ(kernel->WaitAny(objects, 0).status, WaitStatus::Failed);
}

TEST_P(PortsConformance, wait_on_a_null_object_fails) {
    auto event = kernel->NewEvent(true, true);
    Waitable* const objects[] = {event.get(), nullptr};
    EXPECT_EQ(kernel->WaitAny(objects, 0).status, WaitStatus::Failed);
}

TEST_P(PortsConformance, wait_on_a_foreign_object_fails) {
    struct Foreign final : Waitable {};
    Foreign foreign;
    auto event = kernel->NewEvent(true, true);
    Waitable* const objects[] = {event.get(), &foreign};
    EXPECT_EQ(kernel->WaitAny(objects, kInfinite).status, WaitStatus::Failed);
}

} // namespace
