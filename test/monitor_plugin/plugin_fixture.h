#pragma once
// A monitor plug-in on the simulated laptop with its host installed, and short ways to send it
// commands.
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"
#include "sim_machine.h"

#include <gtest/gtest.h>

inline constexpr auto kNotInitializedResult = static_cast<HRESULT>(0xA0800009u);
inline constexpr auto kBadCommandResult = static_cast<HRESULT>(0xA0800010u);

class PluginFixture : public ::testing::Test {
protected:
    using ValueSet = VelmorValueSet::ValueSet;

    explicit PluginFixture(uint32_t hostMode = 0)
        : plugin(new COrvexMonitorPlugin(hostMode, machine.Ports())) {
        host.Install(*plugin);
    }
    ~PluginFixture() override {
        plugin->Uninitialize();
        plugin->Release();
    }

    // Initialize, and in the service instance wait until its three workers have started, so their
    // first log lines are not mistaken for a later step's.
    void InitializeSettled() {
        ASSERT_EQ(plugin->Initialize(), 0);
        if (plugin->HostMode() == 0) {
            for (const char* worker :
                 {"Enter DoRecordSysInfoByPeriod", "Enter DoWaitingPowerResumeEvent",
                  "Enter DoMonitorPluginInitialize"}) {
                ASSERT_TRUE(host.WaitForLog(6, worker)) << worker;
            }
        }
    }

    // Sends the request as the host does (slot 30) and gives the answer; result gets the code.
    ValueSet Send(ValueSet& request, HRESULT* result = nullptr) {
        ValueSet answer;
        const HRESULT code =
            static_cast<IOrvexPlugin*>(plugin)->ProcessRequest(nullptr, &request, &answer);
        if (result != nullptr) {
            *result = code;
        }
        return answer;
    }
    ValueSet Command(int32_t command, HRESULT* result = nullptr) {
        ValueSet request;
        request.SetInt32("Command", command);
        return Send(request, result);
    }

    SimMachine machine;
    MonitorHost host{machine.heap};
    COrvexMonitorPlugin* plugin;
};
