#include "cpu/cpu_info_reader.h"
#include "machine_doubles.h"
#include "scenario_file.h"
#include "win32/win32_helper_library.h"
#include "win32/win32_io_libraries.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_performance_counters.h"
#include "win32/win32_wmi.h"

#include <gtest/gtest.h>
#include <mutex>
#include <vector>

namespace {

// The CPU info reader on the Windows ports, with the stand-in helper and IO libraries beside the
// test and Wine's own counters and WMI.
class CpuInfoReaderWin32Test : public ::testing::Test {
protected:
    std::unique_ptr<cpu::CPUInfoReader> Reader(uint32_t vendor, std::u16string model) {
        auto reader = std::make_unique<cpu::CPUInfoReader>(
            cpu::CpuInfoPorts{kernel, helper, counters, wmi, io, folders}, vendor,
            std::move(model));
        reader->logger = [this](int32_t level, const char16_t*, const char16_t* text) {
            std::lock_guard lock(mutex);
            logs.emplace_back(level, text);
        };
        reader->libraryVerifier = [](const std::u16string&) { return 1; };
        return reader;
    }

    bool Logged(int32_t level, const std::u16string& text) {
        std::lock_guard lock(mutex);
        return std::find(logs.begin(), logs.end(), std::pair{level, text}) != logs.end();
    }

    void SetUp() override {
        standin::ScenarioFolder(win32::OwnModuleFolder())
            .Write("NativeCorvaneHelper", "DSTS.0x00120094=0x00010041\n");
        standin::ScenarioFolder(win32::OwnModuleFolder())
            .Write("VelmorIO3_64", "MSR.0x198=0x00001A0000000000\n");
    }

    win32::Win32KernelObjects kernel;
    win32::Win32HelperLibrary helper;
    win32::Win32PerformanceCounters counters;
    win32::Win32Wmi wmi;
    win32::Win32IoLibraries io;
    TestFolders folders;
    std::mutex mutex;
    std::vector<std::pair<int32_t, std::u16string>> logs;
};

TEST_F(CpuInfoReaderWin32Test, the_qz731_model_reads_its_voltage_through_the_io_library) {
    auto reader = Reader(1, u"GX650QZ731");
    reader->Initialize(nullptr);
    EXPECT_TRUE(reader->IsVoltageSupported(false));
    EXPECT_TRUE(Logged(5, u"Support VelmorIO3 Voltage"));
    EXPECT_EQ(reader->GetVoltage(), 812.0);
    EXPECT_TRUE(Logged(6, u"Voltage from VelmorIO:812.000000"));
    reader->Release();
}

TEST_F(CpuInfoReaderWin32Test, firmware_readings_come_through_the_helper_library) {
    standin::ScenarioFolder(win32::OwnModuleFolder())
        .Write("NativeCorvaneHelper", "DSTS.0x00120094=0x00010041\nDSTS.0x00120079=0x00010456\n");
    auto reader = Reader(2, u"GA402");
    reader->Initialize(reinterpret_cast<void*>(0x42));
    EXPECT_TRUE(Logged(5, u"Support BIOS Temperature"));
    EXPECT_TRUE(Logged(5, u"Support BIOS Voltage"));
    EXPECT_EQ(reader->GetTemperature(), 65);
    EXPECT_EQ(reader->GetVoltage(), 1110.0);
    const auto calls =
        standin::ScenarioFolder(win32::OwnModuleFolder()).Calls("NativeCorvaneHelper");
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front(),
              "One_WMIMethod_INT device=0x0000000000000042 method=0x53545344 id=0x00120079");
    reader->Release();
}

TEST_F(CpuInfoReaderWin32Test, the_rated_clock_comes_from_wmi) {
    uint32_t clock = 0;
    EXPECT_EQ(cpu::CPUInfoReader::QueryWmiSingleValue(
                  wmi, u"SELECT MaxClockSpeed FROM Win32_Processor", &clock),
              0);
    EXPECT_GT(clock, 0u);
}

// The query returns at once, so a class that does not exist shows only as no objects.
TEST_F(CpuInfoReaderWin32Test, a_query_for_a_class_that_does_not_exist_gives_no_single_value) {
    ports::WmiValues values;
    EXPECT_EQ(wmi.QueryWmiValue(u"SELECT Nothing FROM Win32_NoSuchClass", values), 0);
    EXPECT_TRUE(values.empty());
    uint32_t value = 5;
    EXPECT_EQ(cpu::CPUInfoReader::QueryWmiSingleValue(wmi, u"SELECT Nothing FROM Win32_NoSuchClass",
                                                      &value),
              static_cast<int32_t>(0x80004005));
    EXPECT_EQ(value, 5u);
}

TEST_F(CpuInfoReaderWin32Test, the_memory_clock_is_one_value_across_modules) {
    auto reader = Reader(1, u"GA402");
    reader->Initialize(nullptr);
    uint32_t speed = 0;
    const int32_t result = cpu::CPUInfoReader::QueryWmiSingleValue(
        wmi, u"SELECT ConfiguredClockSpeed FROM Win32_PhysicalMemory", &speed);
    EXPECT_EQ(reader->GetMemoryClockSpeed(), result == 0 ? speed : 0u);
    reader->Release();
}

// Wine has no "Processor Information" counters: the start fails at the first counter and the
// readings keep their cached values.
TEST_F(CpuInfoReaderWin32Test, without_processor_information_counters_readings_stay_cached) {
    auto reader = Reader(1, u"GA402");
    reader->Initialize(nullptr);
    const uint32_t status = reader->StartPDH();
    if (status == 0) {
        GTEST_SKIP() << "this Wine has the processor information counters";
    }
    EXPECT_TRUE(Logged(3, u"PdhAddEnglishCounter(Processor Performance) failed: -1073738823 "));
    EXPECT_EQ(reader->GetFrequency(), 0.0);
    EXPECT_EQ(reader->GetUtilization(), 0.0);
    EXPECT_FALSE(reader->CollectQueryData());
    reader->Release();
}

TEST_F(CpuInfoReaderWin32Test, a_processor_time_counter_reads_through_the_query) {
    auto opened = counters.OpenQuery();
    ASSERT_EQ(opened.Status, 0u);
    ports::CounterHandle counter = 0;
    ASSERT_EQ(opened.Query->AddEnglishCounter(u"\\Processor(_Total)\\% Processor Time", counter),
              0u);
    EXPECT_NE(counter, 0u);
    EXPECT_EQ(opened.Query->CollectQueryData(), 0u);
    kernel.Sleep(100);
    EXPECT_EQ(opened.Query->CollectQueryData(), 0u);
    const auto value = opened.Query->FormattedDouble(counter);
    EXPECT_EQ(value.Status, 0u);
    EXPECT_GE(value.Value, 0.0);
    EXPECT_LE(value.Value, 100.0);
}

} // namespace
