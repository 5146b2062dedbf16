// The background workers on the machine: disk detection, the three record workers with their
// kernel objects, and their shutdown with its time limits.
#include "monitor_plugin/background_workers.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "monitor_plugin/record_workers.h"
#include "monitor_plugin/sys_info_recorder.h"

#include <mutex>
#include <vector>

namespace {

using WorkerProcedure = uint32_t (*)(SysInfoRecorder&, const WorkerSet&);

class MachineBackgroundWorkers final : public BackgroundWorkers {
public:
    MachineBackgroundWorkers(const PluginPorts& ports, COrvexMonitorPlugin& plugin)
        : m_plugin(plugin), m_kernel(ports.kernel), m_physicalDrives(ports.physicalDrives),
          m_timeouts(ports.workerTimeouts), m_recorder(plugin, ports),
          m_set(std::make_shared<WorkerSet>()) {}

    ~MachineBackgroundWorkers() override {
        // Released without Uninitialize, the workers still wait: they are told to end here. A
        // worker that shutdown gave up on still uses the recorder and the plug-in, too.
        const std::shared_ptr<WorkerSet> set = Set();
        for (ports::Event* stop : {set->periodStop.get(), set->powerResumeStop.get()}) {
            if (stop != nullptr) {
                stop->Set();
            }
        }
        for (const auto* thread : {&m_periodThread, &m_powerResumeThread, &m_firstSessionThread}) {
            if (*thread != nullptr) {
                m_kernel.Wait(**thread, ports::kInfinite);
            }
        }
        for (const auto& thread : m_abandoned) {
            m_kernel.Wait(*thread, ports::kInfinite);
        }
    }

    void DetectDisks() override {
        auto drives = std::make_shared<storage::NVMeDrives>(m_plugin, m_physicalDrives);
        drives->EnumerateNVMeDrives();
        std::lock_guard lock(m_lock);
        m_drives = drives;
        m_set->drives = std::move(drives);
    }

    void StartPeriodWorkers() override {
        std::lock_guard lock(m_lock);
        m_set->periodStop = NewManualResetEvent();
        m_set->periodExited = NewManualResetEvent();
        if (m_set->periodStop != nullptr && m_set->periodExited != nullptr) {
            m_periodThread = Start(&DoRecordSysInfoByPeriod);
        }
        m_set->powerResumeStop = NewManualResetEvent();
        m_set->powerResumeExited = NewManualResetEvent();
    }

    void StartFirstSessionWorker(std::shared_ptr<ports::Event> firstUserSessionStart) override {
        std::lock_guard lock(m_lock);
        m_set->firstUserSessionStart = std::move(firstUserSessionStart);
        if (m_set->periodStop != nullptr && m_set->firstUserSessionStart != nullptr) {
            m_firstSessionThread = Start(&DoMonitorPluginInitialize);
        }
    }

    void StartPowerResumeWorker(std::shared_ptr<ports::Event> powerResume) override {
        std::lock_guard lock(m_lock);
        m_set->powerResume = std::move(powerResume);
        if (m_set->powerResumeStop != nullptr && m_set->powerResumeExited != nullptr) {
            m_powerResumeThread = Start(&DoWaitingPowerResumeEvent);
        }
    }

    void DoRecordSysInfoByEvent(uint32_t reason) override {
        std::shared_ptr<ports::Event> periodStop;
        {
            std::lock_guard lock(m_lock);
            periodStop = m_set->periodStop;
        }
        m_recorder.DoRecordSysInfoByEvent(reason, periodStop.get());
    }

    void StopPeriodWorkers() override {
        const std::shared_ptr<WorkerSet> set = Set();
        // The period stop event also ends the first-session worker's waits and a collection's
        // wait for the tuning utility.
        StopWorker(set->periodStop.get(), set->periodExited.get(), m_timeouts.PeriodWorkerExitMs,
                   m_periodThread, u"Success terminate m_hRecordSysInfoPeriodThread: %d");
        StopWorker(set->powerResumeStop.get(), set->powerResumeExited.get(),
                   m_timeouts.PowerResumeWorkerExitMs, m_powerResumeThread,
                   u"Success terminate m_hTerminatePowerResumeEventThread: %d");
    }

