// The recorder's sampling drift on the Win32 kernel objects and clock (run under Wine or on
// Windows): 500 samples at 20 ms, with and without 5 ms of work in each sample, and 600 samples
// at 100 ms. The user interface is this process itself. Prints one line per run; no pass or fail.
#include "sampling_drift.h"
#include "win32/win32_clock.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_log_files.h"
#include "win32/win32_ui_processes.h"

#include <cstdio>
#include <windows.h>

int main() {
    win32::Win32KernelObjects kernel;
    win32::Win32Clock clock;
    win32::Win32UiProcesses uiProcesses;
    win32::Win32LogFiles logFiles;
    const auto uiPid = static_cast<uint32_t>(::GetCurrentProcessId());
    const struct {
        int32_t samples;
        int32_t intervalMs;
        int32_t workMs;
    } runs[] = {{500, 20, 0}, {500, 20, 5}, {600, 100, 0}};
    for (const auto& run : runs) {
        const SamplingDrift drift = MeasureSamplingDrift(
            {kernel, clock, uiProcesses, logFiles}, uiPid, run.samples, run.intervalMs, run.workMs);
        std::printf("%d samples at %d ms, work %d ms: mean drift %.3f ms, max drift %.3f ms "
                    "(%.3f %% of %d ms), last %.3f ms\n",
                    run.samples, run.intervalMs, run.workMs, drift.meanMs, drift.maxMs,
                    drift.maxMs * 100.0 / (run.samples * run.intervalMs),
                    run.samples * run.intervalMs, drift.lastMs);
    }
    return 0;
}
