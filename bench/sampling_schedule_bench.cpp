// How closely the recorder's sampling thread keeps its schedule: 500 samples at 20 ms, each start
// compared with the ideal start (first start + n * 20 ms). The period runs from the start of one
// sample to the start of the next, so the time a sample takes (Arg: milliseconds of work in the
// sampling callback) does not add up; only the waits' own lateness does.
#include "recording/monitor_recorder.h"
#include "sim/fake_ui_processes.h"
#include "sim/memory_log_files.h"
#include "sim/native_clock.h"
#include "sim/native_kernel_objects.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr int32_t kSamples = 500;
constexpr int32_t kIntervalMs = 20;
constexpr uint32_t kUiPid = 1;

using Clock = std::chrono::steady_clock;

// Notes when each sample starts, works for a while, and says when all samples are in.
struct Schedule {
    std::chrono::milliseconds work{0};
    std::mutex lock;
    std::condition_variable complete;
    std::vector<Clock::time_point> starts;

    static void Sample(void* context, std::map<uint32_t, double>&) {
        auto& schedule = *static_cast<Schedule*>(context);
        {
            std::lock_guard guard(schedule.lock);
            schedule.starts.push_back(Clock::now());
            if (schedule.starts.size() == kSamples) {
                schedule.complete.notify_all();
            }
        }
        std::this_thread::sleep_for(schedule.work); // a snapshot takes time
    }
};

void SamplingSchedule(benchmark::State& state) {
    sim::NativeKernelObjects kernel;
    sim::NativeClock clock;
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles logFiles(kernel);
    uiProcesses.Launch(kUiPid);
    std::array<RecordItemInfo, kRecordItemCount> items{};

    std::vector<double> drifts;
    for (auto _ : state) {
        Schedule schedule;
        schedule.work = std::chrono::milliseconds(state.range(0));
        schedule.starts.reserve(kSamples + 1);
        auto recorder = MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles});
        recorder->Start(kUiPid, 600, kIntervalMs, items.data(), &Schedule::Sample, nullptr,
                        &schedule);
        {
            std::unique_lock guard(schedule.lock);
            schedule.complete.wait(guard, [&] { return schedule.starts.size() >= kSamples; });
        }
        recorder.reset();
        const Clock::time_point first = schedule.starts.front();
        for (int32_t sample = 0; sample < kSamples; ++sample) {
            const auto ideal = first + std::chrono::milliseconds(int64_t{sample} * kIntervalMs);
            drifts.push_back(std::chrono::duration<double, std::milli>(
                                 schedule.starts[static_cast<std::size_t>(sample)] - ideal)
                                 .count());
        }
    }
    double sum = 0;
    for (const double drift : drifts) {
        sum += drift;
    }
    state.counters["mean_drift_ms"] = sum / static_cast<double>(drifts.size());
    state.counters["max_drift_ms"] = *std::max_element(drifts.begin(), drifts.end());
    // Lateness gained per period, from the drift of the last sample.
    state.counters["mean_period_error_ms"] = drifts.back() / (kSamples - 1);
}

BENCHMARK(SamplingSchedule)
    ->ArgName("work_ms")
    ->Arg(0)
    ->Arg(5)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
