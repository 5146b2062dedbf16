// Initialize and Uninitialize of the monitor plug-in, and its module list, on the simulated laptop.
#include "gpu/fan_acoustic_file.h"
#include "gpu/fan_acoustic_key.h"
#include "plugin_fixture.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

constexpr GUID kAcdcPowerSource = {
    0x5D3E9A59, 0xE9D5, 0x4B00, {0xA6, 0xBD, 0xFF, 0x34, 0xFF, 0x51, 0x65, 0x48}};
constexpr GUID kLidSwitchStateChange = {
    0xBA3E0F4D, 0xB817, 0x4094, {0xA2, 0xD1, 0xD5, 0x63, 0x79, 0xE6, 0xA0, 0xF3}};

class InitializeTest : public PluginFixture {
protected:
    void AnswerProductLine(int32_t line) {
        host.AnswerQuery(u"ProductLine", [line](ValueSet& a) { a.SetInt32("ProductLine", line); });
    }
    bool Signalled(ports::Event& event) {
        return machine.kernel.Wait(event, 0).status == ports::WaitStatus::Signalled;
    }
};

TEST_F(InitializeTest, intel_service_instance_logs_each_step_in_order) {
    AnswerProductLine(5);
    EXPECT_EQ(plugin->Initialize(), 0);
    const auto trace = host.Trace();
    const std::vector<std::string> expected = {
        "6 Initialize : Begin Plugin Version ",
        "6 CPU Vendor ID : 1",
        "4 CheckXTUImagePath result: 0, isChanged: 0, type: 0",
        "4 ProductLine - 5",
        "4 Create CPUInforReader.",
        "6 Initialize : m_fnRegisterDeviceNotificationParam 0x00005150",
    };
    // In this order, with the readers' own lines between them.
    auto next = trace.begin();
    for (const std::string& line : expected) {
        next = std::find(next, trace.end(), line);
        ASSERT_NE(next, trace.end()) << line;
    }
    EXPECT_EQ(trace.front(), expected.front());
    // The workers it started may log after it.
    EXPECT_NE(std::find(next, trace.end(), "6 Monitor Plugin  Initialize : End"), trace.end());
    EXPECT_EQ(plugin->ProductLine(), 5);
    EXPECT_EQ(plugin->CpuVendor(), 1);
}

TEST_F(InitializeTest, initialize_twice_logs_begin_and_end_twice_and_sets_up_nothing_again) {
    InitializeSettled();
    host.ClearLogs();
    EXPECT_EQ(plugin->Initialize(), 0);
    EXPECT_THAT(host.Trace(), ElementsAre("6 Initialize : Begin Plugin Version ",
                                          "6 Monitor Plugin  Initialize : End"));
    EXPECT_EQ(machine.firmware.OpenedPaths().size(), 1u);
    EXPECT_EQ(host.DeviceFilters().size(), 1u);
    EXPECT_EQ(host.PowerSettings().size(), 2u);
}

TEST_F(InitializeTest, amd_skips_the_tuning_utility_path_check_and_still_asks_the_product_line) {
    machine.helper.Change([](auto& a) { a.CpuVendor = 2; });
    AnswerProductLine(7);
    plugin->Initialize();
    EXPECT_TRUE(host.Logged(6, "CPU Vendor ID : 2"));
    for (const auto& line : host.LinesAt(4)) {
        EXPECT_EQ(line.find("CheckXTUImagePath"), std::string::npos) << line;
    }
    EXPECT_TRUE(host.Logged(4, "ProductLine - 7"));
}

TEST_F(InitializeTest, a_failed_product_line_query_keeps_128_and_logs_nothing) {
    host.AnswerQuery(u"ProductLine", nullptr, static_cast<HRESULT>(0x80004005u));
    plugin->Initialize();
    EXPECT_EQ(plugin->ProductLine(), 128);
    for (const auto& line : host.LinesAt(4)) {
        EXPECT_NE(line.rfind("ProductLine", 0), 0u) << line;
    }
}

TEST_F(InitializeTest, a_product_line_of_another_kind_is_0) {
    host.AnswerQuery(u"ProductLine", [](ValueSet& a) { a.SetString("ProductLine", u"5"); });
    plugin->Initialize();
    EXPECT_EQ(plugin->ProductLine(), 0);
    EXPECT_TRUE(host.Logged(4, "ProductLine - 0"));
}

TEST_F(InitializeTest, the_host_is_asked_for_product_line_then_model_name) {
    plugin->Initialize();
    std::vector<std::u16string> asked;
    for (const auto& request : host.Requests()) {
        asked.push_back(request.Body().GetString("Cmd"));
    }
    EXPECT_THAT(asked, ElementsAre(u"Query.ProductLine", u"Query.ModelName"));
}

