#include "cpu/cpu_initialized_event.h"
#include "cpu/xtu_initialization.h"
#include "cpu_test_doubles.h"
#include "fake_host.h"
#include "sim/fake_amd_sdk.h"
#include "sim/fake_helper_library.h"
#include "sim/fake_ryzen_master.h"
#include "sim/fake_xtu_library.h"
#include "sim/memory_files.h"
#include "sim/native_kernel_objects.h"
#include "test_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class XtuInitializationTest : public ::testing::Test, protected AmdMachine {
protected:
    XtuInitializationTest() {
        host.Install(*plugin);
        sdk.Change([](auto& answers) {
            answers.Files = {u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll"};
            answers.MemoryFrequency = 2933;
        });
    }

    bool Signalled(ports::Event& event) {
        return kernel.Wait(event, 0).status == ports::WaitStatus::Signalled;
    }

    FakeHost host;
    PluginRef plugin{new TestPlugin(0, host.Heap())};
    SleepRecordingKernel kernel;
    sim::FakeHelperLibrary helper{sim::FakeHelperLibrary::IntelLaptop()};
    sim::FakeXtuLibrary xtu;
    cpu::IntelCpuMonitor intel{{*plugin, kernel, helper, xtu, acoustic}, [] { return true; }};
    cpu::AmdCpuMonitor amd{Ports(*plugin, Signed)};
    // Held as the plug-in holds its own handle, so the event outlives the initialisation thread.
    std::unique_ptr<ports::Event> initialized = cpu::OpenCPUInitializedEvent(kernel);
};

TEST_F(XtuInitializationTest, on_intel_the_wrapper_is_initialised_a_second_after_it_is_made) {
    ASSERT_NE(initialized, nullptr);
    EXPECT_EQ(cpu::DoXTUInitialize(1, intel, amd), 0u);
    EXPECT_EQ(helper.StartXtuServiceCalls(), 1);
    EXPECT_EQ(xtu.Seen().Created, 1);
    EXPECT_EQ(xtu.Seen().Initialize, 1);
    EXPECT_THAT(kernel.Sleeps(), ElementsAre(1000u));
    EXPECT_TRUE(intel.XtuIsInitial());
    EXPECT_TRUE(intel.HasXtu());
    EXPECT_TRUE(Signalled(*initialized));
}

TEST_F(XtuInitializationTest, a_wrapper_that_fails_to_initialise_is_destroyed_and_not_signalled) {
    xtu.Change([](auto& answers) { answers.InitializeResult = false; });
    cpu::DoXTUInitialize(1, intel, amd);
    EXPECT_EQ(xtu.Seen().Destroyed, 1);
    EXPECT_FALSE(intel.XtuIsInitial());
    EXPECT_FALSE(intel.HasXtu());
    EXPECT_FALSE(Signalled(*initialized));
}

TEST_F(XtuInitializationTest, a_missing_xtu_library_leaves_xtu_absent_without_waiting) {
    xtu.Change([](auto& answers) { answers.Present = false; });
    cpu::DoXTUInitialize(1, intel, amd);
    EXPECT_THAT(kernel.Sleeps(), IsEmpty());
    EXPECT_FALSE(intel.XtuIsInitial());
    EXPECT_FALSE(intel.HasXtu());
    EXPECT_FALSE(Signalled(*initialized));
}

TEST_F(XtuInitializationTest, a_missing_start_xtu_service_entry_does_not_stop_initialisation) {
    helper.Change([](auto& answers) { answers.StartXtuService.reset(); });
    cpu::DoXTUInitialize(1, intel, amd);
    EXPECT_TRUE(intel.XtuIsInitial());
}

TEST_F(XtuInitializationTest, on_amd_the_status_block_is_prepared_and_xtu_is_left_alone) {
    amd.LoadAMDSDK(2, 128);
    EXPECT_EQ(cpu::DoXTUInitialize(2, intel, amd), 0u);
    EXPECT_EQ(amd.PhysicalCoreCount(), 8);
    EXPECT_EQ(helper.StartXtuServiceCalls(), 0);
    EXPECT_EQ(xtu.Seen().Created, 0);
}

TEST_F(XtuInitializationTest, another_vendor_does_nothing) {
    EXPECT_EQ(cpu::DoXTUInitialize(3, intel, amd), 0u);
    EXPECT_EQ(helper.StartXtuServiceCalls(), 0);
    EXPECT_EQ(xtu.Seen().Created, 0);
    EXPECT_EQ(amd.PhysicalCoreCount(), 0);
}

TEST(CpuInitializedEventTest, is_created_manual_reset_and_clear_when_none_exists) {
    sim::NativeKernelObjects kernel;
    const auto event = cpu::OpenCPUInitializedEvent(kernel);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(kernel.Wait(*event, 0).status, ports::WaitStatus::TimedOut);
    event->Set();
    EXPECT_EQ(kernel.Wait(*event, 0).status, ports::WaitStatus::Signalled);
    EXPECT_EQ(kernel.Wait(*event, 0).status, ports::WaitStatus::Signalled);
}

TEST(CpuInitializedEventTest, opens_the_existing_event_by_its_name) {
    sim::NativeKernelObjects kernel;
    const auto existing = kernel.NewEvent(true, true, u"CPUInitializedEvent");
    const auto opened = cpu::OpenCPUInitializedEvent(kernel);
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(kernel.Wait(*opened, 0).status, ports::WaitStatus::Signalled);
}

