#include "cpu/intel_cpu_monitor.h"
#include "cpu_test_doubles.h"
#include "fake_host.h"
#include "sim/fake_helper_library.h"
#include "sim/fake_xtu_library.h"
#include "test_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

constexpr uint32_t kTemperatureId = 0xA1000001;
constexpr uint32_t kVoltage0Id = 0x41;
constexpr uint32_t kCoreVoltageId = 0xA5000004;
constexpr uint32_t kClockId = 5;
constexpr uint32_t kUsageId = 90;

class IntelCpuMonitorTest : public ::testing::Test {
protected:
    IntelCpuMonitorTest() { host.Install(*plugin); }

    // The wrapper made ready as the initialisation thread does, its monitor already running.
    void XtuReady() {
        xtu.Change([](auto& answers) { answers.MonitorRunning = true; });
        monitor.InitializeXtu();
        ASSERT_TRUE(monitor.HasXtu());
        sleepsBefore = kernel.Sleeps().size();
    }
    void XtuValues(uint32_t id, std::vector<double> values) {
        xtu.Change([&](auto& answers) { answers.Values[id] = std::move(values); });
    }
    std::vector<uint32_t> XtuReads() const { return xtu.Seen().Reads; }
    std::vector<uint32_t> NewSleeps() const {
        const auto all = kernel.Sleeps();
        return {all.begin() + static_cast<std::ptrdiff_t>(sleepsBefore), all.end()};
    }
    const ValueSet& Core0() const { return Core0Of(answer); }
    void Build(cpu::CpuReadings* from, uint32_t fanSpeed = 2800) {
        monitor.GetCPUMonitorInformation(from, fanSpeed, answer);
    }

    FakeHost host;
    PluginRef plugin{new TestPlugin(0, host.Heap())};
    SleepRecordingKernel kernel;
    sim::FakeHelperLibrary helper{sim::FakeHelperLibrary::IntelLaptop()};
    sim::FakeXtuLibrary xtu;
    FakeFanAcoustic acoustic;
    bool ready = true;
    cpu::IntelCpuMonitor monitor{{*plugin, kernel, helper, xtu, acoustic},
                                 [this] { return ready; }};
    FakeCpuReadings reader;
    ValueSet answer;
    std::size_t sleepsBefore = 0;
};

TEST_F(IntelCpuMonitorTest, writes_the_intel_gauge_maxima_the_fan_speed_and_one_core) {
    Build(&reader, 3100);
    EXPECT_EQ(answer.GetInt32("MaxCPUProcessorFreq"), 6000);
    EXPECT_EQ(answer.GetInt32("MaxCPUMemoryFreq"), 4000);
    EXPECT_EQ(KindOf(answer, "MaxCPUVoltage"), Kind::Double);
    EXPECT_EQ(answer.GetDouble("MaxCPUVoltage"), 3000.0);
    EXPECT_EQ(answer.GetInt32("MaxCPUTemprature"), 100);
    EXPECT_EQ(answer.GetInt32("MaxCPUUsage"), 100);
    EXPECT_EQ(answer.GetInt32("MaxCPUFanSpeed"), 5500);
    EXPECT_EQ(answer.GetInt32("CPUFanSpeed"), 3100);
    EXPECT_EQ(answer.GetInt32("CPUCoreCount"), 1);
    for (const char* key :
         {"MaxCPUProcessorFreq", "MaxCPUMemoryFreq", "MaxCPUTemprature", "MaxCPUUsage",
          "MaxCPUFanSpeed", "CPUFanSpeed", "CPUCoreCount", "CPUMemoryFrequency"}) {
        EXPECT_EQ(KindOf(answer, key), Kind::Int32) << key;
    }
    EXPECT_EQ(KindOf(answer, "Core0"), Kind::Map);
}

TEST_F(IntelCpuMonitorTest, cpu_core_count_is_1_whatever_the_processor) {
    for (cpu::CpuReadings* from :
         {static_cast<cpu::CpuReadings*>(&reader), static_cast<cpu::CpuReadings*>(nullptr)}) {
        ValueSet fresh;
        monitor.GetCPUMonitorInformation(from, 0, fresh);
        EXPECT_EQ(fresh.GetInt32("CPUCoreCount"), 1);
    }
}

