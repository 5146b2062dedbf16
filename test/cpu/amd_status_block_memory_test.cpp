// The status block's allocation can be made to fail in this test program, so the AMD builder's
// handling of an exhausted heap is seen. Everything else allocates as usual.
#include "cpu/amd_cpu_monitor.h"
#include "cpu_test_doubles.h"
#include "fake_host.h"
#include "test_plugin.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>

namespace {

std::atomic<bool> failStatusBlocks{false};

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (failStatusBlocks && size == cpu::kStatusBlockSize) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

using ::testing::ElementsAre;

class AmdStatusBlockMemoryTest : public ::testing::Test, protected AmdMachine {
protected:
    AmdStatusBlockMemoryTest() {
        host.Install(*plugin);
        sdk.Change([](auto& answers) {
            answers.Files = {u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll"};
            answers.MemoryFrequency = 2400;
        });
        monitor.LoadAMDSDK(2, 128);
        host.logs.clear();
        failStatusBlocks = true;
    }
    ~AmdStatusBlockMemoryTest() override { failStatusBlocks = false; }

    FakeHost host;
    PluginRef plugin{new TestPlugin(0, host.Heap())};
    cpu::AmdCpuMonitor monitor{Ports(*plugin, Signed)};
    FakeCpuReadings reader;
    VelmorValueSet::ValueSet answer;
};

TEST_F(AmdStatusBlockMemoryTest, ensure_without_memory_is_false_and_says_so) {
    EXPECT_FALSE(monitor.EnsureAMDSDKMonitor());
    EXPECT_THAT(host.LinesAt(3), ElementsAre("pVelmorCPUInformationList == NULL"));
}

TEST_F(AmdStatusBlockMemoryTest, without_a_block_the_sdk_values_are_skipped_and_the_answer_ends) {
    reader.Temperature = 0;
    reader.VoltageSupported = false;
    reader.Frequency = 0.0;
    monitor.GetAMDCPUMonitorInformation(&reader, 0, answer);
    EXPECT_THAT(KeysOf(Core0Of(answer)), ElementsAre("ProcessorFrequency", "Usage"));
    EXPECT_EQ(Core0Of(answer).GetInt32("ProcessorFrequency"), 0);
    EXPECT_THAT(host.LinesAt(3), ElementsAre("pVelmorCPUInformationList == NULL",
                                             "pVelmorCPUInformationList == NULL",
                                             "pVelmorCPUInformationList == NULL",
                                             "Monitor Plugin - EnsureAMDSDKMonitor failed"));
    EXPECT_TRUE(sdk.Seen().StatusCoreCounts.empty());
    EXPECT_TRUE(host.Logged(6, "GetAMDCPUMonitorInformation : End"));
}

TEST_F(AmdStatusBlockMemoryTest, preparing_without_memory_learns_the_cores_and_stops) {
    monitor.PrepareStatusBlock();
    EXPECT_EQ(monitor.PhysicalCoreCount(), 8);
    failStatusBlocks = false;
    ASSERT_TRUE(monitor.EnsureAMDSDKMonitor());
    monitor.GetAMDCPUMonitorInformation(nullptr, 0, answer);
    const auto block = sdk.Seen().BlockSeen;
    ASSERT_EQ(block.size(), 2052u);
    EXPECT_EQ(block[8], 0); // no memory clock was written into a block that was not there
}

} // namespace
