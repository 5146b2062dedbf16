#include "cpu_machine.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

sim::FakeIoLibraries::Library IoLibrary(uint64_t perfStatus = 0) {
    sim::FakeIoLibraries::Library library;
    library.Msr[0x198] = perfStatus;
    return library;
}

using Machine = CpuMachine;
constexpr uint32_t kIntel = 1;
constexpr uint32_t kAmd = 2;
constexpr uint32_t kVoltageDevice = 0x00120079;
constexpr uint32_t kTemperatureDevice = 0x00120094;
constexpr char16_t kQzModel[] = u"GX650QZ731";

// ---- Frequency ----

TEST(CpuInfoReaderFrequency, is_the_rated_clock_times_the_performance_percentage) {
    Machine machine;
    machine.Processor(2400, 137.5, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetFrequency(), 3300.0);
    EXPECT_TRUE(machine.Logged(6, u"Frequency:3300.000000, Performance:137.500000, "
                                  u"WmiMaxClockSpeed:2400"));
}

TEST(CpuInfoReaderFrequency, is_rounded_to_whole_megahertz) {
    Machine machine;
    machine.Processor(2400, 33.33, 50.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetFrequency(), 800.0);
}

TEST(CpuInfoReaderFrequency, a_zero_percent_of_maximum_keeps_the_last_value) {
    Machine machine;
    machine.Processor(2400, 137.5, 0.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetFrequency(), 0.0);
    machine.counters.SetValue(Machine::kOfMaximum, 90.0);
    EXPECT_EQ(reader->GetFrequency(), 3300.0);
    machine.counters.SetValue(Machine::kOfMaximum, 0.0);
    machine.counters.SetValue(Machine::kPerformance, 50.0);
    EXPECT_EQ(reader->GetFrequency(), 3300.0);
}

TEST(CpuInfoReaderFrequency, a_failed_performance_read_keeps_the_last_value_and_says_so) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetFrequency(), 2400.0);
    machine.counters.FailRead(Machine::kPerformance, ports::kPdhInvalidData);
    machine.counters.SetValue(Machine::kOfMaximum, 50.0);
    EXPECT_EQ(reader->GetFrequency(), 2400.0);
    EXPECT_TRUE(
        machine.Logged(3, u"PdhGetFormattedCounterValue(Performance) failed: (-1073738810)"));
}

TEST(CpuInfoReaderFrequency, a_failed_frequency_or_maximum_read_keeps_the_last_value) {
    for (const char16_t* failing : {Machine::kFrequency, Machine::kOfMaximum}) {
        Machine machine;
        machine.Processor(2400, 100.0, 100.0, 10.0);
        auto reader = machine.InitializedReader(kIntel);
        EXPECT_EQ(reader->GetFrequency(), 2400.0);
        machine.counters.FailRead(failing, ports::kPdhInvalidData);
        machine.counters.SetValue(Machine::kPerformance, 50.0);
        EXPECT_EQ(reader->GetFrequency(), 2400.0);
        EXPECT_TRUE(
            machine.Logged(3, u"PdhGetFormattedCounterValue(Frequency) failed: -1073738810 "));
    }
}

TEST(CpuInfoReaderFrequency, an_unknown_rated_clock_is_asked_for_again_while_reading) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    machine.wmi.SetObjects(Machine::kMaxClockQuery, {});
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetFrequency(), 0.0);
    EXPECT_EQ(machine.wmi.Queries().size(), 2u); // StartPDH and the reading
    machine.wmi.SetObjects(Machine::kMaxClockQuery, {{{u"MaxClockSpeed", 3000}}});
    EXPECT_EQ(reader->GetFrequency(), 3000.0);
    EXPECT_EQ(machine.wmi.Queries().size(), 3u);
    reader->GetFrequency();
    EXPECT_EQ(machine.wmi.Queries().size(), 3u);
}

// ---- Starting the counter query ----

