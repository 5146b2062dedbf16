// The GPU pages on the Win32 bindings under Wine: the stand-in maker libraries beside this test
// answer from the scenario file the test writes.
#include "fake_host.h"
#include "fanacoustic/tree_crypto.h"
#include "gpu/fan_acoustic.h"
#include "gpu/gpu_information.h"
#include "ms_printf.h"
#include "plugin_frame/value_set.h"
#include "ports/helper_library.h"
#include "standin_scenario.h"
#include "test_plugin.h"
#include "win32/win32_display_adapters.h"
#include "win32/win32_docking_controller.h"
#include "win32/win32_encrypt_helper.h"
#include "win32/win32_files.h"
#include "win32/win32_profile_strings.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using gpu_test::Calls;
using gpu_test::Scenario;
using VelmorValueSet::ValueSet;

// The helper library is not needed here: the firmware is never asked on these product lines.
class NoHelperLibrary final : public ports::HelperLibrary {
public:
    std::optional<int32_t> GetCPUVendor() override { return std::nullopt; }
    std::optional<ports::XtuImagePathCheck> CheckXTUImagePath() override { return std::nullopt; }
    std::optional<int32_t> HasBeenUsed() override { return std::nullopt; }
    std::optional<int32_t> StartUsed() override { return std::nullopt; }
    std::optional<int32_t> StartXTUService(void*) override { return std::nullopt; }
    std::optional<int32_t> IsXTUServiceRunning() override { return std::nullopt; }
    std::optional<int32_t> GetProcessorNameString(std::span<char16_t>) override {
        return std::nullopt;
    }
    std::optional<ports::SystemSizes> RetriveSystemInfo() override { return std::nullopt; }
    std::optional<ports::FirmwareReply> One_WMIMethod_INT(ports::AcpiDeviceHandle, uint32_t,
                                                          uint32_t) override {
        return std::nullopt;
    }
};

class GpuWin32Test : public ::testing::Test {
protected:
    GpuWin32Test() {
        gpu_test::ClearScenario();
        Scenario("GPUControlLibrary", "Vendor", "1");
        Scenario("GPUControlLibrary", "Type", "1");
        Scenario("GPUControlLibrary", "IdWord0", "0x28E010DE");
        Scenario("GPUControlLibrary", "IdWord1", "0x1234ABCD");
    }

    win32::Win32DisplayAdapters adapters;
    win32::Win32DockingController dock;
};

