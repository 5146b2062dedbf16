#pragma once
// Fixture for the binary-interface tests: the test host with the build tree's MonitorPlugin.dll
// loaded through QueryLibrary. The folder comes from the build (MONITOR_PLUGIN_DIR).
#include "host/test_host.h"

#include <gtest/gtest.h>

namespace abi_test {

using test_host::abi::Result;

inline constexpr const wchar_t* kPluginFile = L"MonitorPlugin.dll";

inline std::wstring PluginFolder() {
    return test_host::WindowsFolder(MONITOR_PLUGIN_DIR);
}

inline constexpr Result Code(uint32_t code) {
    return static_cast<Result>(code);
}

class MonitorPluginTest : public ::testing::Test {
protected:
    explicit MonitorPluginTest(uint32_t hostMode = 0)
        : host(PluginFolder(), kPluginFile, hostMode) {}

    void SetUp() override { ASSERT_NE(host.Plugin(), nullptr) << "MonitorPlugin.dll did not load"; }

    test_host::abi::Plugin* Plugin() const { return host.Plugin(); }
    const test_host::abi::PluginTable& Table() const { return host.Table(); }

    test_host::TestHost host;
};

} // namespace abi_test
