// The service instance's background workers on virtual time: the first-session record, the
// period records with the hourly disk health, the power-resume record and the collection's wait
// for the tuning utility.
#include "workers_fixture.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WorkersTest : public WorkersFixture {
protected:
    // Lets the first-session worker's wait for a user session run out.
    void NoUserSession() {
        ASSERT_TRUE(time.Expire(timeouts().FirstUserSessionMs));
        ASSERT_TRUE(host.WaitForLog(6, "Exit DoMonitorPluginInitialize"));
    }
    // Two NVMe drives, healthy and warned, with their written data units.
    void TwoNvmeDrives() {
        machine.physicalDrives.SetDiskEnum({0, 2});
        machine.physicalDrives.SetDrive(0, sim::FakePhysicalDrives::NvmeDrive(0x00, 5));
        machine.physicalDrives.SetDrive(1, sim::FakePhysicalDrives::NvmeDrive(0x10, 7));
    }
    // A user-session instance of the same machine starts.
    void UserSessionStarts() { ASSERT_EQ(New(1)->Initialize(), 0); }
};

TEST_F(WorkersTest, the_production_time_limits_are_the_defaults) {
    const WorkerTimeouts defaults;
    EXPECT_EQ(defaults.FirstUserSessionMs, 30000u);
    EXPECT_EQ(defaults.FirstSessionRecordDelayMs, 5000u);
    EXPECT_EQ(defaults.PeriodMs, 1200000u);
    EXPECT_EQ(defaults.TuningUtilityReadyMs, 30000u);
    EXPECT_EQ(defaults.PeriodWorkerExitMs, 2000u);
    EXPECT_EQ(defaults.PowerResumeWorkerExitMs, 2000u);
    EXPECT_EQ(defaults.FirstSessionWorkerExitMs, 10000u);
}

TEST_F(WorkersTest, a_user_session_within_30_s_is_recorded_5_s_later_with_reason_10) {
    StartReady();
    UserSessionStarts();
    ASSERT_TRUE(time.Expire(timeouts().FirstSessionRecordDelayMs));
    ASSERT_TRUE(host.WaitForLog(6, "Exit DoMonitorPluginInitialize"));
    EXPECT_THAT(Reasons(), ElementsAre(u"10"));
    const auto row = host.Rows().front();
    EXPECT_EQ(row.Table, u"SysInfo");
    EXPECT_NE(row.Value(u"CPU_Frequency"), u"-1"); // the tuning utility was ready
    EXPECT_TRUE(host.Logged(6, "DoRecordSysInfoByEvent HasBeenUsed: TRUE"));
    EXPECT_TRUE(plugin->RecordFlag());
}

TEST_F(WorkersTest, the_record_flag_is_clear_while_the_first_session_record_waits) {
    StartReady();
    UserSessionStarts();
    ASSERT_TRUE(time.AwaitWait(timeouts().FirstSessionRecordDelayMs));
    EXPECT_FALSE(plugin->RecordFlag());
    ASSERT_TRUE(time.Expire(timeouts().FirstSessionRecordDelayMs));
    ASSERT_TRUE(host.WaitForLog(6, "Exit DoMonitorPluginInitialize"));
    EXPECT_TRUE(plugin->RecordFlag());
}

TEST_F(WorkersTest, a_user_session_after_30_s_records_nothing) {
    Start();
    NoUserSession();
    UserSessionStarts();
    EXPECT_THAT(host.Rows(), IsEmpty());
    EXPECT_EQ(host.Count(6, "Enter DoRecordSysInfoByEvent"), 0);
}

TEST_F(WorkersTest, uninitialize_while_the_first_session_worker_waits_ends_it_at_once) {
    Start();
    const int64_t before = machine.clock.ProcessMilliseconds();
    plugin->Uninitialize();
    // No time-out ran out: the period stop event ended the wait.
    EXPECT_EQ(machine.clock.ProcessMilliseconds(), before);
    EXPECT_TRUE(host.Logged(6, "Exit DoMonitorPluginInitialize"));
    EXPECT_TRUE(host.Logged(6, "Success terminate m_monitorPluginInitilizeThread: 0"));
    EXPECT_THAT(host.Rows(), IsEmpty());
}