TEST_F(GpuWin32Test, the_adapter_library_binds_and_devices_call_through_their_table) {
    Scenario("GPUControlLibrary", "BasicVendor", "1");
    Scenario("GPUControlLibrary", "EmptyFlags", "0x10");
    Scenario("GPUControlLibrary", "FullName", "NVIDIA GeForce RTX 4060 Laptop GPU");
    Scenario("GPUControlLibrary", "MemorySize", "8192");
    Scenario("GPUControlLibrary", "BusWidth", "128");
    Scenario("GPUControlLibrary", "BasicCode", "0x00000001");
    Scenario("GPUControlLibrary", "MaxProcessorFrequency", "2370");
    Scenario("GPUControlLibrary", "MaxMemoryFrequency", "8001");
    Scenario("GPUControlLibrary", "MaxVoltage", "1100");
    Scenario("GPUControlLibrary", "MaxUsage", "100");
    Scenario("GPUControlLibrary", "MaxTemperature", "-3");
    Scenario("GPUControlLibrary", "State", "1");
    Scenario("GPUControlLibrary", "ProcessorFrequency", "1800");
    Scenario("GPUControlLibrary", "MemoryFrequency", "7000");
    Scenario("GPUControlLibrary", "Voltage", "850");
    Scenario("GPUControlLibrary", "Usage", "55");
    Scenario("GPUControlLibrary", "Temperature", "66");
    Scenario("GPUControlLibrary", "CurrentCode", "0x80004005");
    Scenario("GPUControlLibrary", "FanRpm", "2900");
    ASSERT_EQ(adapters.LoadError(), 0u);
    {
        auto created = adapters.CreateDevice();
        ASSERT_TRUE(created.has_value());
        ASSERT_EQ(created->Code, 0);
        ports::DisplayAdapterDevice& device = *created->Device;
        EXPECT_EQ(device.GetVendor(), 1u);
        EXPECT_EQ(device.GetType(), 1u);
        ports::GPUDeviceID id;
        EXPECT_EQ(device.GetDeviceID(id), 0);
        EXPECT_EQ(id, (ports::GPUDeviceID{0x28E010DE, 0x1234ABCD}));
        ports::GPUBasicInfo basic;
        EXPECT_EQ(device.GetBasicInfo(basic), 1);
        EXPECT_EQ(basic.EmptyFlags, 0x10u);
        EXPECT_EQ(std::u16string(basic.FullName), u"NVIDIA GeForce RTX 4060 Laptop GPU");
        EXPECT_EQ(basic.MemorySize, 8192);
        EXPECT_EQ(basic.BusWidth, 128);
        ports::GPUMaxInfo max;
        EXPECT_EQ(device.GetMaxInfo(max), 0);
        EXPECT_EQ(max.ProcessorFrequency, 2370u);
        EXPECT_EQ(max.MemoryFrequency, 8001u);
        EXPECT_EQ(max.Voltage, 1100);
        EXPECT_EQ(max.Usage, 100);
        EXPECT_EQ(max.Temperature, -3);
        ports::GPUCurrentInfo current;
        EXPECT_EQ(device.GetCurrentInfo(current), static_cast<int32_t>(0x80004005u));
        EXPECT_EQ(current.State, 1u);
        EXPECT_EQ(current.ProcessorFrequency, 1800u);
        EXPECT_EQ(current.Usage, 55);
        EXPECT_EQ(current.Temperature, 66);
        uint32_t rpm = 0;
        EXPECT_EQ(device.GetFanSpeed(rpm), 0);
        EXPECT_EQ(rpm, 2900u);
        EXPECT_EQ(Calls(u"DestroyDevice"), 0u);
    }
    EXPECT_EQ(Calls(u"CreateDevice"), 1u);
    EXPECT_EQ(Calls(u"DestroyDevice"), 1u);
    EXPECT_EQ(Calls(u"UnexpectedSlot"), 0u);
    EXPECT_EQ(Calls(u"WrongObject"), 0u);
}

TEST_F(GpuWin32Test, a_failed_create_device_hands_out_no_device) {
    Scenario("GPUControlLibrary", "CreateCode", "0x80004005");
    const auto created = adapters.CreateDevice();
    ASSERT_TRUE(created.has_value());
    EXPECT_EQ(created->Code, static_cast<int32_t>(0x80004005u));
    EXPECT_EQ(created->Device, nullptr);
    EXPECT_EQ(Calls(u"DestroyDevice"), 0u);
}

void OnChange(void* owner) {
    ++*static_cast<int*>(owner);
}

TEST_F(GpuWin32Test, the_controller_takes_owner_and_callback_and_refresh_reaches_them) {
    int changes = 0;
    EXPECT_EQ(adapters.Initialize(&changes, &OnChange), 0);
    EXPECT_EQ(adapters.Refresh(0), 0);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(adapters.Uninitialize(&changes), 0);
    EXPECT_EQ(adapters.Refresh(0), 0);
    EXPECT_EQ(changes, 1);
}

