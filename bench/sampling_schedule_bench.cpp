// How closely the recorder's sampling thread keeps its schedule: 500 samples at 20 ms, each start
// compared with the ideal start (first start + n * 20 ms). Samples are due on a deadline schedule,
// so neither the time a sample takes (Arg: milliseconds of work in the sampling callback) nor the
// waits' own lateness adds up; the drift stays within one wake-up's lateness.
#include "sampling_drift.h"
#include "sim/fake_ui_processes.h"
#include "sim/memory_log_files.h"
#include "sim/native_clock.h"
#include "sim/native_kernel_objects.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int32_t kSamples = 500;
constexpr int32_t kIntervalMs = 20;
constexpr uint32_t kUiPid = 1;

void SamplingSchedule(benchmark::State& state) {
    sim::NativeKernelObjects kernel;
    sim::NativeClock clock;
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles logFiles(kernel);
    uiProcesses.Launch(kUiPid);

    SamplingDrift drift;
    for (auto _ : state) {
        drift = MeasureSamplingDrift({kernel, clock, uiProcesses, logFiles}, kUiPid, kSamples,
                                     kIntervalMs, static_cast<int32_t>(state.range(0)));
    }
    state.counters["mean_drift_ms"] = drift.meanMs;
    state.counters["max_drift_ms"] = drift.maxMs;
    // The goal: within 0.1 % of the recording's length.
    state.counters["max_drift_percent"] = drift.maxMs * 100.0 / (kSamples * kIntervalMs);
    // Lateness gained per period, from the drift of the last sample.
    state.counters["mean_period_error_ms"] = drift.lastMs / (kSamples - 1);
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
