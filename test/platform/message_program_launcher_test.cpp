#include "../recording/faulty_kernel_objects.h"
#include "platform/message_program_launcher.h"
#include "sim/fake_user_session.h"
#include "sim/native_kernel_objects.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using ports::kMessageLogReady;
using ports::kMessageRecording;

const std::u16string kProgram = u"\"C:\\Plugins\\QUILLON Message.exe\" ";
const std::u16string kShowRecording = kProgram + u"-T:\"1\"";
const std::u16string kCloseRecording = kProgram + u"-T:\"1\" -Q";
const std::u16string kShowLogReady = kProgram + u"-T:\"2\" -L:\"C:\\Logs\\monitor.rml\"";
const std::u16string kCloseLogReady = kProgram + u"-T:\"2\" -Q";
const std::u16string kLogPath = u"C:\\Logs\\monitor.rml";
// How long a test waits for the watcher thread before calling it lost.
constexpr std::chrono::seconds kPatience{30};

class MessageProgramLauncherTest : public ::testing::Test {
protected:
    std::vector<std::u16string> Launched() const { return session.CommandLines(); }

    sim::FakeUserSession session;
    sim::NativeKernelObjects nativeKernel;
    FaultyKernelObjects kernel{nativeKernel};
    std::atomic<int> stopRequests{0};
    std::optional<platform::MessageProgramLauncher> launcher{std::in_place, session, kernel,
                                                             [this] { ++stopRequests; }};
};

TEST_F(MessageProgramLauncherTest, CloseGraceIsTwoSeconds) {
    EXPECT_EQ(platform::kMessageCloseGraceMs, 2000u);
}

TEST_F(MessageProgramLauncherTest, EnabledKindStartsItsProgramWithoutTextArgumentWhenTextIsEmpty) {
    launcher->SetEnabled(kMessageRecording, 1);
    EXPECT_TRUE(launcher->Start(kMessageRecording, u""));
    EXPECT_EQ(Launched(), std::vector{kShowRecording});
    EXPECT_EQ(launcher->ProcessId(kMessageRecording), session.Program(0)->Id());
}

TEST_F(MessageProgramLauncherTest, TextIsPassedAsTheQuotedLArgument) {
    launcher->SetEnabled(kMessageLogReady, 1);
    EXPECT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    EXPECT_EQ(Launched(), std::vector{kShowLogReady});
}

TEST_F(MessageProgramLauncherTest, KindThatWasNeverEnabledStartsNothing) {
    EXPECT_FALSE(launcher->Start(kMessageRecording, u""));
    EXPECT_TRUE(Launched().empty());
}

TEST_F(MessageProgramLauncherTest, DisabledKindStartsNothing) {
    launcher->SetEnabled(kMessageRecording, 1);
    launcher->SetEnabled(kMessageRecording, 0);
    EXPECT_FALSE(launcher->Start(kMessageRecording, u""));
    EXPECT_TRUE(Launched().empty());
}

TEST_F(MessageProgramLauncherTest,
       NobodyLoggedOnAtTheConsoleStartsNothingAndALaterStartTriesAgain) {
    launcher->SetEnabled(kMessageRecording, 1);
    session.SetNobodyLoggedOn(true);
    EXPECT_FALSE(launcher->Start(kMessageRecording, u""));
    EXPECT_TRUE(session.Programs().empty());
    EXPECT_EQ(launcher->ProcessId(kMessageRecording), 0u);

    session.SetNobodyLoggedOn(false);
    EXPECT_TRUE(launcher->Start(kMessageRecording, u""));
    EXPECT_EQ(Launched(), (std::vector{kShowRecording, kShowRecording}));
}

TEST_F(MessageProgramLauncherTest, EachEnablingShowsTheMessageAtMostOnce) {
    launcher->SetEnabled(kMessageRecording, 1);
    ASSERT_TRUE(launcher->Start(kMessageRecording, u""));
    launcher->Stop(kMessageRecording);
    EXPECT_FALSE(launcher->Start(kMessageRecording, u""));

    launcher->SetEnabled(kMessageRecording, 1);
    EXPECT_TRUE(launcher->Start(kMessageRecording, u""));
    EXPECT_EQ(Launched(), (std::vector{kShowRecording, kCloseRecording, kShowRecording}));
}

TEST_F(MessageProgramLauncherTest, StartWhileRunningLaunchesNothingAndReportsTheRunningProgram) {
    launcher->SetEnabled(kMessageRecording, 1);
    ASSERT_TRUE(launcher->Start(kMessageRecording, u""));
    launcher->SetEnabled(kMessageRecording, 1);
    EXPECT_TRUE(launcher->Start(kMessageRecording, u""));
    EXPECT_EQ(Launched(), std::vector{kShowRecording});
}

