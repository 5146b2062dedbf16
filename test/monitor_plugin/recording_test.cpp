// The recording commands 17 to 22 and the recorder's callbacks, natively: the sampling thread runs
// for real and samples through the plug-in's own requests.
#include "plugin_fixture.h"

#include <bit>
#include <cstring>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using VelmorValueSet::Kind;

constexpr uint32_t kUiPid = 4242;
constexpr int64_t kStartTime = 1'795'000'123;
constexpr GUID kMonitorTypeId = {
    0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}};

class RecordingTest : public PluginFixture {
protected:
    void SetUp() override {
        // Intel whose tuning utility never becomes ready: the CPU items record 0.
        machine.xtu.Change([](auto& a) { a.InitializeResult = false; });
        ASSERT_EQ(plugin->Initialize(), 0);
        machine.uiProcesses.Launch(kUiPid);
        machine.clock.SetSecondsSince1970(kStartTime);
    }

    ValueSet Start(int32_t capacity, int32_t interval, uint32_t pid = kUiPid) {
        ValueSet request;
        request.SetInt32("Command", 17);
        request.SetUInt32("UIPid", pid);
        request.SetInt32("Capacity", capacity);
        request.SetInt32("Interval", interval);
        return Send(request);
    }
    ValueSet Recording(int32_t command, int32_t serial, HRESULT* result = nullptr) {
        ValueSet request;
        request.SetInt32("Command", command);
        request.SetInt32("RecordSN", serial);
        return Send(request, result);
    }
    ValueSet Read(int32_t serial, int32_t round, int32_t count, HRESULT* result = nullptr) {
        ValueSet request;
        request.SetInt32("Command", 18);
        request.SetInt32("RecordSN", serial);
        request.SetInt32("Round", round);
        request.SetInt32("Count", count);
        return Send(request, result);
    }
    ValueSet StartLogging(int32_t serial, const std::u16string& path) {
        ValueSet request;
        request.SetInt32("Command", 19);
        request.SetInt32("RecordSN", serial);
        request.SetString("Path", path);
        return Send(request);
    }
    static int32_t Serial() { return static_cast<int32_t>(kStartTime); }
    // Item i of the record that a one-record page holds.
    static double ItemOf(const ValueSet& answer, std::size_t item) {
        const auto page = answer.FindMap("RecordDataPages")->GetBlock("RecordDataPage[0]");
        double value = 0.0;
        std::memcpy(&value, page.data() + item * sizeof(double), sizeof value);
        return value;
    }
};

TEST_F(RecordingTest, commands_18_to_21_without_a_recorder_answer_minus_2) {
    for (const int32_t command : {18, 19, 20, 21}) {
        const ValueSet answer = Recording(command, 0);
        EXPECT_EQ(answer.GetInt32("Command"), command);
        EXPECT_EQ(answer.GetInt32("Result"), -2) << command;
    }
}

TEST_F(RecordingTest, command_17_describes_the_ten_items_and_answers_the_serial_number) {
    const ValueSet answer = Start(600, 1000);
    EXPECT_EQ(answer.GetInt32("Command"), 17);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    const ValueSet* record = answer.FindMap("Record");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->GetInt32("RecordItemCount"), 10);
    EXPECT_EQ(record->Find("RecordSN")->GetKind(), Kind::Int32);
    EXPECT_EQ(record->GetInt32("RecordSN"), Serial());
    const uint32_t ids[] = {0x10000, 0x10001, 0x10002, 0x20000, 0x20001,
                            0x20002, 0x40000, 0x80000, 0x80001, 0x80002};
    // The simulated adapter reports no maxima: the GPU tops are 0.
    const double maxima[] = {6000.0, 100.0, 100.0, 0.0, 0.0, 0.0, 16384.0, 100.0};
    for (int i = 0; i < 10; ++i) {
        const ValueSet* item = record->FindMap("RecordItem[" + std::to_string(i) + "]");
        ASSERT_NE(item, nullptr) << i;
        EXPECT_EQ(item->Find("ID")->GetKind(), Kind::Int32);
        EXPECT_EQ(static_cast<uint32_t>(item->GetInt32("ID")), ids[i]);
        EXPECT_EQ(item->GetDouble("Min"), 0.0);
        if (i < 8) {
            EXPECT_EQ(item->GetDouble("Max"), maxima[i]) << i;
        } else {
            EXPECT_EQ(std::bit_cast<uint64_t>(item->GetDouble("Max")), 0xFFF8000000000000u);
        }
    }
}

