// The system events the host forwards: power-source and lid reports with their records, resume,
// device changes, the firmware's hotkey message and the client's connection.
#include "workers_fixture.h"

#include <array>
#include <cstring>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr GUID kAcdcPowerSource = {
    0x5D3E9A59, 0xE9D5, 0x4B00, {0xA6, 0xBD, 0xFF, 0x34, 0xFF, 0x51, 0x65, 0x48}};
constexpr GUID kLidSwitchStateChange = {
    0xBA3E0F4D, 0xB817, 0x4094, {0xA2, 0xD1, 0xD5, 0x63, 0x79, 0xE6, 0xA0, 0xF3}};
constexpr GUID kDisplayAdapterClass = {
    0x5B45201D, 0xF2F2, 0x4F3B, {0x85, 0xBB, 0x30, 0xFF, 0x1F, 0x95, 0x35, 0x99}};
constexpr GUID kDisplayDeviceArrivalClass = {
    0x1CA05180, 0xA699, 0x450A, {0x9A, 0x0C, 0xDE, 0x4F, 0xBE, 0x3D, 0xDD, 0x89}};
constexpr GUID kKeyboardClass = {
    0x884B96C3, 0x56EF, 0x11D1, {0xBC, 0x8C, 0x00, 0xA0, 0xC9, 0x14, 0x05, 0xDD}};

constexpr uint32_t kPowerSettingChange = 0x8013;
constexpr uint32_t kDeviceArrival = 0x8000;

// POWERBROADCAST_SETTING with a 32-bit value.
std::array<uint8_t, 24> PowerSetting(const GUID& setting, uint32_t value) {
    std::array<uint8_t, 24> data{};
    const uint32_t length = 4;
    std::memcpy(data.data(), &setting, 16);
    std::memcpy(data.data() + 16, &length, 4);
    std::memcpy(data.data() + 20, &value, 4);
    return data;
}

// DEV_BROADCAST_DEVICEINTERFACE_W with an empty name.
std::array<uint8_t, 32> InterfaceBroadcast(const GUID& cls) {
    std::array<uint8_t, 32> header{};
    const uint32_t size = 32;
    const uint32_t type = 5;
    std::memcpy(header.data(), &size, 4);
    std::memcpy(header.data() + 4, &type, 4);
    std::memcpy(header.data() + 12, &cls, 16);
    return header;
}

class SystemEventsTest : public WorkersFixture {
protected:
    void Report(const GUID& setting, uint32_t value) {
        const auto data = PowerSetting(setting, value);
        EXPECT_EQ(plugin->OnPowerChange(kPowerSettingChange, data.data()), 0);
    }
    void Arrival(const GUID& cls) {
        const auto header = InterfaceBroadcast(cls);
        EXPECT_EQ(plugin->OnDeviceChange(kDeviceArrival, header.data()), 0);
    }
    std::vector<std::pair<uint8_t, std::u16string>> Notified() const {
        std::vector<std::pair<uint8_t, std::u16string>> sent;
        for (const auto& notification : host.Notifications()) {
            sent.emplace_back(notification.code, notification.Body().GetString("RequestRole"));
        }
        return sent;
    }
};

TEST_F(SystemEventsTest, the_first_power_source_report_records_nothing_and_the_second_records) {
    StartReady();
    Report(kAcdcPowerSource, 0);
    EXPECT_TRUE(host.Logged(6, "Filter first GUID_ACDC_POWER_SOURCE"));
    EXPECT_THAT(host.Rows(), IsEmpty());
    Report(kAcdcPowerSource, 1);
    EXPECT_TRUE(host.Logged(6, "GUID_ACDC_POWER_SOURCE : 1"));
    // Written on the host's thread: the row is there when the event returns.
    EXPECT_THAT(Reasons(), ElementsAre(u"15"));
}

TEST_F(SystemEventsTest, power_source_ac_records_14_and_battery_15) {
    StartReady();
    Report(kAcdcPowerSource, 1); // filtered
    Report(kAcdcPowerSource, 0);
    Report(kAcdcPowerSource, 1);
    EXPECT_THAT(Reasons(), ElementsAre(u"14", u"15"));
}

TEST_F(SystemEventsTest, a_short_term_power_source_records_nothing) {
    StartReady();
    Report(kAcdcPowerSource, 0); // filtered
    Report(kAcdcPowerSource, 2);
    EXPECT_TRUE(host.Logged(6, "GUID_ACDC_POWER_SOURCE : 2"));
    EXPECT_THAT(host.Rows(), IsEmpty());
}

TEST_F(SystemEventsTest, a_lid_report_of_1_records_16_and_of_0_records_17) {
    StartReady();
    Report(kLidSwitchStateChange, 1);
    EXPECT_TRUE(host.Logged(6, "Filter first GUID_LIDSWITCH_STATE_CHANGE"));
    Report(kLidSwitchStateChange, 1);
    Report(kLidSwitchStateChange, 0);
    EXPECT_TRUE(host.Logged(6, "GUID_LIDSWITCH_STATE_CHANGE : 1"));
    EXPECT_TRUE(host.Logged(6, "GUID_LIDSWITCH_STATE_CHANGE : 0"));
    EXPECT_THAT(Reasons(), ElementsAre(u"16", u"17"));
}

