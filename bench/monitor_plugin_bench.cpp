// The monitor plug-in's own cost per request: commands 1 and 3 through HandleMessage on the
// simulated laptop, whose readers cost nothing, with the heap allocations each request makes.
// The hardware reads that the real machine adds take milliseconds; this is what comes on top.
// Also how long Uninitialize takes to stop the three background workers once they wait.
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"
#include "sim_machine.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

std::atomic<uint64_t> g_allocations{0};

// A host whose log sink drops every line, as a host logging at a higher level does.
void DropLog(void*, IOrvexPlugin*, int32_t, const char16_t*, ...) {}

std::vector<uint8_t> RequestMessage(int32_t command) {
    VelmorValueSet::ValueSet request;
    request.SetInt32("Command", command);
    uint32_t size = request.BodySize();
    std::vector<uint8_t> message(32 + size, 0);
    message[0] = 0xE1;
    request.Write(message.data() + 32, size);
    return message;
}

// A laptop in its normal state: the processor counters exist and WMI knows the clocks, so the
// CPU info reader keeps its query open and reads the memory clock once.
void Quiet(SimMachine& machine) {
    const char16_t* processor = u"\\Processor Information(_Total)\\";
    const std::pair<const char16_t*, double> counters[] = {{u"% Processor Performance", 97.0},
                                                           {u"Processor Frequency", 2400.0},
                                                           {u"% of Maximum Frequency", 80.0},
                                                           {u"% Processor Utility", 12.0}};
    for (const auto& [name, value] : counters) {
        machine.counters.SetValue(std::u16string(processor) + name, value);
    }
    machine.wmi.SetObjects(u"SELECT MaxClockSpeed FROM Win32_Processor",
                           {{{u"MaxClockSpeed", 2400}}});
    machine.wmi.SetObjects(u"SELECT ConfiguredClockSpeed FROM Win32_PhysicalMemory",
                           {{{u"ConfiguredClockSpeed", 4800}}});
}

void Requests(benchmark::State& state, int32_t command) {
    SimMachine machine;
    Quiet(machine);
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    plugin->SetLogCallback(&DropLog, nullptr);
    plugin->Initialize();
    const std::vector<uint8_t> message = RequestMessage(command);
    const uint64_t before = g_allocations.load();
    for (auto _ : state) {
        uint8_t* answer = nullptr;
        uint32_t answerSize = 0;
        plugin->HandleMessage(nullptr, message.data(), static_cast<uint32_t>(message.size()),
                              &answer, &answerSize);
        benchmark::DoNotOptimize(answer);
        machine.heap.Free(answer);
    }
    state.counters["allocations"] = benchmark::Counter(
        static_cast<double>(g_allocations.load() - before), benchmark::Counter::kAvgIterations);
    plugin->Uninitialize();
    plugin->Release();
}

void BM_Command1Snapshot(benchmark::State& state) {
    Requests(state, 1);
}
BENCHMARK(BM_Command1Snapshot);

void BM_Command3DiskActivity(benchmark::State& state) {
    Requests(state, 3);
}
BENCHMARK(BM_Command3DiskActivity);

// Each iteration: a service instance whose workers have started waiting, then its Uninitialize,
// timed alone.
void BM_UninitializeStopsTheWorkers(benchmark::State& state) {
    for (auto _ : state) {
        SimMachine machine;
        MonitorHost host(machine.heap);
        auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
        host.Install(*plugin);
        plugin->Initialize();
        host.WaitForLog(6, "Enter DoMonitorPluginInitialize");
        host.WaitForLog(6, "Enter DoRecordSysInfoByPeriod");
        host.WaitForLog(6, "Enter DoWaitingPowerResumeEvent");
        const auto begin = std::chrono::steady_clock::now();
        plugin->Uninitialize();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(took.count());
        plugin->Release();
    }
}
BENCHMARK(BM_UninitializeStopsTheWorkers)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace

// The counting operators below replace the global ones and pair malloc with free themselves; gcc
// sees the free of a block that a new-expression returned once it inlines them, and would warn.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

BENCHMARK_MAIN();