TEST_F(RecordingTest, command_17_takes_the_gpu_tops_from_the_adapters_maxima) {
    machine.adapters.Change([](auto& a) { a.Device->Max = {2100, 8000, 1100, 100, 87}; });
    const ValueSet answer = Start(600, 1000);
    const ValueSet* record = answer.FindMap("Record");
    EXPECT_EQ(record->FindMap("RecordItem[3]")->GetDouble("Max"), 2100.0);
    EXPECT_EQ(record->FindMap("RecordItem[4]")->GetDouble("Max"), 87.0);
    EXPECT_EQ(record->FindMap("RecordItem[5]")->GetDouble("Max"), 100.0);
    Recording(22, 0); // the samples make devices too
    EXPECT_EQ(machine.adapters.Created(), machine.adapters.Destroyed());
}

TEST_F(RecordingTest, an_adapter_of_another_type_leaves_the_gpu_tops_0) {
    machine.adapters.Change([](auto& a) {
        a.Device->Max = {2100, 8000, 1100, 100, 87};
        a.Device->Type = 2;
    });
    const ValueSet answer = Start(600, 1000);
    EXPECT_EQ(answer.FindMap("Record")->FindMap("RecordItem[3]")->GetDouble("Max"), 0.0);
}

TEST_F(RecordingTest, a_device_that_cannot_be_made_is_logged_and_the_recording_starts) {
    machine.adapters.Change([](auto& a) { a.CreateCode = static_cast<int32_t>(0x80004005u); });
    const ValueSet answer = Start(600, 1000);
    EXPECT_TRUE(host.Logged(3, "CreateDevice Failed:0x80004005"));
    EXPECT_EQ(answer.FindMap("Record")->FindMap("RecordItem[5]")->GetDouble("Max"), 0.0);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
}

TEST_F(RecordingTest, interval_0_or_capacity_0_answers_minus_1) {
    EXPECT_EQ(Start(600, 0).GetInt32("Result"), -1);
    EXPECT_EQ(Start(0, 1000).GetInt32("Result"), -1);
    EXPECT_EQ(Start(0, 1000).FindMap("Record")->GetInt32("RecordSN"), 0);
}

TEST_F(RecordingTest, a_user_interface_that_cannot_be_opened_answers_minus_1) {
    EXPECT_EQ(Start(600, 1000, 7).GetInt32("Result"), -1);
}

TEST_F(RecordingTest, command_18_after_a_failed_start_answers_minus_4) {
    ASSERT_EQ(Start(600, 0).GetInt32("Result"), -1);
    EXPECT_EQ(Read(0, 0, 1).GetInt32("Result"), -4);
}

TEST_F(RecordingTest, a_stale_serial_number_answers_minus_3_while_a_recorder_exists) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    for (const int32_t command : {18, 19, 20, 21}) {
        EXPECT_EQ(Recording(command, Serial() - 1).GetInt32("Result"), -3) << command;
    }
}

TEST_F(RecordingTest, data_updated_events_carry_consecutive_rounds_and_the_serial_number) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(2));
    Recording(22, 0);
    const auto updates = host.DataUpdates();
    ASSERT_GE(updates.size(), 3u);
    for (std::size_t i = 0; i < updates.size(); ++i) {
        EXPECT_EQ(updates[i].GetInt32("Round"), static_cast<int32_t>(i));
        EXPECT_EQ(updates[i].GetInt32("RecordSN"), Serial());
        EXPECT_EQ(updates[i].Find("Round")->GetKind(), Kind::Int32);
        EXPECT_EQ(updates[i].Find("RecordSN")->GetKind(), Kind::Int32);
        EXPECT_EQ(updates[i].Count(), 3u);
    }
}