TEST_F(MessageProgramLauncherTest, ProgramThatEndedByItselfBlocksANewStartUntilItIsStopped) {
    launcher->SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    session.Program(0)->Exit(0);
    launcher->SetEnabled(kMessageLogReady, 1);
    EXPECT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    EXPECT_EQ(session.Programs().size(), 1u);

    launcher->Stop(kMessageLogReady);
    EXPECT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    EXPECT_EQ(Launched(), (std::vector{kShowLogReady, kCloseLogReady, kShowLogReady}));
}

TEST_F(MessageProgramLauncherTest, WatcherThatCannotStartLeavesTheKindEnabledForTheNextStart) {
    launcher->SetEnabled(kMessageRecording, 1);
    kernel.failThreads = true;
    EXPECT_FALSE(launcher->Start(kMessageRecording, u""));
    kernel.failThreads = false;
    EXPECT_TRUE(launcher->Start(kMessageRecording, u""));
    EXPECT_EQ(Launched(), (std::vector{kShowRecording, kShowRecording}));
}

TEST_F(MessageProgramLauncherTest, StopSendsTheCloseCommandAndTheObedientProgramIsNotTerminated) {
    launcher->SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    launcher->Stop(kMessageLogReady);

    EXPECT_EQ(Launched(), (std::vector{kShowLogReady, kCloseLogReady}));
    const auto program = session.Program(0);
    EXPECT_TRUE(program->Ended());
    EXPECT_FALSE(program->TerminatedWith().has_value());
    EXPECT_TRUE(session.Program(1)->Ended());
}

TEST_F(MessageProgramLauncherTest, ProgramIgnoringTheCloseCommandIsTerminatedAfterTwoSeconds) {
    session.IgnoreCloseCommand(true);
    launcher->SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    launcher->Stop(kMessageLogReady);

    const auto program = session.Program(0);
    EXPECT_EQ(program->TimedWaits(), std::vector<uint32_t>{2000});
    EXPECT_EQ(program->TerminatedWith(), 0u);
}

TEST_F(MessageProgramLauncherTest, CloseGraceComesFromTheConstructor) {
    session.IgnoreCloseCommand(true);
    platform::MessageProgramLauncher quick(
        session, kernel, [] {}, 5);
    quick.SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(quick.Start(kMessageLogReady, kLogPath));
    quick.Stop(kMessageLogReady);
    EXPECT_EQ(session.Program(0)->TimedWaits(), std::vector<uint32_t>{5});
}

TEST_F(MessageProgramLauncherTest, CloseCommandThatCannotStartStillEndsTheProgram) {
    launcher->SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    session.SetNobodyLoggedOn(true);
    launcher->Stop(kMessageLogReady);

    EXPECT_EQ(Launched(), (std::vector{kShowLogReady, kCloseLogReady}));
    EXPECT_EQ(session.Program(0)->TerminatedWith(), 0u);
}

TEST_F(MessageProgramLauncherTest, StopWithoutRunningProgramLaunchesNothing) {
    launcher->Stop(kMessageLogReady);
    launcher->SetEnabled(kMessageLogReady, 1);
    launcher->Stop(kMessageLogReady);
    EXPECT_TRUE(Launched().empty());
}

TEST_F(MessageProgramLauncherTest, KindOneExitCodeOneStopsTheRecording) {
    std::promise<void> requested;
    platform::MessageProgramLauncher watched(session, kernel, [&] { requested.set_value(); });
    watched.SetEnabled(kMessageRecording, 1);
    ASSERT_TRUE(watched.Start(kMessageRecording, u""));
    session.Program(0)->Exit(1);
    EXPECT_EQ(requested.get_future().wait_for(kPatience), std::future_status::ready);
    watched.Stop(kMessageRecording);
}

struct ExitCase {
    int32_t kind;
    uint32_t exitCode;
    bool unreadable;
};

class ExitThatDoesNotStopTheRecording : public MessageProgramLauncherTest,
                                        public ::testing::WithParamInterface<ExitCase> {};

TEST_P(ExitThatDoesNotStopTheRecording, LeavesTheRecordingRunning) {
    const ExitCase exit = GetParam();
    launcher->SetEnabled(exit.kind, 1);
    ASSERT_TRUE(launcher->Start(exit.kind, u""));
    if (exit.unreadable) {
        session.Program(0)->MakeExitCodeUnreadable();
    }
    session.Program(0)->Exit(exit.exitCode);
    launcher->Stop(exit.kind); // returns once the watcher has finished
    EXPECT_EQ(stopRequests.load(), 0);
}

INSTANTIATE_TEST_SUITE_P(OtherCodesKindsAndUnreadableCodes, ExitThatDoesNotStopTheRecording,
                         ::testing::Values(ExitCase{kMessageRecording, 0, false},
                                           ExitCase{kMessageRecording, 2, false},
                                           ExitCase{kMessageRecording, 0xFFFFFFFF, false},
                                           ExitCase{kMessageRecording, 1, true},
                                           ExitCase{kMessageLogReady, 1, false}));