TEST_F(SystemEventsTest, power_and_lid_first_reports_are_filtered_each_on_its_own) {
    StartReady();
    Report(kLidSwitchStateChange, 0); // filtered
    Report(kAcdcPowerSource, 0);      // filtered
    Report(kLidSwitchStateChange, 0);
    Report(kAcdcPowerSource, 0);
    EXPECT_THAT(Reasons(), ElementsAre(u"17", u"14"));
}

TEST_F(SystemEventsTest, power_records_of_an_unused_product_are_not_written) {
    StartReady();
    Unused();
    Report(kAcdcPowerSource, 0); // filtered
    Report(kAcdcPowerSource, 1);
    EXPECT_TRUE(host.Logged(6, "DoRecordSysInfoByEvent HasBeenUsed: FALSE"));
    EXPECT_THAT(host.Rows(), IsEmpty());
}

TEST_F(SystemEventsTest, a_failed_power_setting_registration_ignores_its_reports) {
    host.powerRegistrationResult = static_cast<HRESULT>(0x80004005u);
    StartReady();
    Report(kAcdcPowerSource, 0);
    Report(kAcdcPowerSource, 1);
    EXPECT_EQ(host.Count(6, "Filter first GUID_ACDC_POWER_SOURCE"), 0);
    EXPECT_THAT(host.Rows(), IsEmpty());
}

TEST_F(SystemEventsTest, resume_logs_and_sets_the_global_power_resume_event) {
    machine.helper.Change([](auto& answers) { answers.CpuVendor = 2; });
    Start();
    host.ClearLogs();
    EXPECT_EQ(plugin->OnPowerChange(7, nullptr), 0);
    EXPECT_TRUE(host.Logged(6, "OnPowerChange dwEventType:7"));
    EXPECT_TRUE(host.Logged(6, "PBT_APMRESUMESUSPEND"));
    ASSERT_TRUE(host.WaitForRows(1));
    EXPECT_THAT(Reasons(), ElementsAre(u"13"));
}

TEST_F(SystemEventsTest, a_power_record_after_uninitialize_does_not_wait_for_the_tuning_utility) {
    machine.xtu.Change([](auto& answers) { answers.InitializeResult = false; });
    Start();
    plugin->Uninitialize();
    Report(kAcdcPowerSource, 0); // filtered
    Report(kAcdcPowerSource, 0);
    // The stop event the collection waits with is gone, so the wait fails at once.
    EXPECT_TRUE(host.Logged(6, "m_XTUIsInitial = FALSE"));
    ASSERT_EQ(host.Rows().size(), 1u);
    EXPECT_EQ(host.Rows().front().Value(u"CPU_Frequency"), u"-1");
}

class UserSessionEventsTest : public SystemEventsTest {
protected:
    void SetUp() override {
        plugin = New(1);
        ASSERT_EQ(plugin->Initialize(), 0);
        host.ClearLogs();
    }
};

TEST_F(UserSessionEventsTest, power_events_of_a_user_session_instance_only_log) {
    Report(kAcdcPowerSource, 0);
    Report(kAcdcPowerSource, 1);
    Report(kLidSwitchStateChange, 1);
    Report(kLidSwitchStateChange, 0);
    EXPECT_EQ(plugin->OnPowerChange(7, nullptr), 0);
    EXPECT_THAT(host.Trace(),
                ElementsAre("6 OnPowerChange dwEventType:32787",
                            "6 OnPowerChange dwEventType:32787",
                            "6 OnPowerChange dwEventType:32787",
                            "6 OnPowerChange dwEventType:32787", "6 OnPowerChange dwEventType:7"));
    const auto resume = machine.kernel.OpenExistingEvent(u"Global\\ACPowerResume");
    ASSERT_NE(resume.Handle, nullptr);
    EXPECT_EQ(machine.kernel.Wait(*resume.Handle, 0).status, ports::WaitStatus::TimedOut);
    EXPECT_THAT(host.Rows(), IsEmpty());
}

TEST_F(SystemEventsTest, a_display_adapter_arrival_logs_the_class_and_refreshes_the_adapters) {
    Start();
    host.ClearLogs();
    Arrival(kDisplayAdapterClass);
    EXPECT_THAT(host.Trace(),
                ElementsAre("6 OnDeviceChange: DevNotify Handle:0000000000005150, Event "
                            "Type:0x00008000",
                            "6 OnDeviceChange: device type:5",
                            "6 OnDeviceChange: class guid: {5B45201D-F2F2-4F3B-85BB-30FF1F953599}",
                            "6 OnDeviceChange: Refresh Begin Skarn Switch: 0",
                            "6 OnDeviceChange: Refresh End"));
    EXPECT_EQ(machine.adapters.Refreshes(), 1);
}

