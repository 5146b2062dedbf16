#include "cpu/amd_cpu_monitor.h"
#include "cpu_test_doubles.h"
#include "fake_host.h"
#include "sim/fake_amd_sdk.h"
#include "sim/fake_ryzen_master.h"
#include "sim/memory_files.h"
#include "test_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

constexpr char16_t kBuild16[] = u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll";
constexpr char16_t kFlagFile[] =
    u"C:\\Windows\\system32\\config\\systemprofile\\AppData\\Local\\Packages\\7C41A2D0.Quillon_"
    u"h3kz8w1p5tqfe\\LocalState\\Overclocking\\VBS.ini";

void Put32(std::vector<uint8_t>& bytes, std::size_t offset, uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}
void Put16(std::vector<uint8_t>& bytes, std::size_t offset, uint16_t value) {
    bytes[offset] = static_cast<uint8_t>(value);
    bytes[offset + 1] = static_cast<uint8_t>(value >> 8);
}
uint32_t Get32(const std::vector<uint8_t>& bytes, std::size_t offset) {
    uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        value |= static_cast<uint32_t>(bytes[offset + i]) << (8 * i);
    }
    return value;
}

// What the SDK reports for core 0, at the block offsets the SDK writes.
std::vector<uint8_t> CoreZeroImage(int32_t clock, uint32_t voltage, int16_t usage,
                                   int16_t temperature) {
    std::vector<uint8_t> image(2052, 0xEE);
    Put32(image, 4, static_cast<uint32_t>(clock));
    Put32(image, 12, voltage);
    Put16(image, 32, static_cast<uint16_t>(usage));
    Put16(image, 34, static_cast<uint16_t>(temperature));
    return image;
}

class AmdCpuMonitorTest : public ::testing::Test, protected AmdMachine {
protected:
    AmdCpuMonitorTest() {
        host.Install(*plugin);
        sdk.Change([](auto& answers) {
            answers.Files = {kBuild16};
            answers.StatusImage = CoreZeroImage(-3600, 1100, 37, 61);
        });
        monitor.LoadAMDSDK(2, 128);
        host.logs.clear();
    }

    const ValueSet& Core0() const { return Core0Of(answer); }
    void Build(cpu::CpuReadings* from, uint32_t fanSpeed = 3300) {
        answer.Clear();
        monitor.GetAMDCPUMonitorInformation(from, fanSpeed, answer);
    }
    std::size_t StatusCalls() const { return sdk.Seen().StatusCoreCounts.size(); }
    std::size_t Toasts() const { return host.requests.size(); }

    FakeHost host;
    PluginRef plugin{new TestPlugin(0, host.Heap())};
    cpu::AmdCpuMonitor monitor{Ports(*plugin, Signed)};
    FakeCpuReadings reader;
    ValueSet answer;
};

TEST_F(AmdCpuMonitorTest, writes_the_amd_gauge_maxima) {
    Build(&reader, 3300);
    EXPECT_EQ(answer.GetInt32("MaxCPUProcessorFreq"), 6000);
    EXPECT_EQ(answer.GetInt32("MaxCPUMemoryFreq"), 3000);
    EXPECT_EQ(answer.GetDouble("MaxCPUVoltage"), 3000.0);
    EXPECT_EQ(answer.GetInt32("MaxCPUTemprature"), 100);
    EXPECT_EQ(answer.GetInt32("MaxCPUUsage"), 100);
    EXPECT_EQ(answer.GetInt32("MaxCPUFanSpeed"), 6000);
    EXPECT_EQ(answer.GetInt32("CPUFanSpeed"), 3300);
    EXPECT_EQ(answer.GetInt32("CPUCoreCount"), 1);
}

TEST_F(AmdCpuMonitorTest, a_full_reader_answers_alone_without_the_sdk) {
    Build(&reader);
    EXPECT_EQ(StatusCalls(), 0u);
    EXPECT_EQ(answer.GetInt32("CPUMemoryFrequency"), 4800);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 2400);
    EXPECT_EQ(Core0().GetDouble("Usage"), 35.0);
    EXPECT_EQ(Core0().GetInt32("Temprature"), 45);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 950.0);
    EXPECT_THAT(host.LinesAt(6), ElementsAre("GetAMDCPUMonitorInformation : Begin",
                                             "GetAMDCPUMonitorInformation : End"));
}