TEST(CpuInfoReaderStart, opens_one_query_with_the_four_counters_and_primes_it) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->StartPDH(), 0u);
    EXPECT_EQ(machine.counters.OpenQueries(), 1);
    EXPECT_EQ(machine.counters.Collects(), 1);
    EXPECT_TRUE(machine.Logged(6, u"Enter StartPDH"));
    EXPECT_TRUE(machine.Logged(6, u"Leave StartPDH:0"));
    // Later calls refresh the rated clock but keep the query.
    EXPECT_EQ(reader->StartPDH(), 0u);
    reader->GetFrequency();
    EXPECT_EQ(machine.counters.Opens(), 1);
    EXPECT_EQ(machine.wmi.Queries().size(), 2u);
}

TEST(CpuInfoReaderStart, a_missing_counter_closes_the_query_after_priming_it) {
    const std::pair<const char16_t*, std::u16string> cases[] = {
        {Machine::kPerformance,
         u"PdhAddEnglishCounter(Processor Performance) failed: -1073738823 "},
        {Machine::kFrequency, u"PdhAddEnglishCounter(Processor Frequency) failed: -1073738823 "},
        {Machine::kOfMaximum, u"PdhAddEnglishCounter(of Maximum Frequency) failed: -1073738823 "},
        {Machine::kUtility, u"PdhAddEnglishCounter(Processor Utility) failed: -1073738823 "},
    };
    for (const auto& [path, message] : cases) {
        Machine machine;
        machine.Processor(2400, 100.0, 100.0, 10.0);
        machine.counters.FailAdd(path, ports::kPdhCounterNotFound);
        auto reader = machine.InitializedReader(kIntel);
        EXPECT_EQ(reader->StartPDH(), ports::kPdhCounterNotFound);
        EXPECT_TRUE(machine.Logged(3, message));
        EXPECT_TRUE(machine.Logged(6, u"Leave StartPDH:-1073738823"));
        EXPECT_EQ(machine.counters.Collects(), 1);
        EXPECT_EQ(machine.counters.OpenQueries(), 0);
        EXPECT_FALSE(reader->CollectQueryData());
    }
}

TEST(CpuInfoReaderStart, the_first_missing_counter_stops_the_adding) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    machine.counters.FailAdd(Machine::kPerformance, ports::kPdhCounterNotFound);
    machine.counters.FailAdd(Machine::kUtility, ports::kPdhCounterNotFound);
    auto reader = machine.InitializedReader(kIntel);
    reader->StartPDH();
    EXPECT_FALSE(
        machine.LoggedText(u"PdhAddEnglishCounter(Processor Utility) failed: -1073738823 "));
}

TEST(CpuInfoReaderStart, a_failed_open_or_first_sample_is_returned) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    machine.counters.FailOpen(ports::kPdhInvalidArgument);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->StartPDH(), ports::kPdhInvalidArgument);
    EXPECT_EQ(machine.counters.Collects(), 0);
    machine.counters.FailOpen(ports::kPdhSuccess);
    machine.counters.FailCollect(ports::kPdhInvalidData);
    EXPECT_EQ(reader->StartPDH(), ports::kPdhInvalidData);
    EXPECT_EQ(machine.counters.OpenQueries(), 0);
}

TEST(CpuInfoReaderStart, readers_answer_the_cached_value_when_the_query_cannot_start) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 42.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetFrequency(), 2400.0);
    EXPECT_EQ(reader->GetUtilization(), 42.0);
    reader->Stop();
    machine.counters.FailAdd(Machine::kPerformance, ports::kPdhCounterNotFound);
    EXPECT_EQ(reader->GetFrequency(), 2400.0);
    EXPECT_EQ(reader->GetUtilization(), 42.0);
    EXPECT_TRUE(machine.Logged(3, u"StartPDHQuery failed: -1073738823 "));
}

TEST(CpuInfoReaderStart, collecting_needs_an_open_query) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_FALSE(reader->CollectQueryData());
    reader->GetUtilization();
    EXPECT_TRUE(reader->CollectQueryData());
    machine.counters.FailCollect(ports::kPdhInvalidData);
    EXPECT_FALSE(reader->CollectQueryData());
}

// ---- Utilisation ----