TEST_F(IntelCpuMonitorTest, a_reader_with_clock_and_utilisation_never_reads_them_from_xtu) {
    XtuReady();
    Build(&reader);
    EXPECT_THAT(XtuReads(), IsEmpty());
    EXPECT_EQ(reader.CollectCalls, 1);
    EXPECT_EQ(answer.GetInt32("CPUMemoryFrequency"), 4800);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 2400);
    EXPECT_EQ(KindOf(Core0(), "Usage"), Kind::Double);
    EXPECT_EQ(Core0().GetDouble("Usage"), 35.0);
    EXPECT_EQ(Core0().GetInt32("Temprature"), 45);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 950.0);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Get CPU Temperature from CPUInfoReader : 45"));
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Get CPU Voltage from CPUInfoReader : 950.000000"));
}

TEST_F(IntelCpuMonitorTest, a_reader_clock_of_0_with_utilisation_12_reads_the_xtu_clock_only) {
    XtuReady();
    XtuValues(kClockId, {3.2});
    reader.Frequency = 0.0;
    reader.Utilization = 12.0;
    Build(&reader);
    EXPECT_THAT(XtuReads(), ElementsAre(kClockId));
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 3200);
    EXPECT_EQ(Core0().GetDouble("Usage"), 12.0);
    EXPECT_TRUE(host.Logged(6, "Get CPU Frequency from XTU : 3200."));
}

TEST_F(IntelCpuMonitorTest, a_reader_utilisation_of_0_reads_the_xtu_utilisation_as_its_magnitude) {
    XtuReady();
    XtuValues(kUsageId, {-41.5});
    reader.Utilization = 0.0;
    Build(&reader);
    EXPECT_THAT(XtuReads(), ElementsAre(kUsageId));
    EXPECT_EQ(Core0().GetDouble("Usage"), 41.5);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 2400);
    EXPECT_TRUE(host.Logged(6, "Get CPU Usage from XTU : -41.500000"));
}

TEST_F(IntelCpuMonitorTest, a_negative_xtu_clock_is_answered_as_its_magnitude_in_megahertz) {
    XtuReady();
    XtuValues(kClockId, {-2.5});
    Build(nullptr);
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 2500);
}

TEST_F(IntelCpuMonitorTest, an_xtu_voltage_of_1_05_volts_is_answered_as_1050) {
    XtuReady();
    XtuValues(kVoltage0Id, {1.05});
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_DOUBLE_EQ(Core0().GetDouble("Voltage"), 1050.0);
    EXPECT_THAT(XtuReads(), ElementsAre(kVoltage0Id));
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - XTU get PROCESSOR_ID_EACH_PROCESSOR_VOLTAGE+0 OK "
                               "- CPU voltage is 1050.000000"));
}

TEST_F(IntelCpuMonitorTest, a_negative_xtu_voltage_is_answered_as_its_absolute_value) {
    XtuReady();
    XtuValues(kVoltage0Id, {-0.9});
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_DOUBLE_EQ(Core0().GetDouble("Voltage"), 900.0);
}

TEST_F(IntelCpuMonitorTest, a_negative_reader_voltage_is_answered_as_its_absolute_value) {
    reader.Voltage = -1020.0;
    Build(&reader);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 1020.0);
    EXPECT_TRUE(
        host.Logged(6, "Monitor Plugin - Get CPU Voltage from CPUInfoReader : -1020.000000"));
}

TEST_F(IntelCpuMonitorTest, an_xtu_voltage_of_0_is_read_again_from_the_core_voltage_monitor) {
    XtuReady();
    XtuValues(kCoreVoltageId, {1.1});
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_THAT(XtuReads(), ElementsAre(kVoltage0Id, kCoreVoltageId));
    EXPECT_DOUBLE_EQ(Core0().GetDouble("Voltage"), 1100.0);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - XTU get VOLTAGES_ID_PROCESS_CORE_VOLTAGE OK - "
                               "CPU voltage is 1100.000000"));
}

