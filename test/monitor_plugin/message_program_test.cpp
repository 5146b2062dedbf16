// The message programs as the plug-in drives them through commands 19 to 22, on the real launcher
// over the simulated user session: the kind-1 program's exit code 1 is the user's request to stop
// the recording.
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "platform/message_program_launcher.h"
#include "plugin_frame/value_set.h"
#include "sim/fake_user_session.h"
#include "sim_machine.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using VelmorValueSet::ValueSet;

constexpr uint32_t kUiPid = 4242;
constexpr int64_t kStartTime = 1'795'000'123;
constexpr int32_t kSerial = static_cast<int32_t>(kStartTime);
const std::u16string kLogPath = u"C:\\Logs\\monitor.rml";
const std::u16string kProgram = u"\"C:\\Plugins\\QUILLON Message.exe\" ";
const std::u16string kShowRecording = kProgram + u"-T:\"1\"";
const std::u16string kCloseRecording = kProgram + u"-T:\"1\" -Q";
const std::u16string kShowLogReady = kProgram + u"-T:\"2\" -L:\"C:\\Logs\\monitor.rml\"";
const std::u16string kCloseLogReady = kProgram + u"-T:\"2\" -Q";
// How long a test waits for a watcher thread before calling it lost.
constexpr std::chrono::seconds kPatience{30};

class MessageProgramTest : public ::testing::Test {
protected:
    MessageProgramTest() : plugin(new COrvexMonitorPlugin(0, machine.Ports(launcher))) {
        host.Install(*plugin);
    }
    ~MessageProgramTest() override {
        plugin->Uninitialize();
        plugin->Release();
    }

    void SetUp() override {
        machine.xtu.Change([](auto& a) { a.InitializeResult = false; });
        ASSERT_EQ(plugin->Initialize(), 0);
        machine.uiProcesses.Launch(kUiPid);
        machine.clock.SetSecondsSince1970(kStartTime);
    }

    ValueSet Send(ValueSet& request) {
        ValueSet answer;
        static_cast<IOrvexPlugin*>(plugin)->ProcessRequest(nullptr, &request, &answer);
        return answer;
    }
    int32_t Recording(int32_t command) {
        ValueSet request;
        request.SetInt32("Command", command);
        request.SetInt32("RecordSN", kSerial);
        return Send(request).GetInt32("Result");
    }
    // A recording logged to kLogPath, which enables both message kinds.
    void StartLoggedRecording() {
        ValueSet start;
        start.SetInt32("Command", 17);
        start.SetUInt32("UIPid", kUiPid);
        start.SetInt32("Capacity", 600);
        start.SetInt32("Interval", 1000);
        ASSERT_EQ(Send(start).GetInt32("Result"), 0);
        ValueSet logging;
        logging.SetInt32("Command", 19);
        logging.SetInt32("RecordSN", kSerial);
        logging.SetString("Path", kLogPath);
        ASSERT_EQ(Send(logging).GetInt32("Result"), 0);
    }
    // Resolves once the log-ready message has been launched.
    std::future<void> LogReadyShown() {
        auto shown = std::make_shared<std::promise<void>>();
        session.WhenLaunching([shown](const std::u16string& commandLine) {
            if (commandLine == kShowLogReady) {
                shown->set_value();
            }
        });
        return shown->get_future();
    }

    SimMachine machine;
    sim::FakeUserSession session;
    platform::MessageProgramLauncher launcher{session, machine.kernel,
                                              [this] { machine.recordingStopRequest(); }};
    MonitorHost host{machine.heap};
    COrvexMonitorPlugin* plugin;
};

TEST_F(MessageProgramTest, command_21_shows_the_recording_message_once_logging_enabled_it) {
    EXPECT_EQ(Recording(21), -2);
    StartLoggedRecording();
    ASSERT_EQ(Recording(21), 0);
    EXPECT_EQ(session.CommandLines(), std::vector{kShowRecording});
    EXPECT_FALSE(session.Program(0)->Ended());
}

TEST_F(MessageProgramTest, kind_1_exit_code_1_stops_the_recording_and_shows_the_log) {
    StartLoggedRecording();
    ASSERT_EQ(Recording(21), 0);
    auto shown = LogReadyShown();
    session.Program(0)->Exit(1);
    ASSERT_EQ(shown.wait_for(kPatience), std::future_status::ready);

    EXPECT_EQ(Recording(18), -3); // the recording has stopped; its recorder is still there
    EXPECT_FALSE(machine.logFiles.IsOpen(kLogPath));
    machine.recordingStopRequest.Unbind(); // returns once the stop has run to its end
    EXPECT_EQ(session.CommandLines(),
              (std::vector{kShowRecording, kCloseRecording, kShowLogReady}));
}

TEST_F(MessageProgramTest, kind_1_ending_with_another_code_leaves_the_recording_running) {
    StartLoggedRecording();
    ASSERT_EQ(Recording(21), 0);
    session.Program(0)->Exit(0);
    launcher.Stop(ports::kMessageRecording); // returns once the watcher has finished
    EXPECT_EQ(Recording(20), 0);
}

TEST_F(MessageProgramTest, command_22_closes_the_log_ready_message) {
    StartLoggedRecording();
    ASSERT_EQ(Recording(20), 0);
    ASSERT_EQ(session.Programs().size(), 1u);
    EXPECT_EQ(Recording(22), 0);
    EXPECT_EQ(session.CommandLines(), (std::vector{kShowLogReady, kCloseLogReady}));
    EXPECT_TRUE(session.Program(0)->Ended());
    EXPECT_FALSE(session.Program(0)->TerminatedWith().has_value());
}

TEST_F(MessageProgramTest, log_ready_message_ignoring_the_close_command_is_terminated_by_22) {
    session.IgnoreCloseCommand(true);
    StartLoggedRecording();
    ASSERT_EQ(Recording(20), 0);
    EXPECT_EQ(Recording(22), 0);
    const auto program = session.Program(0);
    EXPECT_EQ(program->TimedWaits(), std::vector<uint32_t>{2000});
    EXPECT_EQ(program->TerminatedWith(), 0u);
}

TEST_F(MessageProgramTest, nobody_logged_on_at_the_console_shows_nothing) {
    session.SetNobodyLoggedOn(true);
    StartLoggedRecording();
    EXPECT_EQ(Recording(21), 0);
    EXPECT_EQ(Recording(20), 0);
    EXPECT_TRUE(session.Programs().empty());
}

TEST_F(MessageProgramTest, a_released_plugin_no_longer_hears_stop_requests) {
    auto* other = new COrvexMonitorPlugin(0, machine.Ports(launcher));
    other->Initialize();
    other->Release();
    machine.recordingStopRequest(); // the released plug-in unbound itself
    EXPECT_EQ(Recording(18), -2);
}

} // namespace