TEST_F(RecordingTest, data_updated_events_are_relayed_to_the_user_interface_role) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(0));
    Recording(22, 0);
    for (const auto& request : host.Requests()) {
        const ValueSet body = request.Body();
        if (body.GetString("Cmd") != u"SendRequest") {
            continue;
        }
        EXPECT_EQ(request.target, kMonitorTypeId);
        EXPECT_EQ(request.header[0], 0xE1);
        EXPECT_EQ(request.header[1], 2); // from the service instance
        EXPECT_EQ(request.header[2], 1); // to the user interface
        EXPECT_EQ(body.FindMap("Request")->GetUInt32("Destination"), 1u);
    }
}

TEST_F(RecordingTest, a_sample_is_the_snapshot_of_commands_1_and_3) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(0));
    const ValueSet answer = Read(Serial(), 0, 1);
    ASSERT_EQ(answer.GetInt32("Result"), 0);
    // Intel without its tuning utility: the placeholder set has no "Core0", so the CPU items
    // are 0; used memory is total less available.
    for (const std::size_t item : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u}) {
        EXPECT_EQ(ItemOf(answer, item), 0.0) << item;
    }
    EXPECT_EQ(ItemOf(answer, 6), 16384.0 - 8192.0);
}

TEST_F(RecordingTest, the_first_sample_records_no_disk_activity_as_a_rate_needs_two_samples) {
    const char16_t* disk[] = {u"\\PhysicalDisk(_Total)\\% Disk Time",
                              u"\\PhysicalDisk(_Total)\\Disk Read Bytes/sec",
                              u"\\PhysicalDisk(_Total)\\Disk Write Bytes/sec"};
    // The counters exist, but a rate counter has no value from its first sample.
    for (const char16_t* path : disk) {
        machine.counters.SetValue(path, 3000.0);
        machine.counters.FailRead(path, 0xC0000BC6); // PDH_CSTATUS_INVALID_DATA
    }
    // One sample only: the next is a minute away.
    ASSERT_EQ(Start(600, 60000).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(0));
    const ValueSet first = Read(Serial(), 0, 1);
    ASSERT_EQ(first.GetInt32("Result"), 0);
    for (const std::size_t item : {7u, 8u, 9u}) {
        EXPECT_EQ(ItemOf(first, item), 0.0) << item;
    }

    // From the second sample on the same query forms the rates.
    for (const char16_t* path : disk) {
        machine.counters.FailRead(path, 0);
    }
    const ValueSet second = Command(3);
    EXPECT_EQ(second.GetUInt64("Result"), 0u);
    EXPECT_EQ(second.GetDouble("DiskActiveTimeCounter"), 3000.0);
    EXPECT_EQ(second.GetDouble("DiskReadSpeedCounter"), 3.0);
}

TEST_F(RecordingTest, the_sampler_asks_commands_1_and_3_through_the_request_path) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(1));
    Recording(22, 0);
    const auto lines = host.LinesAt(6);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Monitor Plugin - Command 1 "), lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Monitor Plugin - Command 3 "), lines.end());
}

