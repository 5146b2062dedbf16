#pragma once
// A service instance on the simulated laptop whose workers run on virtual time: a test lets a
// period, a session wait or the tuning utility's wait run out with Expire, in no real time. The
// host's store takes rows (the privacy policy has been read).
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "sim_machine.h"
#include "virtual_time_kernel.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

class WorkersFixture : public ::testing::Test {
protected:
    using ValueSet = VelmorValueSet::ValueSet;

    explicit WorkersFixture(uint32_t hostMode = 0) {
        machine.pluginKernel = &time;
        plugin = New(hostMode);
    }
    ~WorkersFixture() override {
        for (COrvexMonitorPlugin* each : plugins_) {
            each->Uninitialize();
            each->Release();
        }
    }

    // Another plug-in of the same machine, released with the fixture.
    COrvexMonitorPlugin* New(uint32_t hostMode) {
        auto* made = new COrvexMonitorPlugin(hostMode, machine.Ports());
        plugins_.push_back(made);
        host.Install(*made);
        host.AnswerQuery(u"UWPInfo", [](ValueSet& answer) { answer.SetBool("PPRead", true); });
        return made;
    }

    // Initialize, and wait until the three workers have started waiting.
    void Start() {
        ASSERT_EQ(plugin->Initialize(), 0);
        ASSERT_TRUE(host.WaitForLog(6, "Enter DoRecordSysInfoByPeriod"));
        ASSERT_TRUE(host.WaitForLog(6, "Enter DoWaitingPowerResumeEvent"));
        ASSERT_TRUE(time.AwaitWait(timeouts().FirstUserSessionMs));
    }
    // Start, once the tuning utility is ready (the initialisation thread has set the event).
    void StartReady() {
        // Held from before the thread can set it, so the set event is not gone with its handles.
        const auto ready = machine.kernel.NewEvent(true, false, u"CPUInitializedEvent");
        ASSERT_NE(ready, nullptr);
        Start();
        ASSERT_TRUE(machine.kernel.Wait(*ready, 60000).Signalled(0));
    }

    const WorkerTimeouts& timeouts() const { return machine.workerTimeouts; }

    // Lets one period run out once the period worker waits for it.
    void OnePeriod() { ASSERT_TRUE(time.Expire(timeouts().PeriodMs)); }

    // The "freq" of every row so far.
    std::vector<std::u16string> Reasons() const {
        std::vector<std::u16string> reasons;
        for (const auto& row : host.Rows()) {
            reasons.push_back(row.Value(u"freq"));
        }
        return reasons;
    }

    void Unused() {
        machine.helper.Change([](auto& answers) { answers.HasBeenUsed = 0; });
    }

    SimMachine machine;
    VirtualTimeKernel time{machine.kernel, machine.clock};
    MonitorHost host{machine.heap};
    COrvexMonitorPlugin* plugin = nullptr;

private:
    std::vector<COrvexMonitorPlugin*> plugins_;
};