TEST_F(GpuWin32Test, the_dock_library_binds_and_frees_its_configuration_records) {
    Scenario("ExternalGPUConfigHelper", "IdWord0", "0x28E010DE");
    Scenario("ExternalGPUConfigHelper", "IdWord1", "7");
    Scenario("ExternalGPUConfigHelper", "IdCode", "0x80070002");
    Scenario("ExternalGPUConfigHelper", "ConfigRecords", "3");
    Scenario("ExternalGPUConfigHelper", "ConfigWord0", "0x11112222");
    Scenario("ExternalGPUConfigHelper", "ConfigWord1", "0x33334444");
    Scenario("ExternalGPUConfigHelper", "FanRpm", "1700");
    Scenario("ExternalGPUConfigHelper", "FanAcoustic", "36");
    ASSERT_EQ(dock.LoadError(), 0u);
    int owner = 0;
    EXPECT_EQ(dock.Initialize(&owner), 0);
    EXPECT_EQ(Calls(u"DockInitialize"), 1u);
    const auto id = dock.GetEGPUID();
    ASSERT_TRUE(id.has_value());
    EXPECT_EQ(id->Code, static_cast<int32_t>(0x80070002u));
    EXPECT_EQ(id->Id, (ports::GPUDeviceID{0x28E010DE, 7}));
    const auto config = dock.GetEGPUConfig();
    ASSERT_TRUE(config.has_value());
    EXPECT_EQ(config->Code, 0);
    EXPECT_EQ(config->FirstId, (ports::GPUDeviceID{0x11112222, 0x33334444}));
    const auto fan = dock.GetFanSpeed();
    ASSERT_TRUE(fan.has_value());
    EXPECT_EQ(fan->Rpm, 1700u);
    EXPECT_EQ(fan->Acoustic, 36u);
    EXPECT_EQ(dock.Uninitialize(&owner), 0);
    EXPECT_EQ(Calls(u"DockUninitialize"), 1u);
    EXPECT_EQ(Calls(u"WrongObject"), 0u);
}

TEST_F(GpuWin32Test, a_dock_without_records_gives_no_first_identity) {
    const auto config = dock.GetEGPUConfig();
    ASSERT_TRUE(config.has_value());
    EXPECT_EQ(config->FirstId, std::nullopt);
}

TEST_F(GpuWin32Test, profile_values_land_in_a_buffer_of_eight_characters_with_default_0) {
    const std::u16string file = gpu_test::TestFolder() + u"\\profile_values.ini";
    gpu_test::WriteProfileValue(file, u"25A0", u"NV Base", u"123456789");
    win32::Win32ProfileStrings profiles;
    EXPECT_EQ(profiles.Read(file, u"25a0", u"nv base", u"0", 8), u"1234567");
    EXPECT_EQ(profiles.Read(file, u"25A0", u"NV Boost", u"0", 8), u"0");
    EXPECT_EQ(profiles.Read(u"C:\\no\\such.ini", u"Main", u"Count", u"0", 8), u"0");
}

TEST_F(GpuWin32Test, profile_key_names_list_a_section_in_file_order) {
    const std::u16string file = gpu_test::TestFolder() + u"\\profile_keys.ini";
    gpu_test::WriteProfileValue(file, u"Main", nullptr, nullptr);
    gpu_test::WriteProfileValue(file, u"Main", u"Count", u"2");
    gpu_test::WriteProfileValue(file, u"Main", u"2", u"28E0");
    gpu_test::WriteProfileValue(file, u"Main", u"1", u"25A0");
    win32::Win32ProfileStrings profiles;
    EXPECT_EQ(profiles.KeyNames(file, u"main"),
              (std::vector<std::u16string>{u"Count", u"2", u"1"}));
    EXPECT_TRUE(profiles.KeyNames(file, u"None").empty());
}

TEST_F(GpuWin32Test, a_key_list_longer_than_the_first_buffer_is_read_whole) {
    const std::u16string file = gpu_test::TestFolder() + u"\\profile_many_keys.ini";
    gpu_test::WriteProfileValue(file, u"Main", nullptr, nullptr);
    std::vector<std::u16string> expected;
    for (int row = 1; row <= 400; ++row) {
        const std::string narrow = std::to_string(row);
        expected.emplace_back(narrow.begin(), narrow.end());
        gpu_test::WriteProfileValue(file, u"Main", expected.back().c_str(), u"0");
    }
    EXPECT_EQ(win32::Win32ProfileStrings{}.KeyNames(file, u"Main"), expected);
}