TEST(CpuInfoReaderUtilization, above_100_reads_100_and_others_are_rounded) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 130.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetUtilization(), 100.0);
    EXPECT_TRUE(machine.Logged(6, u"Utilization:100.000000"));
    machine.counters.SetValue(Machine::kUtility, 42.6);
    EXPECT_EQ(reader->GetUtilization(), 43.0);
    machine.counters.SetValue(Machine::kUtility, 42.4);
    EXPECT_EQ(reader->GetUtilization(), 42.0);
    machine.counters.SetValue(Machine::kUtility, 100.0);
    EXPECT_EQ(reader->GetUtilization(), 100.0);
}

TEST(CpuInfoReaderUtilization, a_failed_read_names_the_status_and_keeps_the_last_value) {
    const std::pair<uint32_t, std::u16string> cases[] = {
        {0xC0000BC6,
         u"PdhGetFormattedCounterValue(Performance) failed: (-1073738810)PDH_INVALID_DATA "},
        {0xC0000BBD,
         u"PdhGetFormattedCounterValue(Performance) failed: (-1073738819)PDH_INVALID_ARGUMENT "},
        {0xC0000BBC,
         u"PdhGetFormattedCounterValue(Performance) failed: (-1073738820)PDH_INVALID_HANDLE "},
        {0xC0000BB9, u"PdhGetFormattedCounterValue(Performance) failed: (-1073738823)Unknown "},
    };
    for (const auto& [status, message] : cases) {
        Machine machine;
        machine.Processor(2400, 100.0, 100.0, 37.0);
        auto reader = machine.InitializedReader(kIntel);
        EXPECT_EQ(reader->GetUtilization(), 37.0);
        machine.counters.FailRead(Machine::kUtility, status);
        EXPECT_EQ(reader->GetUtilization(), 37.0);
        EXPECT_TRUE(machine.Logged(3, message));
    }
}

// ---- Memory clock ----

TEST(CpuInfoReaderMemory, two_modules_give_the_speed_of_the_last_one) {
    Machine machine;
    machine.wmi.SetObjects(Machine::kMemoryQuery,
                           {{{u"ConfiguredClockSpeed", 3200}}, {{u"ConfiguredClockSpeed", 2400}}});
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetMemoryClockSpeed(), 2400u);
}

TEST(CpuInfoReaderMemory, is_read_once_per_reader) {
    Machine machine;
    machine.wmi.SetObjects(Machine::kMemoryQuery, {{{u"ConfiguredClockSpeed", 3200}}});
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetMemoryClockSpeed(), 3200u);
    machine.wmi.SetObjects(Machine::kMemoryQuery, {{{u"ConfiguredClockSpeed", 4800}}});
    EXPECT_EQ(reader->GetMemoryClockSpeed(), 3200u);
    EXPECT_EQ(machine.wmi.Queries().size(), 1u);
}

TEST(CpuInfoReaderMemory, a_failed_query_says_so_answers_0_and_is_tried_again) {
    Machine machine;
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetMemoryClockSpeed(), 0u);
    EXPECT_TRUE(machine.Logged(5, u"WMIQuery Win32_PhysicalMemory failed:0x80041010"));
    machine.wmi.SetObjects(Machine::kMemoryQuery, {{{u"ConfiguredClockSpeed", 3200}}});
    EXPECT_EQ(reader->GetMemoryClockSpeed(), 3200u);
}

TEST(CpuInfoReaderWmi, a_single_value_needs_exactly_one_property) {
    Machine machine;
    machine.wmi.SetObjects(u"two", {{{u"A", 1}, {u"B", 2}}});
    machine.wmi.SetObjects(u"none", {});
    machine.wmi.SetObjects(u"one", {{{u"A", 7}}});
    uint32_t value = 99;
    EXPECT_EQ(cpu::CPUInfoReader::QueryWmiSingleValue(machine.wmi, u"two", &value),
              static_cast<int32_t>(0x80004005));
    EXPECT_EQ(cpu::CPUInfoReader::QueryWmiSingleValue(machine.wmi, u"none", &value),
              static_cast<int32_t>(0x80004005));
    EXPECT_EQ(value, 99u);
    EXPECT_EQ(cpu::CPUInfoReader::QueryWmiSingleValue(machine.wmi, u"one", &value), 0);
    EXPECT_EQ(value, 7u);
}

