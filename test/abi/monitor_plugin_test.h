#pragma once
// Fixture for the binary-interface tests: the test host with the build tree's MonitorPlugin.dll
// loaded through QueryLibrary. The folder comes from the build (MONITOR_PLUGIN_DIR).
#include "host/test_host.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace abi_test {

using test_host::IntOf;
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

// With every host callback installed, and requests sent as trees.
class MonitorRequestTest : public MonitorPluginTest {
protected:
    void SetUp() override {
        MonitorPluginTest::SetUp();
        ASSERT_TRUE(host.InstallAll());
    }

    // The answer to the request, which must have been handled.
    test_host::Tree Answer(const test_host::Tree& request) {
        const test_host::Exchange exchange = host.SendRequest(request);
        EXPECT_EQ(exchange.result, 0);
        return exchange.AnswerTree().value_or(test_host::Tree{});
    }

    // Command 17 for this process as the user interface: the recording's serial number, 0 when
    // it did not start.
    int32_t StartRecording(int32_t capacity = 600, int32_t interval = 1000) {
        using test_host::Value;
        const test_host::Tree started = Answer({{"Command", Value::Int32(17)},
                                                {"UIPid", Value::UInt32(GetCurrentProcessId())},
                                                {"Capacity", Value::Int32(capacity)},
                                                {"Interval", Value::Int32(interval)}});
        EXPECT_EQ(IntOf(started, "Result"), 0);
        const Value* record = started.Find("Record");
        return record != nullptr && record->AsMap() != nullptr ? IntOf(*record->AsMap(), "RecordSN")
                                                               : 0;
    }
    // Command 19.
    test_host::Tree StartLogging(int32_t serial, const std::wstring& path) {
        using test_host::Value;
        return Answer({{"Command", Value::Int32(19)},
                       {"RecordSN", Value::Int32(serial)},
                       {"Path", Value::Wide(path)}});
    }
    // A file of that name in the temporary folder.
    static std::wstring TempFile(const wchar_t* name) {
        std::wstring folder(MAX_PATH, L'\0');
        folder.resize(GetTempPathW(MAX_PATH, folder.data()));
        return folder + name;
    }
};

} // namespace abi_test
