// Uninitialize: the workers stop in their fixed order within their limits, every object they used
// is let go, and Initialize may start a new set afterwards.
#include "workers_fixture.h"

#include <atomic>
#include <gmock/gmock.h>

namespace {

// Native kernel objects that count the thread bodies still running.
class CountingKernel final : public ports::KernelObjects {
public:
    explicit CountingKernel(ports::KernelObjects& real) : real_(real) {}

    std::unique_ptr<ports::Event> NewEvent(bool manualReset, bool initiallySet,
                                           const std::u16string& name = {}) override {
        return real_.NewEvent(manualReset, initiallySet, name);
    }
    ports::OpenedEvent OpenExistingEvent(const std::u16string& name) override {
        return real_.OpenExistingEvent(name);
    }
    std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()> body) override {
        ++running;
        auto thread = real_.StartThread([this, body = std::move(body)] {
            const uint32_t code = body();
            --running;
            return code;
        });
        if (thread == nullptr) {
            --running;
        }
        return thread;
    }
    std::unique_ptr<ports::CriticalSection> NewCriticalSection() override {
        return real_.NewCriticalSection();
    }
    ports::WaitOutcome WaitAny(std::span<ports::Waitable* const> objects,
                               uint32_t timeoutMs) override {
        return real_.WaitAny(objects, timeoutMs);
    }
    void Sleep(uint32_t milliseconds) override { real_.Sleep(milliseconds); }
    uint64_t CurrentThreadId() override { return real_.CurrentThreadId(); }

    std::atomic<int> running{0};

private:
    ports::KernelObjects& real_;
};

class ShutdownTest : public WorkersFixture {
protected:
    void TwoNvmeDrives() {
        machine.physicalDrives.SetDiskEnum({0, 2});
        machine.physicalDrives.SetDrive(0, sim::FakePhysicalDrives::NvmeDrive(0, 1));
        machine.physicalDrives.SetDrive(1, sim::FakePhysicalDrives::NvmeDrive(0, 2));
    }
};

TEST_F(ShutdownTest, uninitialize_stops_the_workers_in_order_and_logs_each_wait) {
    Start();
    host.ClearLogs();
    EXPECT_EQ(plugin->Uninitialize(), 0);
    const auto trace = host.Trace();
    const std::vector<std::string> expected = {
        "6 Uninitialize : Begin",
        "6 Success terminate m_hRecordSysInfoPeriodThread: 0",
        "6 Success terminate m_hTerminatePowerResumeEventThread: 0",
        "6 Success terminate m_monitorPluginInitilizeThread: 0",
        "6 pVelmorCPUInformationList",
        "6 Uninitialize : End",
    };
    auto next = trace.begin();
    for (const std::string& line : expected) {
        next = std::find(next, trace.end(), line);
        ASSERT_NE(next, trace.end()) << line;
    }
    EXPECT_EQ(trace.back(), "6 Uninitialize : End");
    // Every worker has ended by the time Uninitialize returns.
    EXPECT_TRUE(host.Logged(6, "Exit DoRecordSysInfoByPeriod"));
    EXPECT_TRUE(host.Logged(6, "Exit DoWaitingPowerResumeEvent"));
    EXPECT_TRUE(host.Logged(6, "Exit DoMonitorPluginInitialize"));
}

TEST_F(ShutdownTest, a_user_session_instance_logs_failed_waits_for_workers_it_never_had) {
    COrvexMonitorPlugin* user = New(1);
    ASSERT_EQ(user->Initialize(), 0);
    host.ClearLogs();
    EXPECT_EQ(user->Uninitialize(), 0);
    EXPECT_TRUE(host.Logged(6, "Success terminate m_hRecordSysInfoPeriodThread: -1"));
    EXPECT_TRUE(host.Logged(6, "Success terminate m_hTerminatePowerResumeEventThread: -1"));
    EXPECT_TRUE(host.Logged(6, "Success terminate m_monitorPluginInitilizeThread: -1"));
}

TEST_F(ShutdownTest, the_nvme_drives_are_found_once_and_closed_by_uninitialize) {
    TwoNvmeDrives();
    Start();
    EXPECT_TRUE(host.Logged(6, "Success get Disk Enum Count: 2"));
    EXPECT_TRUE(host.Logged(6, "PhysicalDrive1 is NVMe Drive"));
    EXPECT_EQ(machine.physicalDrives.LiveCount(), 2);
    plugin->Uninitialize();
    EXPECT_EQ(machine.physicalDrives.LiveCount(), 0);
}

TEST_F(ShutdownTest, no_disk_count_examines_no_drive) {
    machine.physicalDrives.SetDiskEnum({2, std::nullopt});
    Start();
    EXPECT_TRUE(host.Logged(6, "Failed to Open Disk Enum: 2"));
    EXPECT_EQ(machine.physicalDrives.OpenCount(), 0u);
    EXPECT_EQ(machine.physicalDrives.QueryCount(), 0u);
}

TEST_F(ShutdownTest, initialize_after_uninitialize_starts_a_new_set_of_workers) {
    TwoNvmeDrives();
    Start();
    plugin->Uninitialize();
    host.ClearLogs();
    Start();
    EXPECT_EQ(machine.physicalDrives.LiveCount(), 2);
    OnePeriod();
    ASSERT_TRUE(host.WaitForRows(1));
    EXPECT_EQ(host.Rows().front().Value(u"freq"), u"4");
}

TEST(ShutdownLeaks, uninitialize_then_release_leaves_no_thread_event_or_drive_behind) {
    SimMachine machine;
    CountingKernel counting(machine.kernel);
    machine.pluginKernel = &counting;
    machine.physicalDrives.SetDiskEnum({0, 1});
    machine.physicalDrives.SetDrive(0, sim::FakePhysicalDrives::NvmeDrive(0, 1));
    MonitorHost host(machine.heap);
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    host.Install(*plugin);
    ASSERT_EQ(plugin->Initialize(), 0);
    ASSERT_TRUE(host.WaitForLog(6, "Enter DoMonitorPluginInitialize"));
    EXPECT_GE(counting.running.load(), 3);
    plugin->Uninitialize();
    plugin->Release();
    EXPECT_EQ(counting.running.load(), 0);
    EXPECT_EQ(machine.physicalDrives.LiveCount(), 0);
    for (const char16_t* name :
         {u"Global\\FirstUserSessionStart", u"Global\\ACPowerResume", u"CPUInitializedEvent"}) {
        EXPECT_TRUE(machine.kernel.OpenExistingEvent(name).NotFound);
    }
}

TEST(ShutdownLeaks, a_release_without_uninitialize_still_ends_every_worker) {
    SimMachine machine;
    CountingKernel counting(machine.kernel);
    machine.pluginKernel = &counting;
    MonitorHost host(machine.heap);
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    host.Install(*plugin);
    ASSERT_EQ(plugin->Initialize(), 0);
    ASSERT_TRUE(host.WaitForLog(6, "Enter DoMonitorPluginInitialize"));
    plugin->Release();
    EXPECT_EQ(counting.running.load(), 0);
    EXPECT_TRUE(host.Logged(6, "Exit DoRecordSysInfoByPeriod"));
    EXPECT_TRUE(host.Logged(6, "Exit DoWaitingPowerResumeEvent"));
}

} // namespace