TEST_F(SystemEventsTest, a_display_device_arrival_and_removal_refresh_the_adapters) {
    Start();
    Arrival(kDisplayDeviceArrivalClass);
    const auto header = InterfaceBroadcast(kDisplayAdapterClass);
    plugin->OnDeviceChange(0x8004, header.data());
    EXPECT_EQ(machine.adapters.Refreshes(), 2);
}

TEST_F(SystemEventsTest, an_arrival_of_another_class_logs_the_class_and_does_not_refresh) {
    Start();
    host.ClearLogs();
    Arrival(kKeyboardClass);
    EXPECT_TRUE(
        host.Logged(6, "OnDeviceChange: class guid: {884B96C3-56EF-11D1-BC8C-00A0C91405DD}"));
    EXPECT_EQ(host.Count(6, "OnDeviceChange: Refresh End"), 0);
    EXPECT_EQ(machine.adapters.Refreshes(), 0);
}

TEST_F(SystemEventsTest, other_event_types_and_device_types_stop_before_the_class) {
    Start();
    host.ClearLogs();
    auto header = InterfaceBroadcast(kDisplayAdapterClass);
    plugin->OnDeviceChange(0x8001, header.data()); // a query to remove
    header[4] = 2;                                 // a volume
    plugin->OnDeviceChange(kDeviceArrival, header.data());
    plugin->OnDeviceChange(7, nullptr); // nodes changed carries no interface
    EXPECT_THAT(host.Trace(),
                ElementsAre("6 OnDeviceChange: DevNotify Handle:0000000000005150, Event "
                            "Type:0x00008001",
                            "6 OnDeviceChange: DevNotify Handle:0000000000005150, Event "
                            "Type:0x00008000",
                            "6 OnDeviceChange: device type:2",
                            "6 OnDeviceChange: DevNotify Handle:0000000000005150, Event "
                            "Type:0x00000007"));
    EXPECT_EQ(machine.adapters.Refreshes(), 0);
}

TEST_F(SystemEventsTest, without_a_device_notification_handle_only_the_first_line_is_logged) {
    host.deviceNotificationHandle = nullptr;
    Start();
    host.ClearLogs();
    Arrival(kDisplayAdapterClass);
    EXPECT_EQ(host.Trace().size(), 1u);
    EXPECT_EQ(machine.adapters.Refreshes(), 0);
}

TEST_F(UserSessionEventsTest, the_hotkey_message_with_190_tells_the_clients) {
    const uint32_t hotkey = host.WindowMessages().at(0).first;
    EXPECT_EQ(plugin->OnWindowMessageDeviceChange(hotkey, 190), 0);
    EXPECT_THAT(Notified(), ElementsAre(std::pair<uint8_t, std::u16string>(
                                2, u"WindowMessageDeviceChangeEvent")));
    EXPECT_THAT(host.Trace(), ElementsAre("4 WindowMessageDeviceChangeEvent \n"));
}

TEST_F(UserSessionEventsTest, the_hotkey_message_with_189_sends_nothing) {
    const uint32_t hotkey = host.WindowMessages().at(0).first;
    EXPECT_EQ(plugin->OnWindowMessageDeviceChange(hotkey, 189), 0);
    EXPECT_EQ(plugin->OnWindowMessageDeviceChange(hotkey + 1, 190), 0);
    EXPECT_THAT(host.Notifications(), IsEmpty());
    EXPECT_THAT(host.Trace(), IsEmpty());
}

TEST_F(SystemEventsTest, a_disconnected_client_stops_the_monitors) {
    StartReady();
    host.ClearLogs();
    EXPECT_EQ(plugin->OnUWPConnectionChange(0), 0);
    EXPECT_TRUE(host.Logged(5, "Monitor Plugin : OnUWPConnectionChange :0 \n"));
    EXPECT_TRUE(host.Logged(5, "Monitor Plugin : StopMonitor.\r\n"));
    EXPECT_EQ(machine.xtu.Seen().StopMonitor, 1);
    EXPECT_TRUE(host.Logged(6, "(CPUInfoReader)Enter Stop"));
    EXPECT_FALSE(plugin->ClientConnected());
}

TEST_F(SystemEventsTest, a_connected_client_is_kept_and_stops_nothing) {
    StartReady();
    host.ClearLogs();
    EXPECT_EQ(plugin->OnUWPConnectionChange(1), 0);
    EXPECT_THAT(host.Trace(), ElementsAre("5 Monitor Plugin : OnUWPConnectionChange :1 \n"));
    EXPECT_TRUE(plugin->ClientConnected());
    EXPECT_EQ(machine.xtu.Seen().StopMonitor, 0);
}

TEST_F(UserSessionEventsTest, a_disconnection_without_a_wrapper_or_reader_only_logs) {
    EXPECT_EQ(plugin->OnUWPConnectionChange(0), 0);
    EXPECT_THAT(host.Trace(), ElementsAre("5 Monitor Plugin : OnUWPConnectionChange :0 \n"));
}

} // namespace