// Moves a stand-in out of the test's folder for the scope, as if the maker had not installed it.
class MissingLibrary {
public:
    explicit MissingLibrary(const char16_t* fileName)
        : m_path(std::filesystem::path(gpu_test::TestFolder()) / fileName),
          m_away(m_path.string() + ".away") {
        std::filesystem::rename(m_path, m_away);
    }
    ~MissingLibrary() { std::filesystem::rename(m_away, m_path); }
    MissingLibrary(const MissingLibrary&) = delete;
    MissingLibrary& operator=(const MissingLibrary&) = delete;

private:
    std::filesystem::path m_path;
    std::filesystem::path m_away;
};

TEST(GpuWin32MissingLibraryTest, missing_libraries_leave_their_sources_absent) {
    {
        const MissingLibrary missing(u"GPUControlLibrary.dll");
        win32::Win32DisplayAdapters adapters;
        EXPECT_NE(adapters.LoadError(), 0u);
        EXPECT_EQ(adapters.CreateDevice(), std::nullopt);
        EXPECT_EQ(adapters.Initialize(nullptr, nullptr), std::nullopt);
    }
    {
        const MissingLibrary missing(u"ExternalGPUConfigHelper.dll");
        win32::Win32DockingController dock;
        EXPECT_NE(dock.LoadError(), 0u);
        EXPECT_EQ(dock.GetEGPUID(), std::nullopt);
        EXPECT_EQ(dock.GetFanSpeed(), std::nullopt);
    }
}

TEST(GpuWin32MissingLibraryTest, the_encryption_helper_is_tried_again_until_it_loads) {
    win32::Win32EncryptHelper encrypt;
    {
        const MissingLibrary missing(u"VelmorEncryptHelper.dll");
        EXPECT_EQ(encrypt.Load(), std::nullopt);
    }
    const auto entry = encrypt.Load();
    ASSERT_TRUE(entry.has_value());
    EXPECT_NE(*entry, nullptr);
}

// The whole GPU clock flow on Win32: the stand-in helper copies the ".enc" to the ".ini", which is
// read through GetPrivateProfileStringW and deleted.
class GpuClockFlowWin32Test : public GpuWin32Test {
protected:
    GpuClockFlowWin32Test()
        : plugin(new TestPlugin(0, host.Heap())), fanAcoustic(TreeCrypto(), files, folders),
          gpu(*plugin, {adapters, dock, helper, {encrypt, profiles, files, folders}}, fanAcoustic) {
        host.Install(*plugin);
        host.answer = [](const FakeHost::SentRequest&, ValueSet& answer) {
            answer.SetString("ModelName", u"WineGpuFlow");
            answer.SetString("MarketingName", u"Wine GPU Flow");
            return HRESULT{0};
        };
        folder = std::filesystem::path(*folders.CommonAppData()) / u"Velmor" / u"QUILLON Config" /
                 u"Data";
        std::filesystem::create_directories(folder);
        enciphered = folder / u"Quillon_Config.VgaOc.WineGpuFlow.enc";
        plain = folder / u"Quillon_Config.VgaOc.WineGpuFlow.ini";
        std::filesystem::remove(plain);
    }
    ~GpuClockFlowWin32Test() override {
        std::filesystem::remove(enciphered);
        std::filesystem::remove(plain);
    }

    void WriteTable(const std::string& text) {
        std::ofstream(enciphered, std::ios::binary | std::ios::trunc) << text;
    }

    FakeHost host;
    PluginRef plugin;
    NoHelperLibrary helper;
    win32::Win32EncryptHelper encrypt;
    win32::Win32ProfileStrings profiles;
    win32::Win32Files files;
    win32::Win32Folders folders;
    gpu::FanAcoustic fanAcoustic;
    gpu::GpuInformation gpu;
    std::filesystem::path folder;
    std::filesystem::path enciphered;
    std::filesystem::path plain;
};