TEST(CpuInfoReaderWmi, a_failing_step_is_returned_and_the_destination_kept) {
    Machine machine;
    machine.wmi.SetObjects(u"one", {{{u"A", 7}}});
    machine.wmi.FailStep(sim::FakeWmi::Step::Connect, static_cast<int32_t>(0x80041003));
    uint32_t value = 99;
    EXPECT_EQ(cpu::CPUInfoReader::QueryWmiSingleValue(machine.wmi, u"one", &value),
              static_cast<int32_t>(0x80041003));
    EXPECT_EQ(value, 99u);
}

// ---- Firmware temperature and voltage ----

TEST(CpuInfoReaderFirmware, a_valid_answer_gives_its_low_16_bits) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kTemperatureDevice] = {1, 0x00010456};
        answers.Firmware[kVoltageDevice] = {1, 0x00010456};
    });
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetTemperature(), 1110);
    EXPECT_TRUE(machine.Logged(6, u"Temperature:1110"));
    EXPECT_EQ(reader->GetVoltage(), 1110.0);
    EXPECT_TRUE(machine.Logged(6, u"Voltage from WMI:1110.000000"));
}

TEST(CpuInfoReaderFirmware, no_device_no_presence_bit_or_a_failed_call_keep_the_last_values) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kTemperatureDevice] = {1, 0x0001002D};
        answers.Firmware[kVoltageDevice] = {1, 0x00010384};
    });
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetTemperature(), 45);
    EXPECT_EQ(reader->GetVoltage(), 900.0);
    const ports::FirmwareReply refused[] = {{1, 0xFFFFFFFE}, {1, 0x00000456}, {0, 0x00010456}};
    for (const ports::FirmwareReply reply : refused) {
        machine.helper.Change([&](auto& answers) {
            answers.Firmware[kTemperatureDevice] = reply;
            answers.Firmware[kVoltageDevice] = reply;
        });
        EXPECT_EQ(reader->GetTemperature(), 45);
        EXPECT_EQ(reader->GetVoltage(), 900.0);
    }
    machine.helper.Change([](auto& answers) { answers.FirmwareMissing = true; });
    EXPECT_EQ(reader->GetTemperature(), 45);
    EXPECT_EQ(reader->GetVoltage(), 900.0);
}

TEST(CpuInfoReaderFirmware, the_temperature_is_logged_as_a_signed_number) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kTemperatureDevice] = {1, 0x0001FFF6};
    });
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetTemperature(), 0xFFF6);
    EXPECT_TRUE(machine.Logged(6, u"Temperature:-10"));
}

TEST(CpuInfoReaderFirmware, temperature_support_is_tested_on_the_voltage_device) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kTemperatureDevice] = {1, 0x0001002D};
    });
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(machine.helper.FirmwareCalls().front(), kVoltageDevice);
    EXPECT_TRUE(machine.Logged(3, u"WMI temperature return: -2 "));
    EXPECT_FALSE(machine.LoggedText(u"Support BIOS Temperature"));

    Machine supported;
    supported.helper.Change([](auto& answers) {
        answers.Firmware[kVoltageDevice] = {1, 0x00010384};
    });
    auto other = supported.InitializedReader(kIntel);
    EXPECT_TRUE(supported.Logged(5, u"Support BIOS Temperature"));
}

TEST(CpuInfoReaderFirmware, the_temperature_is_read_even_without_firmware_support) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kTemperatureDevice] = {1, 0x0001002D};
    });
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetTemperature(), 45);
}

// ---- Initialisation and lifecycle ----

TEST(CpuInfoReaderLifecycle, a_second_initialize_does_nothing) {
    Machine machine;
    auto reader = machine.InitializedReader(kIntel);
    const auto calls = machine.helper.FirmwareCalls().size();
    reader->Initialize(nullptr);
    EXPECT_EQ(machine.helper.FirmwareCalls().size(), calls);
}

