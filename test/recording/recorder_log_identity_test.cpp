// Who the recording's log file is created as: the user of the user interface's process, only
// when that process runs in the console session as its user, and only for a path of a file.
#include "recorder_probe.h"
#include "recording/log_path.h"
#include "recording/monitor_recorder.h"
#include "sim/fake_clock.h"
#include "sim/fake_ui_processes.h"
#include "sim/memory_log_files.h"
#include "sim/native_kernel_objects.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kUiPid = 4242;
const std::u16string kLogPath = u"C:\\Logs\\recording.rml";

using User = sim::FakeUiProcesses::User;

// The memory files, noting as whom each file was created.
class CreatorNotingLogFiles final : public ports::LogFiles {
public:
    explicit CreatorNotingLogFiles(ports::LogFiles& files) : files_(files) {}
    std::unique_ptr<ports::LogFile> Create(const std::u16string& path) override {
        creators.push_back(sim::FakeUiProcesses::ImpersonatedOnThisThread());
        return files_.Create(path);
    }
    std::vector<uint32_t> creators;

private:
    ports::LogFiles& files_;
};

class RecorderLogIdentityTest : public ::testing::Test {
protected:
    void SetUp() override {
        uiProcesses.Launch(kUiPid);
        recorder = MonitorRecorder::Create({kernel, clock, uiProcesses, files});
        ASSERT_NE(recorder, nullptr);
        // A long interval: no sample is logged while the test looks.
        ASSERT_NE(recorder->Start(kUiPid, 600, 60'000, items.data(), &RecorderProbe::Sampling,
                                  &RecorderProbe::Round, &probe),
                  0);
    }
    void TearDown() override {
        probe.Open();
        recorder.reset();
    }
    bool StartLogging(const std::u16string& path = kLogPath) {
        return recorder->StartLogging(path, nullptr, &RecorderProbe::LogFinished);
    }

    sim::NativeKernelObjects kernel;
    sim::FakeClock clock;
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles memoryFiles{kernel};
    CreatorNotingLogFiles files{memoryFiles};
    RecorderProbe probe;
    std::array<RecordItemInfo, kRecordItemCount> items = RecorderProbe::Items();
    std::unique_ptr<MonitorRecorder> recorder;
};

TEST_F(RecorderLogIdentityTest, the_file_is_created_as_the_user_interfaces_user_then_reverted) {
    ASSERT_TRUE(StartLogging());
    EXPECT_EQ(files.creators, std::vector<uint32_t>{kUiPid});
    EXPECT_EQ(uiProcesses.Impersonations(), 1);
    EXPECT_EQ(uiProcesses.Reverts(), 1);
    EXPECT_EQ(sim::FakeUiProcesses::ImpersonatedOnThisThread(), 0u);
    EXPECT_EQ(memoryFiles.Contents(kLogPath).size(), 256u); // the header, written as the service
}

TEST_F(RecorderLogIdentityTest, a_file_that_cannot_be_created_is_still_reverted) {
    memoryFiles.FailCreate(true);
    EXPECT_FALSE(StartLogging());
    EXPECT_EQ(uiProcesses.Reverts(), 1);
    EXPECT_EQ(sim::FakeUiProcesses::ImpersonatedOnThisThread(), 0u);
}

class RefusedUser : public RecorderLogIdentityTest, public ::testing::WithParamInterface<User> {};

TEST_P(RefusedUser, creates_no_file) {
    uiProcesses.SetUser(kUiPid, GetParam());
    EXPECT_FALSE(StartLogging());
    EXPECT_TRUE(files.creators.empty());
    EXPECT_FALSE(memoryFiles.Exists(kLogPath));
}

INSTANTIATE_TEST_SUITE_P(OutsideTheConsoleUsersSession, RefusedUser,
                         ::testing::Values(User::OtherSession, User::OtherUser,
                                           User::UnreadableToken, User::ImpersonationFails));

TEST_F(RecorderLogIdentityTest, a_refused_revert_refuses_the_log_and_closes_the_file) {
    uiProcesses.SetUser(kUiPid, User::RevertFails);
    EXPECT_FALSE(StartLogging());
    EXPECT_EQ(files.creators, std::vector<uint32_t>{kUiPid});
    EXPECT_FALSE(memoryFiles.IsOpen(kLogPath));
}

TEST_F(RecorderLogIdentityTest, a_device_path_is_refused_before_acting_as_the_user) {
    EXPECT_FALSE(StartLogging(u"\\\\.\\PhysicalDrive0"));
    EXPECT_EQ(uiProcesses.Impersonations(), 0);
    EXPECT_TRUE(files.creators.empty());
}

TEST_F(RecorderLogIdentityTest, a_refused_path_still_ends_the_previous_log) {
    ASSERT_TRUE(StartLogging());
    EXPECT_FALSE(StartLogging(u"\\\\?\\GLOBALROOT\\Device\\Null"));
    EXPECT_FALSE(memoryFiles.IsOpen(kLogPath));
}

TEST(LogFilePath, plain_file_paths_are_accepted) {
    for (const std::u16string path :
         {u"C:\\Users\\Ann\\Documents\\monitor.rml", u"C:/Users/Ann/monitor.rml",
          u"\\\\server\\share\\monitor.rml", u"relative\\monitor.rml", u"D:\\console.rml",
          u"C:\\logs\\nullable.rml", u"C:\\logs\\com10.rml", u"C:\\Data\\com\\a.rml"}) {
        EXPECT_TRUE(IsLogFilePath(path)) << std::string(path.begin(), path.end());
    }
}

TEST(LogFilePath, device_namespace_paths_are_refused) {
    for (const std::u16string path :
         {u"\\\\.\\PhysicalDrive0", u"\\\\?\\C:\\monitor.rml", u"\\??\\C:\\monitor.rml",
          u"//./pipe/monitor", u"//?/C:/monitor.rml", u"\\/.\\RavikACPI", u"\\\\.", u"\\\\?"}) {
        EXPECT_FALSE(IsLogFilePath(path)) << std::string(path.begin(), path.end());
    }
}

TEST(LogFilePath, global_root_paths_are_refused) {
    for (const std::u16string path :
         {u"\\\\?\\GLOBALROOT\\Device\\HarddiskVolume1\\x.rml", u"\\\\.\\globalroot\\device\\null",
          u"C:\\GlobalRoot\\x.rml"}) {
        EXPECT_FALSE(IsLogFilePath(path)) << std::string(path.begin(), path.end());
    }
}

TEST(LogFilePath, reserved_device_names_are_refused_as_any_component) {
    for (const std::u16string path :
         {u"NUL", u"C:\\logs\\nul.rml", u"C:\\logs\\CON", u"C:\\logs\\com1.txt", u"lpt9",
          u"C:\\logs\\CONOUT$", u"C:\\aux\\x.rml", u"C:\\logs\\prn .rml", u"C:\\logs\\nul:x"}) {
        EXPECT_FALSE(IsLogFilePath(path)) << std::string(path.begin(), path.end());
    }
}

TEST(LogFilePath, empty_paths_and_paths_with_a_null_are_refused) {
    EXPECT_FALSE(IsLogFilePath(u""));
    EXPECT_FALSE(IsLogFilePath(std::u16string(u"C:\\a.rml\0\\\\.\\x", 14)));
}

} // namespace
