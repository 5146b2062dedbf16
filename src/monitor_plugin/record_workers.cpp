#include "monitor_plugin/record_workers.h"

#include "monitor_plugin/orvex_monitor_plugin.h"
#include "monitor_plugin/sys_info_recorder.h"

namespace {

// The disk health follows every third period record: once an hour at the product's period.
constexpr int32_t kPeriodRecordsPerDiskHealth = 3;

} // namespace

uint32_t DoMonitorPluginInitialize(SysInfoRecorder& recorder, const WorkerSet& set) {
    COrvexMonitorPlugin& plugin = recorder.Plugin();
    ports::KernelObjects& kernel = recorder.Kernel();
    const WorkerTimeouts& timeouts = recorder.Timeouts();
    plugin.Log(LogLevel::kTrace, u"Enter DoMonitorPluginInitialize");
    ports::Waitable* const objects[] = {set.periodStop.get(), set.firstUserSessionStart.get()};
    if (kernel.WaitAny(objects, timeouts.FirstUserSessionMs).Signalled(1)) {
        // The tuning utility's start waits longer meanwhile, so the record does not see it.
        plugin.SetRecordFlag(false);
        if (kernel.Wait(*set.periodStop, timeouts.FirstSessionRecordDelayMs).status ==
            ports::WaitStatus::TimedOut) {
            recorder.DoRecordSysInfoByEvent(storage::record_kind::kFirstUserSession,
                                            set.periodStop.get());
        }
        plugin.SetRecordFlag(true);
    }
    plugin.Log(LogLevel::kTrace, u"Exit DoMonitorPluginInitialize");
    return 0;
}

uint32_t DoRecordSysInfoByPeriod(SysInfoRecorder& recorder, const WorkerSet& set) {
    COrvexMonitorPlugin& plugin = recorder.Plugin();
    ports::KernelObjects& kernel = recorder.Kernel();
    plugin.Log(LogLevel::kTrace, u"Enter DoRecordSysInfoByPeriod");
    int32_t hourCount = 0;
    for (;;) {
        const ports::WaitOutcome outcome =
            kernel.Wait(*set.periodStop, recorder.Timeouts().PeriodMs);
        if (outcome.status == ports::WaitStatus::Signalled) {
            break;
        }
        if (outcome.status != ports::WaitStatus::TimedOut) {
            continue;
        }
        plugin.Log(LogLevel::kTrace, u"DoRecordSysInfoByPeriod timeout triggered, hourCount:%d",
                   hourCount);
        if (!recorder.HasBeenUsed(u"DoRecordSysInfoByPeriod HasBeenUsed: %s")) {
            continue;
        }
        recorder.RecordCPUGPUInfo(storage::record_kind::kPeriod, set.periodStop.get());
        if (++hourCount == kPeriodRecordsPerDiskHealth) {
            std::span<storage::NVMeDrive> drives;
            if (set.drives != nullptr) {
                drives = set.drives->Drives();
            }
            recorder.RecordDiskHealth(drives, storage::record_kind::kDiskHealth);
            hourCount = 0;
        }
    }
    set.periodExited->Set();
    plugin.Log(LogLevel::kTrace, u"Exit DoRecordSysInfoByPeriod");
    return 0;
}

uint32_t DoWaitingPowerResumeEvent(SysInfoRecorder& recorder, const WorkerSet& set) {
    COrvexMonitorPlugin& plugin = recorder.Plugin();
    ports::KernelObjects& kernel = recorder.Kernel();
    plugin.Log(LogLevel::kTrace, u"Enter DoWaitingPowerResumeEvent");
    // Without the power-resume event (its creation failed) there is only the stop to wait for.
    ports::Waitable* const both[] = {set.powerResume.get(), set.powerResumeStop.get()};
    const std::span<ports::Waitable* const> objects =
        set.powerResume != nullptr ? std::span(both) : std::span(both).subspan(1);
    const std::size_t stop = objects.size() - 1;
    for (;;) {
        const ports::WaitOutcome outcome = kernel.WaitAny(objects, ports::kInfinite);
        if (outcome.Signalled(stop)) {
            break;
        }
        if (set.powerResume != nullptr && outcome.Signalled(0)) {
            plugin.Log(LogLevel::kTrace, u"m_hPowerResumeEvent triggered");
            // Resuming is a use of its own: no question whether the product has been used.
            recorder.RecordCPUGPUInfo(storage::record_kind::kPowerResume, set.periodStop.get());
            set.powerResume->Reset();
        }
    }
    set.powerResumeExited->Set();
    plugin.Log(LogLevel::kTrace, u"Exit DoWaitingPowerResumeEvent");
    return 0;
}