TEST_F(InitializeTest, the_model_name_of_the_host_loads_the_models_fan_acoustic_table) {
    const std::vector<gpu::FanPoint> cpu = {{1000, 20.0}, {3000, 40.0}};
    const std::vector<gpu::FanPoint> gpuFan = {{2000, 30.0}};
    const auto cipher = machine.crypto.NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector);
    const auto enciphered = cipher->Encrypt(gpu::WriteFanPoints(cpu, gpuFan));
    ASSERT_TRUE(enciphered.has_value());
    machine.files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", u"GX550"),
                      gpu::FanAcousticFile(gpu::kFanAcousticVector, *enciphered));
    host.AnswerQuery(u"ModelName", [](ValueSet& a) { a.SetString("ModelName", u"GX550"); });
    EXPECT_FALSE(plugin->FanAcousticTable().IsLoaded());
    plugin->Initialize();
    ASSERT_TRUE(plugin->FanAcousticTable().IsLoaded());
    double level = 0.0;
    EXPECT_EQ(plugin->FanAcousticTable().Lookup(0, 2000, level), 1);
    EXPECT_DOUBLE_EQ(level, 30.0);
}

TEST_F(InitializeTest, without_a_model_name_no_fan_acoustic_table_is_loaded) {
    host.AnswerQuery(u"ModelName", [](ValueSet& a) { a.SetInt32("ModelName", 5); });
    plugin->Initialize();
    EXPECT_FALSE(plugin->FanAcousticTable().IsLoaded());
}

TEST_F(InitializeTest, the_firmware_device_is_opened_by_its_ravik_path) {
    plugin->Initialize();
    EXPECT_THAT(machine.firmware.OpenedPaths(), ElementsAre(u"\\\\.\\RavikACPI"));
    EXPECT_EQ(machine.firmware.OpenDevices(), 1);
}

TEST_F(InitializeTest, device_notifications_are_asked_for_every_interface_class) {
    plugin->Initialize();
    ASSERT_EQ(host.DeviceFilters().size(), 1u);
    const std::vector<uint8_t> expected = {32,   0,    0,    0,    5,    0,    0,    0,
                                           0,    0,    0,    0,    0x1D, 0x20, 0x45, 0x5B,
                                           0xF2, 0xF2, 0x3B, 0x4F, 0x85, 0xBB, 0x30, 0xFF,
                                           0x1F, 0x95, 0x35, 0x99, 0,    0,    0,    0};
    EXPECT_EQ(host.DeviceFilters()[0], expected);
    EXPECT_THAT(host.DeviceFlags(), ElementsAre(4u));
}

TEST_F(InitializeTest, the_adapter_controller_is_given_the_plugin_and_its_change_callback) {
    machine.helper.Change([](auto& a) { a.HasBeenUsed = 1; });
    plugin->Initialize();
    ASSERT_NE(machine.adapters.InitializedCallback(), nullptr);
    EXPECT_EQ(machine.adapters.InitializedOwner(), static_cast<void*>(plugin));
    machine.adapters.InitializedCallback()(machine.adapters.InitializedOwner());
    EXPECT_TRUE(host.Logged(1, "HandleDeviceChangedEvent Begin"));
    EXPECT_EQ(host.Notifications().size(), 1u);
}

TEST_F(InitializeTest, power_source_then_lid_switch_are_registered) {
    plugin->Initialize();
    const auto settings = host.PowerSettings();
    ASSERT_EQ(settings.size(), 2u);
    EXPECT_EQ(settings[0], kAcdcPowerSource);
    EXPECT_EQ(settings[1], kLidSwitchStateChange);
}

TEST_F(InitializeTest, without_the_host_callables_their_steps_are_skipped_silently) {
    auto* bare = new COrvexMonitorPlugin(0, machine.Ports());
    MonitorHost bareHost(machine.heap);
    bareHost.Install(*bare, false);
    EXPECT_EQ(bare->Initialize(), 0);
    EXPECT_FALSE(bareHost.Logged(6, "Initialize : m_fnRegisterDeviceNotificationParam 0x00005150"));
    EXPECT_TRUE(bareHost.Logged(6, "Monitor Plugin  Initialize : End"));
    bare->Uninitialize();
    bare->Release();
}

TEST_F(InitializeTest, the_service_instance_makes_both_global_events_cleared) {
    plugin->Initialize();
    ASSERT_NE(plugin->FirstUserSessionStartEvent(), nullptr);
    ASSERT_NE(plugin->PowerResumeEvent(), nullptr);
    EXPECT_FALSE(Signalled(*plugin->FirstUserSessionStartEvent()));
    EXPECT_FALSE(Signalled(*plugin->PowerResumeEvent()));
}