TEST_F(AmdCpuMonitorTest, a_core_0_clock_of_minus_3600_is_answered_as_3600) {
    Build(nullptr);
    EXPECT_EQ(KindOf(Core0(), "ProcessorFrequency"), Kind::Int32);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 3600);
    EXPECT_TRUE(host.Logged(6, "Get CPU Frequency from AMD SDK : -3600."));
}

TEST_F(AmdCpuMonitorTest, without_a_reader_clock_and_usage_come_from_core_0_of_the_block) {
    Build(nullptr);
    EXPECT_THAT(KeysOf(Core0()), ElementsAre("ProcessorFrequency", "Usage"));
    EXPECT_EQ(Core0().GetDouble("Usage"), 37.0);
    EXPECT_FALSE(answer.Contains("CPUMemoryFrequency"));
    EXPECT_THAT(host.LinesAt(3), ElementsAre("CPUInfoReader is null."));
    EXPECT_TRUE(host.Logged(6, "Get AMD CPU Info From SDK : Begin"));
    EXPECT_TRUE(host.Logged(6, "Get CPU Usage from AMD SDK : 37.000000"));
}

TEST_F(AmdCpuMonitorTest, a_negative_sdk_usage_is_answered_as_its_magnitude) {
    sdk.Change([](auto& answers) { answers.StatusImage = CoreZeroImage(3000, 0, -12, 0); });
    Build(nullptr);
    EXPECT_EQ(Core0().GetDouble("Usage"), 12.0);
}

TEST_F(AmdCpuMonitorTest, temperature_and_voltage_come_from_one_refresh_of_the_block) {
    reader.Temperature = 0;
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_EQ(StatusCalls(), 1u);
    EXPECT_EQ(KindOf(Core0(), "Temprature"), Kind::Int32);
    EXPECT_EQ(Core0().GetInt32("Temprature"), 61);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 1100.0);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - AMD CPU Temperature from SDK : 61.000000"));
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - AMD CPU Voltage from SDK : 1100.000000"));
}

TEST_F(AmdCpuMonitorTest, the_voltage_alone_refreshes_the_block) {
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_EQ(StatusCalls(), 1u);
    EXPECT_EQ(Core0().GetInt32("Temprature"), 45);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 1100.0);
}

TEST_F(AmdCpuMonitorTest, a_negative_reader_voltage_is_answered_as_its_magnitude) {
    reader.Voltage = -870.0;
    Build(&reader);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 870.0);
}

TEST_F(AmdCpuMonitorTest, a_reader_clock_of_0_takes_the_sdk_clock_and_keeps_the_reader_usage) {
    reader.Frequency = 0.0;
    Build(&reader);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 3600);
    EXPECT_EQ(Core0().GetDouble("Usage"), 35.0);
    EXPECT_FALSE(host.Logged(6, "Get CPU Usage from AMD SDK : 37.000000"));
}

TEST_F(AmdCpuMonitorTest, a_reader_usage_of_0_takes_the_sdk_usage_and_keeps_the_reader_clock) {
    reader.Utilization = 0.0;
    Build(&reader);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 2400);
    EXPECT_EQ(Core0().GetDouble("Usage"), 37.0);
    EXPECT_FALSE(host.Logged(6, "Get CPU Frequency from AMD SDK : -3600."));
}

TEST_F(AmdCpuMonitorTest, a_missing_get_cpu_status_for_the_temperature_ends_the_answer_early) {
    sdk.Change([](auto& answers) { answers.Status.reset(); });
    acoustic.Loaded = true;
    reader.Temperature = 0;
    Build(&reader);
    EXPECT_THAT(host.LinesAt(3), ElementsAre("Monitor Plugin - GetCPUStatus is NULL. "));
    EXPECT_FALSE(answer.Contains("CPUFanAcoustic"));
    EXPECT_FALSE(Core0().Contains("Voltage"));
    EXPECT_FALSE(host.Logged(6, "GetAMDCPUMonitorInformation : End"));
}

