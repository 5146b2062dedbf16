// The recorder on the real Windows objects: a child process as the user interface, overlapped
// file writes, and the global stop-logging event.
#include "recorder_probe.h"
#include "recording/monitor_recorder.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"
#include "win32/win32_clock.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_log_files.h"
#include "win32/win32_ui_processes.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <windows.h>

namespace {

std::wstring BesideThisProgram(const std::wstring& name) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path.substr(0, path.find_last_of(L"\\/") + 1) + name;
}

// A real process in the user interface's place; it runs until terminated.
class UiStandIn {
public:
    UiStandIn() {
        std::wstring commandLine = L"\"" + BesideThisProgram(L"recorder_ui_stand_in.exe") + L"\"";
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION created{};
        if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             nullptr, &startup, &created)) {
            process_.reset(created.hProcess);
            win32::UniqueHandle thread(created.hThread);
            id_ = created.dwProcessId;
        }
    }
    ~UiStandIn() { Terminate(); }
    UiStandIn(const UiStandIn&) = delete;
    UiStandIn& operator=(const UiStandIn&) = delete;

    bool Running() const { return static_cast<bool>(process_); }
    uint32_t Id() const { return id_; }
    HANDLE Handle() const { return process_.get(); }
    void Terminate() {
        if (process_ && ::TerminateProcess(process_.get(), 1)) {
            ::WaitForSingleObject(process_.get(), INFINITE);
        }
    }

private:
    win32::UniqueHandle process_;
    uint32_t id_ = 0;
};

std::vector<uint8_t> ReadFile(const std::u16string& path) {
    std::ifstream file(std::filesystem::path(win32::AsWide(path)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class MonitorRecorderWin32Test : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(ui.Running());
        recorder = MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles});
        ASSERT_NE(recorder, nullptr);
        std::wstring folder(MAX_PATH, L'\0');
        folder.resize(::GetTempPathW(MAX_PATH, folder.data()));
        logPath = win32::AsUtf16(folder.c_str());
        logPath += u"recorder_test_" +
                   std::u16string(win32::AsUtf16(std::to_wstring(ui.Id()).c_str())) + u".rml";
    }
    void TearDown() override {
        probe.Open();
        recorder.reset();
        ::DeleteFileW(win32::AsWide(logPath));
    }

    int64_t Start(int32_t intervalMs) {
        return recorder->Start(ui.Id(), 600, intervalMs, items.data(), &RecorderProbe::Sampling,
                               &RecorderProbe::Round, &probe);
    }
    bool StartLogging(uint64_t* handle = nullptr) {
        return recorder->StartLogging(logPath, handle, &RecorderProbe::LogFinished);
    }

    win32::Win32KernelObjects kernel;
    win32::Win32Clock clock;
    win32::Win32UiProcesses uiProcesses;
    win32::Win32LogFiles logFiles;
    UiStandIn ui;
    RecorderProbe probe;
    std::array<RecordItemInfo, kRecordItemCount> items = RecorderProbe::Items();
    std::u16string logPath;
    std::unique_ptr<MonitorRecorder> recorder;
};

TEST_F(MonitorRecorderWin32Test, terminating_the_ui_process_ends_the_recording) {
    ASSERT_NE(Start(20), 0);
    ASSERT_TRUE(StartLogging());
    probe.Open();
    ASSERT_TRUE(probe.WaitForRounds(3));
    ui.Terminate();
    ASSERT_TRUE(probe.WaitForLogsFinished(1)); // the recording ended and closed its log
    EXPECT_EQ(recorder->SerialNumber(), 0);
    EXPECT_FALSE(recorder->Pages(0, 1));
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{logPath});
}

TEST_F(MonitorRecorderWin32Test, the_overlapped_log_holds_the_exact_bytes) {
    ASSERT_NE(Start(1), 0);
    ASSERT_TRUE(StartLogging());
    ASSERT_TRUE(probe.TakeSamples(130)); // two writes of 60, then 10 pending
    recorder->StopLogging();
    EXPECT_EQ(ReadFile(logPath), RecorderProbe::LogBytes(1, 0, 130));
}

TEST_F(MonitorRecorderWin32Test, the_stop_logging_event_is_shared_under_its_global_name) {
    ASSERT_NE(Start(5), 0);
    uint64_t shared = 0;
    ASSERT_TRUE(StartLogging(&shared));
    ASSERT_NE(shared, 0u);

    const std::wstring name =
        L"Global\\ResourceMonitorStopLoggingEvent_" + std::to_wstring(ui.Id());
    win32::UniqueHandle byName(::OpenEventW(SYNCHRONIZE, FALSE, name.c_str()));
    ASSERT_TRUE(byName) << "error " << ::GetLastError();
    // The handle the user interface got refers to the same event.
    win32::UniqueHandle fromUi;
    ASSERT_TRUE(::DuplicateHandle(ui.Handle(), reinterpret_cast<HANDLE>(shared),
                                  ::GetCurrentProcess(), fromUi.put(), SYNCHRONIZE, FALSE, 0));
    EXPECT_EQ(::WaitForSingleObject(byName.get(), 0), WAIT_TIMEOUT);
    EXPECT_EQ(::WaitForSingleObject(fromUi.get(), 0), WAIT_TIMEOUT);

    recorder->StopLogging();
    EXPECT_EQ(::WaitForSingleObject(byName.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(::WaitForSingleObject(fromUi.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{logPath});
}

} // namespace
