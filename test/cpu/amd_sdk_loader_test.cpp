#include "cpu/amd_cpu_monitor.h"
#include "cpu/amd_sdk_build.h"
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

constexpr char16_t kDriverKey[] = u"{4d36e97d-e325-11ce-bfc1-08002be10318}\\0007";
constexpr char16_t kDriverClassPath[] =
    u"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e97d-e325-11ce-bfc1-08002be10318}\\0007";
constexpr char16_t kBuild13[] = u"AMDCPULibrary.dll";
constexpr char16_t kBuild15[] = u"AMDCPULibraryDT\\AMDCPULibraryDT.dll";
constexpr char16_t kBuild16[] = u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll";

class AmdSdkLoaderTest : public ::testing::Test, protected AmdMachine {
protected:
    AmdSdkLoaderTest() {
        host.Install(*plugin);
        sdk.Change([](auto& answers) { answers.Files = {kBuild13, kBuild15, kBuild16}; });
    }

    void Processor(uint32_t eax, uint32_t ebx) { cpuid.Leaves[0x80000001] = {eax, ebx, 0, 0}; }
    void RyzenMasterDriver(std::u16string version) {
        devices.Devices.push_back({{u"ROOT\\SYSTEM", u"ROOT\\AMDRMDRIVER"}, kDriverKey});
        registry.Strings[{kDriverClassPath, u"DriverVersion"}] = std::move(version);
    }
    std::vector<std::u16string> Loads() const { return sdk.Seen().Loads; }

    FakeHost host;
    PluginRef plugin{new TestPlugin(0, host.Heap())};
    std::vector<std::u16string> checkedSignatures;
    bool signedByVelmor = true;
    cpu::AmdCpuMonitor monitor{Ports(*plugin, [this](const std::u16string& path) {
        checkedSignatures.push_back(path);
        return signedByVelmor;
    })};
};

TEST_F(AmdSdkLoaderTest, vendor_1_loads_nothing) {
    monitor.LoadAMDSDK(1, 128);
    EXPECT_THAT(Loads(), IsEmpty());
    EXPECT_THAT(checkedSignatures, IsEmpty());
    EXPECT_EQ(devices.Searches, 0);
    EXPECT_TRUE(host.logs.empty());
    EXPECT_FALSE(monitor.SdkLoaded());
}

TEST_F(AmdSdkLoaderTest, an_old_part_on_product_line_128_loads_the_1_3_build) {
    Processor(0x00810F81, 0x0FFFFFFF);
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild13));
    EXPECT_EQ(devices.Searches, 0);
    EXPECT_THAT(host.LinesAt(4), ElementsAre("Use old 1.3 RyzenSDK", "AMDSDK_Init OK: 0"));
    EXPECT_TRUE(monitor.SdkLoaded());
}

TEST_F(AmdSdkLoaderTest, eax_0x00810F80_is_an_old_part_too) {
    Processor(0x00810F80, 0);
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild13));
}

TEST_F(AmdSdkLoaderTest, the_same_processor_on_product_line_32_goes_on_to_the_driver_test) {
    Processor(0x00810F81, 0);
    monitor.LoadAMDSDK(2, 32);
    EXPECT_EQ(devices.Searches, 1);
    EXPECT_THAT(Loads(), ElementsAre(kBuild16));
}

TEST_F(AmdSdkLoaderTest, product_line_2_goes_on_to_the_driver_test) {
    Processor(0x00810F81, 0);
    RyzenMasterDriver(u"1.5.3.0");
    monitor.LoadAMDSDK(2, 2);
    EXPECT_THAT(Loads(), ElementsAre(kBuild15));
}

TEST_F(AmdSdkLoaderTest, a_package_type_other_than_0_is_not_an_old_part) {
    Processor(0x00810F81, 0x10000000);
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild16));
}

TEST_F(AmdSdkLoaderTest, another_model_is_not_an_old_part) {
    Processor(0x00A50F00, 0);
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild16));
}

TEST_F(AmdSdkLoaderTest, no_ryzen_master_driver_loads_the_1_6_build) {
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild16));
    EXPECT_THAT(host.LinesAt(4), ElementsAre("Use new 1.6 RyzenSDK", "AMDSDK_Init OK: 0"));
}

