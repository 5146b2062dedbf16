// The request prologue and the monitor snapshot and device information commands on the simulated
// laptop.
#include "plugin_fixture.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using VelmorValueSet::Kind;

class CommandsTest : public PluginFixture {
protected:
    void SetUp() override {
        // The tuning utility never becomes ready here (its own test makes it ready).
        machine.xtu.Change([](auto& a) { a.InitializeResult = false; });
        InitializeSettled();
        host.ClearLogs();
    }

    static std::vector<std::string> Keys(const ValueSet& set) {
        std::vector<std::string> keys;
        for (const auto& entry : set) {
            keys.emplace_back(std::string_view(entry.key));
        }
        return keys;
    }
    // The keys of the CPU part of a snapshot.
    static std::vector<std::string> CpuKeys(const ValueSet& set) {
        std::vector<std::string> keys;
        for (const std::string& key : Keys(set)) {
            if (key.find("CPU") != std::string::npos || key.starts_with("Core")) {
                keys.push_back(key);
            }
        }
        return keys;
    }
    // The plug-in's own lines of a request, without those of the readers it calls.
    std::vector<std::string> PluginTrace() const {
        std::vector<std::string> lines;
        for (const std::string& line : host.Trace()) {
            if (line.starts_with("6 Monitor Plugin") || line.starts_with("6 ProcessRequest") ||
                line.starts_with("6 Initial XTU")) {
                lines.push_back(line);
            }
        }
        return lines;
    }
    static Kind KindOf(const ValueSet& set, std::string_view key) {
        const auto* value = set.Find(key);
        return value != nullptr ? value->GetKind() : Kind::None;
    }
};

TEST(CommandsBeforeInitialize, a_request_is_refused_with_no_answer_and_no_end_line) {
    SimMachine machine;
    MonitorHost host(machine.heap);
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    host.Install(*plugin);
    VelmorValueSet::ValueSet request;
    request.SetInt32("Command", 16);
    VelmorValueSet::ValueSet answer;
    EXPECT_EQ(plugin->ProcessRequest(nullptr, &request, &answer), kNotInitializedResult);
    EXPECT_TRUE(answer.Empty());
    EXPECT_THAT(host.Trace(), ElementsAre("6 ProcessRequest : Begin"));
    plugin->Release();
}

TEST_F(CommandsTest, a_request_logs_begin_xtu_state_command_and_end) {
    Command(16);
    EXPECT_THAT(host.Trace(),
                ElementsAre("6 ProcessRequest : Begin", "6 Initial XTU : 0",
                            "6 Monitor Plugin - Command 16 ", "6 ProcessRequest : End"));
}

TEST_F(CommandsTest, a_request_without_command_or_with_a_string_command_answers_255) {
    ValueSet empty;
    HRESULT result = -1;
    ValueSet answer = Send(empty, &result);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(Keys(answer), ElementsAre("Command"));
    EXPECT_EQ(answer.GetInt32("Command"), 255);

    ValueSet text;
    text.SetString("Command", u"1");
    EXPECT_EQ(Send(text).GetInt32("Command"), 255);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Command 0 "));
}

TEST_F(CommandsTest, numbers_outside_the_table_answer_255_and_nothing_else) {
    std::vector<int32_t> unknown = {0, -1, 66, 67, 1000, INT32_MIN, INT32_MAX};
    for (int32_t c = 4; c <= 15; ++c) {
        unknown.push_back(c);
    }
    for (int32_t c = 23; c <= 64; ++c) {
        unknown.push_back(c);
    }
    for (const int32_t command : unknown) {
        HRESULT result = -1;
        const ValueSet answer = Command(command, &result);
        EXPECT_EQ(result, 0) << command;
        EXPECT_THAT(Keys(answer), ElementsAre("Command")) << command;
        EXPECT_EQ(answer.GetInt32("Command"), 255) << command;
        EXPECT_EQ(KindOf(answer, "Command"), Kind::Int32) << command;
    }
}

TEST_F(CommandsTest, command_65_answers_only_is_support_voltage_true_as_a_boolean) {
    const ValueSet answer = Command(65);
    EXPECT_THAT(Keys(answer), ElementsAre("IsSupportVoltage"));
    EXPECT_EQ(KindOf(answer, "IsSupportVoltage"), Kind::Boolean);
    EXPECT_TRUE(answer.GetBool("IsSupportVoltage"));
}

TEST_F(CommandsTest, command_16_answers_phase_2) {
    const ValueSet answer = Command(16);
    EXPECT_THAT(Keys(answer), ElementsAre("Command", "Phase"));
    EXPECT_EQ(answer.GetInt32("Command"), 16);
    EXPECT_EQ(answer.GetInt32("Phase"), 2);
}