TEST(CpuInfoReaderLifecycle, initialize_makes_the_signalled_auto_reset_query_lock) {
    Machine machine;
    auto reader = machine.InitializedReader(kIntel);
    auto lock = machine.kernel.NewEvent(true, false, u"CPUInfoReaderPDHQueryEvent");
    ASSERT_NE(lock, nullptr);
    EXPECT_TRUE(machine.kernel.Wait(*lock, 0).Signalled(0));
    EXPECT_EQ(machine.kernel.Wait(*lock, 0).status, ports::WaitStatus::TimedOut);
    lock->Set();
}

TEST(CpuInfoReaderLifecycle, readers_wait_for_the_query_lock_and_leave_it_signalled) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    auto lock = machine.kernel.NewEvent(false, true, u"CPUInfoReaderPDHQueryEvent");
    ASSERT_TRUE(machine.kernel.Wait(*lock, 0).Signalled(0)); // the test holds the lock
    double read = -1.0;
    auto thread = machine.kernel.StartThread([&] {
        read = reader->GetFrequency();
        return 0u;
    });
    EXPECT_EQ(machine.kernel.Wait(*thread, 100).status, ports::WaitStatus::TimedOut);
    lock->Set();
    EXPECT_TRUE(machine.kernel.Wait(*thread, ports::kInfinite).Signalled(0));
    EXPECT_EQ(read, 2400.0);
    EXPECT_TRUE(machine.kernel.Wait(*lock, 0).Signalled(0));
    lock->Set();
}

TEST(CpuInfoReaderLifecycle, stop_closes_the_query_and_the_next_reading_opens_it_again) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    reader->GetFrequency();
    reader->Stop();
    EXPECT_TRUE(machine.Logged(6, u"Enter Stop"));
    EXPECT_TRUE(machine.Logged(6, u"Leave Stop"));
    EXPECT_EQ(machine.counters.OpenQueries(), 0);
    EXPECT_EQ(reader->GetFrequency(), 2400.0);
    EXPECT_EQ(machine.counters.Opens(), 2);
}

TEST(CpuInfoReaderLifecycle, stop_without_a_query_only_logs) {
    Machine machine;
    auto reader = machine.InitializedReader(kIntel);
    reader->Stop();
    EXPECT_TRUE(machine.Logged(6, u"Enter Stop"));
    EXPECT_TRUE(machine.Logged(6, u"Leave Stop"));
    EXPECT_EQ(machine.counters.Opens(), 0);
}

TEST(CpuInfoReaderLifecycle, release_logs_the_stop_only_with_an_open_query) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    reader->Release();
    EXPECT_FALSE(machine.LoggedText(u"Enter Stop"));

    auto second = machine.InitializedReader(kIntel);
    second->GetFrequency();
    second->Release();
    EXPECT_TRUE(machine.Logged(6, u"Enter Stop"));
    EXPECT_TRUE(machine.Logged(6, u"Leave Stop"));
    EXPECT_EQ(machine.counters.OpenQueries(), 0);
}

TEST(CpuInfoReaderLifecycle, release_allows_a_new_initialize_and_keeps_cached_values) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 55.0);
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetUtilization(), 55.0);
    reader->Release();
    const auto calls = machine.helper.FirmwareCalls().size();
    reader->Initialize(nullptr);
    EXPECT_GT(machine.helper.FirmwareCalls().size(), calls);
    machine.counters.FailAdd(Machine::kUtility, ports::kPdhCounterNotFound);
    EXPECT_EQ(reader->GetUtilization(), 55.0);
}

TEST(CpuInfoReaderLifecycle, every_line_comes_from_the_cpu_info_reader) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.InitializedReader(kIntel);
    reader->GetFrequency();
    ASSERT_FALSE(machine.Logs().empty());
    for (const auto& line : machine.Logs()) {
        EXPECT_EQ(line.Source, u"CPUInfoReader");
    }
}

TEST(CpuInfoReaderLifecycle, without_a_logger_nothing_is_logged_and_readings_work) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 10.0);
    auto reader = machine.Reader(kIntel);
    reader->logger = nullptr;
    reader->Initialize(nullptr);
    EXPECT_EQ(reader->GetFrequency(), 2400.0);
    EXPECT_TRUE(machine.Logs().empty());
}

