#include "gpu_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace gpu_test;
using ::testing::ElementsAre;

constexpr char kClockTable[] = "[Main]\nCount=1\n1=25A0\n[25A0]\nNV Base=1200\nNV Boost=1500\n"
                               "Tarvo Boost=1800\nOC=100\nVRAM Base=2000\nVRAM OC=2250\n";

class MonitorInformationTest : public ::testing::Test {
protected:
    MonitorInformationTest() {
        machine.adapters.Change([](auto& answers) {
            answers.Device->Max = {2520, 9001, 1050, 87, -5};
            answers.Device->Current = {0xDEAD, 1, 1980, 8000, 900, 42, 61};
            answers.Device->FanRpm = 3100;
        });
        machine.gpu.SetProductLine(0);
    }

    ValueSet Monitor() {
        ValueSet answer;
        machine.gpu.GetGPUMonitorInformation(answer);
        return answer;
    }
    void LoadClockTable() {
        machine.files.Put(kEncipheredPath, "x");
        machine.encrypt.Change([](auto& answers) { answers.PlainText = kClockTable; });
        ValueSet answer;
        machine.gpu.GetGPUDeviceInformation(answer);
        machine.host.logs.clear();
    }
    void DockedRavik() {
        machine.gpu.SetProductLine(1);
        machine.dock.Change([](auto& answers) {
            answers.Id = {0, {0x25A010DE, 0x12345678}};
            answers.Fan = {0, 1800, 37};
        });
        ValueSet answer;
        machine.gpu.GetBaseInformation(answer);
        machine.host.logs.clear();
    }

    GpuMachine machine;
    int acpiDevice = 0;
};

TEST_F(MonitorInformationTest, writes_peak_adapter_and_fan_keys_with_their_kinds) {
    const ValueSet answer = Monitor();
    EXPECT_THAT(KeysOf(answer), ElementsAre(std::pair{"Adapter0", Kind::Map},
                                            std::pair{"GPUAdapterCount", Kind::Int32},
                                            std::pair{"GPUFanSpeed", Kind::Int32},
                                            std::pair{"MaxGPUFanSpeed", Kind::Int32},
                                            std::pair{"MaxGPUMemoryFreq", Kind::Int32},
                                            std::pair{"MaxGPUProcessorFreq", Kind::Int32},
                                            std::pair{"MaxGPUTemprature", Kind::Int32},
                                            std::pair{"MaxGPUUsage", Kind::Int32},
                                            std::pair{"MaxGPUVoltage", Kind::Double}));
    EXPECT_EQ(answer.GetInt32("MaxGPUProcessorFreq"), 2520);
    EXPECT_EQ(answer.GetInt32("MaxGPUMemoryFreq"), 9001);
    EXPECT_EQ(answer.GetDouble("MaxGPUVoltage"), 1050.0);
    EXPECT_EQ(answer.GetInt32("MaxGPUTemprature"), -5);
    EXPECT_EQ(answer.GetInt32("MaxGPUUsage"), 87);
    EXPECT_EQ(answer.GetInt32("GPUAdapterCount"), 1);
    EXPECT_EQ(answer.GetInt32("MaxGPUFanSpeed"), 5500);
    EXPECT_EQ(answer.GetInt32("GPUFanSpeed"), 3100);
    EXPECT_EQ(machine.adapters.Destroyed(), 1);
}

