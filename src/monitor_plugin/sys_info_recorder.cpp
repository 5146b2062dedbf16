#include "monitor_plugin/sys_info_recorder.h"

#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"

#include <mutex>

namespace {

constexpr int32_t kVendorIntel = 1;
constexpr int32_t kVendorAmd = 2;
// The collection reads the CPU with the fan speed left out.
constexpr int32_t kNoFanSpeed = 0;

const char16_t* TrueOrFalse(bool value) {
    return value ? u"TRUE" : u"FALSE";
}

} // namespace

SysInfoRecorder::SysInfoRecorder(COrvexMonitorPlugin& plugin, const PluginPorts& ports)
    : m_plugin(plugin), m_kernel(ports.kernel), m_helper(ports.helper),
      m_timeouts(ports.workerTimeouts), m_records(plugin, ports.systemMessages) {}

void SysInfoRecorder::CollectCPUGPUInfo(VelmorValueSet::ValueSet& set, ports::Event* periodStop) {
    m_plugin.Log(LogLevel::kTrace, u"Enter CollectCPUGPUInfo");
    {
        std::lock_guard lock(m_plugin.MonitorLock());
        CollectCpu(set, periodStop);
    }
    m_plugin.Gpu().GetGPUMonitorInformation(set);
    m_plugin.Log(LogLevel::kTrace, u"Exit CollectCPUGPUInfo");
}

void SysInfoRecorder::CollectCpu(VelmorValueSet::ValueSet& set, ports::Event* periodStop) {
    CpuSide& cpu = m_plugin.Cpu();
    const int32_t vendor = m_plugin.CpuVendor();
    if (vendor == kVendorIntel) {
        const bool initial = cpu.XTUIsInitial();
        m_plugin.Log(LogLevel::kTrace, u"m_XTUIsInitial = %s", TrueOrFalse(initial));
        if (initial || WaitForTuningUtility(periodStop)) {
            cpu.GetCPUMonitorInformation(kNoFanSpeed, set);
        }
        // A connected client keeps reading the monitor; otherwise it need not run between records.
        if (cpu.HasXTUWrapper() && !m_plugin.ClientConnected()) {
            m_plugin.Log(LogLevel::kTrace, u"stop monitor after collectdata");
            cpu.StopXTUMonitor();
        }
    } else if (vendor == kVendorAmd) {
        cpu.GetAMDCPUMonitorInformation(kNoFanSpeed, set);
    }
}

// True once the tuning utility is ready; false when shutdown or the time limit came first, or
// when an event to wait on is missing (the wait fails).
bool SysInfoRecorder::WaitForTuningUtility(ports::Event* periodStop) {
    const std::shared_ptr<ports::Event> initialized = m_plugin.Cpu().CPUInitializedEvent();
    if (periodStop == nullptr || initialized == nullptr) {
        return false;
    }
    ports::Waitable* const objects[] = {periodStop, initialized.get()};
    const ports::WaitOutcome outcome = m_kernel.WaitAny(objects, m_timeouts.TuningUtilityReadyMs);
    if (outcome.Signalled(0)) {
        m_plugin.Log(LogLevel::kTrace,
                     u"CollectCPUGPUInfo m_hTerminateRecordPeriodThreadEvent triggered");
    } else if (outcome.Signalled(1)) {
        m_plugin.Log(LogLevel::kTrace, u"CollectCPUGPUInfo XTU already initialized");
        return true;
    } else if (outcome.status == ports::WaitStatus::TimedOut) {
        m_plugin.Log(LogLevel::kTrace, u"CollectCPUGPUInfo XTU initialized TIMEOUT triggered");
    }
    return false;
}

void SysInfoRecorder::RecordCPUGPUInfo(uint32_t reason, ports::Event* periodStop) {
    VelmorValueSet::ValueSet collected;
    CollectCPUGPUInfo(collected, periodStop);
    m_records.SaveCPUGPUInfoToDB(collected, reason);
}

void SysInfoRecorder::DoRecordSysInfoByEvent(uint32_t reason, ports::Event* periodStop) {
    m_plugin.Log(LogLevel::kTrace, u"Enter DoRecordSysInfoByEvent");
    if (HasBeenUsed(u"DoRecordSysInfoByEvent HasBeenUsed: %s")) {
        RecordCPUGPUInfo(reason, periodStop);
    }
    m_plugin.Log(LogLevel::kTrace, u"Exit DoRecordSysInfoByEvent");
}

void SysInfoRecorder::RecordDiskHealth(std::span<storage::NVMeDrive> drives, uint32_t reason) {
    m_records.SaveNVMeHealthToDB(drives, reason);
}

bool SysInfoRecorder::HasBeenUsed(const char16_t* format) {
    const bool used = m_helper.HasBeenUsed().value_or(0) != 0;
    m_plugin.Log(LogLevel::kTrace, format, TrueOrFalse(used));
    return used;
}