TEST_F(RecordingTest, command_18_with_1200_records_gives_a_full_page_and_an_empty_last_page) {
    ASSERT_EQ(Start(1200, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(1199));
    const ValueSet answer = Read(Serial(), 1199, 1200);
    EXPECT_EQ(answer.GetInt32("Command"), 18);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    const ValueSet* pages = answer.FindMap("RecordDataPages");
    ASSERT_NE(pages, nullptr);
    EXPECT_EQ(pages->GetInt32("RecordDataSectionCount"), 600);
    EXPECT_EQ(pages->GetInt32("RecordDataPageCount"), 2);
    EXPECT_EQ(pages->GetBlock("RecordDataPage[0]").size(), 48000u);
    ASSERT_NE(pages->Find("RecordDataPage[1]"), nullptr);
    EXPECT_EQ(pages->Find("RecordDataPage[1]")->GetKind(), Kind::Binary);
    EXPECT_EQ(pages->GetBlock("RecordDataPage[1]").size(), 0u);
    EXPECT_EQ(pages->Count(), 4u);
}

TEST_F(RecordingTest, command_18_with_1201_records_gives_three_pages_the_last_of_one_record) {
    ASSERT_EQ(Start(1201, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(1200));
    const ValueSet answer = Read(Serial(), 1200, 1201);
    const ValueSet* pages = answer.FindMap("RecordDataPages");
    ASSERT_NE(pages, nullptr);
    EXPECT_EQ(pages->GetInt32("RecordDataPageCount"), 3);
    EXPECT_EQ(pages->GetBlock("RecordDataPage[0]").size(), 48000u);
    EXPECT_EQ(pages->GetBlock("RecordDataPage[1]").size(), 48000u);
    EXPECT_EQ(pages->GetBlock("RecordDataPage[2]").size(), 80u);
}

TEST_F(RecordingTest, command_18_for_more_than_the_recording_holds_writes_only_its_pages) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(0));
    const ValueSet answer = Read(Serial(), 0, 1800);
    const ValueSet* pages = answer.FindMap("RecordDataPages");
    ASSERT_NE(pages, nullptr);
    EXPECT_EQ(pages->GetInt32("RecordDataPageCount"), 3);
    EXPECT_EQ(pages->GetBlock("RecordDataPage[0]").size(), 48000u);
    EXPECT_FALSE(pages->Contains("RecordDataPage[1]"));
}

TEST_F(RecordingTest, command_18_with_a_negative_count_copies_nothing) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    const ValueSet answer = Read(Serial(), 0, -5);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    EXPECT_EQ(answer.FindMap("RecordDataPages")->GetBlock("RecordDataPage[0]").size(), 0u);
}

TEST_F(RecordingTest, a_round_past_the_next_record_answers_an_error_and_the_plugin_goes_on) {
    ASSERT_EQ(Start(600, 100000).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(0)); // one record: the next to be written is round 1
    HRESULT result = 0;
    const ValueSet answer = Read(Serial(), 5, 1, &result);
    EXPECT_EQ(result, kBadCommandResult);
    EXPECT_EQ(answer.Count(), 1u);
    EXPECT_EQ(answer.GetString("Error"), u"round is invlid");
    EXPECT_TRUE(host.Logged(6, "ProcessRequest : End"));
    EXPECT_EQ(Read(Serial(), 0, 1).GetInt32("Result"), 0);
    EXPECT_EQ(Command(16).GetInt32("Phase"), 2);
}

TEST_F(RecordingTest, command_19_logs_to_the_file_and_shares_the_stop_logging_event) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.messagePrograms.Clear();
    const ValueSet answer = StartLogging(Serial(), u"C:\\rec.rml");
    EXPECT_EQ(answer.GetInt32("Command"), 19);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    EXPECT_EQ(answer.Find("StopLoggingEvent")->GetKind(), Kind::Int64);
    EXPECT_NE(answer.GetUInt64("StopLoggingEvent"), 0u);
    EXPECT_EQ(machine.logFiles.Contents(u"C:\\rec.rml").size(), 256u);
    EXPECT_THAT(machine.messagePrograms.Calls(), ElementsAre("stop 2", "enable 1 1", "enable 2 1"));
}

TEST_F(RecordingTest, command_19_without_a_shared_event_writes_no_handle_and_disables_messages) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.uiProcesses.FailSharing(true);
    machine.messagePrograms.Clear();
    const ValueSet answer = StartLogging(Serial(), u"C:\\rec.rml");
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    EXPECT_FALSE(answer.Contains("StopLoggingEvent"));
    EXPECT_THAT(machine.messagePrograms.Calls(), ElementsAre("stop 2", "enable 1 0", "enable 2 0"));
}

