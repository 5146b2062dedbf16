// The monitor snapshot commands: 1 (what the machine is doing now, under the monitor lock) and
// 3 (disk activity).
#include "monitor_plugin/command_table.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"

#include <mutex>

namespace {

using VelmorValueSet::ValueSet;

constexpr int32_t kCommandSnapshot = 1;
constexpr int32_t kCommandDiskActivity = 3;

constexpr int32_t kVendorIntel = 1;
constexpr int32_t kVendorAmd = 2;

// Firmware devices read through "DSTS", and how each answer is taken.
constexpr uint32_t kCpuFanDevice = 0x00110013;
constexpr uint32_t kFanSpeedMask = 0x0000FFFF;
constexpr int32_t kRpmPerFanUnit = 100;
constexpr uint32_t kGpuTotalGraphicsPowerDevice = 0x00120093;
constexpr uint32_t kGpuTotalGraphicsPowerMask = 0xFFFF;

// The CPU set of an Intel machine whose tuning utility is not ready yet: fixed gauges and zero
// readings, and no per-core nodes.
void WritePlaceholderCpuSet(ValueSet& answer) {
    answer.SetInt32("CPUMemoryFrequency", 0);
    answer.SetInt32("CPUFanSpeed", 0);
    answer.SetDouble("CPUFanAcoustic", 0.0);
    answer.SetInt32("CPUCoreCount", 1);
    answer.SetInt32("MaxCPUProcessorFreq", 6000);
    answer.SetInt32("MaxCPUMemoryFreq", 3000);
    answer.SetDouble("MaxCPUVoltage", 5.0);
    answer.SetInt32("MaxCPUTemprature", 100);
    answer.SetInt32("MaxCPUUsage", 100);
    answer.SetInt32("MaxCPUFanSpeed", 5500);
}

} // namespace

void MonitorSnapshotCommands::Register(CommandTable& table) {
    table.Register(kCommandSnapshot, &Snapshot);
    table.Register(kCommandDiskActivity, &DiskActivity);
}

void MonitorSnapshotCommands::Snapshot(COrvexMonitorPlugin& plugin, const ValueSet&,
                                       ValueSet& answer) {
    answer.SetInt32("Command", kCommandSnapshot);
    std::lock_guard lock(*plugin.m_monitorLock);
    ports::HelperLibrary& helper = plugin.m_ports.helper;
    const int32_t used = helper.HasBeenUsed().value_or(0);
    plugin.m_used = used;
    plugin.Log(LogLevel::kTrace, u"Monitor Plugin - Use Has Been Used : %d ", used);
    if (used == 0) {
        helper.StartUsed();
    }
    RunXtuInitializeOnFirstUse(plugin);
    CpuSnapshot(plugin, answer);
    plugin.m_gpu->GetGPUMonitorInformation(answer);
    answer.SetInt32("GPUTGP", GpuTotalGraphicsPower(plugin));
    plugin.Log(LogLevel::kTrace, u"Monitor Plugin - GetGPUMonitorInformation Is Finish! ");
    const ports::SystemSizes sizes = helper.RetriveSystemInfo().value_or(ports::SystemSizes{});
    answer.SetDouble("TotalDiskSize", sizes.TotalDisk);
    answer.SetDouble("AvailableDiskSize", sizes.AvailableDisk);
    answer.SetDouble("TotalMemorySize", sizes.TotalMemory);
    answer.SetDouble("AvailableMemorySize", sizes.AvailableMemory);
}

// The first snapshot initialises the tuning utility on the request's own thread when its service
// is not running yet (Intel), or when the product has not been used yet (AMD, which runs the
// same initialisation on purpose).
void MonitorSnapshotCommands::RunXtuInitializeOnFirstUse(COrvexMonitorPlugin& plugin) {
    if (plugin.m_firstRun == 0) {
        return;
    }
    const int32_t vendor = plugin.m_cpuVendor;
    const bool intelFirstRun =
        vendor == kVendorIntel && plugin.m_ports.helper.IsXTUServiceRunning().value_or(0) == 0;
    const bool amdFirstRun = vendor == kVendorAmd && plugin.m_used == 0;
    if (intelFirstRun || amdFirstRun) {
        plugin.Log(LogLevel::kTrace, u"First start run InitializationFunction.");
        plugin.m_cpu->DoXTUInitialize();
        plugin.m_firstRun = 0;
    }
}

void MonitorSnapshotCommands::CpuSnapshot(COrvexMonitorPlugin& plugin, ValueSet& answer) {
    const int32_t vendor = plugin.m_cpuVendor;
    if (vendor == kVendorIntel && !plugin.m_cpu->XTUReady()) {
        plugin.Log(LogLevel::kTrace, u"Monitor Plugin - SDK Is Null");
        if (plugin.m_hXTUInitializeThreads.empty()) {
            plugin.Log(LogLevel::kTrace, u"Monitor Plugin - Start to initial XTU Service ");
            plugin.StartXtuInitializeThread();
        }
        WritePlaceholderCpuSet(answer);
        return;
    }
    plugin.Log(LogLevel::kTrace, u"Monitor Plugin - Start XTU Service Is Finish! ");
    const int32_t fanRpm = CpuFanRpm(plugin);
    if (vendor == kVendorIntel) {
        plugin.m_cpu->GetCPUMonitorInformation(fanRpm, answer);
    } else if (vendor == kVendorAmd) {
        plugin.m_cpu->GetAMDCPUMonitorInformation(fanRpm, answer);
    }
    plugin.Log(LogLevel::kTrace,
               u"Monitor Plugin - GetCPUMonitorInformation Is Finish! CPU Fan Speed %d", fanRpm);
}

// Any non-zero call status is taken here, unlike the graphics power below, which needs exactly 1.
int32_t MonitorSnapshotCommands::CpuFanRpm(COrvexMonitorPlugin& plugin) {
    if (plugin.m_hRavikACPI == nullptr) {
        return 0;
    }
    const auto reply = plugin.m_ports.helper.One_WMIMethod_INT(
        plugin.m_hRavikACPI->Handle(), ports::kFirmwareMethodDsts, kCpuFanDevice);
    if (!reply || reply->Returned == 0 || reply->Result == ports::kFirmwareNoDevice) {
        return 0;
    }
    return static_cast<int32_t>(reply->Result & kFanSpeedMask) * kRpmPerFanUnit;
}

int32_t MonitorSnapshotCommands::GpuTotalGraphicsPower(COrvexMonitorPlugin& plugin) {
    if (plugin.m_hRavikACPI == nullptr) {
        return 0;
    }
    const auto reply = plugin.m_ports.helper.One_WMIMethod_INT(
        plugin.m_hRavikACPI->Handle(), ports::kFirmwareMethodDsts, kGpuTotalGraphicsPowerDevice);
    if (!reply || reply->Returned != 1 || reply->Result == ports::kFirmwareNoDevice) {
        return 0;
    }
    return static_cast<int32_t>(reply->Result & kGpuTotalGraphicsPowerMask);
}

void MonitorSnapshotCommands::DiskActivity(COrvexMonitorPlugin& plugin, const ValueSet&,
                                           ValueSet& answer) {
    plugin.m_diskActivity.Answer(plugin, answer);
}
