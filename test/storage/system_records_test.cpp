#include "storage_machine.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using sim::FakePhysicalDrives;
using Columns = std::vector<std::pair<std::u16string, std::u16string>>;
using Strings = std::vector<std::string>;
using ValueSet = VelmorValueSet::ValueSet;

Columns CpuGpuRow(std::u16string freq, std::u16string cpuUse, std::u16string cpuFreq,
                  std::u16string gpuUse, std::u16string gpuFreq, std::u16string gpuTemp,
                  std::u16string state) {
    return {{u"freq", freq},
            {u"CPU_Utilization", cpuUse},
            {u"CPU_Frequency", cpuFreq},
            {u"GPU_Utilization", gpuUse},
            {u"GPU_Frequency", gpuFreq},
            {u"GPU_temperature", gpuTemp},
            {u"GPU_Powersaving_status", state}};
}

class SystemRecordsTest : public ::testing::Test {
protected:
    // The only row sent, checked to go to "SysInfo" with its count.
    Columns OnlyRow() {
        const auto rows = machine.Rows();
        EXPECT_EQ(rows.size(), 1u);
        if (rows.empty()) {
            return {};
        }
        EXPECT_EQ(rows[0].Table, u"SysInfo");
        EXPECT_EQ(static_cast<std::size_t>(rows[0].Count), rows[0].Columns.size());
        return rows[0].Columns;
    }

    StorageMachine machine;
};

TEST_F(SystemRecordsTest, core0_without_adapter0_gives_cpu_values_and_minus_1_for_the_gpu) {
    ValueSet collected;
    ValueSet* core = collected.CreateMap("Core0");
    core->SetDouble("Usage", 37.9);
    core->SetInt32("ProcessorFrequency", 2400);
    core->SetInt32("Temprature", 81);
    machine.records.SaveCPUGPUInfoToDB(collected, 4);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"4", u"37", u"2400", u"-1", u"-1", u"-1", u""));
}

TEST_F(SystemRecordsTest, adapter0_without_temprature_gives_gpu_temperature_0) {
    ValueSet collected;
    ValueSet* adapter = collected.CreateMap("Adapter0");
    adapter->SetDouble("Usage", 12.99);
    adapter->SetInt32("ProcessorFrequency", 1605);
    adapter->SetString("GPUState", u"1");
    machine.records.SaveCPUGPUInfoToDB(collected, 13);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"13", u"-1", u"-1", u"12", u"1605", u"0", u"1"));
}

TEST_F(SystemRecordsTest, full_set_writes_every_column_and_the_gpu_state_as_it_stands) {
    ValueSet collected;
    ValueSet* core = collected.CreateMap("Core0");
    core->SetDouble("Usage", 99.99);
    core->SetInt32("ProcessorFrequency", 4700);
    ValueSet* adapter = collected.CreateMap("Adapter0");
    adapter->SetDouble("Usage", 0.5);
    adapter->SetInt32("ProcessorFrequency", -3);
    adapter->SetInt32("Temprature", 64);
    adapter->SetString("GPUState", u" state, \"x\" ");
    machine.records.SaveCPUGPUInfoToDB(collected, 10);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"10", u"99", u"4700", u"0", u"-3", u"64", u" state, \"x\" "));
}

TEST_F(SystemRecordsTest, empty_set_gives_minus_1_everywhere_and_an_empty_state) {
    machine.records.SaveCPUGPUInfoToDB(ValueSet{}, 4);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"4", u"-1", u"-1", u"-1", u"-1", u"-1", u""));
}

TEST_F(SystemRecordsTest, present_maps_with_no_keys_give_0_not_minus_1) {
    ValueSet collected;
    collected.CreateMap("Core0");
    collected.CreateMap("Adapter0");
    machine.records.SaveCPUGPUInfoToDB(collected, 4);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"4", u"0", u"0", u"0", u"0", u"0", u""));
}

TEST_F(SystemRecordsTest, keys_of_another_kind_read_as_0) {
    ValueSet collected;
    ValueSet* core = collected.CreateMap("Core0");
    core->SetInt32("Usage", 50);
    core->SetDouble("ProcessorFrequency", 2400.0);
    ValueSet* adapter = collected.CreateMap("Adapter0");
    adapter->SetString("Temprature", u"70");
    adapter->SetInt32("GPUState", 1);
    machine.records.SaveCPUGPUInfoToDB(collected, 4);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"4", u"0", u"0", u"0", u"0", u"0", u""));
}

TEST_F(SystemRecordsTest, core0_that_is_not_a_map_counts_as_absent) {
    ValueSet collected;
    collected.SetInt32("Core0", 1);
    collected.SetString("Adapter0", u"x");
    machine.records.SaveCPUGPUInfoToDB(collected, 4);
    EXPECT_EQ(OnlyRow(), CpuGpuRow(u"4", u"-1", u"-1", u"-1", u"-1", u"-1", u""));
}

TEST_F(SystemRecordsTest, usage_is_truncated_towards_zero) {
    ValueSet collected;
    collected.CreateMap("Core0")->SetDouble("Usage", -2.7);
    machine.records.SaveCPUGPUInfoToDB(collected, 4);
    EXPECT_EQ(OnlyRow()[1].second, u"-2");
}

TEST_F(SystemRecordsTest, a_reading_equal_to_the_internal_absent_value_is_written_as_minus_1) {
    ValueSet collected;
    collected.CreateMap("Core0")->SetInt32("ProcessorFrequency",
                                           std::numeric_limits<int32_t>::max());
    machine.records.SaveCPUGPUInfoToDB(collected, 4);
    EXPECT_EQ(OnlyRow()[2].second, u"-1");
}