TEST_F(RecordingTest, command_19_refused_by_the_recorder_answers_minus_5) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.logFiles.FailCreate(true);
    EXPECT_EQ(StartLogging(Serial(), u"C:\\rec.rml").GetInt32("Result"), -5);
}

TEST_F(RecordingTest, command_19_creates_the_file_as_the_user_interfaces_user) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    ASSERT_EQ(StartLogging(Serial(), u"C:\\rec.rml").GetInt32("Result"), 0);
    EXPECT_EQ(machine.uiProcesses.Impersonations(), 1);
    EXPECT_EQ(machine.uiProcesses.Reverts(), 1);
}

TEST_F(RecordingTest, command_19_with_a_device_or_global_root_path_answers_minus_5) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    for (const std::u16string path : {u"\\\\.\\PhysicalDrive0", u"\\\\?\\GLOBALROOT\\Device\\Null",
                                      u"\\??\\C:\\rec.rml", u"C:\\logs\\NUL"}) {
        const ValueSet answer = StartLogging(Serial(), path);
        EXPECT_EQ(answer.GetInt32("Result"), -5);
        EXPECT_FALSE(answer.Contains("StopLoggingEvent"));
        EXPECT_FALSE(machine.logFiles.Exists(path));
    }
    EXPECT_EQ(machine.uiProcesses.Impersonations(), 0);
}

class CommandNineteenFromAnotherUser
    : public RecordingTest,
      public ::testing::WithParamInterface<sim::FakeUiProcesses::User> {};

TEST_P(CommandNineteenFromAnotherUser, answers_minus_5_and_creates_no_file) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.uiProcesses.SetUser(kUiPid, GetParam());
    const ValueSet answer = StartLogging(Serial(), u"C:\\rec.rml");
    EXPECT_EQ(answer.GetInt32("Command"), 19);
    EXPECT_EQ(answer.GetInt32("Result"), -5);
    EXPECT_FALSE(machine.logFiles.IsOpen(u"C:\\rec.rml"));
}

INSTANTIATE_TEST_SUITE_P(OutsideTheConsoleUsersSession, CommandNineteenFromAnotherUser,
                         ::testing::Values(sim::FakeUiProcesses::User::OtherSession,
                                           sim::FakeUiProcesses::User::OtherUser,
                                           sim::FakeUiProcesses::User::UnreadableToken,
                                           sim::FakeUiProcesses::User::ImpersonationFails,
                                           sim::FakeUiProcesses::User::RevertFails));

TEST_F(RecordingTest, command_20_ends_the_log_and_the_log_ready_message_shows_the_file) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    ASSERT_EQ(StartLogging(Serial(), u"C:\\rec.rml").GetInt32("Result"), 0);
    machine.messagePrograms.Clear();
    const ValueSet answer = Recording(20, Serial());
    EXPECT_EQ(answer.GetInt32("Command"), 20);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    EXPECT_THAT(machine.messagePrograms.Calls(), ElementsAre("stop 1", "start 2 C:\\rec.rml"));
    EXPECT_FALSE(machine.logFiles.IsOpen(u"C:\\rec.rml"));
}

TEST_F(RecordingTest, a_log_asked_for_after_a_failed_start_is_refused_and_command_20_tells_no_one) {
    // The failed start leaves a recorder with serial number 0, which a request without "RecordSN"
    // names; it has no user interface whose user could own a log file, so none is created, and
    // command 20 has no recording to report an end to.
    ASSERT_EQ(Start(0, 1000).GetInt32("Result"), -1);
    EXPECT_EQ(StartLogging(0, u"C:\\idle.rml").GetInt32("Result"), -5);
    EXPECT_FALSE(machine.logFiles.IsOpen(u"C:\\idle.rml"));
    machine.messagePrograms.Clear();
    EXPECT_EQ(Recording(20, 0).GetInt32("Result"), 0);
    EXPECT_TRUE(machine.messagePrograms.Calls().empty());
}