TEST_F(AmdCpuMonitorTest, a_missing_get_cpu_status_for_the_voltage_ends_the_answer_early) {
    sdk.Change([](auto& answers) { answers.Status.reset(); });
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_THAT(host.LinesAt(3), ElementsAre("Monitor Plugin - GetCPUStatus is NULL. "));
    EXPECT_EQ(Core0().GetInt32("Temprature"), 45);
    EXPECT_FALSE(host.Logged(6, "GetAMDCPUMonitorInformation : End"));
}

TEST_F(AmdCpuMonitorTest, no_sdk_module_ends_the_answer_at_the_temperature) {
    monitor.UnloadAMDSDK();
    host.logs.clear();
    reader.Temperature = 0;
    Build(&reader);
    EXPECT_THAT(host.LinesAt(3), ElementsAre("Monitor Plugin - GetCPUStatus is NULL. "));
    EXPECT_FALSE(Core0().Contains("Temprature"));
}

TEST_F(AmdCpuMonitorTest, a_missing_get_cpu_status_in_the_fallback_only_traces) {
    sdk.Change([](auto& answers) { answers.Status.reset(); });
    acoustic.Loaded = true;
    acoustic.Level = 28.0;
    Build(nullptr, 2500);
    EXPECT_THAT(host.LinesAt(3), ElementsAre("CPUInfoReader is null."));
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - GetCPUStatus is NULL. "));
    EXPECT_THAT(KeysOf(Core0()), IsEmpty());
    EXPECT_EQ(answer.GetDouble("CPUFanAcoustic"), 28.0);
    EXPECT_THAT(acoustic.Lookups, ElementsAre(std::pair{0, 2500}));
    EXPECT_TRUE(host.Logged(6, "GetAMDCPUMonitorInformation : End"));
}

TEST_F(AmdCpuMonitorTest, ensure_allocates_the_block_once_and_announces_its_size) {
    EXPECT_TRUE(monitor.EnsureAMDSDKMonitor());
    EXPECT_TRUE(monitor.EnsureAMDSDKMonitor());
    const auto trace = host.LinesAt(6);
    ASSERT_EQ(trace.size(), 1u);
    EXPECT_THAT(trace[0], ::testing::StartsWith("pVelmorCPUInformationList : "));
    EXPECT_THAT(trace[0], ::testing::EndsWith(" size of :2052"));
}

TEST_F(AmdCpuMonitorTest, the_block_handed_to_the_sdk_is_2052_zeroed_bytes_and_the_core_count) {
    monitor.PrepareStatusBlock();
    Build(nullptr);
    const auto seen = sdk.Seen();
    ASSERT_EQ(seen.BlockSeen.size(), 2052u);
    EXPECT_THAT(seen.BlockSeen, ::testing::Each(0));
    EXPECT_THAT(seen.StatusCoreCounts, ElementsAre(8u));
}

TEST_F(AmdCpuMonitorTest, preparing_writes_the_memory_clock_at_8_plus_32_per_core) {
    sdk.Change([](auto& answers) {
        answers.PhysicalCores = 3;
        answers.MemoryFrequency = 2400;
    });
    monitor.PrepareStatusBlock();
    EXPECT_EQ(monitor.PhysicalCoreCount(), 3);
    Build(nullptr);
    const auto block = sdk.Seen().BlockSeen;
    ASSERT_EQ(block.size(), 2052u);
    EXPECT_EQ(Get32(block, 8), 2400u);
    EXPECT_EQ(Get32(block, 40), 2400u);
    EXPECT_EQ(Get32(block, 72), 2400u);
    EXPECT_EQ(Get32(block, 104), 0u);
    EXPECT_EQ(Get32(block, 4), 0u);
}

TEST_F(AmdCpuMonitorTest, more_cores_than_the_block_holds_are_told_as_64) {
    sdk.Change([](auto& answers) {
        answers.PhysicalCores = 96;
        answers.MemoryFrequency = 3200;
    });
    monitor.PrepareStatusBlock();
    Build(nullptr);
    const auto seen = sdk.Seen();
    EXPECT_THAT(seen.StatusCoreCounts, ElementsAre(64u));
    EXPECT_EQ(Get32(seen.BlockSeen, 8 + 32 * 63), 3200u);
}