TEST_F(WorkersTest, uninitialize_during_the_5_s_delay_records_nothing) {
    StartReady();
    UserSessionStarts();
    ASSERT_TRUE(time.AwaitWait(timeouts().FirstSessionRecordDelayMs));
    plugin->Uninitialize();
    EXPECT_TRUE(host.Logged(6, "Success terminate m_monitorPluginInitilizeThread: 0"));
    EXPECT_THAT(host.Rows(), IsEmpty());
}

TEST_F(WorkersTest, each_period_records_reason_4_and_every_third_the_disk_health_reason_7) {
    TwoNvmeDrives();
    StartReady();
    for (int period = 0; period < 6; ++period) {
        OnePeriod();
    }
    ASSERT_TRUE(host.WaitForRows(8));
    EXPECT_THAT(Reasons(), ElementsAre(u"4", u"4", u"4", u"7", u"4", u"4", u"4", u"7"));
    const auto health = host.Rows()[3];
    EXPECT_EQ(health.Value(u"smart_health"), u"'0x00,0x10'");
    EXPECT_EQ(health.Value(u"Data_Units_Written"), u"5,7");
    EXPECT_EQ(host.Count(6, "DoRecordSysInfoByPeriod timeout triggered, hourCount:0"), 2);
    EXPECT_EQ(host.Count(6, "DoRecordSysInfoByPeriod timeout triggered, hourCount:1"), 2);
    EXPECT_EQ(host.Count(6, "DoRecordSysInfoByPeriod timeout triggered, hourCount:2"), 2);
}

TEST_F(WorkersTest, without_nvme_drives_the_third_period_record_writes_no_disk_health) {
    StartReady();
    for (int period = 0; period < 3; ++period) {
        OnePeriod();
    }
    ASSERT_TRUE(time.AwaitWait(timeouts().PeriodMs)); // the third period has been handled
    EXPECT_THAT(Reasons(), ElementsAre(u"4", u"4", u"4"));
    EXPECT_EQ(machine.physicalDrives.QueryCount(), 0u);
}

TEST_F(WorkersTest, an_unused_product_never_records_by_period_and_its_hour_count_stays_0) {
    TwoNvmeDrives();
    Unused();
    Start();
    for (int period = 0; period < 4; ++period) {
        OnePeriod();
    }
    ASSERT_TRUE(time.AwaitWait(timeouts().PeriodMs));
    EXPECT_EQ(host.Count(6, "DoRecordSysInfoByPeriod timeout triggered, hourCount:0"), 4);
    EXPECT_EQ(host.Count(6, "DoRecordSysInfoByPeriod HasBeenUsed: FALSE"), 4);
    EXPECT_THAT(host.Rows(), IsEmpty());
    EXPECT_EQ(host.Count(6, "Enter CollectCPUGPUInfo"), 0);
}

TEST_F(WorkersTest, an_unused_product_records_nothing_but_a_power_resume) {
    Unused();
    Start();
    UserSessionStarts();
    ASSERT_TRUE(time.Expire(timeouts().FirstSessionRecordDelayMs));
    ASSERT_TRUE(host.WaitForLog(6, "DoRecordSysInfoByEvent HasBeenUsed: FALSE"));
    OnePeriod();
    ASSERT_TRUE(time.AwaitWait(timeouts().PeriodMs));
    EXPECT_THAT(host.Rows(), IsEmpty());

    plugin->OnPowerChange(7, nullptr);
    // The tuning utility never started on an unused product: its wait runs out.
    ASSERT_TRUE(time.Expire(timeouts().TuningUtilityReadyMs));
    ASSERT_TRUE(host.WaitForRows(1));
    EXPECT_THAT(Reasons(), ElementsAre(u"13"));
    EXPECT_TRUE(host.Logged(6, "m_hPowerResumeEvent triggered"));
}