TEST_F(SystemRecordsTest, freq_is_written_as_unsigned_decimal) {
    machine.records.SaveCPUGPUInfoToDB(ValueSet{}, 0xFFFFFFFFu);
    EXPECT_EQ(OnlyRow()[0].second, u"4294967295");
}

TEST_F(SystemRecordsTest, cpu_gpu_row_logs_the_system_text_of_the_result) {
    machine.records.SaveCPUGPUInfoToDB(ValueSet{}, 4);
    EXPECT_EQ(machine.Logs(),
              Strings{"6 SaveCPUGPUInfoToDB result: The operation completed successfully.\r\n"});
}

TEST_F(SystemRecordsTest, a_refused_row_is_only_logged_with_the_text_of_the_failure) {
    machine.storeAccepts = false;
    machine.records.SaveCPUGPUInfoToDB(ValueSet{}, 4);
    EXPECT_EQ(machine.Rows().size(), 1u);
    EXPECT_EQ(machine.Logs(), Strings{"6 SaveCPUGPUInfoToDB result: Unspecified error\r\n"});
}

TEST_F(SystemRecordsTest, a_code_without_system_text_is_logged_as_hex) {
    machine.storeResult = static_cast<HRESULT>(0xA0800005u);
    machine.records.SaveCPUGPUInfoToDB(ValueSet{}, 4);
    EXPECT_EQ(machine.Logs(), Strings{"6 SaveCPUGPUInfoToDB result: 0xA0800005"});
}

TEST_F(SystemRecordsTest, two_drives_with_codes_0_and_16_give_quoted_codes_and_counters) {
    machine.Drives(
        {FakePhysicalDrives::NvmeDrive(0x00, 5), FakePhysicalDrives::NvmeDrive(0x10, 7)});
    machine.nvme.EnumerateNVMeDrives();
    machine.host.logs.clear();
    machine.records.SaveNVMeHealthToDB(machine.nvme.Drives(), 7);
    EXPECT_EQ(OnlyRow(), (Columns{{u"freq", u"7"},
                                  {u"smart_health", u"'0x00,0x10'"},
                                  {u"Data_Units_Written", u"5,7"}}));
    EXPECT_EQ(machine.Logs(),
              (Strings{"6 Success get HealthString:0x00,0x10",
                       "6 SaveNVMeHealthToDB result: The operation completed successfully.\r\n"}));
}

TEST_F(SystemRecordsTest, no_nvme_drives_sends_nothing_and_logs_nothing) {
    machine.records.SaveNVMeHealthToDB({}, 7);
    EXPECT_TRUE(machine.host.requests.empty());
    EXPECT_TRUE(machine.Logs().empty());
}

TEST_F(SystemRecordsTest, a_failed_drive_is_logged_by_list_position_and_adds_nothing) {
    FakePhysicalDrives::Drive unreadable = FakePhysicalDrives::NvmeDrive(0, 1);
    unreadable.HealthLog.Returned = std::nullopt;
    machine.physical.SetDiskEnum({0, 4});
    machine.physical.SetDrive(0, FakePhysicalDrives::SataDrive());
    machine.physical.SetDrive(1, FakePhysicalDrives::NvmeDrive(0x01, 3));
    machine.physical.SetDrive(2, unreadable);
    machine.physical.SetDrive(3, FakePhysicalDrives::NvmeDrive(0x02, 4));
    machine.nvme.EnumerateNVMeDrives();
    machine.host.logs.clear();
    machine.records.SaveNVMeHealthToDB(machine.nvme.Drives(), 7);
    EXPECT_EQ(OnlyRow(), (Columns{{u"freq", u"7"},
                                  {u"smart_health", u"'0x01,0x02'"},
                                  {u"Data_Units_Written", u"3,4"}}));
    EXPECT_EQ(machine.Logs(),
              (Strings{"6 Failed to get PhysicalDrive1 HealthString",
                       "6 Success get HealthString:0x01,0x02",
                       "6 SaveNVMeHealthToDB result: The operation completed successfully.\r\n"}));
}

TEST_F(SystemRecordsTest, every_drive_failing_still_writes_a_row_with_empty_texts) {
    FakePhysicalDrives::Drive unreadable = FakePhysicalDrives::NvmeDrive(0, 1);
    unreadable.HealthLog.Bytes[0] = 40;
    machine.Drives({unreadable, unreadable});
    machine.nvme.EnumerateNVMeDrives();
    machine.host.logs.clear();
    machine.records.SaveNVMeHealthToDB(machine.nvme.Drives(), 7);
    EXPECT_EQ(OnlyRow(),
              (Columns{{u"freq", u"7"}, {u"smart_health", u"''"}, {u"Data_Units_Written", u""}}));
    EXPECT_EQ(machine.Logs(),
              (Strings{"6 Failed to get PhysicalDrive0 HealthString",
                       "6 Failed to get PhysicalDrive1 HealthString", "6 Success get HealthString:",
                       "6 SaveNVMeHealthToDB result: The operation completed successfully.\r\n"}));
}

TEST_F(SystemRecordsTest, a_blocked_health_row_logs_the_code_of_the_privacy_gate) {
    machine.Drives({FakePhysicalDrives::NvmeDrive(0, 5)});
    machine.nvme.EnumerateNVMeDrives();
    machine.host.logs.clear();
    machine.host.answer = [](const FakeHost::SentRequest&, ValueSet& answer) {
        answer.SetBool("PPRead", false);
        return 0;
    };
    machine.records.SaveNVMeHealthToDB(machine.nvme.Drives(), 7);
    EXPECT_TRUE(machine.Rows().empty());
    EXPECT_EQ(machine.Logs(), (Strings{"6 Success get HealthString:0x00",
                                       "3 Insert data failed: Privacy Policy is not read yet.",
                                       "6 SaveNVMeHealthToDB result: 0xA0802001"}));
}

} // namespace
