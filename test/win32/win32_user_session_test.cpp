#include "platform/message_command_line.h"
#include "platform/message_program_launcher.h"
#include "ports/waitable.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_user_session.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <string>

// "QUILLON Message.exe" beside this test is the stand-in of test/standins/quillon_message.cpp: its
// -L text scripts how it ends, and obeying the close command it exits with 3.
namespace {

constexpr uint32_t kObeyedCloseExitCode = 3;

class Win32UserSessionTest : public ::testing::Test {
protected:
    std::u16string Show(int32_t kind, const std::u16string& text) {
        return *platform::ShowMessageCommandLine(session.MessageProgramPath(), kind, text);
    }

    win32::Win32UserSession session;
};

// Keeps the stand-in's close event of the kind in existence, so a close command sent before the
// program has opened it is not lost.
win32::UniqueHandle HoldCloseEvent(int32_t kind) {
    const std::wstring name = L"Local\\QUILLON Message stand-in close " + std::to_wstring(kind);
    return win32::UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
}

// A handle of the launched program of its own, to read how it ended after the launcher let go.
win32::UniqueHandle Observe(uint32_t processId) {
    return win32::UniqueHandle(
        ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
}

std::optional<DWORD> EndedWith(const win32::UniqueHandle& process) {
    DWORD code = 0;
    if (::WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(process.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

TEST_F(Win32UserSessionTest, MessageProgramPathIsTheProgramBesideTheModule) {
    const std::u16string path = session.MessageProgramPath();
    const std::u16string name = u"\\QUILLON Message.exe";
    ASSERT_GT(path.size(), name.size());
    EXPECT_EQ(path.substr(path.size() - name.size()), name);
    EXPECT_NE(::GetFileAttributesW(win32::AsWide(path)), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Win32UserSessionTest, LaunchedProgramEndsAndItsExitCodeIsRead) {
    const auto process = session.Launch(Show(9, u"exit:42"));
    ASSERT_NE(process, nullptr);
    EXPECT_NE(process->Id(), 0u);
    EXPECT_TRUE(process->WaitForExit(ports::kInfinite));
    EXPECT_EQ(process->ExitCode(), 42u);
}

TEST_F(Win32UserSessionTest, QuotedTextWithBlanksArrivesAsOneArgument) {
    const auto process = session.Launch(Show(2, u"count: C:\\Logs\\a b -Q.rml"));
    ASSERT_NE(process, nullptr);
    ASSERT_TRUE(process->WaitForExit(ports::kInfinite));
    EXPECT_EQ(process->ExitCode(), 3u); // the program, -T and -L
}

TEST_F(Win32UserSessionTest, ProgramThatDoesNotQuitIsTerminatedWithTheGivenCode) {
    const auto process = session.Launch(Show(9, u"ignore-close"));
    ASSERT_NE(process, nullptr);
    EXPECT_FALSE(process->WaitForExit(50));
    process->Terminate(7);
    EXPECT_TRUE(process->WaitForExit(ports::kInfinite));
    EXPECT_EQ(process->ExitCode(), 7u);
}

TEST_F(Win32UserSessionTest, ProgramRunsInTheActiveConsoleSession) {
    const auto process = session.Launch(Show(9, u"ignore-close"));
    ASSERT_NE(process, nullptr);
    DWORD programSession = 0xFFFFFFFF;
    EXPECT_TRUE(::ProcessIdToSessionId(process->Id(), &programSession));
    EXPECT_EQ(programSession, ::WTSGetActiveConsoleSessionId());
    process->Terminate(0);
    EXPECT_TRUE(process->WaitForExit(ports::kInfinite));
}

TEST_F(Win32UserSessionTest, MissingProgramIsNotLaunched) {
    EXPECT_EQ(session.Launch(u"\"C:\\nowhere\\QUILLON Message.exe\" -T:\"1\""), nullptr);
}

class MessageProgramLauncherOnWindowsTest : public Win32UserSessionTest {
protected:
    win32::Win32KernelObjects kernel;
    std::atomic<int> stopRequests{0};
    platform::MessageProgramLauncher launcher{session, kernel, [this] { ++stopRequests; }};
};

TEST_F(MessageProgramLauncherOnWindowsTest, ProgramObeyingTheCloseCommandEndsByItself) {
    const auto closeEvent = HoldCloseEvent(5);
    launcher.SetEnabled(5, 1);
    ASSERT_TRUE(launcher.Start(5, u""));
    const auto program = Observe(launcher.ProcessId(5));
    ASSERT_TRUE(program);
    launcher.Stop(5);
    EXPECT_EQ(EndedWith(program), kObeyedCloseExitCode);
}

TEST_F(MessageProgramLauncherOnWindowsTest, ProgramIgnoringTheCloseCommandIsTerminatedWithZero) {
    launcher.SetEnabled(6, 1);
    ASSERT_TRUE(launcher.Start(6, u"ignore-close"));
    const auto program = Observe(launcher.ProcessId(6));
    ASSERT_TRUE(program);
    launcher.Stop(6);
    EXPECT_EQ(EndedWith(program), 0u);
}

// A double quote in the text would end -L's argument and let the rest add -Q of its own.
TEST_F(MessageProgramLauncherOnWindowsTest,
       TextWithADoubleQuoteCannotAddArgumentsAndLaunchesNothing) {
    launcher.SetEnabled(7, 1);
    EXPECT_FALSE(launcher.Start(7, u"count:\" -Q -X:\"1"));
    EXPECT_EQ(launcher.ProcessId(7), 0u);
    // The kind stays enabled: a quotable text starts it, as one argument.
    ASSERT_TRUE(launcher.Start(7, u"count: C:\\Logs\\a -Q.rml"));
    const auto program = Observe(launcher.ProcessId(7));
    ASSERT_TRUE(program);
    EXPECT_EQ(EndedWith(program), 3u); // the program, -T and -L
    launcher.Stop(7);
}

TEST_F(MessageProgramLauncherOnWindowsTest, KindOneEndingWithOneStopsTheRecording) {
    launcher.SetEnabled(ports::kMessageRecording, 1);
    ASSERT_TRUE(launcher.Start(ports::kMessageRecording, u"exit:1"));
    launcher.Stop(ports::kMessageRecording); // waits for the watcher
    EXPECT_EQ(stopRequests.load(), 1);
}

TEST_F(MessageProgramLauncherOnWindowsTest, KindOneEndingWithAnotherCodeLeavesTheRecording) {
    launcher.SetEnabled(ports::kMessageRecording, 1);
    ASSERT_TRUE(launcher.Start(ports::kMessageRecording, u"exit:2"));
    launcher.Stop(ports::kMessageRecording);
    EXPECT_EQ(stopRequests.load(), 0);
}

} // namespace
