// Loading, using and unloading MonitorPlugin.dll again and again leaves nothing behind.
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

} // namespace
} // namespace abi_test