TEST_F(WorkersTest, an_intel_tuning_utility_that_never_gets_ready_makes_each_collection_wait_30_s) {
    machine.xtu.Change([](auto& answers) { answers.InitializeResult = false; });
    Start();
    NoUserSession();
    for (int period = 0; period < 2; ++period) {
        OnePeriod();
        ASSERT_TRUE(time.Expire(30000));
    }
    ASSERT_TRUE(host.WaitForRows(2));
    EXPECT_EQ(host.Count(6, "m_XTUIsInitial = FALSE"), 2);
    EXPECT_EQ(host.Count(6, "CollectCPUGPUInfo XTU initialized TIMEOUT triggered"), 2);
    for (const auto& row : host.Rows()) {
        EXPECT_EQ(row.Value(u"CPU_Utilization"), u"-1");
        EXPECT_EQ(row.Value(u"CPU_Frequency"), u"-1");
        EXPECT_NE(row.Value(u"GPU_Frequency"), u"-1"); // the GPU part does not wait
    }
}

TEST_F(WorkersTest, shutdown_ends_the_collections_wait_for_the_tuning_utility) {
    machine.xtu.Change([](auto& answers) { answers.InitializeResult = false; });
    Start();
    NoUserSession();
    OnePeriod();
    ASSERT_TRUE(time.AwaitWait(timeouts().TuningUtilityReadyMs));
    plugin->Uninitialize();
    EXPECT_TRUE(host.Logged(6, "CollectCPUGPUInfo m_hTerminateRecordPeriodThreadEvent triggered"));
    EXPECT_TRUE(host.Logged(6, "Success terminate m_hRecordSysInfoPeriodThread: 0"));
    ASSERT_EQ(host.Rows().size(), 1u);
    EXPECT_EQ(host.Rows().front().Value(u"CPU_Frequency"), u"-1");
}

TEST_F(WorkersTest, a_collection_logs_its_steps_and_stops_the_monitor_without_a_client) {
    StartReady();
    host.ClearLogs();
    OnePeriod();
    ASSERT_TRUE(host.WaitForLog(6, "Exit CollectCPUGPUInfo"));
    const auto trace = host.Trace();
    const std::vector<std::string> expected = {
        "6 DoRecordSysInfoByPeriod timeout triggered, hourCount:0",
        "6 DoRecordSysInfoByPeriod HasBeenUsed: TRUE",
        "6 Enter CollectCPUGPUInfo",
        "6 m_XTUIsInitial = TRUE",
        "6 stop monitor after collectdata",
        "6 Exit CollectCPUGPUInfo",
    };
    auto next = trace.begin();
    for (const std::string& line : expected) {
        next = std::find(next, trace.end(), line);
        ASSERT_NE(next, trace.end()) << line;
    }
    EXPECT_EQ(machine.xtu.Seen().StopMonitor, 1);
}

TEST_F(WorkersTest, a_connected_client_keeps_the_monitor_running_after_a_collection) {
    StartReady();
    plugin->OnUWPConnectionChange(1);
    OnePeriod();
    ASSERT_TRUE(host.WaitForLog(6, "Exit CollectCPUGPUInfo"));
    EXPECT_EQ(host.Count(6, "stop monitor after collectdata"), 0);
    EXPECT_EQ(machine.xtu.Seen().StopMonitor, 0);
}

TEST_F(WorkersTest, an_amd_collection_reads_the_sdk_without_waiting) {
    machine.helper.Change([](auto& answers) { answers.CpuVendor = 2; });
    Start();
    OnePeriod();
    ASSERT_TRUE(host.WaitForRows(1));
    EXPECT_EQ(host.Count(6, "m_XTUIsInitial = FALSE"), 0);
    EXPECT_EQ(host.Count(6, "m_XTUIsInitial = TRUE"), 0);
}

} // namespace