TEST_F(CommandsTest, command_2_echoes_and_marks_the_product_used) {
    machine.helper.Change([](auto& a) { a.HasBeenUsed = 0; });
    const ValueSet answer = Command(2);
    EXPECT_EQ(answer.GetInt32("Command"), 2);
    EXPECT_EQ(KindOf(answer, "Command"), Kind::Int32);
}

TEST_F(CommandsTest, intel_before_the_tuning_utility_is_ready_answers_the_placeholder_set) {
    const ValueSet answer = Command(1);
    EXPECT_EQ(answer.GetInt32("Command"), 1);
    EXPECT_EQ(answer.GetInt32("CPUMemoryFrequency"), 0);
    EXPECT_EQ(answer.GetInt32("CPUFanSpeed"), 0);
    EXPECT_EQ(KindOf(answer, "CPUFanAcoustic"), Kind::Double);
    EXPECT_EQ(answer.GetDouble("CPUFanAcoustic"), 0.0);
    EXPECT_EQ(answer.GetInt32("CPUCoreCount"), 1);
    EXPECT_EQ(answer.GetInt32("MaxCPUProcessorFreq"), 6000);
    EXPECT_EQ(answer.GetInt32("MaxCPUMemoryFreq"), 3000);
    EXPECT_EQ(KindOf(answer, "MaxCPUVoltage"), Kind::Double);
    EXPECT_EQ(answer.GetDouble("MaxCPUVoltage"), 5.0);
    EXPECT_EQ(answer.GetInt32("MaxCPUTemprature"), 100);
    EXPECT_EQ(answer.GetInt32("MaxCPUUsage"), 100);
    EXPECT_EQ(answer.GetInt32("MaxCPUFanSpeed"), 5500);
    EXPECT_EQ(answer.FindMap("Core0"), nullptr);
    // The rest of the snapshot is there all the same.
    EXPECT_EQ(KindOf(answer, "GPUTGP"), Kind::Int32);
    EXPECT_EQ(answer.GetDouble("TotalDiskSize"), 512.0);
    EXPECT_EQ(answer.GetDouble("AvailableDiskSize"), 256.0);
    EXPECT_EQ(answer.GetDouble("TotalMemorySize"), 16384.0);
    EXPECT_EQ(answer.GetDouble("AvailableMemorySize"), 8192.0);
    EXPECT_THAT(CpuKeys(answer),
                ElementsAre("CPUCoreCount", "CPUFanAcoustic", "CPUFanSpeed", "CPUMemoryFrequency",
                            "MaxCPUFanSpeed", "MaxCPUMemoryFreq", "MaxCPUProcessorFreq",
                            "MaxCPUTemprature", "MaxCPUUsage", "MaxCPUVoltage"));
}

TEST_F(CommandsTest, intel_snapshot_logs_its_steps_and_starts_the_initialisation_thread_once) {
    Command(1);
    EXPECT_THAT(
        PluginTrace(),
        ElementsAre(
            "6 ProcessRequest : Begin", "6 Initial XTU : 0", "6 Monitor Plugin - Command 1 ",
            "6 Monitor Plugin - Use Has Been Used : 1 ", "6 Monitor Plugin - SDK Is Null",
            "6 Monitor Plugin - GetGPUMonitorInformation Is Finish! ", "6 ProcessRequest : End"));
    // Initialize already started the thread, because the product has been used.
    EXPECT_EQ(host.Count(6, "Monitor Plugin - Start to initial XTU Service "), 0);
}

TEST_F(CommandsTest, intel_with_the_tuning_service_stopped_initialises_once_on_the_request) {
    machine.helper.Change([](auto& a) { a.IsXtuServiceRunning = 0; });
    Command(1);
    Command(1);
    EXPECT_EQ(host.Count(6, "First start run InitializationFunction."), 1);
}

TEST_F(CommandsTest, intel_with_the_tuning_service_running_does_not_initialise_on_the_request) {
    Command(1);
    EXPECT_EQ(host.Count(6, "First start run InitializationFunction."), 0);
}

class AmdCommandsTest : public CommandsTest {
protected:
    void SetUp() override {
        machine.helper.Change([](auto& a) {
            a.CpuVendor = 2;
            a.Firmware[0x00110013] = {2, 0x0005001F};
            a.Firmware[0x00120093] = {1, 0x00030055};
        });
        CommandsTest::SetUp();
    }
};

TEST_F(AmdCommandsTest, the_fan_is_taken_for_any_non_zero_status_and_scaled_to_rpm) {
    Command(1);
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Start XTU Service Is Finish! "));
    EXPECT_TRUE(
        host.Logged(6, "Monitor Plugin - GetCPUMonitorInformation Is Finish! CPU Fan Speed 3100"));
}

TEST_F(AmdCommandsTest, the_graphics_power_is_its_low_16_bits) {
    EXPECT_EQ(Command(1).GetInt32("GPUTGP"), 0x55);
}

