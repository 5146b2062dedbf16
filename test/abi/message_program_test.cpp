// The message program started by MonitorPlugin.dll under Wine, through commands 19 to 22: the
// stand-in "QUILLON Message.exe" of test/standins lies beside the module in this test's folder.
// Waiting, it sets its "started" event; obeying the close command it ends with 3; the user pressing
// stop (its "stop" event) ends it with 1.
#include "monitor_plugin_test.h"
#include "win32/unique_handle.h"

#include <algorithm>
#include <string>
#include <vector>
// The system headers after <windows.h> need it first.
// clang-format off
#include <windows.h>
#include <tlhelp32.h>
// clang-format on

namespace abi_test {
namespace {

using test_host::Tree;
using test_host::Value;

constexpr DWORD kObeyedClose = 3;
constexpr DWORD kTerminated = 0;
// How long the test waits for something the plug-in does on a thread of its own.
constexpr DWORD kPatienceMs = 30000;

using Handle = win32::UniqueHandle;

// One of the stand-in's named events of a kind, kept in existence by the test so that a signal
// sent before the program opens it is not lost.
Handle StandInEvent(const wchar_t* what, int kind) {
    const std::wstring name =
        std::wstring(L"Local\\QUILLON Message stand-in ") + what + L" " + std::to_wstring(kind);
    return Handle(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
}

// The message programs this process started that are still running.
std::vector<Handle> RunningMessagePrograms() {
    std::vector<Handle> running;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more;
         more = Process32NextW(snapshot.get(), &entry)) {
        if (entry.th32ParentProcessID != GetCurrentProcessId() ||
            _wcsicmp(entry.szExeFile, L"QUILLON Message.exe") != 0) {
            continue;
        }
        Handle process(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE,
                                   entry.th32ProcessID));
        if (process.get() != nullptr && WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT) {
            running.push_back(std::move(process));
        }
    }
    return running;
}

DWORD ExitCodeOf(const Handle& process) {
    DWORD code = 0xDEAD;
    if (WaitForSingleObject(process.get(), kPatienceMs) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process.get(), &code);
    }
    return code;
}

class MessageProgramTest : public MonitorRequestTest {
protected:
    void SetUp() override {
        MonitorRequestTest::SetUp();
        ASSERT_EQ(Table().Initialize(Plugin()), 0);
        ASSERT_TRUE(RunningMessagePrograms().empty());
    }
    void TearDown() override {
        Table().Uninitialize(Plugin());
        DeleteFileW(logPath.c_str());
    }

    int32_t Recording(int32_t command) {
        return IntOf(
            Answer({{"Command", Value::Int32(command)}, {"RecordSN", Value::Int32(serial)}}),
            "Result");
    }
    // A recording of this process logged to a file named `name` in the temporary folder; command
    // 19 enables both message kinds. Keeps the stop-logging event the plug-in shared with us.
    void StartLoggedRecording(const wchar_t* name) {
        serial = StartRecording();
        ASSERT_NE(serial, 0);
        logPath = TempFile(name);
        const Tree logging = StartLogging(serial, logPath);
        ASSERT_EQ(IntOf(logging, "Result"), 0);
        ASSERT_NE(logging.Find("StopLoggingEvent"), nullptr);
        stopLogging = Handle(reinterpret_cast<HANDLE>(
            static_cast<uintptr_t>(logging.Find("StopLoggingEvent")->AsInt64().value())));
    }
    // Command 21 and the recording message it started.
    Handle ShowRecordingMessage() {
        EXPECT_EQ(Recording(21), 0);
        auto running = RunningMessagePrograms();
        EXPECT_EQ(running.size(), 1u);
        return running.empty() ? Handle() : std::move(running.front());
    }

    Handle closeRecording = StandInEvent(L"close", 1);
    Handle stopRecording = StandInEvent(L"stop", 1);
    Handle closeLogReady = StandInEvent(L"close", 2);
    Handle logReadyStarted = StandInEvent(L"started", 2);
    int32_t serial = 0;
    std::wstring logPath;
    Handle stopLogging;
};

TEST_F(MessageProgramTest, messages_are_started_by_21_and_20_and_closed_by_20_and_22) {
    StartLoggedRecording(L"monitor_plugin_abi_messages.rml");
    const Handle recordingMessage = ShowRecordingMessage();

    ASSERT_EQ(Recording(20), 0);
    EXPECT_EQ(ExitCodeOf(recordingMessage), kObeyedClose);
    auto running = RunningMessagePrograms();
    ASSERT_EQ(running.size(), 1u); // the log-ready message
    const Handle logReadyMessage = std::move(running.front());

    ASSERT_EQ(Recording(22), 0);
    EXPECT_EQ(ExitCodeOf(logReadyMessage), kObeyedClose);
    EXPECT_TRUE(RunningMessagePrograms().empty());
}

TEST_F(MessageProgramTest, a_message_ignoring_the_close_command_is_terminated) {
    // The log-ready message gets the log path as its text, which scripts the stand-in.
    StartLoggedRecording(L"monitor_plugin_abi_ignore-close");
    ASSERT_EQ(Recording(20), 0);
    auto running = RunningMessagePrograms();
    ASSERT_EQ(running.size(), 1u);
    const Handle logReadyMessage = std::move(running.front());

    ASSERT_EQ(Recording(22), 0); // returns after the grace of 2,000 ms
    EXPECT_EQ(WaitForSingleObject(logReadyMessage.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(ExitCodeOf(logReadyMessage), kTerminated);
}

TEST_F(MessageProgramTest, the_user_stopping_in_the_recording_message_stops_the_recording) {
    StartLoggedRecording(L"monitor_plugin_abi_user_stop.rml");
    const Handle recordingMessage = ShowRecordingMessage();
    ASSERT_EQ(WaitForSingleObject(stopLogging.get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));

    SetEvent(stopRecording.get());
    EXPECT_EQ(ExitCodeOf(recordingMessage), 1u);
    // Stopping the recording ends its log, which the user interface sees on this event, and the
    // log-ready message follows once the recording has stopped.
    EXPECT_EQ(WaitForSingleObject(stopLogging.get(), kPatienceMs), WAIT_OBJECT_0);
    ASSERT_EQ(WaitForSingleObject(logReadyStarted.get(), kPatienceMs), WAIT_OBJECT_0);
    EXPECT_EQ(Recording(18), -3);
    EXPECT_EQ(RunningMessagePrograms().size(), 1u);
}

} // namespace
} // namespace abi_test
