// Notifications other components send the plug-in: the AMD GPU values pushed by a companion
// component, display-device changes and the AMD update signal. They answer nothing.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"

namespace {

using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

constexpr uint8_t kCodeUpdate = 2;
constexpr uint8_t kCodeMessage = 4;

constexpr std::string_view kKeyRequestRole = "RequestRole";
constexpr std::u16string_view kAmdMonitorNotify = u"AMDMonitorNotify";
constexpr std::u16string_view kDeviceChangeEvent = u"WindowMessageDeviceChangeEvent";
constexpr std::u16string_view kAmdUpdateNotify = u"AMDUpdateNotify";
constexpr int32_t kGetMonitorInformation = 1;

// The role counts only as a string; anything else names no event.
std::u16string RoleOf(const ValueSet& payload) {
    const auto* role = payload.Find(kKeyRequestRole);
    return role != nullptr && role->GetKind() == Kind::WideString ? role->AsString()
                                                                  : std::u16string();
}

} // namespace

HRESULT COrvexMonitorPlugin::ReceiveNotification(uint8_t code, ValueSet* payload) noexcept {
    // Both texts end in a blank and a line feed.
    Log(LogLevel::kTrace, u"ReceiveNotification - Begin \n");
    try {
        const std::u16string role = payload != nullptr ? RoleOf(*payload) : std::u16string();
        if (code == kCodeMessage && role == kAmdMonitorNotify) {
            StoreAmdGpuMonitor(*payload);
        } else if (code == kCodeMessage && role == kDeviceChangeEvent) {
            Log(LogLevel::kProgress, u"WindowMessageDeviceChangeEvent\n");
            m_gpu->RefreshAdapters();
        } else if (code == kCodeUpdate && role == kAmdUpdateNotify) {
            SignalAmdUpdate();
        }
    } catch (...) {
        // Out of memory reading the payload: the notification is dropped.
    }
    Log(LogLevel::kTrace, u"ReceiveNotification - End \n");
    return OrvexResult::kOk;
}

void COrvexMonitorPlugin::StoreAmdGpuMonitor(const ValueSet& payload) {
    const int32_t command = payload.GetInt32("Command");
    Log(LogLevel::kTrace, u"AMDMonitorNotify Command : %d \n", command);
    if (command != kGetMonitorInformation) {
        return;
    }
    Log(LogLevel::kTrace, u"Get Monitor Information \n");
    AmdGpuMonitorCache& cache = m_amdGpuMonitor;
    cache.Count = payload.GetInt32("Count");
    cache.MaxGPUProcessorFreq = payload.GetInt32("MaxGPUProcessorFreq");
    cache.MaxGPUMemoryFreq = payload.GetInt32("MaxGPUMemoryFreq");
    cache.MaxGPUVoltage = payload.GetInt32("MaxGPUVoltage");
    cache.CurrentGPUFrequency = payload.GetInt32("CurrentGPUFrequency");
    cache.CurrentMemoryFrequency = payload.GetInt32("CurrentMemoryFrequency");
    cache.GPUUsage = static_cast<int16_t>(payload.GetInt32("GPUUsage"));
    cache.GPUVoltage = payload.GetInt32("GPUVoltage");
    cache.GPUTemp = static_cast<int16_t>(payload.GetInt32("GPUTemp"));
    // "1" is the only state text that counts as on; "1 " is not.
    const std::u16string state = payload.GetString("GPUState");
    cache.GPUState = state == u"1" ? 1 : 0;
    // Once the cached fan speed is 0 a notification never changes it again. The object starts
    // zeroed, so in practice the fan speed keeps the value it was born with.
    if (cache.FanSpeed != 0) {
        cache.FanSpeed = payload.GetInt32("FanSpeed");
    }
}

// The first signal starts the AMD update worker, which has nothing to do and ends at once; the
// flags it leaves behind route every later signal to the pending flag. No part of this plug-in
// makes an AMD update event to wake, so a later signal only marks the update pending.
void COrvexMonitorPlugin::SignalAmdUpdate() {
    if (m_amdUpdateStarted != 0) {
        m_amdUpdatePending = 1;
        return;
    }
    m_amdUpdatePending = 1;
    m_amdUpdateStarted = 1;
    m_ports.kernel.StartThread([] { return 0u; });
}
