#pragma once

#include "monitor_plugin/worker_timeouts.h"
#include "ports/event.h"
#include "ports/helper_library.h"
#include "ports/kernel_objects.h"
#include "storage/nvme_drive.h"
#include "storage/system_records.h"

#include <cstdint>
#include <span>

class COrvexMonitorPlugin;
struct PluginPorts;
namespace VelmorValueSet {
class ValueSet;
}

// One record of the machine's use for the host's "SysInfo" table: the collection of the CPU and
// GPU values that the workers and the power events share, and the rows it becomes.
//
// Threads: the three workers and host threads (power events) use it at once; the CPU part of
// each collection runs under the plug-in's monitor lock, the GPU part outside it.
class SysInfoRecorder {
public:
    SysInfoRecorder(COrvexMonitorPlugin& plugin, const PluginPorts& ports);

    // CollectCPUGPUInfo: fills `set` as a monitor answer is filled. On an Intel machine whose
    // tuning utility is not ready yet it first waits for it, which `periodStop` (may be null)
    // ends early.
    void CollectCPUGPUInfo(VelmorValueSet::ValueSet& set, ports::Event* periodStop);
    // Collects and writes one row with `reason`, whether or not the product has been used.
    void RecordCPUGPUInfo(uint32_t reason, ports::Event* periodStop);
    // DoRecordSysInfoByEvent: one row with `reason` once the product has been used.
    void DoRecordSysInfoByEvent(uint32_t reason, ports::Event* periodStop);
    // One row with the health of `drives`.
    void RecordDiskHealth(std::span<storage::NVMeDrive> drives, uint32_t reason);
    // HasBeenUsed, logged at trace level with `format` and "TRUE" or "FALSE".
    bool HasBeenUsed(const char16_t* format);

    COrvexMonitorPlugin& Plugin() { return m_plugin; }
    ports::KernelObjects& Kernel() { return m_kernel; }
    const WorkerTimeouts& Timeouts() const { return m_timeouts; }

private:
    void CollectCpu(VelmorValueSet::ValueSet& set, ports::Event* periodStop);
    bool WaitForTuningUtility(ports::Event* periodStop);

    COrvexMonitorPlugin& m_plugin;
    ports::KernelObjects& m_kernel;
    ports::HelperLibrary& m_helper;
    WorkerTimeouts m_timeouts;
    storage::SystemRecords m_records;
};