TEST_F(AmdSdkLoaderTest, driver_version_1_5_3_0_loads_the_1_5_build) {
    RyzenMasterDriver(u"1.5.3.0");
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild15));
    EXPECT_THAT(host.LinesAt(4), ElementsAre("Use new 1.5 RyzenSDK", "AMDSDK_Init OK: 0"));
}

TEST_F(AmdSdkLoaderTest, driver_version_1_10_0_0_loads_the_1_5_build_by_text_comparison) {
    RyzenMasterDriver(u"1.10.0.0");
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild15));
}

TEST_F(AmdSdkLoaderTest, driver_version_1_6_0_0_and_later_load_the_1_6_build) {
    for (const char16_t* version : {u"1.6.0.0", u"1.7.2.0", u"2.0"}) {
        sim::FakeSystemDevices freshDevices;
        devices = freshDevices;
        RyzenMasterDriver(version);
        monitor.LoadAMDSDK(2, 128);
    }
    EXPECT_THAT(Loads(), ElementsAre(kBuild16, kBuild16, kBuild16));
}

TEST_F(AmdSdkLoaderTest, a_driver_whose_version_cannot_be_read_counts_as_version_0) {
    devices.Devices.push_back({{u"ROOT\\AMDRMDRIVER"}, kDriverKey});
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), ElementsAre(kBuild15));
}

TEST_F(AmdSdkLoaderTest, the_signature_of_the_full_path_is_checked_before_loading) {
    monitor.LoadAMDSDK(2, 128);
    const std::u16string path =
        u"C:\\Program Files\\Orvex\\ThrottlePlugin\\AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll";
    EXPECT_THAT(checkedSignatures, ElementsAre(path));
    EXPECT_TRUE(host.Logged(6, "Check digital signature of \"C:\\Program "
                               "Files\\Orvex\\ThrottlePlugin\\AMDCPULibrary_1.6_DT\\AMDCPULibrary_"
                               "1.6_DT.dll\""));
}

TEST_F(AmdSdkLoaderTest, an_unsigned_library_is_not_loaded) {
    signedByVelmor = false;
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(Loads(), IsEmpty());
    EXPECT_THAT(host.LinesAt(2), ElementsAre("LoadAMDSDK Failed because no digital signature"));
    EXPECT_FALSE(monitor.SdkLoaded());
}

TEST_F(AmdSdkLoaderTest, a_library_that_does_not_load_logs_the_system_error) {
    sdk.Change([](auto& answers) { answers.Files.clear(); });
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(host.LinesAt(2), ElementsAre("LoadAMDSDK LoadLibraryEx Failed: 126"));
    EXPECT_FALSE(monitor.SdkLoaded());
}

TEST_F(AmdSdkLoaderTest, a_library_without_init_is_freed_again) {
    sdk.Change([](auto& answers) { answers.Init.reset(); });
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(host.LinesAt(2), ElementsAre("LoadAMDSDK GetProcAddress Failed: 127"));
    EXPECT_EQ(sdk.Seen().Freed, 1);
    EXPECT_FALSE(monitor.SdkLoaded());
}

TEST_F(AmdSdkLoaderTest, a_failed_init_keeps_the_library_loaded) {
    sdk.Change([](auto& answers) { answers.Init = -5; });
    monitor.LoadAMDSDK(2, 128);
    EXPECT_THAT(host.LinesAt(2), ElementsAre("LoadAMDSDK AMDSDK_Init Failed: -5"));
    EXPECT_EQ(sdk.Seen().Freed, 0);
    EXPECT_TRUE(monitor.SdkLoaded());
}

TEST_F(AmdSdkLoaderTest, unload_uninitialises_frees_and_forgets_the_status_block) {
    monitor.LoadAMDSDK(2, 128);
    ASSERT_TRUE(monitor.EnsureAMDSDKMonitor());
    host.logs.clear();
    monitor.UnloadAMDSDK();
    EXPECT_EQ(sdk.Seen().Uninit, 1);
    EXPECT_EQ(sdk.Seen().Freed, 1);
    EXPECT_FALSE(monitor.SdkLoaded());
    EXPECT_THAT(host.LinesAt(4), ElementsAre("AMDSDK_Uninit OK: 0"));
    EXPECT_THAT(host.LinesAt(6), ElementsAre("pVelmorCPUInformationList"));
    host.logs.clear();
    ASSERT_TRUE(monitor.EnsureAMDSDKMonitor()); // a new block, announced again
    EXPECT_EQ(host.LinesAt(6).size(), 1u);
}

