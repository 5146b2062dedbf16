// Notifications the plug-in receives: the AMD GPU values, display-device changes and the AMD
// update signal.
#include "plugin_fixture.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

class NotificationsTest : public PluginFixture {
protected:
    void SetUp() override {
        InitializeSettled();
        host.ClearLogs();
    }

    static ValueSet AmdMonitor(int32_t command) {
        ValueSet payload;
        payload.SetString("RequestRole", u"AMDMonitorNotify");
        payload.SetInt32("Command", command);
        payload.SetInt32("Count", 1);
        payload.SetInt32("MaxGPUProcessorFreq", 2400);
        payload.SetInt32("MaxGPUMemoryFreq", 1750);
        payload.SetInt32("MaxGPUVoltage", 1200);
        payload.SetInt32("CurrentGPUFrequency", 1800);
        payload.SetInt32("CurrentMemoryFrequency", 1500);
        payload.SetInt32("GPUUsage", 0x10042);
        payload.SetInt32("GPUVoltage", 950);
        payload.SetInt32("GPUTemp", 61);
        payload.SetString("GPUState", u"1");
        payload.SetInt32("FanSpeed", 2100);
        return payload;
    }
    void Notify(uint8_t code, ValueSet& payload) {
        EXPECT_EQ(plugin->ReceiveNotification(code, &payload), 0);
    }
};

TEST_F(NotificationsTest, amd_monitor_values_of_command_1_are_cached) {
    ValueSet payload = AmdMonitor(1);
    Notify(4, payload);
    const auto& cache = plugin->AmdGpuMonitor();
    EXPECT_EQ(cache.Count, 1);
    EXPECT_EQ(cache.MaxGPUProcessorFreq, 2400);
    EXPECT_EQ(cache.MaxGPUMemoryFreq, 1750);
    EXPECT_EQ(cache.MaxGPUVoltage, 1200);
    EXPECT_EQ(cache.CurrentGPUFrequency, 1800);
    EXPECT_EQ(cache.CurrentMemoryFrequency, 1500);
    EXPECT_EQ(cache.GPUUsage, 0x42); // kept in 16 bits
    EXPECT_EQ(cache.GPUVoltage, 950);
    EXPECT_EQ(cache.GPUTemp, 61);
    EXPECT_EQ(cache.GPUState, 1);
    EXPECT_THAT(host.Trace(),
                ElementsAre("6 ReceiveNotification - Begin \n", "6 AMDMonitorNotify Command : 1 \n",
                            "6 Get Monitor Information \n", "6 ReceiveNotification - End \n"));
}

TEST_F(NotificationsTest, amd_monitor_command_2_changes_nothing_but_the_log) {
    ValueSet payload = AmdMonitor(2);
    Notify(4, payload);
    EXPECT_EQ(plugin->AmdGpuMonitor().MaxGPUProcessorFreq, 0);
    EXPECT_EQ(plugin->AmdGpuMonitor().GPUState, 0);
    EXPECT_THAT(host.Trace(),
                ElementsAre("6 ReceiveNotification - Begin \n", "6 AMDMonitorNotify Command : 2 \n",
                            "6 ReceiveNotification - End \n"));
}

TEST_F(NotificationsTest, gpu_state_1_with_a_trailing_blank_is_off) {
    ValueSet on = AmdMonitor(1);
    Notify(4, on);
    ValueSet blank = AmdMonitor(1);
    blank.SetString("GPUState", u"1 ");
    Notify(4, blank);
    EXPECT_EQ(plugin->AmdGpuMonitor().GPUState, 0);
}

TEST_F(NotificationsTest, missing_or_mistyped_values_are_0) {
    ValueSet payload;
    payload.SetString("RequestRole", u"AMDMonitorNotify");
    payload.SetInt32("Command", 1);
    payload.SetDouble("Count", 3.0);
    Notify(4, payload);
    EXPECT_EQ(plugin->AmdGpuMonitor().Count, 0);
    EXPECT_EQ(plugin->AmdGpuMonitor().GPUTemp, 0);
}

TEST_F(NotificationsTest, the_cached_fan_speed_once_0_is_never_updated) {
    ValueSet zero = AmdMonitor(1);
    zero.SetInt32("FanSpeed", 0);
    Notify(4, zero);
    ValueSet later = AmdMonitor(1);
    Notify(4, later);
    EXPECT_EQ(plugin->AmdGpuMonitor().FanSpeed, 0);
    EXPECT_EQ(plugin->AmdGpuMonitor().CurrentGPUFrequency, 1800);
}

TEST_F(NotificationsTest, a_display_change_message_logs_at_level_4) {
    ValueSet payload;
    payload.SetString("RequestRole", u"WindowMessageDeviceChangeEvent");
    Notify(4, payload);
    EXPECT_THAT(host.Trace(), ElementsAre("6 ReceiveNotification - Begin \n",
                                          "4 WindowMessageDeviceChangeEvent\n",
                                          "6 ReceiveNotification - End \n"));
}

TEST_F(NotificationsTest, a_display_change_message_refreshes_the_adapters) {
    ValueSet payload;
    payload.SetString("RequestRole", u"WindowMessageDeviceChangeEvent");
    Notify(4, payload);
    EXPECT_EQ(machine.adapters.Refreshes(), 1);
}

TEST_F(NotificationsTest, a_display_change_of_kind_2_is_ignored) {
    ValueSet payload;
    payload.SetString("RequestRole", u"WindowMessageDeviceChangeEvent");
    Notify(2, payload);
    EXPECT_EQ(host.Trace().size(), 2u);
    EXPECT_EQ(machine.adapters.Refreshes(), 0);
}

TEST_F(NotificationsTest, a_role_that_is_not_a_string_or_differs_in_case_names_nothing) {
    ValueSet number;
    number.SetInt32("RequestRole", 1);
    Notify(4, number);
    ValueSet lower = AmdMonitor(1);
    lower.SetString("RequestRole", u"amdmonitornotify");
    Notify(4, lower);
    EXPECT_EQ(plugin->AmdGpuMonitor().Count, 0);
    EXPECT_EQ(host.Trace().size(), 4u);
}

TEST_F(NotificationsTest, the_first_amd_update_starts_the_worker_and_later_ones_stay_pending) {
    ValueSet payload;
    payload.SetString("RequestRole", u"AMDUpdateNotify");
    EXPECT_FALSE(plugin->AmdUpdateStarted());
    Notify(2, payload);
    EXPECT_TRUE(plugin->AmdUpdateStarted());
    EXPECT_TRUE(plugin->AmdUpdatePending());
    Notify(2, payload);
    EXPECT_TRUE(plugin->AmdUpdatePending());
}

TEST_F(NotificationsTest, an_amd_update_of_kind_4_is_ignored) {
    ValueSet payload;
    payload.SetString("RequestRole", u"AMDUpdateNotify");
    Notify(4, payload);
    EXPECT_FALSE(plugin->AmdUpdateStarted());
}

TEST_F(NotificationsTest, a_notification_without_a_payload_only_logs) {
    EXPECT_EQ(plugin->ReceiveNotification(4, nullptr), 0);
    EXPECT_EQ(host.Trace().size(), 2u);
}

} // namespace