// ---- Voltage support ----

TEST(CpuInfoReaderVoltageSupport, an_amd_machine_with_firmware_voltage_is_supported) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kVoltageDevice] = {1, 0x00010384};
    });
    auto reader = machine.InitializedReader(kAmd);
    EXPECT_TRUE(reader->IsVoltageSupported(false));
    EXPECT_TRUE(machine.Logged(5, u"Support BIOS Voltage"));
}

TEST(CpuInfoReaderVoltageSupport, an_amd_machine_without_it_logs_the_raw_answer) {
    Machine machine;
    auto reader = machine.InitializedReader(kAmd);
    EXPECT_FALSE(reader->IsVoltageSupported(false));
    EXPECT_TRUE(machine.Logged(3, u"WMI voltage return: -2 "));
}

TEST(CpuInfoReaderVoltageSupport, another_vendor_asks_no_firmware_and_logs_0) {
    Machine machine;
    auto reader = machine.Reader(0);
    EXPECT_FALSE(reader->IsVoltageSupported(true));
    EXPECT_TRUE(machine.helper.FirmwareCalls().empty());
    EXPECT_TRUE(machine.Logged(3, u"WMI voltage return: 0 "));
}

TEST(CpuInfoReaderVoltageSupport, an_intel_model_without_qz731_never_loads_the_io_library) {
    for (const char16_t* model : {u"GA402", u"QZ73", u"", u"gx650qz731", u"QZ 731"}) {
        Machine machine;
        machine.io.Put(Machine::kIoLibraryPath, {});
        auto reader = machine.InitializedReader(kIntel, model);
        EXPECT_FALSE(reader->IsVoltageSupported(false));
        EXPECT_TRUE(machine.Logged(3, u"WMI voltage return: 0 "));
        EXPECT_EQ(machine.io.Calls().Loads, 0);
        EXPECT_TRUE(machine.Verified().empty());
    }
}

TEST(CpuInfoReaderVoltageSupport, the_qz731_model_checks_loads_opens_and_closes_the_io_library) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, {});
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_TRUE(reader->IsVoltageSupported(false));
    EXPECT_EQ(machine.Verified(), (std::vector<std::u16string>{Machine::kIoLibraryPath}));
    const auto calls = machine.io.Calls();
    EXPECT_EQ(calls.Loads, 1);
    EXPECT_EQ(calls.OpenFlags, (std::vector<int32_t>{0}));
    EXPECT_EQ(calls.Closes, 1);
    EXPECT_TRUE(machine.Logged(5, u"Support VelmorIO3 Voltage"));
}

TEST(CpuInfoReaderVoltageSupport, an_unaccepted_signature_keeps_the_library_unloaded) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, {});
    machine.verifierAnswer = 0;
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_FALSE(reader->IsVoltageSupported(false));
    EXPECT_TRUE(machine.Logged(3, u"Invalid library:VelmorIO3_64.dll"));
    EXPECT_EQ(machine.io.Calls().Loads, 0);
}

TEST(CpuInfoReaderVoltageSupport, a_library_that_does_not_load_says_so) {
    Machine machine;
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_FALSE(reader->IsVoltageSupported(false));
    EXPECT_TRUE(machine.Logged(3, u"Failed to load VelmorIO3_64.dll"));
}

TEST(CpuInfoReaderVoltageSupport, missing_entries_or_a_failed_open_mean_no_support) {
    Machine incomplete;
    auto library = IoLibrary();
    library.Complete = false;
    incomplete.io.Put(Machine::kIoLibraryPath, library);
    EXPECT_FALSE(incomplete.InitializedReader(kIntel, kQzModel)->IsVoltageSupported(false));
    EXPECT_EQ(incomplete.io.Calls().Opens, 0);

    Machine closed;
    library = IoLibrary();
    library.OpenResult = false;
    closed.io.Put(Machine::kIoLibraryPath, library);
    EXPECT_FALSE(closed.InitializedReader(kIntel, kQzModel)->IsVoltageSupported(false));
    EXPECT_FALSE(closed.LoggedText(u"Support VelmorIO3 Voltage"));
    EXPECT_EQ(closed.io.Calls().Closes, 0);
}

