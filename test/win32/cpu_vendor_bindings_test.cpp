#include "scenario_file.h"
#include "win32/wide.h"
#include "win32/win32_amd_sdk.h"
#include "win32/win32_cpuid.h"
#include "win32/win32_machine_registry.h"
#include "win32/win32_system_devices.h"
#include "win32/win32_xtu_library.h"

#include <array>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <windows.h>

namespace {

using ::testing::ElementsAre;

constexpr char kXtu[] = "XTUWrapperForNativeCode";
constexpr char kAmdSdk[] = "AMDCPULibrary";
constexpr char16_t kBuild16[] = u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll";
constexpr char16_t kBuild15[] = u"AMDCPULibraryDT\\AMDCPULibraryDT.dll";

class MakerBindingsTest : public ::testing::Test {
protected:
    MakerBindingsTest() { scenario.Clear(); }

    standin::ScenarioFolder scenario{standin::ProgramFolder()};
};

TEST_F(MakerBindingsTest, the_xtu_wrapper_is_called_through_its_decorated_names_object_first) {
    scenario.Write(kXtu, "initialize=1\nvalue.A1000001=47.5\nvalue.41=-1.05\n");
    win32::Win32XtuLibrary library;
    {
        const auto wrapper = library.CreateWrapper();
        ASSERT_NE(wrapper, nullptr);
        EXPECT_TRUE(wrapper->Initialize());
        EXPECT_FALSE(wrapper->IsMonitorRunning());
        wrapper->StartMonitor();
        EXPECT_TRUE(wrapper->IsMonitorRunning());
        EXPECT_EQ(wrapper->GetMonitorValue(0xA1000001), 47.5);
        EXPECT_EQ(wrapper->GetMonitorValue(0x41), -1.05);
        EXPECT_EQ(wrapper->GetMonitorValue(90), 0.0);
        wrapper->StopMonitor();
        EXPECT_FALSE(wrapper->IsMonitorRunning());
    }
    EXPECT_THAT(scenario.Calls(kXtu),
                ElementsAre("construct ok", "Initialize ok", "IsMonitorRunning ok",
                            "StartMonitor ok", "IsMonitorRunning ok", "GetMonitorValue ok A1000001",
                            "GetMonitorValue ok 41", "GetMonitorValue ok 5A", "StopMonitor ok",
                            "IsMonitorRunning ok", "destruct ok"));
}

TEST_F(MakerBindingsTest, the_xtu_wrapper_answers_false_as_the_scenario_changes) {
    win32::Win32XtuLibrary library;
    const auto wrapper = library.CreateWrapper();
    ASSERT_NE(wrapper, nullptr);
    scenario.Write(kXtu, "initialize=0\n");
    EXPECT_FALSE(wrapper->Initialize());
    scenario.Write(kXtu, "initialize=1\n");
    EXPECT_TRUE(wrapper->Initialize());
}

TEST_F(MakerBindingsTest, an_amd_sdk_build_is_loaded_from_its_folder_and_called_by_name) {
    scenario.Write(kAmdSdk, "init=-3\ncores=6\nmemory=3200\nclock=-3600\nvoltage=1125\n"
                            "usage=-41\ntemperature=63\n");
    win32::Win32AmdSdkLibraries libraries;
    const ports::LoadedAmdSdk loaded = libraries.Load(kBuild16);
    ASSERT_NE(loaded.Module, nullptr) << loaded.Error;
    const ports::SdkAnswer init = loaded.Module->AMDSDK_Init();
    EXPECT_TRUE(init.Found);
    EXPECT_EQ(init.Result, -3);
    EXPECT_EQ(loaded.Module->NumberOFPhysicalCPU().Result, 6);
    uint32_t megahertz = 77;
    EXPECT_TRUE(loaded.Module->GetMemoryFrequency(megahertz).Found);
    EXPECT_EQ(megahertz, 3200u);

    std::array<uint8_t, 2052> block{};
    block[8] = 0x80; // 3200 MHz in core 0's memory-clock field
    block[9] = 0x0C;
    EXPECT_TRUE(loaded.Module->GetCPUStatus(6, block).Found);
    int32_t clock = 0;
    std::memcpy(&clock, block.data() + 4, 4);
    EXPECT_EQ(clock, -3600);
    EXPECT_EQ(block[12] | block[13] << 8, 1125);
    EXPECT_EQ(static_cast<int16_t>(block[32] | block[33] << 8), -41);
    EXPECT_EQ(block[34], 63);
    EXPECT_THAT(scenario.Calls(kAmdSdk),
                ElementsAre("1.6 AMDSDK_Init", "1.6 NumberOFPhysicalCPU",
                            "1.6 GetMemoryFrequency 77", "1.6 GetCPUStatus 6 memory=3200"));
}

TEST_F(MakerBindingsTest, a_missing_sdk_entry_gives_the_lookup_error) {
    win32::Win32AmdSdkLibraries libraries;
    const ports::LoadedAmdSdk loaded = libraries.Load(kBuild15);
    ASSERT_NE(loaded.Module, nullptr) << loaded.Error;
    std::array<uint8_t, 2052> block{};
    const ports::SdkAnswer status = loaded.Module->GetCPUStatus(8, block);
    EXPECT_FALSE(status.Found);
    EXPECT_EQ(status.LookupError, static_cast<uint32_t>(ERROR_PROC_NOT_FOUND));
    EXPECT_FALSE(loaded.Module->AMDSDK_Uninit().Found);
    EXPECT_TRUE(loaded.Module->AMDSDK_Init().Found);
}

TEST_F(MakerBindingsTest, a_missing_sdk_file_gives_the_load_error) {
    win32::Win32AmdSdkLibraries libraries;
    const ports::LoadedAmdSdk loaded = libraries.Load(u"AMDCPULibraryMissing\\Missing.dll");
    EXPECT_EQ(loaded.Module, nullptr);
    EXPECT_NE(loaded.Error, 0u);
}

TEST_F(MakerBindingsTest, cpuid_leaf_0_names_the_processor_vendor) {
    win32::Win32Cpuid cpuid;
    const ports::CpuidRegisters leaf0 = cpuid.Read(0);
    EXPECT_GT(leaf0.Eax, 0u);
    char vendor[13] = {};
    std::memcpy(vendor, &leaf0.Ebx, 4);
    std::memcpy(vendor + 4, &leaf0.Edx, 4);
    std::memcpy(vendor + 8, &leaf0.Ecx, 4);
    EXPECT_THAT(std::string(vendor), ::testing::AnyOf("GenuineIntel", "AuthenticAMD"));
}

TEST_F(MakerBindingsTest, a_machine_registry_string_is_read_and_a_missing_one_is_nothing) {
    const wchar_t* key = L"SYSTEM\\CurrentControlSet\\Control\\Class\\MonitorPluginTest\\0007";
    const wchar_t version[] = L"1.5.3.0";
    ASSERT_EQ(::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, L"DriverVersion", REG_SZ, version,
                                sizeof version),
              ERROR_SUCCESS);
    win32::Win32MachineRegistry registry;
    const std::u16string path = win32::AsUtf16(key);
    EXPECT_EQ(registry.ReadString(path, u"DriverVersion"), u"1.5.3.0");
    EXPECT_EQ(registry.ReadString(path, u"Missing"), std::nullopt);
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE,
                     L"SYSTEM\\CurrentControlSet\\Control\\Class\\MonitorPluginTest");
}

TEST_F(MakerBindingsTest, without_a_ryzen_master_driver_no_system_device_matches) {
    win32::Win32SystemDevices devices;
    EXPECT_EQ(devices.FindDriverKey(u"AMDRMDRIVER"), std::nullopt);
}

} // namespace
