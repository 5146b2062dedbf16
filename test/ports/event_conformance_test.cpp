#include "ports_conformance.h"

namespace {

using ports::kInfinite;
using ports::WaitStatus;

TEST_P(PortsConformance, manual_reset_event_stays_signalled_until_reset) {
    auto event = kernel->NewEvent(true, false);
    ASSERT_NE(event, nullptr);
    EXPECT_TRUE(event->Set());
    EXPECT_TRUE(IsSignalled(*event));
    EXPECT_TRUE(IsSignalled(*event));
    EXPECT_TRUE(event->Reset());
    EXPECT_FALSE(IsSignalled(*event));
}

TEST_P(PortsConformance, auto_reset_event_releases_one_wait_then_resets) {
    auto event = kernel->NewEvent(false, false);
    ASSERT_NE(event, nullptr);
    EXPECT_TRUE(event->Set());
    EXPECT_TRUE(IsSignalled(*event));
    EXPECT_FALSE(IsSignalled(*event));
}

TEST_P(PortsConformance, setting_a_set_auto_reset_event_still_releases_one_wait) {
    auto event = kernel->NewEvent(false, false);
    event->Set();
    event->Set();
    EXPECT_TRUE(IsSignalled(*event));
    EXPECT_FALSE(IsSignalled(*event));
}

TEST_P(PortsConformance, initial_state_is_the_one_asked_for) {
    auto setManual = kernel->NewEvent(true, true);
    auto clearManual = kernel->NewEvent(true, false);
    auto setAuto = kernel->NewEvent(false, true);
    auto clearAuto = kernel->NewEvent(false, false);
    EXPECT_TRUE(IsSignalled(*setManual));
    EXPECT_FALSE(IsSignalled(*clearManual));
    EXPECT_TRUE(IsSignalled(*setAuto));
    EXPECT_FALSE(IsSignalled(*clearAuto));
}

TEST_P(PortsConformance, reset_clears_a_set_event_of_either_mode) {
    auto manual = kernel->NewEvent(true, true);
    auto automatic = kernel->NewEvent(false, true);
    EXPECT_TRUE(manual->Reset());
    EXPECT_TRUE(automatic->Reset());
    EXPECT_FALSE(IsSignalled(*manual));
    EXPECT_FALSE(IsSignalled(*automatic));
}

TEST_P(PortsConformance, unnamed_events_are_independent) {
    auto first = kernel->NewEvent(true, false);
    auto second = kernel->NewEvent(true, false);
    first->Set();
    EXPECT_FALSE(IsSignalled(*second));
    EXPECT_TRUE(IsSignalled(*first));
}

TEST_P(PortsConformance, named_event_opened_twice_is_one_event) {
    const auto plain = UniqueEventName("shared");
    for (const auto& name : {plain, u"Global\\" + plain}) {
        auto first = kernel->NewEvent(true, false, name);
        auto second = kernel->NewEvent(true, false, name);
        ASSERT_NE(first, nullptr);
        ASSERT_NE(second, nullptr);
        first->Set();
        EXPECT_TRUE(IsSignalled(*second));
        second->Reset();
        EXPECT_FALSE(IsSignalled(*first));
    }
}

TEST_P(PortsConformance, opening_a_named_event_keeps_its_mode_and_state) {
    const auto name = UniqueEventName("kept");
    auto created = kernel->NewEvent(false, true, name);
    auto opened = kernel->NewEvent(true, false, name);
    EXPECT_TRUE(IsSignalled(*opened)); // still set, and auto-reset: the wait consumed it
    EXPECT_FALSE(IsSignalled(*created));
}

TEST_P(PortsConformance, named_event_is_shared_by_every_kernel_objects) {
    const auto name = UniqueEventName("factories");
    auto otherKernel = GetParam().newKernelObjects();
    auto mine = kernel->NewEvent(true, false, name);
    auto theirs = otherKernel->NewEvent(true, false, name);
    theirs->Set();
    EXPECT_TRUE(IsSignalled(*mine));
}

TEST_P(PortsConformance, open_event_reaches_the_existing_named_event) {
    const auto name = UniqueEventName("opened");
    auto created = kernel->NewEvent(true, false, name);
    auto opened = kernel->OpenExistingEvent(name);
    ASSERT_NE(opened.Handle, nullptr);
    EXPECT_FALSE(opened.NotFound);
    opened.Handle->Set();
    EXPECT_TRUE(IsSignalled(*created));
}

TEST_P(PortsConformance, open_event_of_an_unknown_name_is_not_found_and_creates_nothing) {
    const auto name = UniqueEventName("unknown");
    const auto opened = kernel->OpenExistingEvent(name);
    EXPECT_EQ(opened.Handle, nullptr);
    EXPECT_TRUE(opened.NotFound);
    EXPECT_TRUE(kernel->OpenExistingEvent(name).NotFound);
}

TEST_P(PortsConformance, distinct_names_are_independent_events) {
    auto first = kernel->NewEvent(true, false, UniqueEventName("first"));
    auto second = kernel->NewEvent(true, false, UniqueEventName("second"));
    first->Set();
    EXPECT_FALSE(IsSignalled(*second));
}

TEST_P(PortsConformance, named_event_lives_while_any_handle_does) {
    const auto name = UniqueEventName("lives");
    auto first = kernel->NewEvent(true, false, name);
    auto second = kernel->NewEvent(true, false, name);
    first->Set();
    first.reset();
    auto third = kernel->NewEvent(true, false, name);
    EXPECT_TRUE(IsSignalled(*third));
}

TEST_P(PortsConformance, name_is_forgotten_when_its_last_handle_is_destroyed) {
    const auto name = UniqueEventName("forgotten");
    auto first = kernel->NewEvent(true, true, name);
    first.reset();
    auto again = kernel->NewEvent(true, false, name);
    EXPECT_FALSE(IsSignalled(*again));
}

TEST_P(PortsConformance, set_releases_a_waiter_blocked_in_another_thread) {
    auto event = kernel->NewEvent(false, false);
    auto waiter = kernel->StartThread(
        [&] { return static_cast<uint32_t>(kernel->Wait(*event, kInfinite).status); });
    ASSERT_NE(waiter, nullptr);
    EXPECT_EQ(kernel->Wait(*waiter, 50).status, WaitStatus::TimedOut);
    event->Set();
    ASSERT_TRUE(kernel->Wait(*waiter, kInfinite).Signalled(0));
    EXPECT_EQ(waiter->ExitCode(), static_cast<uint32_t>(WaitStatus::Signalled));
    EXPECT_FALSE(IsSignalled(*event)); // the waiter consumed it
}

} // namespace
