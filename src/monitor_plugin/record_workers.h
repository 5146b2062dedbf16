#pragma once

#include "ports/event.h"
#include "storage/nvme_drive.h"

#include <cstdint>
#include <memory>

class SysInfoRecorder;

// The kernel objects and drives of one started set of workers. Every worker holds the set while
// it runs, so a worker that shutdown gave up on never waits on a closed event or reads a closed
// drive; Uninitialize lets go of its own hold in its fixed order.
struct WorkerSet {
    std::shared_ptr<ports::Event> periodStop; // m_hTerminateRecordPeriodThreadEvent
    std::shared_ptr<ports::Event> periodExited;
    std::shared_ptr<ports::Event> powerResumeStop;
    std::shared_ptr<ports::Event> powerResumeExited;
    std::shared_ptr<ports::Event> firstUserSessionStart; // "Global\FirstUserSessionStart"
    std::shared_ptr<ports::Event> powerResume;           // "Global\ACPowerResume"; may be null
    std::shared_ptr<storage::NVMeDrives> drives;
};

// The workers' procedures; each returns 0.

// The first-session worker: one record shortly after the first user session starts, when it
// starts soon after the worker.
uint32_t DoMonitorPluginInitialize(SysInfoRecorder& recorder, const WorkerSet& set);
// The period worker: a record every period while the product is in use, and the drives' health
// after every third one.
uint32_t DoRecordSysInfoByPeriod(SysInfoRecorder& recorder, const WorkerSet& set);
// The power-resume worker: a record whenever the machine resumes from sleep.
uint32_t DoWaitingPowerResumeEvent(SysInfoRecorder& recorder, const WorkerSet& set);
