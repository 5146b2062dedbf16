#include "ports_conformance.h"

#include <stdexcept>
#include <vector>

namespace {

using ports::kInfinite;
using ports::WaitStatus;

TEST_P(PortsConformance, thread_runs_its_body_and_is_signalled_with_its_exit_code) {
    auto thread = kernel->StartThread([] { return 42u; });
    ASSERT_NE(thread, nullptr);
    ASSERT_TRUE(kernel->Wait(*thread, kInfinite).Signalled(0));
    EXPECT_EQ(thread->ExitCode(), 42u);
}

TEST_P(PortsConformance, ended_thread_stays_signalled) {
    auto thread = kernel->StartThread([] { return 0u; });
    ASSERT_TRUE(kernel->Wait(*thread, kInfinite).Signalled(0));
    EXPECT_TRUE(IsSignalled(*thread));
    EXPECT_TRUE(IsSignalled(*thread));
    EXPECT_EQ(thread->ExitCode(), 0u);
}

TEST_P(PortsConformance, running_thread_times_out_and_has_no_exit_code) {
    auto release = kernel->NewEvent(true, false);
    auto thread = kernel->StartThread([&] {
        kernel->Wait(*release, kInfinite);
        return 7u;
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(kernel->Wait(*thread, 100).status, WaitStatus::TimedOut);
    EXPECT_GE(MillisecondsSince(start), std::chrono::milliseconds(100) - kTimerSlack);
    EXPECT_EQ(thread->ExitCode(), std::nullopt);
    release->Set();
    ASSERT_TRUE(kernel->Wait(*thread, kInfinite).Signalled(0));
    EXPECT_EQ(thread->ExitCode(), 7u);
}

TEST_P(PortsConformance, body_is_destroyed_before_its_thread_is_signalled) {
    auto held = std::make_shared<int>(0);
    auto thread = kernel->StartThread([held] { return static_cast<uint32_t>(*held); });
    ASSERT_TRUE(kernel->Wait(*thread, kInfinite).Signalled(0));
    EXPECT_EQ(held.use_count(), 1);
}

TEST_P(PortsConformance, body_that_throws_ends_only_its_thread) {
    auto thread = kernel->StartThread([]() -> uint32_t { throw std::runtime_error("lost"); });
    ASSERT_TRUE(kernel->Wait(*thread, kInfinite).Signalled(0));
    EXPECT_EQ(thread->ExitCode(), ports::kThreadExceptionExitCode);
}

TEST_P(PortsConformance, thread_without_a_body_is_not_started) {
    EXPECT_EQ(kernel->StartThread({}), nullptr);
}

TEST_P(PortsConformance, destroying_the_thread_object_lets_the_thread_run_on) {
    auto release = kernel->NewEvent(true, false);
    auto finished = kernel->NewEvent(true, false);
    auto thread = kernel->StartThread([&] {
        kernel->Wait(*release, kInfinite);
        finished->Set();
        return 0u;
    });
    thread.reset();
    release->Set();
    EXPECT_TRUE(kernel->Wait(*finished, kInfinite).Signalled(0));
}

TEST_P(PortsConformance, thread_may_destroy_its_own_thread_object) {
    std::unique_ptr<ports::Thread> thread;
    auto started = kernel->NewEvent(true, false);
    auto finished = kernel->NewEvent(true, false);
    thread = kernel->StartThread([&] {
        kernel->Wait(*started, kInfinite);
        thread.reset();
        finished->Set();
        return 0u;
    });
    ASSERT_NE(thread, nullptr);
    started->Set();
    ASSERT_TRUE(kernel->Wait(*finished, kInfinite).Signalled(0));
    EXPECT_EQ(thread, nullptr);
}

TEST_P(PortsConformance, threads_started_together_each_report_their_own_exit_code) {
    constexpr uint32_t kThreads = 16;
    std::vector<std::unique_ptr<ports::Thread>> threads;
    for (uint32_t index = 0; index < kThreads; ++index) {
        threads.push_back(kernel->StartThread([index] { return index * 3; }));
        ASSERT_NE(threads.back(), nullptr);
    }
    for (uint32_t index = 0; index < kThreads; ++index) {
        ASSERT_TRUE(kernel->Wait(*threads[index], kInfinite).Signalled(0));
        EXPECT_EQ(threads[index]->ExitCode(), index * 3);
    }
}

} // namespace