TEST_F(MonitorInformationTest, adapter0_of_vendor_1_and_type_1_carries_the_clock_table) {
    LoadClockTable();
    const ValueSet answer = Monitor();
    const ValueSet* adapter = answer.FindMap("Adapter0");
    ASSERT_NE(adapter, nullptr);
    EXPECT_THAT(
        KeysOf(*adapter),
        ElementsAre(
            std::pair{"GPUState", Kind::WideString}, std::pair{"MemoryFrequency", Kind::Int32},
            std::pair{"NVBoostFrequency", Kind::Int32}, std::pair{"OCFrequency", Kind::Int32},
            std::pair{"ProcessorBaseFrequency", Kind::Int32},
            std::pair{"ProcessorFrequency", Kind::Int32},
            std::pair{"TarvoBoostFrequency", Kind::Int32}, std::pair{"Temprature", Kind::Int32},
            std::pair{"Usage", Kind::Double}, std::pair{"VRAMBaseFrequency", Kind::Int32},
            std::pair{"VRAMOCFrequency", Kind::Int32}, std::pair{"Voltage", Kind::Double}));
    EXPECT_EQ(adapter->GetString("GPUState"), u"1");
    EXPECT_EQ(adapter->GetInt32("ProcessorFrequency"), 1980);
    EXPECT_EQ(adapter->GetInt32("MemoryFrequency"), 8000);
    EXPECT_EQ(adapter->GetDouble("Voltage"), 900.0);
    EXPECT_EQ(adapter->GetInt32("Temprature"), 61);
    EXPECT_EQ(adapter->GetDouble("Usage"), 42.0);
    EXPECT_EQ(adapter->GetInt32("ProcessorBaseFrequency"), 1200);
    EXPECT_EQ(adapter->GetInt32("NVBoostFrequency"), 1500);
    EXPECT_EQ(adapter->GetInt32("TarvoBoostFrequency"), 1800);
    EXPECT_EQ(adapter->GetInt32("OCFrequency"), 1900);
    EXPECT_EQ(adapter->GetInt32("VRAMBaseFrequency"), 2000);
    EXPECT_EQ(adapter->GetInt32("VRAMOCFrequency"), 2250);
}

TEST_F(MonitorInformationTest, clock_keys_are_zero_without_a_table_entry) {
    const ValueSet answer = Monitor();
    const ValueSet* adapter = answer.FindMap("Adapter0");
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->Count(), 12u);
    EXPECT_EQ(adapter->GetInt32("OCFrequency"), 0);
}

TEST_F(MonitorInformationTest, vendor_other_than_1_gives_six_adapter_keys_and_no_clocks) {
    LoadClockTable();
    machine.adapters.Change([](auto& answers) {
        answers.Device->Vendor = 2;
        answers.Device->Current.State = 2;
    });
    const ValueSet answer = Monitor();
    const ValueSet* adapter = answer.FindMap("Adapter0");
    ASSERT_NE(adapter, nullptr);
    EXPECT_THAT(KeysOf(*adapter),
                ElementsAre(std::pair{"GPUState", Kind::WideString},
                            std::pair{"MemoryFrequency", Kind::Int32},
                            std::pair{"ProcessorFrequency", Kind::Int32},
                            std::pair{"Temprature", Kind::Int32}, std::pair{"Usage", Kind::Double},
                            std::pair{"Voltage", Kind::Double}));
    EXPECT_EQ(adapter->GetString("GPUState"), u"0");
}

TEST_F(MonitorInformationTest, failed_current_info_gives_no_adapter0_and_count_0) {
    machine.adapters.Change([](auto& answers) {
        answers.Device->CurrentCode = static_cast<ports::LibraryCode>(0x80004005u);
    });
    const ValueSet answer = Monitor();
    EXPECT_FALSE(answer.Contains("Adapter0"));
    EXPECT_EQ(answer.GetInt32("GPUAdapterCount"), 0);
    EXPECT_EQ(answer.GetInt32("MaxGPUProcessorFreq"), 2520);
}

TEST_F(MonitorInformationTest, a_failed_max_info_is_not_checked) {
    machine.adapters.Change([](auto& answers) {
        answers.Device->MaxCode = static_cast<ports::LibraryCode>(0x80004005u);
    });
    EXPECT_EQ(Monitor().GetInt32("MaxGPUProcessorFreq"), 2520);
    EXPECT_TRUE(machine.host.Logged(6, "<maxInfo>:0x80004005, ProcessorFrequency 2520, "
                                       "MemoryFrequency 9001, Voltage 1050, Temperature -5, "
                                       "Usage 87"));
}