TEST_F(AmdCpuMonitorTest, a_memory_clock_of_0_is_not_written) {
    sdk.Change([](auto& answers) { answers.StatusImage.clear(); });
    monitor.PrepareStatusBlock();
    Build(nullptr);
    EXPECT_EQ(Get32(sdk.Seen().BlockSeen, 8), 0u);
}

TEST_F(AmdCpuMonitorTest, preparing_stops_at_a_missing_core_count) {
    sdk.Change([](auto& answers) {
        answers.PhysicalCores.reset();
        answers.MemoryFrequency = 2400;
    });
    monitor.PrepareStatusBlock();
    EXPECT_EQ(monitor.PhysicalCoreCount(), 0);
    EXPECT_TRUE(monitor.EnsureAMDSDKMonitor());
    EXPECT_EQ(host.LinesAt(6).size(), 1u); // the block was not made before
}

TEST_F(AmdCpuMonitorTest, preparing_without_a_module_does_nothing) {
    monitor.UnloadAMDSDK();
    monitor.PrepareStatusBlock();
    EXPECT_EQ(monitor.PhysicalCoreCount(), 0);
}

class MemoryIntegrityNoticeTest : public AmdCpuMonitorTest {
protected:
    std::u16string ToastText(std::size_t index) const {
        const ValueSet body = FakeHost::BodyOf(host.requests.at(index).message);
        const ValueSet* toast = body.FindMap("Request");
        return toast == nullptr
                   ? u""
                   : toast->GetString("ToastTitle") + u"|" + toast->GetString("ToastContent");
    }
};

TEST_F(MemoryIntegrityNoticeTest, a_flag_present_from_the_start_is_told_on_the_third_call) {
    files.Put(kFlagFile, "");
    Build(&reader);
    Build(&reader);
    EXPECT_EQ(Toasts(), 0u);
    EXPECT_TRUE(files.Exists(kFlagFile));
    Build(&reader);
    ASSERT_EQ(Toasts(), 1u);
    EXPECT_EQ(ToastText(0), u"QUILLON|No CPU information will be displayed if \"Memory "
                            u"integrity\" under \"Core isolation\" is on.");
    EXPECT_FALSE(files.Exists(kFlagFile));
    Build(&reader);
    EXPECT_EQ(Toasts(), 1u);
}

TEST_F(MemoryIntegrityNoticeTest, a_flag_made_again_later_is_told_on_the_next_call) {
    files.Put(kFlagFile, "");
    for (int call = 0; call < 4; ++call) {
        Build(&reader);
    }
    files.Put(kFlagFile, "1");
    Build(&reader);
    EXPECT_EQ(Toasts(), 2u);
    EXPECT_FALSE(files.Exists(kFlagFile));
    EXPECT_EQ(files.DeleteCount(kFlagFile), 2);
}

TEST_F(MemoryIntegrityNoticeTest, no_flag_no_notice) {
    for (int call = 0; call < 4; ++call) {
        Build(&reader);
    }
    EXPECT_EQ(Toasts(), 0u);
    EXPECT_EQ(files.DeleteCount(kFlagFile), 0);
}

TEST_F(MemoryIntegrityNoticeTest, an_answer_ended_early_does_not_count) {
    files.Put(kFlagFile, "");
    sdk.Change([](auto& answers) { answers.Status.reset(); });
    reader.Temperature = 0;
    for (int call = 0; call < 3; ++call) {
        Build(&reader);
    }
    reader.Temperature = 45;
    Build(&reader);
    Build(&reader);
    EXPECT_EQ(Toasts(), 0u);
    Build(&reader);
    EXPECT_EQ(Toasts(), 1u);
}

TEST_F(MemoryIntegrityNoticeTest, an_unknown_local_folder_tells_nothing_until_it_is_known) {
    files.Put(kFlagFile, "");
    files.SetFolders({.LocalAppData = std::nullopt});
    for (int call = 0; call < 3; ++call) {
        Build(&reader);
    }
    EXPECT_EQ(Toasts(), 0u);
    files.SetFolders({});
    Build(&reader);
    EXPECT_EQ(Toasts(), 1u);
}

} // namespace