TEST(CpuInfoReaderVoltageSupport, the_io_library_is_held_until_the_reader_goes) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, {});
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_EQ(machine.io.Calls().Held, 1);
    reader->Release();
    EXPECT_EQ(machine.io.Calls().Held, 1);
    reader.reset();
    EXPECT_EQ(machine.io.Calls().Held, 0);
}

// ---- Register voltage ----

TEST(CpuInfoReaderRegisterVoltage, the_upper_half_in_1_8192_volts_gives_truncated_millivolts) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, IoLibrary(0x00001A00'12345678));
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_EQ(reader->GetVoltage(), 812.0);
    EXPECT_TRUE(machine.Logged(6, u"Voltage from VelmorIO:812.000000"));
    const auto calls = machine.io.Calls();
    EXPECT_EQ(calls.ReadIndexes, (std::vector<uint32_t>{0x198}));
    EXPECT_EQ(calls.Opens, 2);
    EXPECT_EQ(calls.Closes, 2);
}

TEST(CpuInfoReaderRegisterVoltage, the_whole_upper_half_counts) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, IoLibrary(0xFFFFFFFF'00000000));
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_EQ(reader->GetVoltage(), 524287999.0);
}

TEST(CpuInfoReaderRegisterVoltage, a_valid_firmware_voltage_comes_first) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, IoLibrary(0x00001A00'00000000));
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kVoltageDevice] = {1, 0x00010456};
    });
    EXPECT_EQ(reader->GetVoltage(), 1110.0);
    EXPECT_TRUE(machine.io.Calls().ReadIndexes.empty());
}

TEST(CpuInfoReaderRegisterVoltage, a_failed_open_keeps_the_last_value) {
    Machine machine;
    machine.io.Put(Machine::kIoLibraryPath, IoLibrary(0x00001A00'00000000));
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    EXPECT_EQ(reader->GetVoltage(), 812.0);
    machine.io.Change(Machine::kIoLibraryPath, [](auto& library) { library.OpenResult = false; });
    machine.io.Change(Machine::kIoLibraryPath, [](auto& library) { library.Msr[0x198] = 0; });
    EXPECT_EQ(reader->GetVoltage(), 812.0);
    EXPECT_EQ(machine.io.Calls().Reads, 1);
}

TEST(CpuInfoReaderRegisterVoltage, other_models_keep_the_firmware_value) {
    Machine machine;
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kVoltageDevice] = {1, 0x00010384};
    });
    auto reader = machine.InitializedReader(kIntel);
    EXPECT_EQ(reader->GetVoltage(), 900.0);
    machine.helper.Change([](auto& answers) { answers.Firmware.clear(); });
    EXPECT_EQ(reader->GetVoltage(), 900.0);
    EXPECT_EQ(machine.io.Calls().Opens, 0);
}

// ---- Threads ----

TEST(CpuInfoReaderThreads, readers_stop_and_collection_run_together) {
    Machine machine;
    machine.Processor(2400, 100.0, 100.0, 30.0);
    machine.io.Put(Machine::kIoLibraryPath, IoLibrary(0x00001A00'00000000));
    machine.helper.Change([](auto& answers) {
        answers.Firmware[kTemperatureDevice] = {1, 0x0001002D};
    });
    auto reader = machine.InitializedReader(kIntel, kQzModel);
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(reader->GetFrequency(), 2400.0);
        }
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 200; ++i) {
            reader->CollectQueryData();
            EXPECT_EQ(reader->GetUtilization(), 30.0);
        }
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(reader->GetVoltage(), 812.0);
            EXPECT_EQ(reader->GetTemperature(), 45);
            reader->GetMemoryClockSpeed();
        }
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 100; ++i) {
            reader->Stop();
            reader->IsVoltageSupported(false);
        }
    });
    for (auto& thread : threads) {
        thread.join();
    }
    reader->Release();
    EXPECT_EQ(machine.counters.OpenQueries(), 0);
}

} // namespace