TEST_F(MonitorInformationTest, logs_vendor_type_figures_and_the_adapter_fan_in_order) {
    Monitor();
    EXPECT_THAT(machine.Logs(),
                ElementsAre("6 GetGPUMonitorInformation : Begin", "6 <vendor>:1", "6 <type>:1",
                            "6 <maxInfo>:0x00000000, ProcessorFrequency 2520, MemoryFrequency "
                            "9001, Voltage 1050, Temperature -5, Usage 87",
                            "6 <currentInfo>:0x00000000, State 1, ProcessorFrequency 1980, "
                            "MemoryFrequency 8000, Voltage 900, Temperature 61, Usage 42",
                            "6 Get Fan Speed by DA API:0x00000000, Fan Speed 3100",
                            "6 GetGPUMonitorInformation : End"));
}

TEST_F(MonitorInformationTest, adapter_of_another_type_reads_nothing_and_fan_stays_0) {
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 3; });
    const ValueSet answer = Monitor();
    EXPECT_FALSE(answer.Contains("Adapter0"));
    EXPECT_EQ(answer.GetInt32("GPUAdapterCount"), 0);
    EXPECT_EQ(answer.GetInt32("MaxGPUProcessorFreq"), 0);
    EXPECT_EQ(answer.GetInt32("GPUFanSpeed"), 0);
    EXPECT_THAT(machine.Logs(), ElementsAre("6 GetGPUMonitorInformation : Begin", "6 <vendor>:1",
                                            "6 <type>:3", "6 GetGPUMonitorInformation : End"));
}

TEST_F(MonitorInformationTest, failed_create_device_still_writes_the_always_present_keys) {
    machine.adapters.Change(
        [](auto& answers) { answers.CreateCode = static_cast<ports::LibraryCode>(0x80004005u); });
    const ValueSet answer = Monitor();
    EXPECT_EQ(answer.Count(), 8u);
    EXPECT_EQ(answer.GetInt32("MaxGPUFanSpeed"), 5500);
    EXPECT_EQ(answer.GetInt32("GPUFanSpeed"), 0);
    EXPECT_EQ(answer.GetDouble("MaxGPUVoltage"), 0.0);
    EXPECT_TRUE(machine.host.Logged(3, "CreateDevice Failed:0x80004005"));
}

TEST_F(MonitorInformationTest, product_line_1_reads_the_fan_from_the_bios_in_hundreds_of_rpm) {
    machine.gpu.SetProductLine(1);
    machine.gpu.SetAcpiDevice(&acpiDevice);
    machine.Firmware(0x00030017);
    const ValueSet answer = Monitor();
    EXPECT_EQ(answer.GetInt32("GPUFanSpeed"), 2300);
    EXPECT_TRUE(machine.host.Logged(6, "Get Fan Speed by Ravik:0x00000001, Fan Speed 2300"));
    EXPECT_FALSE(machine.host.Logged(6, "Get Fan Speed by DA API:0x00000000, Fan Speed 3100"));
}

TEST_F(MonitorInformationTest, product_line_1_with_status_0xfffffffe_gives_fan_0) {
    machine.gpu.SetProductLine(1);
    machine.gpu.SetAcpiDevice(&acpiDevice);
    machine.Firmware(0xFFFFFFFE);
    EXPECT_EQ(Monitor().GetInt32("GPUFanSpeed"), 0);
    EXPECT_TRUE(machine.host.Logged(6, "Get Fan Speed by Ravik:0x00000000, Fan Speed 0"));
}

TEST_F(MonitorInformationTest, product_line_1_logs_the_bios_line_also_without_the_method_object) {
    machine.gpu.SetProductLine(1);
    machine.Firmware(0x17);
    EXPECT_EQ(Monitor().GetInt32("GPUFanSpeed"), 0);
    EXPECT_TRUE(machine.host.Logged(6, "Get Fan Speed by Ravik:0x00000000, Fan Speed 0"));
    EXPECT_TRUE(machine.helper.FirmwareCalls().empty());
}

