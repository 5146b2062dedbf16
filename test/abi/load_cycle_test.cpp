// Loading, using and unloading MonitorPlugin.dll again and again leaves nothing behind.
#include "host/process_figures.h"
#include "host/process_handles.h"
#include "monitor_plugin_test.h"

namespace abi_test {
namespace {

using test_host::TestHost;
using test_host::Value;

size_t HandleCount() {
    return test_host::OpenHandleCount().value_or(0);
}

// One life of the plug-in as a host gives it: load, query, install, initialise, message,
// uninitialise, release, unload.
void OneCycle() {
    TestHost host(PluginFolder(), kPluginFile, 0);
    ASSERT_NE(host.Plugin(), nullptr);
    ASSERT_TRUE(host.InstallAll());
    ASSERT_EQ(host.Table().Initialize(host.Plugin()), 0);
    host.SendRequest({{"Command", Value::Int32(16)}});
    host.SendNotification(4, {{"RequestRole", Value::Wide(L"Nothing")}});
    void* out = nullptr;
    ASSERT_EQ(host.Table().QueryInterface(host.Plugin(), &test_host::abi::kPluginInterface, &out),
              0);
    host.Table().Release(host.Plugin());
    ASSERT_EQ(host.Table().Uninitialize(host.Plugin()), 0);
}

int32_t ResultOf(TestHost& host, const test_host::Tree& request) {
    return test_host::IntOf(host.SendRequest(request).AnswerTree().value_or(test_host::Tree{}),
                            "Result");
}

// A life with a recording: started (its first sample announced), a page read and the session
// ended, all from the host's thread, as the service host does it.
void OneRecordingCycle() {
    TestHost host(PluginFolder(), kPluginFile, 0);
    ASSERT_NE(host.Plugin(), nullptr);
    ASSERT_TRUE(host.InstallAll());
    ASSERT_EQ(host.Table().Initialize(host.Plugin()), 0);
    const int32_t serial = test_host::StartRecording(host, 600, 5);
    ASSERT_NE(serial, 0);
    EXPECT_EQ(ResultOf(host, {{"Command", Value::Int32(18)},
                              {"RecordSN", Value::Int32(serial)},
                              {"Round", Value::Int32(0)},
                              {"Count", Value::Int32(1)}}),
              0);
    EXPECT_EQ(ResultOf(host, {{"Command", Value::Int32(22)}}), 0);
    ASSERT_EQ(host.Table().Uninitialize(host.Plugin()), 0);
}

TEST(LoadCycle, each_unload_removes_the_library_from_the_process) {
    OneCycle();
    EXPECT_EQ(GetModuleHandleW(kPluginFile), nullptr);
}

TEST(LoadCycle, many_load_unload_cycles_leak_no_handles) {
    OneCycle(); // the first load may set up lasting process state (loader, C run-time)
    const size_t before = HandleCount();
    ASSERT_GT(before, 0u);
    constexpr int kCycles = 100;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        OneCycle();
        ASSERT_EQ(GetModuleHandleW(kPluginFile), nullptr) << cycle;
    }
    EXPECT_EQ(HandleCount(), before);
}

// The module's run-time keeps a record of each host thread that takes a reader-writer lock or
// reads a thread_local of the module, and never closes it on unload; the recorder and the message
// programs therefore use neither on the host's threads. The run-time's emergency exception pool is
// given back on unload. The stand-ins beside the module are built the same way, so what the
// process holds must come back exactly: handles, threads and heap bytes.
TEST(LoadCycle, cycles_with_a_recording_leave_no_handles_threads_or_heap_bytes) {
    OneRecordingCycle(); // the first life may set up lasting process state
    const test_host::ProcessFigures before = test_host::MeasureProcess();
    ASSERT_GT(before.handles, 0u);
    constexpr int kCycles = 20;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        OneRecordingCycle();
        ASSERT_EQ(GetModuleHandleW(kPluginFile), nullptr) << cycle;
    }
    const test_host::ProcessFigures after = test_host::MeasureProcess();
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.heapBytes, before.heapBytes);
}

} // namespace
} // namespace abi_test
