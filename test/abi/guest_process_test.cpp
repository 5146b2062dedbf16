// MonitorPlugin.dll as a guest in the host's process under Wine: command 19 creates its log as the
// user interface's user (this process, in the console session), refuses device paths, and a whole
// session of the plug-in leaves the process's loader, error-mode, locale and folder state as it
// found it.
#include "monitor_plugin_test.h"

#include <clocale>
#include <string>

namespace abi_test {
namespace {

using test_host::Tree;
using test_host::Value;

// What a guest library must not change in its host's process.
struct ProcessState {
    std::wstring dllDirectory;
    UINT errorMode = 0;
    std::string locale;
    std::wstring currentDirectory;
    std::wstring path;

    static ProcessState Now() {
        ProcessState state;
        state.dllDirectory.resize(MAX_PATH);
        state.dllDirectory.resize(GetDllDirectoryW(MAX_PATH, state.dllDirectory.data()));
        state.errorMode = GetErrorMode();
        state.locale = std::setlocale(LC_ALL, nullptr);
        state.currentDirectory.resize(MAX_PATH);
        state.currentDirectory.resize(
            GetCurrentDirectoryW(MAX_PATH, state.currentDirectory.data()));
        state.path.resize(32767);
        state.path.resize(GetEnvironmentVariableW(L"PATH", state.path.data(), 32767));
        return state;
    }
};

class GuestProcessTest : public MonitorRequestTest {};

TEST_F(GuestProcessTest, command_19_creates_the_log_as_the_console_user_of_the_user_interface) {
    ASSERT_EQ(Table().Initialize(Plugin()), 0);
    const int32_t serial = StartRecording();
    const std::wstring log = TempFile(L"monitor_plugin_abi_as_user.rml");
    DeleteFileW(log.c_str());
    const Tree logging = StartLogging(serial, log);
    EXPECT_EQ(IntOf(logging, "Result"), 0);
    EXPECT_NE(logging.Find("StopLoggingEvent"), nullptr);
    EXPECT_NE(GetFileAttributesW(log.c_str()), INVALID_FILE_ATTRIBUTES);
    // The request thread acts as itself again.
    HANDLE token = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token));
    Answer({{"Command", Value::Int32(22)}});
    DeleteFileW(log.c_str());
    Table().Uninitialize(Plugin());
}

TEST_F(GuestProcessTest, command_19_refuses_device_and_global_root_paths_with_minus_5) {
    ASSERT_EQ(Table().Initialize(Plugin()), 0);
    const int32_t serial = StartRecording();
    for (const wchar_t* path : {L"\\\\.\\NUL", L"\\\\?\\GLOBALROOT\\Device\\Null",
                                L"\\??\\C:\\monitor_plugin_abi.rml", L"//./RavikACPI"}) {
        const Tree logging = StartLogging(serial, path);
        EXPECT_EQ(IntOf(logging, "Result"), -5) << std::string(path, path + wcslen(path));
        EXPECT_EQ(logging.Find("StopLoggingEvent"), nullptr);
    }
    Answer({{"Command", Value::Int32(22)}});
    Table().Uninitialize(Plugin());
}

TEST_F(GuestProcessTest, a_whole_session_leaves_the_processs_loader_and_crt_state_unchanged) {
    const ProcessState before = ProcessState::Now();
    ASSERT_EQ(Table().Initialize(Plugin()), 0);
    for (const int32_t command : {1, 2, 3, 16, 65}) {
        Answer({{"Command", Value::Int32(command)}});
    }
    const int32_t serial = StartRecording();
    const std::wstring log = TempFile(L"monitor_plugin_abi_guest.rml");
    StartLogging(serial, log);
    for (const int32_t command : {18, 20, 21}) {
        Answer({{"Command", Value::Int32(command)}, {"RecordSN", Value::Int32(serial)}});
    }
    Answer({{"Command", Value::Int32(22)}});
    Table().Uninitialize(Plugin());
    DeleteFileW(log.c_str());

    const ProcessState after = ProcessState::Now();
    EXPECT_EQ(after.dllDirectory, before.dllDirectory);
    EXPECT_EQ(after.errorMode, before.errorMode);
    EXPECT_EQ(after.locale, before.locale);
    EXPECT_EQ(after.currentDirectory, before.currentDirectory);
    EXPECT_EQ(after.path, before.path);
}

} // namespace
} // namespace abi_test