TEST_F(RecordingTest, command_21_shows_the_recording_message) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.messagePrograms.Clear();
    const ValueSet answer = Recording(21, Serial());
    EXPECT_EQ(answer.GetInt32("Command"), 21);
    EXPECT_EQ(answer.GetInt32("Result"), 0);
    EXPECT_THAT(machine.messagePrograms.Calls(), ElementsAre("start 1"));
}

TEST_F(RecordingTest, after_command_22_every_recording_command_answers_minus_2_until_17) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.messagePrograms.Clear();
    const ValueSet ended = Recording(22, 12345);
    EXPECT_EQ(ended.GetInt32("Command"), 22);
    EXPECT_EQ(ended.GetInt32("Result"), 0);
    EXPECT_EQ(machine.messagePrograms.Calls().front(), "stop 2");
    for (const int32_t command : {18, 19, 20, 21}) {
        EXPECT_EQ(Recording(command, Serial()).GetInt32("Result"), -2) << command;
    }
    EXPECT_EQ(Recording(22, 0).GetInt32("Result"), 0);
    machine.clock.SetSecondsSince1970(kStartTime + 10);
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    EXPECT_EQ(Recording(21, Serial() + 10).GetInt32("Result"), 0);
}

TEST_F(RecordingTest, a_new_recording_makes_the_old_serial_number_stale) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.clock.SetSecondsSince1970(kStartTime + 60);
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    EXPECT_EQ(Recording(20, Serial()).GetInt32("Result"), -3);
    EXPECT_EQ(Recording(20, Serial() + 60).GetInt32("Result"), 0);
}

TEST_F(RecordingTest, the_user_interface_ending_ends_the_recording_and_its_serial_goes_stale) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    ASSERT_TRUE(host.WaitForRound(0));
    machine.uiProcesses.End(kUiPid);
    // The recording ends within one interval; until then the serial still matches.
    for (int attempt = 0; attempt < 10000; ++attempt) {
        if (Recording(21, Serial()).GetInt32("Result") == -3) {
            break;
        }
        machine.kernel.Sleep(1);
    }
    EXPECT_EQ(Read(Serial(), 0, 1).GetInt32("Result"), -3);
}

TEST_F(RecordingTest, uninitialize_ends_the_session_and_stops_the_log_ready_message) {
    ASSERT_EQ(Start(600, 1).GetInt32("Result"), 0);
    machine.messagePrograms.Clear();
    plugin->Uninitialize();
    EXPECT_EQ(machine.messagePrograms.Calls().front(), "stop 2");
    plugin->Initialize();
    EXPECT_EQ(Recording(18, Serial()).GetInt32("Result"), -2);
}

TEST_F(RecordingTest, a_device_change_ends_the_recording_and_tells_the_clients) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    plugin->HandleDeviceChangedEvent();
    EXPECT_EQ(Recording(18, Serial()).GetInt32("Result"), -2);
    const auto notifications = host.Notifications();
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].code, 1);
    EXPECT_EQ(notifications[0].Body().GetString("RequestRole"), u"DeviceChangedEvent");
    EXPECT_TRUE(host.Logged(1, "HandleDeviceChangedEvent Begin"));
    EXPECT_TRUE(host.Logged(1, "HandleDeviceChangedEvent End"));
}

TEST_F(RecordingTest, a_device_change_on_an_unused_product_keeps_the_recording) {
    ASSERT_EQ(Start(600, 1000).GetInt32("Result"), 0);
    machine.helper.Change([](auto& a) { a.HasBeenUsed = 0; });
    plugin->HandleDeviceChangedEvent();
    EXPECT_EQ(Recording(21, Serial()).GetInt32("Result"), 0);
    EXPECT_TRUE(host.Notifications().empty());
    EXPECT_FALSE(host.Logged(1, "HandleDeviceChangedEvent End"));
}

} // namespace