TEST_F(AmdCommandsTest, the_graphics_power_needs_status_1_exactly) {
    machine.helper.Change([](auto& a) { a.Firmware[0x00120093] = {2, 0x55}; });
    EXPECT_EQ(Command(1).GetInt32("GPUTGP"), 0);
}

TEST_F(AmdCommandsTest, no_device_or_a_failed_call_reads_a_fan_of_0) {
    for (const ports::FirmwareReply reply :
         {ports::FirmwareReply{1, 0xFFFFFFFE}, ports::FirmwareReply{0, 0x1F}}) {
        machine.helper.Change([&](auto& a) { a.Firmware[0x00110013] = reply; });
        host.ClearLogs();
        Command(1);
        EXPECT_TRUE(
            host.Logged(6, "Monitor Plugin - GetCPUMonitorInformation Is Finish! CPU Fan Speed 0"));
    }
}

TEST_F(AmdCommandsTest, writes_no_placeholder_set) {
    Command(1);
    EXPECT_FALSE(host.Logged(6, "Monitor Plugin - SDK Is Null"));
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Start XTU Service Is Finish! "));
}

TEST_F(AmdCommandsTest, an_unused_machine_runs_the_initialisation_once_and_starts_using) {
    machine.helper.Change([](auto& a) { a.HasBeenUsed = 0; });
    Command(1);
    Command(1);
    EXPECT_EQ(host.Count(6, "First start run InitializationFunction."), 1);
    EXPECT_EQ(host.Count(6, "Monitor Plugin - Use Has Been Used : 0 "), 2);
}

TEST_F(AmdCommandsTest, a_used_machine_does_not_run_the_initialisation) {
    Command(1);
    EXPECT_EQ(host.Count(6, "First start run InitializationFunction."), 0);
}

class NeitherVendorTest : public CommandsTest {
protected:
    void SetUp() override {
        machine.helper.Change([](auto& a) { a.CpuVendor = 3; });
        CommandsTest::SetUp();
    }
};

TEST_F(NeitherVendorTest, command_1_writes_no_cpu_keys) {
    const ValueSet answer = Command(1);
    EXPECT_TRUE(CpuKeys(answer).empty());
    for (const char* key : {"AvailableDiskSize", "AvailableMemorySize", "Command", "GPUTGP",
                            "TotalDiskSize", "TotalMemorySize"}) {
        EXPECT_TRUE(answer.Contains(key)) << key;
    }
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Start XTU Service Is Finish! "));
}

// Machines set up before Initialize.
using MachineCommandsTest = PluginFixture;

TEST_F(MachineCommandsTest, an_unused_intel_machine_starts_the_initialisation_thread_once) {
    machine.helper.Change([](auto& a) { a.HasBeenUsed = 0; });
    machine.xtu.Change([](auto& a) { a.InitializeResult = false; }); // never ready
    plugin->Initialize();
    for (int i = 0; i < 3; ++i) {
        Command(1);
    }
    EXPECT_EQ(host.Count(6, "Monitor Plugin - Start to initial XTU Service "), 1);
    EXPECT_EQ(host.Count(6, "Monitor Plugin - SDK Is Null"), 3);
    EXPECT_EQ(host.Count(6, "Monitor Plugin - Use Has Been Used : 0 "), 3);
}

TEST_F(MachineCommandsTest, intel_once_the_tuning_utility_is_ready_answers_the_intel_cpu_set) {
    // Held before the thread can make it, so the event outlives the thread's own handle.
    const auto initialized = machine.kernel.NewEvent(true, false, u"CPUInitializedEvent");
    ASSERT_NE(initialized, nullptr);
    InitializeSettled(); // used: the initialisation thread starts here
    ASSERT_EQ(machine.kernel.Wait(*initialized, 60000).status, ports::WaitStatus::Signalled);
    host.ClearLogs();
    const ValueSet answer = Command(1);
    EXPECT_TRUE(host.Logged(6, "Initial XTU : 1"));
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin - Start XTU Service Is Finish! "));
    EXPECT_FALSE(host.Logged(6, "Monitor Plugin - SDK Is Null"));
    EXPECT_NE(answer.FindMap("Core0"), nullptr);
}

TEST_F(MachineCommandsTest, without_the_firmware_device_no_firmware_is_read) {
    machine.firmware.SetPresent(false);
    machine.helper.Change([](auto& a) {
        a.CpuVendor = 2;
        a.Firmware[0x00120093] = {1, 0x55};
    });
    plugin->Initialize();
    EXPECT_EQ(Command(1).GetInt32("GPUTGP"), 0);
    // The plug-in's own reads (the readers keep their own rules).
    const auto calls = machine.helper.FirmwareCalls();
    EXPECT_THAT(calls, ::testing::Not(::testing::Contains(0x00110013u)));
    EXPECT_THAT(calls, ::testing::Not(::testing::Contains(0x00120093u)));
}