TEST_F(AmdSdkLoaderTest, unload_logs_a_failed_uninit_at_level_2) {
    sdk.Change([](auto& answers) { answers.Uninit = -1; });
    monitor.LoadAMDSDK(2, 128);
    monitor.UnloadAMDSDK();
    EXPECT_THAT(host.LinesAt(2), ElementsAre("UnloadAMDSDK AMDSDK_Uninit Failed: -1"));
    EXPECT_EQ(sdk.Seen().Freed, 1);
}

TEST_F(AmdSdkLoaderTest, unload_without_uninit_logs_the_system_error_and_still_frees) {
    sdk.Change([](auto& answers) { answers.Uninit.reset(); });
    monitor.LoadAMDSDK(2, 128);
    monitor.UnloadAMDSDK();
    EXPECT_THAT(host.LinesAt(2), ElementsAre("UnloadAMDSDK GetProcAddress Failed: 127"));
    EXPECT_EQ(sdk.Seen().Freed, 1);
}

TEST_F(AmdSdkLoaderTest, unload_without_a_library_only_frees_the_status_block) {
    monitor.UnloadAMDSDK();
    EXPECT_EQ(sdk.Seen().Uninit, 0);
    EXPECT_THAT(host.LinesAt(6), ElementsAre("pVelmorCPUInformationList"));
    EXPECT_EQ(host.logs.size(), 1u);
}

class RyzenMasterDriverTest : public ::testing::Test {
protected:
    sim::FakeSystemDevices devices;
    sim::MemoryRegistry registry;
};

TEST_F(RyzenMasterDriverTest, no_driver_is_not_found_with_version_0) {
    devices.Devices.push_back({{u"ACPI\\PNP0A08"}, u"x"});
    const auto driver = cpu::GetRyzenMasterDriverVersion(devices, registry);
    EXPECT_FALSE(driver.Found);
    EXPECT_EQ(driver.Version, u"0");
}

TEST_F(RyzenMasterDriverTest, the_version_is_read_under_the_class_key_of_the_driver) {
    devices.Devices.push_back({{u"ACPI\\PNP0A08"}, u"other"});
    devices.Devices.push_back({{u"ROOT\\AMDRMDRIVER"}, kDriverKey});
    registry.Strings[{kDriverClassPath, u"DriverVersion"}] = u"1.5.3.0";
    const auto driver = cpu::GetRyzenMasterDriverVersion(devices, registry);
    EXPECT_TRUE(driver.Found);
    EXPECT_EQ(driver.Version, u"1.5.3.0");
}

TEST_F(RyzenMasterDriverTest, a_version_is_cut_to_259_characters) {
    devices.Devices.push_back({{u"ROOT\\AMDRMDRIVER"}, kDriverKey});
    registry.Strings[{kDriverClassPath, u"DriverVersion"}] = std::u16string(300, u'9');
    EXPECT_EQ(cpu::GetRyzenMasterDriverVersion(devices, registry).Version.size(), 259u);
}

TEST(TextLessIgnoringCaseTest, compares_character_by_character_ignoring_ascii_case) {
    EXPECT_TRUE(cpu::TextLessIgnoringCase(u"1.10.0.0", u"1.6.0.0"));
    EXPECT_TRUE(cpu::TextLessIgnoringCase(u"1.5.3.0", u"1.6.0.0"));
    EXPECT_FALSE(cpu::TextLessIgnoringCase(u"1.6.0.0", u"1.6.0.0"));
    EXPECT_TRUE(cpu::TextLessIgnoringCase(u"1.6.0", u"1.6.0.0"));
    EXPECT_FALSE(cpu::TextLessIgnoringCase(u"ABC", u"abc"));
    EXPECT_FALSE(cpu::TextLessIgnoringCase(u"abc", u"ABC"));
    EXPECT_TRUE(cpu::TextLessIgnoringCase(u"ABC", u"abd"));
}

} // namespace
