#include "cpu/amd_cpu_monitor.h"
#include "cpu/cpu_initialized_event.h"
#include "cpu/intel_cpu_monitor.h"
#include "fake_host.h"
#include "scenario_file.h"
#include "sim/fake_helper_library.h"
#include "sim/memory_files.h"
#include "test_plugin.h"
#include "win32/win32_amd_sdk.h"
#include "win32/win32_cpuid.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_machine_registry.h"
#include "win32/win32_system_devices.h"
#include "win32/win32_xtu_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

constexpr char kXtu[] = "XTUWrapperForNativeCode";
constexpr char kAmdSdk[] = "AMDCPULibrary";

std::u16string ProgramFolder() {
    return standin::ProgramFolder().u16string();
}

// The builders on the real bindings: what the stand-ins answer reaches the answer.
class CpuBuildersOnStandInsTest : public ::testing::Test {
protected:
    CpuBuildersOnStandInsTest() {
        scenario.Clear();
        host.Install(*plugin);
        files.SetFolders({.Plugin = ProgramFolder()});
    }

    standin::ScenarioFolder scenario{standin::ProgramFolder()};
    FakeHost host;
    PluginRef plugin{new TestPlugin(0, host.Heap())};
    win32::Win32KernelObjects kernel;
    sim::MemoryFiles files;
    class NoAcoustic final : public cpu::FanAcousticLookup {
    public:
        bool IsLoaded() const override { return false; }
        int32_t Lookup(int32_t, int32_t, double&) override { return 0; }
    } acoustic;
};

TEST_F(CpuBuildersOnStandInsTest, the_intel_builder_reads_the_xtu_stand_in) {
    scenario.Write(kXtu, "initialize=1\nvalue.5=3.4\nvalue.5A=27.5\nvalue.A1000001=55\n");
    sim::FakeHelperLibrary helper(sim::FakeHelperLibrary::IntelLaptop());
    win32::Win32XtuLibrary xtu;
    cpu::IntelCpuMonitor intel(
        {*plugin, kernel, helper, xtu, acoustic}, [] { return true; }, cpu::XtuDelays{0, 0, 0});
    const auto initialized = cpu::OpenCPUInitializedEvent(kernel);
    ASSERT_NE(initialized, nullptr);
    intel.InitializeXtu();
    EXPECT_TRUE(intel.XtuIsInitial());
    EXPECT_EQ(kernel.Wait(*initialized, 0).status, ports::WaitStatus::Signalled);

    VelmorValueSet::ValueSet answer;
    intel.GetCPUMonitorInformation(nullptr, 1800, answer);
    const auto* core = answer.FindMap("Core0");
    ASSERT_NE(core, nullptr);
    EXPECT_EQ(core->GetInt32("ProcessorFrequency"), 3400);
    EXPECT_EQ(core->GetDouble("Usage"), 27.5);
    intel.DestroyXtu();
    for (const std::string& call : scenario.Calls(kXtu)) {
        EXPECT_THAT(call, ::testing::HasSubstr(" ok")); // always the object it constructed
    }
}

TEST_F(CpuBuildersOnStandInsTest, the_amd_builder_loads_the_1_6_build_and_reads_its_status) {
    scenario.Write(kAmdSdk, "cores=4\nmemory=2933\nclock=-3600\nusage=18\n");
    win32::Win32AmdSdkLibraries sdk;
    win32::Win32Cpuid cpuid;
    win32::Win32SystemDevices devices;
    win32::Win32MachineRegistry registry;
    std::vector<std::u16string> checked;
    cpu::AmdCpuMonitor amd({*plugin, sdk, cpuid, devices, registry, files, files, acoustic,
                            [&](const std::u16string& path) {
                                checked.push_back(path);
                                return true;
                            }});
    amd.LoadAMDSDK(2, 32); // product line 32 never takes the 1.3 build
    ASSERT_TRUE(amd.SdkLoaded());
    ASSERT_EQ(checked.size(), 1u);
    EXPECT_EQ(checked[0], ProgramFolder() + u"\\AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll");
    amd.PrepareStatusBlock();
    EXPECT_EQ(amd.PhysicalCoreCount(), 4);

    VelmorValueSet::ValueSet answer;
    amd.GetAMDCPUMonitorInformation(nullptr, 0, answer);
    const auto* core = answer.FindMap("Core0");
    ASSERT_NE(core, nullptr);
    EXPECT_EQ(core->GetInt32("ProcessorFrequency"), 3600);
    EXPECT_EQ(core->GetDouble("Usage"), 18.0);
    amd.UnloadAMDSDK();
    EXPECT_THAT(scenario.Calls(kAmdSdk),
                ElementsAre("1.6 AMDSDK_Init", "1.6 NumberOFPhysicalCPU",
                            "1.6 GetMemoryFrequency 0", "1.6 GetCPUStatus 4 memory=2933",
                            "1.6 AMDSDK_Uninit"));
    EXPECT_TRUE(host.Logged(4, "AMDSDK_Uninit OK: 0"));
}

} // namespace