TEST_F(MessageProgramLauncherTest, ProgramTerminatedByStopDoesNotStopTheRecording) {
    session.IgnoreCloseCommand(true);
    launcher->SetEnabled(kMessageRecording, 1);
    ASSERT_TRUE(launcher->Start(kMessageRecording, u""));
    launcher->Stop(kMessageRecording);
    EXPECT_EQ(stopRequests.load(), 0);
}

TEST_F(MessageProgramLauncherTest, StopCalledOnTheWatcherThreadDoesNotWaitForItself) {
    std::promise<void> stopped;
    platform::MessageProgramLauncher* self = nullptr;
    platform::MessageProgramLauncher watched(session, kernel, [&] {
        self->Stop(kMessageRecording);
        stopped.set_value();
    });
    self = &watched;
    watched.SetEnabled(kMessageRecording, 1);
    ASSERT_TRUE(watched.Start(kMessageRecording, u""));
    session.Program(0)->Exit(1);
    ASSERT_EQ(stopped.get_future().wait_for(kPatience), std::future_status::ready);

    EXPECT_EQ(Launched(), (std::vector{kShowRecording, kCloseRecording}));
    watched.SetEnabled(kMessageRecording, 1);
    EXPECT_TRUE(watched.Start(kMessageRecording, u""));
}

TEST_F(MessageProgramLauncherTest, WatcherMayCloseItsKindAndShowTheLogReadyMessage) {
    std::promise<void> shown;
    platform::MessageProgramLauncher* self = nullptr;
    platform::MessageProgramLauncher watched(session, kernel, [&] {
        self->Stop(kMessageRecording);
        self->Start(kMessageLogReady, kLogPath);
        shown.set_value();
    });
    self = &watched;
    watched.SetEnabled(kMessageRecording, 1);
    watched.SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(watched.Start(kMessageRecording, u""));
    session.Program(0)->Exit(1);
    ASSERT_EQ(shown.get_future().wait_for(kPatience), std::future_status::ready);

    EXPECT_EQ(Launched(), (std::vector{kShowRecording, kCloseRecording, kShowLogReady}));
    EXPECT_FALSE(session.Program(2)->Ended());
}

TEST_F(MessageProgramLauncherTest, SecondStopDuringAStopReturnsAtOnce) {
    std::promise<void> closeSent;
    std::shared_future<void> closing = closeSent.get_future().share();
    session.WhenLaunching([&](const std::u16string& commandLine) {
        if (commandLine == kCloseRecording) {
            closeSent.set_value();
        }
    });
    platform::MessageProgramLauncher* self = nullptr;
    platform::MessageProgramLauncher watched(session, kernel, [&] {
        closing.wait();
        self->Stop(kMessageRecording);
    });
    self = &watched;
    watched.SetEnabled(kMessageRecording, 1);
    ASSERT_TRUE(watched.Start(kMessageRecording, u""));
    session.Program(0)->Exit(1);
    watched.Stop(kMessageRecording);

    EXPECT_EQ(Launched(), (std::vector{kShowRecording, kCloseRecording}));
}

TEST_F(MessageProgramLauncherTest, KindsKeepSeparateEntries) {
    launcher->SetEnabled(kMessageRecording, 1);
    launcher->SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(launcher->Start(kMessageRecording, u""));
    ASSERT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    launcher->Stop(kMessageLogReady);

    EXPECT_FALSE(session.Program(0)->Ended());
    EXPECT_TRUE(session.Program(1)->Ended());
    EXPECT_EQ(launcher->ProcessId(kMessageRecording), session.Program(0)->Id());
}

TEST_F(MessageProgramLauncherTest, TextWithADoubleQuoteIsRefusedAndLaunchesNothing) {
    launcher->SetEnabled(kMessageLogReady, 1);
    EXPECT_FALSE(launcher->Start(kMessageLogReady, u"C:\\a.rml\" -Q -X:\"1"));
    EXPECT_TRUE(Launched().empty());
    EXPECT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
}

TEST_F(MessageProgramLauncherTest, DestroyingTheLauncherClosesEveryProgramStillWatched) {
    launcher->SetEnabled(kMessageRecording, 1);
    launcher->SetEnabled(kMessageLogReady, 1);
    ASSERT_TRUE(launcher->Start(kMessageRecording, u""));
    ASSERT_TRUE(launcher->Start(kMessageLogReady, kLogPath));
    launcher.reset();

    EXPECT_EQ(Launched(),
              (std::vector{kShowRecording, kShowLogReady, kCloseRecording, kCloseLogReady}));
    EXPECT_TRUE(session.Program(0)->Ended());
    EXPECT_TRUE(session.Program(1)->Ended());
}

} // namespace