TEST_F(IntelCpuMonitorTest, xtu_voltages_of_0_twice_answer_0_with_a_level_2_line) {
    XtuReady();
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_EQ(KindOf(Core0(), "Voltage"), Kind::Double);
    EXPECT_EQ(Core0().GetDouble("Voltage"), 0.0);
    EXPECT_THAT(host.LinesAt(2), ElementsAre("Monitor Plugin - XTU get "
                                             "VOLTAGES_ID_PROCESS_CORE_VOLTAGE Fail - CPU voltage "
                                             "is 0"));
}

TEST_F(IntelCpuMonitorTest, xtu_temperatures_of_0_twice_answer_0_with_a_level_2_line) {
    XtuReady();
    reader.Temperature = 0;
    Build(&reader);
    EXPECT_THAT(XtuReads(), ElementsAre(kTemperatureId, kTemperatureId));
    EXPECT_EQ(KindOf(Core0(), "Temprature"), Kind::Int32);
    EXPECT_EQ(Core0().GetInt32("Temprature"), 0);
    EXPECT_THAT(host.LinesAt(2), ElementsAre("Monitor Plugin - XTU get "
                                             "PROCESSOR_ID_CPU_TEMPERATURE Fail - CPU temperature "
                                             "is 0"));
}

TEST_F(IntelCpuMonitorTest, an_xtu_temperature_is_truncated_and_logged_as_read) {
    XtuReady();
    XtuValues(kTemperatureId, {67.9});
    reader.Temperature = 0;
    Build(&reader);
    EXPECT_EQ(Core0().GetInt32("Temprature"), 67);
    EXPECT_TRUE(host.Logged(
        6, "Monitor Plugin - XTU get CPU_TEMPERATURE OK - CPU temperature is 67.900000"));
}

TEST_F(IntelCpuMonitorTest, an_xtu_temperature_of_0_is_read_again_under_the_same_id) {
    XtuReady();
    XtuValues(kTemperatureId, {0.0, 52.5});
    reader.Temperature = 0;
    Build(&reader);
    EXPECT_THAT(XtuReads(), ElementsAre(kTemperatureId, kTemperatureId));
    EXPECT_EQ(Core0().GetInt32("Temprature"), 52);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - XTU get PROCESSOR_ID_CPU_TEMPERATURE OK - CPU "
                               "temperature is 52.500000"));
}

TEST_F(IntelCpuMonitorTest, the_reader_temperature_is_a_signed_16_bit_number) {
    reader.Temperature = 0xFFF6;
    Build(&reader);
    EXPECT_EQ(Core0().GetInt32("Temprature"), -10);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Get CPU Temperature from CPUInfoReader : -10"));
}

TEST_F(IntelCpuMonitorTest, no_reader_gives_the_fixed_entries_and_xtu_clock_and_usage_only) {
    XtuReady();
    XtuValues(kClockId, {4.1});
    XtuValues(kUsageId, {23.0});
    acoustic.Loaded = true;
    acoustic.Level = 31.5;
    Build(nullptr, 2900);
    EXPECT_THAT(KeysOf(answer),
                ElementsAre("CPUCoreCount", "CPUFanAcoustic", "CPUFanSpeed", "Core0",
                            "MaxCPUFanSpeed", "MaxCPUMemoryFreq", "MaxCPUProcessorFreq",
                            "MaxCPUTemprature", "MaxCPUUsage", "MaxCPUVoltage"));
    EXPECT_THAT(KeysOf(Core0()), ElementsAre("ProcessorFrequency", "Usage"));
    EXPECT_EQ(Core0().GetInt32("ProcessorFrequency"), 4100);
    EXPECT_EQ(Core0().GetDouble("Usage"), 23.0);
    EXPECT_EQ(answer.GetDouble("CPUFanAcoustic"), 31.5);
    EXPECT_THAT(acoustic.Lookups, ElementsAre(std::pair{0, 2900}));
    EXPECT_THAT(host.LinesAt(3), ElementsAre("CPUInfoReader is null."));
}

TEST_F(IntelCpuMonitorTest, no_reader_and_no_xtu_leave_core0_empty_with_the_voltage_wording) {
    Build(nullptr);
    EXPECT_THAT(KeysOf(Core0()), IsEmpty());
    EXPECT_THAT(host.LinesAt(3), ElementsAre("CPUInfoReader is null.",
                                             "Monitor Plugin - (Voltage)EnsureXTUMonitor failed"));
    EXPECT_TRUE(host.Logged(6, "XTU pointer is null"));
}