TEST_F(MachineCommandsTest, a_missing_helper_library_answers_zero_sizes) {
    machine.helper.Set({});
    plugin->Initialize();
    HRESULT result = -1;
    const ValueSet answer = Command(1, &result);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(answer.GetDouble("TotalMemorySize"), 0.0);
    EXPECT_TRUE(answer.Contains("AvailableDiskSize"));
    EXPECT_TRUE(host.Logged(6, "CPU Vendor ID : 0"));
}

class UserSessionCommandsTest : public PluginFixture {
protected:
    UserSessionCommandsTest() : PluginFixture(1) {}
};

TEST_F(UserSessionCommandsTest, every_request_is_answered_empty_with_0) {
    plugin->Initialize();
    host.ClearLogs();
    for (const int32_t command : {1, 2, 3, 16, 17, 65, 255}) {
        HRESULT result = -1;
        EXPECT_TRUE(Command(command, &result).Empty()) << command;
        EXPECT_EQ(result, 0);
    }
    EXPECT_THAT(host.LinesAt(6), ::testing::Each(::testing::AnyOf("ProcessRequest : Begin",
                                                                  "ProcessRequest : End")));
}

TEST_F(CommandsTest, a_message_through_handle_message_answers_bytes_on_the_host_heap) {
    ValueSet request;
    request.SetInt32("Command", 16);
    std::vector<uint8_t> message(32, 0);
    message[0] = 0xE1;
    uint32_t size = request.BodySize();
    message.resize(32 + size);
    ASSERT_TRUE(request.Write(message.data() + 32, size));
    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    EXPECT_EQ(plugin->HandleMessage(nullptr, message.data(), static_cast<uint32_t>(message.size()),
                                    &answer, &answerSize),
              0);
    const std::vector<uint8_t> expected = {7,   'C', 'o', 'm', 'm', 'a', 'n', 'd', 2,   4,   0,
                                           0,   0,   16,  0,   0,   0,   5,   'P', 'h', 'a', 's',
                                           'e', 2,   4,   0,   0,   0,   2,   0,   0,   0};
    EXPECT_EQ(std::vector<uint8_t>(answer, answer + answerSize), expected);
    machine.heap.Free(answer);
}

} // namespace

namespace {

constexpr char16_t kDiskTime[] = u"\\PhysicalDisk(_Total)\\% Disk Time";
constexpr char16_t kDiskRead[] = u"\\PhysicalDisk(_Total)\\Disk Read Bytes/sec";
constexpr char16_t kDiskWrite[] = u"\\PhysicalDisk(_Total)\\Disk Write Bytes/sec";

TEST_F(CommandsTest, the_first_command_3_adds_the_counters_and_a_rate_needs_a_second_sample) {
    machine.counters.SetValue(kDiskTime, 12.7);
    machine.counters.SetValue(kDiskRead, 52345.0);
    machine.counters.SetValue(kDiskWrite, 1999.0);
    machine.counters.FailRead(kDiskTime, 0xC0000BC6); // no rate from one sample
    const ValueSet first = Command(3);
    EXPECT_FALSE(first.Contains("Command"));
    EXPECT_EQ(first.GetUInt64("Result"), 0x02u | 0x04u | 0x08u | 0x20u);
    EXPECT_EQ(first.Find("Result")->GetKind(), Kind::Int64);
    EXPECT_EQ(first.Find("Status")->GetKind(), Kind::Int64);
    EXPECT_EQ(host.Count(3, "PdhAddEnglishCounterW DiskReadSpeedCounter 0"), 1);

    machine.counters.FailRead(kDiskTime, 0);
    const ValueSet second = Command(3);
    EXPECT_EQ(second.GetUInt64("Result"), 0u);
    EXPECT_EQ(second.GetDouble("DiskActiveTimeMax"), 100.0);
    EXPECT_EQ(second.GetDouble("DiskActiveTimeCounter"), 12.0);
    EXPECT_EQ(second.GetDouble("DiskReadSpeedCounter"), 52.0);
    EXPECT_EQ(second.GetDouble("DiskWriteSpeedCounter"), 1.0);
    EXPECT_EQ(machine.counters.Opens(), 1);
    EXPECT_EQ(host.Count(3, "PdhAddEnglishCounterW DiskReadSpeedCounter 0"), 1);
}

TEST_F(CommandsTest, uninitialize_closes_the_disk_query) {
    Command(3);
    EXPECT_EQ(machine.counters.OpenQueries(), 1);
    plugin->Uninitialize();
    EXPECT_EQ(machine.counters.OpenQueries(), 0);
}

} // namespace