TEST_F(MonitorInformationTest, no_fan_acoustic_table_writes_no_fan_acoustic_key) {
    EXPECT_FALSE(machine.fanAcoustic.IsLoaded());
    EXPECT_FALSE(Monitor().Contains("GPUFanAcoustic"));
}

TEST_F(MonitorInformationTest, fan_acoustic_is_the_gpu_table_level_of_the_fan_speed) {
    // 3100 rpm lies a tenth of the way from 3000 (40.0) to 4000 (50.0) on the GPU table.
    machine.LoadFanTable({{3100, 99.0}}, {{1500, 25.0}, {3000, 40.0}, {4000, 50.0}});
    const ValueSet answer = Monitor();
    EXPECT_EQ(answer.Find("GPUFanAcoustic")->GetKind(), Kind::Double);
    EXPECT_DOUBLE_EQ(answer.GetDouble("GPUFanAcoustic"), 41.0);
}

TEST_F(MonitorInformationTest, fan_acoustic_without_a_fan_reading_is_the_level_for_0_rpm) {
    machine.LoadFanTable({}, {{0, 12.5}, {3000, 40.0}});
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 2; });
    const ValueSet answer = Monitor();
    EXPECT_EQ(answer.GetInt32("GPUFanSpeed"), 0);
    EXPECT_EQ(answer.GetDouble("GPUFanAcoustic"), 12.5);
}

TEST_F(MonitorInformationTest, fan_acoustic_follows_the_bios_fan_on_product_line_1) {
    machine.LoadFanTable({}, {{2000, 30.0}, {3000, 40.0}});
    machine.gpu.SetProductLine(1);
    machine.gpu.SetAcpiDevice(&acpiDevice);
    machine.Firmware(0x19); // 2500 rpm
    EXPECT_DOUBLE_EQ(Monitor().GetDouble("GPUFanAcoustic"), 35.0);
}

TEST_F(MonitorInformationTest, docked_external_gpu_reports_the_dock_fan) {
    DockedRavik();
    const ValueSet answer = Monitor();
    EXPECT_EQ(answer.Find("EGPUFanSpeed")->GetKind(), Kind::Int32);
    EXPECT_EQ(answer.GetInt32("EGPUFanSpeed"), 1800);
    EXPECT_EQ(answer.Find("EGPUFanAcoustic")->GetKind(), Kind::Int32);
    EXPECT_EQ(answer.GetInt32("EGPUFanAcoustic"), 37);
    EXPECT_TRUE(machine.host.Logged(
        6, "Get EGPU Fan Speed by Docking API:0x00000000, Fan Speed 1800, Fan Acoustic"));
    EXPECT_EQ(machine.dock.FanReads(), 1);
    EXPECT_EQ(machine.dock.Initializes(), 2);
    EXPECT_EQ(machine.dock.Uninitializes(), 2);
}

TEST_F(MonitorInformationTest, docked_external_gpu_keys_are_zero_when_the_adapter_is_not_type_1) {
    DockedRavik();
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 2; });
    const ValueSet answer = Monitor();
    EXPECT_EQ(answer.GetInt32("EGPUFanSpeed"), 0);
    EXPECT_EQ(answer.GetInt32("EGPUFanAcoustic"), 0);
    EXPECT_EQ(machine.dock.FanReads(), 0);
}

TEST_F(MonitorInformationTest, monitor_never_probes_the_dock) {
    machine.gpu.SetProductLine(1);
    const ValueSet answer = Monitor();
    EXPECT_EQ(machine.dock.Initializes(), 0);
    EXPECT_FALSE(answer.Contains("EGPUFanSpeed"));
    EXPECT_EQ(machine.gpu.EGPUState(), gpu::GpuInformation::kEgpuNotProbed);
}

TEST_F(MonitorInformationTest, external_gpu_keys_need_product_line_1) {
    DockedRavik();
    machine.gpu.SetProductLine(2);
    const ValueSet answer = Monitor();
    EXPECT_FALSE(answer.Contains("EGPUFanSpeed"));
    EXPECT_EQ(machine.dock.FanReads(), 0);
}

} // namespace