TEST_F(IntelCpuMonitorTest, without_xtu_temperature_and_voltage_are_absent_and_logged) {
    reader.Temperature = 0;
    reader.VoltageSupported = false;
    Build(&reader);
    EXPECT_THAT(KeysOf(Core0()), ElementsAre("ProcessorFrequency", "Usage"));
    EXPECT_THAT(host.LinesAt(3), ElementsAre("Monitor Plugin - EnsureXTUMonitor failed",
                                             "Monitor Plugin - (Voltage)EnsureXTUMonitor failed"));
}

TEST_F(IntelCpuMonitorTest, the_acoustic_level_is_written_only_when_the_table_is_loaded) {
    Build(&reader);
    EXPECT_FALSE(answer.Contains("CPUFanAcoustic"));
    EXPECT_THAT(acoustic.Lookups, IsEmpty());
    acoustic.Loaded = true;
    Build(&reader, 4000);
    EXPECT_EQ(KindOf(answer, "CPUFanAcoustic"), Kind::Double);
    EXPECT_THAT(acoustic.Lookups, ElementsAre(std::pair{0, 4000}));
}

TEST_F(IntelCpuMonitorTest, begin_and_end_are_traced) {
    Build(&reader);
    const auto trace = host.LinesAt(6);
    ASSERT_FALSE(trace.empty());
    EXPECT_EQ(trace.front(), "GetCPUMonitorInformation : Begin");
    EXPECT_EQ(trace.back(), "GetCPUMonitorInformation : End");
}

TEST_F(IntelCpuMonitorTest, ensure_without_wrapper_is_false) {
    EXPECT_FALSE(monitor.EnsureXTUMonitor());
    EXPECT_THAT(host.LinesAt(6), ElementsAre("XTU pointer is null"));
}

TEST_F(IntelCpuMonitorTest, ensure_with_a_running_monitor_neither_starts_nor_sleeps) {
    XtuReady();
    EXPECT_TRUE(monitor.EnsureXTUMonitor());
    EXPECT_EQ(xtu.Seen().StartMonitor, 0);
    EXPECT_THAT(NewSleeps(), IsEmpty());
}

TEST_F(IntelCpuMonitorTest, ensure_starts_a_stopped_monitor_and_waits_3_seconds) {
    XtuReady();
    monitor.StopXtuMonitor();
    EXPECT_TRUE(monitor.EnsureXTUMonitor());
    EXPECT_EQ(xtu.Seen().StartMonitor, 1);
    EXPECT_THAT(NewSleeps(), ElementsAre(3000u));
    EXPECT_TRUE(host.Logged(6, "XTU StartMonitor"));
}

TEST_F(IntelCpuMonitorTest, ensure_while_the_plugin_is_not_ready_waits_5_seconds_more) {
    XtuReady();
    monitor.StopXtuMonitor();
    ready = false;
    EXPECT_TRUE(monitor.EnsureXTUMonitor());
    EXPECT_THAT(NewSleeps(), ElementsAre(3000u, 5000u));
}

TEST_F(IntelCpuMonitorTest, ensure_is_true_even_when_the_monitor_does_not_start) {
    XtuReady();
    xtu.Change([](auto& answers) {
        answers.MonitorRunning = false;
        answers.StartMonitorStarts = false;
    });
    EXPECT_TRUE(monitor.EnsureXTUMonitor());
    EXPECT_TRUE(monitor.EnsureXTUMonitor());
    EXPECT_EQ(xtu.Seen().StartMonitor, 2);
}

TEST_F(IntelCpuMonitorTest, the_wrapper_is_destroyed_once_at_shutdown) {
    XtuReady();
    monitor.DestroyXtu();
    EXPECT_FALSE(monitor.HasXtu());
    EXPECT_EQ(xtu.Seen().Destroyed, 1);
    monitor.DestroyXtu();
    EXPECT_EQ(xtu.Seen().Destroyed, 1);
}

} // namespace
