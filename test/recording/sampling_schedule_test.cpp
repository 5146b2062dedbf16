// When the recorder's samples start, on the fake clock: the waits take no real time but move the
// clock on (late by a chosen amount), and a sample may take clock time of its own.
#include "fake_time_kernel_objects.h"
#include "recorder_probe.h"
#include "recording/monitor_recorder.h"
#include "sim/fake_clock.h"
#include "sim/fake_ui_processes.h"
#include "sim/memory_log_files.h"
#include "sim/native_kernel_objects.h"

#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr uint32_t kUiPid = 31;

class SamplingScheduleTest : public ::testing::Test {
protected:
    // Records `samples` samples at intervalMs and returns the clock at each sample's start. The
    // user interface's process ends during the last one, which ends the recording.
    std::vector<int64_t> StartTimes(int32_t intervalMs, int32_t samples) {
        wanted_ = samples;
        uiProcesses.Launch(kUiPid);
        auto recorder = MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles});
        const auto items = RecorderProbe::Items();
        EXPECT_NE(recorder->Start(kUiPid, 600, intervalMs, items.data(), &Sample, nullptr, this),
                  0);
        // Only a guard against a hung test, not a timing expectation.
        EXPECT_EQ(allTaken_.get_future().wait_for(std::chrono::seconds(60)),
                  std::future_status::ready);
        recorder.reset();
        return starts_;
    }

    void Advance(int64_t milliseconds) {
        clock.SetProcessMilliseconds(clock.ProcessMilliseconds() + milliseconds);
    }

    sim::NativeKernelObjects native;
    sim::FakeClock clock;
    FakeTimeKernelObjects kernel{native, clock};
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles logFiles{native};
    // Runs inside sample n, on the sampling thread: a sample that takes time moves the clock on.
    std::function<void(int32_t sample)> during = [](int32_t) {};

private:
    static void Sample(void* context, std::map<uint32_t, double>&) {
        auto& test = *static_cast<SamplingScheduleTest*>(context);
        const auto sample = static_cast<int32_t>(test.starts_.size());
        test.starts_.push_back(test.clock.ProcessMilliseconds());
        test.during(sample);
        if (sample + 1 == test.wanted_) {
            test.uiProcesses.End(kUiPid);
            test.allTaken_.set_value();
        }
    }

    int32_t wanted_ = 0;
    std::vector<int64_t> starts_;
    std::promise<void> allTaken_;
};

TEST_F(SamplingScheduleTest, samples_stay_on_their_due_times_when_every_wait_wakes_late) {
    kernel.lateMs = 3;
    const auto starts = StartTimes(20, 1000);
    ASSERT_EQ(starts.size(), 1000u);
    EXPECT_EQ(starts[0], 0);
    for (int64_t sample = 1; sample < 1000; ++sample) {
        // Each sample is as late as one wake-up; the lateness never adds up.
        ASSERT_EQ(starts[static_cast<std::size_t>(sample)], sample * 20 + 3) << "sample " << sample;
    }
}

TEST_F(SamplingScheduleTest, samples_stay_on_their_due_times_when_each_takes_time) {
    during = [this](int32_t) { Advance(7); };
    const auto starts = StartTimes(20, 1000);
    ASSERT_EQ(starts.size(), 1000u);
    for (int64_t sample = 0; sample < 1000; ++sample) {
        ASSERT_EQ(starts[static_cast<std::size_t>(sample)], sample * 20) << "sample " << sample;
    }
}

TEST_F(SamplingScheduleTest, a_sample_longer_than_the_interval_re_anchors_once_without_a_burst) {
    during = [this](int32_t sample) {
        if (sample == 5) {
            Advance(50);
        }
    };
    const auto starts = StartTimes(20, 30);
    ASSERT_EQ(starts.size(), 30u);
    for (int64_t sample = 0; sample < 30; ++sample) {
        // Sample 6 starts as soon as sample 5 ends, at 150; the schedule goes on from there.
        const int64_t due = sample <= 5 ? sample * 20 : 150 + (sample - 6) * 20;
        EXPECT_EQ(starts[static_cast<std::size_t>(sample)], due) << "sample " << sample;
    }
}

TEST_F(SamplingScheduleTest, a_sample_late_by_less_than_an_interval_keeps_the_schedule) {
    during = [this](int32_t sample) {
        if (sample == 5) {
            Advance(30);
        }
    };
    const auto starts = StartTimes(20, 30);
    ASSERT_EQ(starts.size(), 30u);
    for (int64_t sample = 0; sample < 30; ++sample) {
        const int64_t due = sample == 6 ? 130 : sample * 20;
        EXPECT_EQ(starts[static_cast<std::size_t>(sample)], due) << "sample " << sample;
    }
}

TEST_F(SamplingScheduleTest, interval_1_ms_samples_every_millisecond) {
    const auto starts = StartTimes(1, 1000);
    ASSERT_EQ(starts.size(), 1000u);
    for (int64_t sample = 0; sample < 1000; ++sample) {
        ASSERT_EQ(starts[static_cast<std::size_t>(sample)], sample) << "sample " << sample;
    }
    EXPECT_EQ(kernel.LongestTimeout(), 1u);
}

TEST_F(SamplingScheduleTest, interval_1_ms_with_waits_1_ms_late_never_samples_twice_at_once) {
    kernel.lateMs = 1;
    const auto starts = StartTimes(1, 1000);
    ASSERT_EQ(starts.size(), 1000u);
    for (int64_t sample = 0; sample < 1000; ++sample) {
        // Every sample is a whole interval late, so every one re-anchors instead of catching up.
        ASSERT_EQ(starts[static_cast<std::size_t>(sample)], sample * 2) << "sample " << sample;
    }
}

TEST_F(SamplingScheduleTest, a_clock_stepping_back_re_anchors_instead_of_waiting_for_it) {
    kernel.lateMs = 3;
    clock.SetProcessMilliseconds(4'000'000);
    during = [this](int32_t sample) {
        if (sample == 10) {
            Advance(-3'600'000); // to 400,203
        }
    };
    const auto starts = StartTimes(20, 30);
    ASSERT_EQ(starts.size(), 30u);
    EXPECT_EQ(kernel.LongestTimeout(), 20u);
    for (int64_t sample = 0; sample < 30; ++sample) {
        // Sample 11 comes one interval (and one wake-up) after the step and anchors the schedule
        // anew; from there each sample is again only as late as one wake-up.
        const int64_t due = sample == 0    ? 4'000'000
                            : sample <= 10 ? 4'000'000 + sample * 20 + 3
                            : sample == 11 ? 400'226
                                           : 400'226 + (sample - 11) * 20 + 3;
        EXPECT_EQ(starts[static_cast<std::size_t>(sample)], due) << "sample " << sample;
    }
}

} // namespace