TEST_F(GpuClockFlowWin32Test, device_information_finds_reads_and_deletes_the_plain_table) {
    WriteTable("[Main]\r\nCount=2\r\n1=25A0\r\n2=28E0\r\n[28E0]\r\nNV Base=1455\r\n"
               "NV Boost=2370\r\nTarvo Boost=1800\r\nOC=100\r\nVRAM Base=2000\r\nVRAM OC=2125\r\n");
    ValueSet answer;
    gpu.GetGPUDeviceInformation(answer);
    EXPECT_EQ(Calls(u"DecryptAES"), 1u);
    EXPECT_FALSE(std::filesystem::exists(plain));
    EXPECT_EQ(gpu.Clocks(), (gpu::GpuClocks{1455, 2370, 1800, 1900, 2000, 2125}));
    EXPECT_TRUE(host.Logged(6, "GPUDeviceIDStr - 28E0"));
    EXPECT_TRUE(host.Logged(6, "O.C. Frequency - 1900MHz"));
    EXPECT_EQ(Calls(u"CreateDevice"), 1u);
    EXPECT_EQ(Calls(u"DestroyDevice"), 1u);

    ValueSet monitor;
    gpu.GetGPUMonitorInformation(monitor);
    const ValueSet* adapter = monitor.FindMap("Adapter0");
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->GetInt32("OCFrequency"), 1900);
    EXPECT_EQ(adapter->GetInt32("VRAMOCFrequency"), 2125);
}

TEST_F(GpuClockFlowWin32Test, count_0_leaves_the_plain_table_on_disk) {
    WriteTable("[Main]\r\nCount=0\r\n1=28E0\r\n");
    gpu.GetGPUBaseFrequency(u"28E0");
    EXPECT_TRUE(std::filesystem::exists(plain));
    EXPECT_EQ(gpu.Clocks(), gpu::GpuClocks{});
}

TEST_F(GpuClockFlowWin32Test, no_enciphered_file_calls_no_helper_and_logs_0_mhz) {
    gpu.GetGPUBaseFrequency(u"28E0");
    EXPECT_EQ(Calls(u"DecryptAES"), 0u);
    EXPECT_TRUE(host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(GpuClockFlowWin32Test, a_helper_that_writes_nothing_leaves_the_values) {
    Scenario("VelmorEncryptHelper", "WritesNothing", "1");
    WriteTable("[Main]\r\nCount=1\r\n1=28E0\r\n");
    gpu.GetGPUBaseFrequency(u"28E0");
    EXPECT_EQ(Calls(u"DecryptAES"), 1u);
    EXPECT_TRUE(host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(GpuClockFlowWin32Test, the_dock_is_probed_through_the_library_and_reports_its_fan) {
    Scenario("ExternalGPUConfigHelper", "IdWord0", "0x28E010DE");
    Scenario("ExternalGPUConfigHelper", "IdWord1", "0x1234ABCD");
    Scenario("ExternalGPUConfigHelper", "FanRpm", "1700");
    Scenario("ExternalGPUConfigHelper", "FanAcoustic", "36");
    gpu.SetProductLine(1);
    ValueSet base;
    gpu.GetBaseInformation(base);
    EXPECT_EQ(base.GetInt32("IsSupportEGPUFan"), 1);
    EXPECT_EQ(base.GetString("ModelName"), u"Wine GPU Flow");
    EXPECT_TRUE(host.Logged(1, "EGPU detected for EGPU ID"));
    ValueSet monitor;
    gpu.GetGPUMonitorInformation(monitor);
    EXPECT_EQ(monitor.GetInt32("EGPUFanSpeed"), 1700);
    EXPECT_EQ(monitor.GetInt32("EGPUFanAcoustic"), 36);
    EXPECT_EQ(Calls(u"DockInitialize"), 2u);
    EXPECT_EQ(Calls(u"DockUninitialize"), 2u);
    EXPECT_EQ(Calls(u"DockInitializeWithCallback"), 0u);
}

} // namespace