TEST(CpuInitializedEventTest, any_failure_other_than_not_found_gives_null) {
    class DeniedKernel final : public ports::KernelObjects {
    public:
        std::unique_ptr<ports::Event> NewEvent(bool, bool, const std::u16string&) override {
            ++created;
            return nullptr;
        }
        ports::OpenedEvent OpenExistingEvent(const std::u16string&) override {
            return {nullptr, false};
        }
        std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()>) override {
            return nullptr;
        }
        std::unique_ptr<ports::CriticalSection> NewCriticalSection() override { return nullptr; }
        ports::WaitOutcome WaitAny(std::span<ports::Waitable* const>, uint32_t) override {
            return {};
        }
        void Sleep(uint32_t) override {}
        uint64_t CurrentThreadId() override { return 1; }
        int created = 0;
    } kernel;
    EXPECT_EQ(cpu::OpenCPUInitializedEvent(kernel), nullptr);
    EXPECT_EQ(kernel.created, 0);
}

// The initialisation thread publishes the wrapper while answers are being built; run under
// ThreadSanitizer this shows that the two never race. No host is installed: its recording sink
// is not made for several threads.
TEST(XtuInitializationConcurrencyTest, answers_built_while_the_wrapper_is_made_are_well_formed) {
    CountingHeap heap;
    PluginRef plugin{new TestPlugin(0, heap)};
    sim::NativeKernelObjects kernel;
    sim::FakeHelperLibrary helper{sim::FakeHelperLibrary::IntelLaptop()};
    sim::FakeXtuLibrary xtu;
    xtu.Change([](auto& answers) {
        answers.MonitorRunning = true;
        answers.Values[5] = {3.0};
    });
    sim::FakeAmdSdk sdk;
    sim::FakeCpuid cpuid;
    sim::FakeSystemDevices devices;
    sim::MemoryRegistry registry;
    sim::MemoryFiles files;
    FakeFanAcoustic acoustic;
    cpu::IntelCpuMonitor intel{
        {*plugin, kernel, helper, xtu, acoustic}, [] { return true; }, cpu::XtuDelays{0, 0, 0}};
    cpu::AmdCpuMonitor amd{{*plugin, sdk, cpuid, devices, registry, files, files, acoustic, {}}};

    auto thread = kernel.StartThread([&] { return cpu::DoXTUInitialize(1, intel, amd); });
    ASSERT_NE(thread, nullptr);
    for (int round = 0; round < 200; ++round) {
        VelmorValueSet::ValueSet answer;
        intel.GetCPUMonitorInformation(nullptr, 0, answer);
        const auto* core = answer.FindMap("Core0");
        ASSERT_NE(core, nullptr);
        const int32_t clock = core->GetInt32("ProcessorFrequency");
        EXPECT_TRUE(clock == 0 || clock == 3000) << clock;
    }
    EXPECT_EQ(kernel.Wait(*thread, ports::kInfinite).status, ports::WaitStatus::Signalled);
    VelmorValueSet::ValueSet last;
    intel.GetCPUMonitorInformation(nullptr, 0, last);
    EXPECT_EQ(last.FindMap("Core0")->GetInt32("ProcessorFrequency"), 3000);
    intel.DestroyXtu();
    EXPECT_EQ(xtu.Seen().Destroyed, 1);
}

// The status block is prepared on the initialisation thread while answers refresh and read it.
TEST(XtuInitializationConcurrencyTest, amd_answers_built_while_the_block_is_prepared_are_whole) {
    CountingHeap heap;
    PluginRef plugin{new TestPlugin(0, heap)};
    sim::NativeKernelObjects kernel;
    sim::FakeHelperLibrary helper;
    sim::FakeXtuLibrary xtu;
    AmdMachine machine;
    machine.sdk.Change([](auto& answers) {
        answers.Files = {u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll"};
        answers.MemoryFrequency = 2400;
        answers.StatusImage.assign(2052, 0);
        answers.StatusImage[4] = 0x10; // core 0 clock 3600 MHz
        answers.StatusImage[5] = 0x0E;
    });
    cpu::IntelCpuMonitor intel{{*plugin, kernel, helper, xtu, machine.acoustic},
                               [] { return true; }};
    cpu::AmdCpuMonitor amd{machine.Ports(*plugin, AmdMachine::Signed)};
    amd.LoadAMDSDK(2, 128);
    ASSERT_TRUE(amd.SdkLoaded());

    auto thread = kernel.StartThread([&] { return cpu::DoXTUInitialize(2, intel, amd); });
    ASSERT_NE(thread, nullptr);
    for (int round = 0; round < 200; ++round) {
        VelmorValueSet::ValueSet answer;
        amd.GetAMDCPUMonitorInformation(nullptr, 0, answer);
        EXPECT_EQ(Core0Of(answer).GetInt32("ProcessorFrequency"), 3600);
    }
    EXPECT_EQ(kernel.Wait(*thread, ports::kInfinite).status, ports::WaitStatus::Signalled);
    EXPECT_EQ(amd.PhysicalCoreCount(), 8);
    amd.UnloadAMDSDK();
}

} // namespace