    void CloseWorkerEvents() override {
        // A worker still running keeps the set it was started with; the next Initialize starts
        // a new one.
        std::lock_guard lock(m_lock);
        m_set = std::make_shared<WorkerSet>();
    }

    void StopFirstSessionWorker() override {
        ports::WaitOutcome outcome;
        if (m_firstSessionThread != nullptr) {
            outcome = m_kernel.Wait(*m_firstSessionThread, m_timeouts.FirstSessionWorkerExitMs);
        }
        m_plugin.Log(LogLevel::kTrace, u"Success terminate m_monitorPluginInitilizeThread: %d",
                     static_cast<int32_t>(ports::WaitResultCode(outcome)));
        Close(m_firstSessionThread, outcome.status == ports::WaitStatus::Signalled);
    }

    void CloseDisks() override {
        // The drives close with the last holder: here, unless a worker shutdown gave up on
        // still reads them.
        std::shared_ptr<storage::NVMeDrives> drives;
        std::lock_guard lock(m_lock);
        drives.swap(m_drives);
    }

private:
    std::shared_ptr<ports::Event> NewManualResetEvent() { return m_kernel.NewEvent(true, false); }

    // Called with m_lock held: the worker gets the current set.
    std::unique_ptr<ports::Thread> Start(WorkerProcedure procedure) {
        SysInfoRecorder& recorder = m_recorder;
        return m_kernel.StartThread(
            [&recorder, procedure, set = m_set] { return procedure(recorder, *set); });
    }

    std::shared_ptr<WorkerSet> Set() {
        std::lock_guard lock(m_lock);
        return m_set;
    }

    // Tells a worker to end and waits at most `limitMs` for it to say so. A missing event makes
    // the wait fail, which is logged like any other result.
    void StopWorker(ports::Event* stop, ports::Event* exited, uint32_t limitMs,
                    std::unique_ptr<ports::Thread>& thread, const char16_t* format) {
        if (stop != nullptr) {
            stop->Set();
        }
        ports::WaitOutcome outcome;
        if (exited != nullptr) {
            outcome = m_kernel.Wait(*exited, limitMs);
        }
        m_plugin.Log(LogLevel::kTrace, format,
                     static_cast<int32_t>(ports::WaitResultCode(outcome)));
        Close(thread, outcome.status == ports::WaitStatus::Signalled);
    }

    // Lets go of a worker's thread. One that has said it ended is only returning and is waited
    // for; one that has not is given up on here and waited for when the plug-in goes.
    void Close(std::unique_ptr<ports::Thread>& thread, bool ended) {
        if (thread == nullptr) {
            return;
        }
        if (ended) {
            m_kernel.Wait(*thread, ports::kInfinite);
            thread.reset();
        } else {
            m_abandoned.push_back(std::move(thread));
        }
    }

    COrvexMonitorPlugin& m_plugin;
    ports::KernelObjects& m_kernel;
    ports::PhysicalDrives& m_physicalDrives;
    WorkerTimeouts m_timeouts;
    SysInfoRecorder m_recorder;

    std::mutex m_lock; // the current set: host threads read it while Initialize or Uninitialize run
    std::shared_ptr<WorkerSet> m_set;
    std::shared_ptr<storage::NVMeDrives> m_drives;
    std::unique_ptr<ports::Thread> m_periodThread;
    std::unique_ptr<ports::Thread> m_powerResumeThread;
    std::unique_ptr<ports::Thread> m_firstSessionThread;
    std::vector<std::unique_ptr<ports::Thread>> m_abandoned;
};

} // namespace

std::unique_ptr<BackgroundWorkers> NewBackgroundWorkers(const PluginPorts& ports,
                                                        COrvexMonitorPlugin& plugin) {
    return std::make_unique<MachineBackgroundWorkers>(ports, plugin);
}