TEST_F(InitializeTest, failed_global_events_are_logged_with_the_system_error) {
    machine.sharedEvents.FailCreate(u"Global\\FirstUserSessionStart", 5);
    machine.sharedEvents.FailCreate(u"Global\\ACPowerResume", 1450);
    plugin->Initialize();
    EXPECT_TRUE(host.Logged(6, "Failed to create m_hFirstUserSessionStartEvent: 5"));
    EXPECT_TRUE(host.Logged(6, "Create m_hPowerResumeEvent failed: 1450"));
    // The steps after them still run.
    EXPECT_TRUE(host.Logged(6, "Monitor Plugin  Initialize : End"));
    EXPECT_EQ(Command(16).GetInt32("Phase"), 2);
}

TEST_F(InitializeTest, the_dsts_flag_follows_bit_0x10000_of_a_successful_call) {
    machine.helper.Change([](auto& a) { a.Firmware[0x00090019] = {1, 0x00010000}; });
    plugin->Initialize();
    EXPECT_EQ(plugin->SkarnSwitch(), 1);
    EXPECT_THAT(machine.helper.FirmwareCalls(), ::testing::Contains(0x00090019u));
}

TEST_F(InitializeTest, the_dsts_flag_stays_clear_for_no_device_a_failed_call_or_a_clear_bit) {
    for (const ports::FirmwareReply reply :
         {ports::FirmwareReply{1, 0xFFFFFFFE}, ports::FirmwareReply{2, 0x00010000},
          ports::FirmwareReply{1, 0x0000FFFF}}) {
        SimMachine other;
        other.helper.Change([&](auto& a) { a.Firmware[0x00090019] = reply; });
        auto* fresh = new COrvexMonitorPlugin(0, other.Ports());
        fresh->Initialize();
        EXPECT_EQ(fresh->SkarnSwitch(), 0) << reply.Returned << " " << reply.Result;
        fresh->Uninitialize();
        fresh->Release();
    }
}

TEST_F(InitializeTest, without_the_firmware_device_dsts_is_not_called) {
    machine.firmware.SetPresent(false);
    plugin->Initialize();
    EXPECT_THAT(machine.helper.FirmwareCalls(), ::testing::Not(::testing::Contains(0x00090019u)));
    EXPECT_EQ(plugin->SkarnSwitch(), 0);
}

TEST_F(InitializeTest, uninitialize_closes_the_device_and_events_and_refuses_requests_again) {
    InitializeSettled();
    host.ClearLogs();
    EXPECT_EQ(plugin->Uninitialize(), 0);
    const auto trace = host.Trace();
    ASSERT_FALSE(trace.empty());
    EXPECT_EQ(trace.front(), "6 Uninitialize : Begin");
    EXPECT_EQ(trace.back(), "6 Uninitialize : End");
    EXPECT_EQ(machine.firmware.OpenDevices(), 0);
    EXPECT_EQ(plugin->FirstUserSessionStartEvent(), nullptr);
    EXPECT_EQ(plugin->PowerResumeEvent(), nullptr);
    HRESULT result = 0;
    EXPECT_TRUE(Command(16, &result).Empty());
    EXPECT_EQ(result, kNotInitializedResult);
}

TEST_F(InitializeTest, initialize_after_uninitialize_runs_every_step_again) {
    plugin->Initialize();
    plugin->Uninitialize();
    host.ClearLogs();
    plugin->Initialize();
    EXPECT_TRUE(host.Logged(6, "CPU Vendor ID : 1"));
    EXPECT_EQ(machine.firmware.OpenedPaths().size(), 2u);
    EXPECT_EQ(machine.firmware.OpenDevices(), 1);
}

class UserSessionInstanceTest : public PluginFixture {
protected:
    UserSessionInstanceTest() : PluginFixture(1) {}
};

TEST_F(UserSessionInstanceTest, signals_the_first_session_event_and_opens_no_device) {
    // The service instance of the same machine made the event.
    auto* service = new COrvexMonitorPlugin(0, machine.Ports());
    service->Initialize();
    const int devicesOfService = machine.firmware.OpenDevices();
    ASSERT_NE(service->FirstUserSessionStartEvent(), nullptr);

    EXPECT_EQ(plugin->Initialize(), 0);
    EXPECT_EQ(machine.kernel.Wait(*service->FirstUserSessionStartEvent(), 0).status,
              ports::WaitStatus::Signalled);
    EXPECT_EQ(machine.firmware.OpenedPaths().size(), 1u); // the service instance's only
    EXPECT_EQ(machine.firmware.OpenDevices(), devicesOfService);
    EXPECT_TRUE(host.DeviceFilters().empty());
    EXPECT_TRUE(host.PowerSettings().empty());
    service->Uninitialize();
    service->Release();
}

