#include "cpu_monitor_start.h"

#include "interrupt.h"

#include <cstdio>

namespace orvex_host {
namespace {

constexpr int32_t kIntel = 1;
// The monitor's own start takes a few seconds (the plug-in sleeps between its steps).
constexpr DWORD kStartAllowanceMs = 15000;

} // namespace

void AwaitCpuMonitor(PluginSession& session, const Interrupt& interrupt) {
    const std::optional<Tree> device = session.Request(Tree{{"Command", Value::Int32(2)}});
    const Value* vendor = device ? device->Find("CPUVendor") : nullptr;
    if (vendor == nullptr || vendor->AsInt32() != kIntel) {
        return;
    }
    // Opens the plug-in's event, or makes the one it will open; either way not signalled
    // until the monitor is ready.
    const win32::UniqueHandle ready(CreateEventW(nullptr, TRUE, FALSE, L"CPUInitializedEvent"));
    if (!ready || WaitForSingleObject(ready.get(), 0) == WAIT_OBJECT_0) {
        return;
    }
    std::fprintf(stderr, "waiting for the CPU monitor to start...\n");
    std::fflush(stderr);
    session.Request(Tree{{"Command", Value::Int32(1)}});
    const HANDLE waits[] = {ready.get(), interrupt.Event()};
    if (WaitForMultipleObjects(2, waits, FALSE, kStartAllowanceMs) == WAIT_TIMEOUT) {
        std::fprintf(stderr, "orvex-host: the CPU monitor did not start; CPU values stay 0\n");
        std::fflush(stderr);
    }
}

} // namespace orvex_host