// Whether Initialize started the tuning-utility thread on the used Intel machine: the plug-in is
// destroyed first, which waits for the thread.
bool StartsTheTuningUtilityThread(SimMachine& machine, uint32_t hostMode) {
    auto* plugin = new COrvexMonitorPlugin(hostMode, machine.Ports());
    plugin->Initialize();
    plugin->Uninitialize();
    plugin->Release();
    return machine.helper.StartXtuServiceCalls() != 0 || machine.xtu.Seen().Created != 0;
}

TEST_F(UserSessionInstanceTest, starts_no_tuning_utility_thread_on_a_used_intel_machine) {
    EXPECT_FALSE(StartsTheTuningUtilityThread(machine, 1));
}

TEST_F(InitializeTest, the_service_instance_starts_the_tuning_utility_thread_on_a_used_machine) {
    EXPECT_TRUE(StartsTheTuningUtilityThread(machine, 0));
}

TEST_F(UserSessionInstanceTest, registers_the_ravik_hotkey_message_with_its_identifier) {
    plugin->Initialize();
    EXPECT_THAT(host.WindowMessages(), ElementsAre(std::pair<uint32_t, int32_t>{
                                           sim::FakeWindowMessages::kFirstMessage, 1}));
    EXPECT_EQ(machine.windowMessages.Register(u"ACPI Notification through RavikHotkey from BIOS"),
              sim::FakeWindowMessages::kFirstMessage);
}

TEST_F(UserSessionInstanceTest, without_a_service_instance_the_failed_open_is_logged) {
    plugin->Initialize();
    EXPECT_TRUE(host.Logged(6, "Failed to open m_hFirstUserSessionStartEvent: 2"));
    EXPECT_FALSE(host.Logged(4, "Create CPUInforReader."));
    EXPECT_FALSE(host.Logged(6, "CheckXTUImagePath result: 0, isChanged: 0, type: 0"));
}

TEST_F(UserSessionInstanceTest, still_makes_the_power_resume_event) {
    plugin->Initialize();
    EXPECT_NE(plugin->PowerResumeEvent(), nullptr);
    EXPECT_EQ(plugin->FirstUserSessionStartEvent(), nullptr);
}

class ModuleListTest : public PluginFixture {};

TEST_F(ModuleListTest, count_0_returns_buffer_too_small_and_the_need) {
    uint32_t count = 0;
    EXPECT_EQ(plugin->GetModuleList(nullptr, &count), static_cast<HRESULT>(0xA0800001u));
    // Eleven paths of "\ThrottlePlugin\" and a file name, each terminated, and one more zero.
    EXPECT_EQ(count, 427u);
}

TEST_F(ModuleListTest, a_big_enough_buffer_gets_the_paths_in_order_as_a_multi_string) {
    uint32_t count = 0;
    plugin->GetModuleList(nullptr, &count);
    std::vector<char16_t> buffer(count + 5, u'x');
    uint32_t room = count + 5;
    EXPECT_EQ(plugin->GetModuleList(buffer.data(), &room), 0);
    EXPECT_EQ(room, count);
    std::vector<std::u16string> paths;
    for (const char16_t* next = buffer.data(); *next != u'\0';
         next += std::char_traits<char16_t>::length(next) + 1) {
        paths.emplace_back(next);
    }
    ASSERT_EQ(paths.size(), 11u);
    EXPECT_EQ(paths[0], u"\\ThrottlePlugin\\MonitorPlugin.dll");
    EXPECT_EQ(paths[4], u"\\ThrottlePlugin\\GPUControlLibrary.dll");
    EXPECT_EQ(paths[5], u"\\ThrottlePlugin\\NativeCorvaneHelper.dll");
    EXPECT_EQ(paths[6], u"\\ThrottlePlugin\\XTUWrapperForNativeCode.dll");
    EXPECT_EQ(buffer[count - 1], u'\0');
    EXPECT_EQ(buffer[count - 2], u'\0');
    EXPECT_EQ(buffer[count + 4], u'\0'); // the whole room is cleared
}

TEST_F(ModuleListTest, one_character_short_or_no_buffer_is_too_small) {
    uint32_t count = 426;
    std::vector<char16_t> buffer(count);
    EXPECT_EQ(plugin->GetModuleList(buffer.data(), &count), static_cast<HRESULT>(0xA0800001u));
    EXPECT_EQ(count, 427u);
    EXPECT_EQ(plugin->GetModuleList(nullptr, &count), static_cast<HRESULT>(0xA0800001u));
    EXPECT_EQ(count, 427u);
}

} // namespace
