#pragma once

#include "ports/event.h"

#include <cstdint>
#include <memory>

class COrvexMonitorPlugin;
struct PluginPorts;

// The service instance's own work besides requests: disk detection, the period, power-resume and
// first-session workers, and the records system events ask for. Initialize starts the workers at
// its fixed steps; Uninitialize stops them in its fixed order, with their time limits.
class BackgroundWorkers {
public:
    virtual ~BackgroundWorkers() = default;

    // Initialize, in call order.
    virtual void DetectDisks() = 0;
    // Starts the period worker with its stop and exited events, and makes the power-resume
    // worker's stop and exited events.
    virtual void StartPeriodWorkers() = 0;
    virtual void StartFirstSessionWorker(std::shared_ptr<ports::Event> firstUserSessionStart) = 0;
    // Starts the power-resume worker once the power-resume event exists (null when it could not
    // be made: the worker then only waits to be stopped).
    virtual void StartPowerResumeWorker(std::shared_ptr<ports::Event> powerResume) = 0;

    // DoRecordSysInfoByEvent on the caller's thread.
    virtual void DoRecordSysInfoByEvent(uint32_t reason) = 0;

    // Uninitialize, in call order.
    // Stops the period worker, then the power-resume worker, each waited for within its limit.
    virtual void StopPeriodWorkers() = 0;
    // Lets go of the workers' stop and exited events.
    virtual void CloseWorkerEvents() = 0;
    // Waits for the first-session worker within its limit.
    virtual void StopFirstSessionWorker() = 0;
    // Closes the NVMe drives.
    virtual void CloseDisks() = 0;
};

std::unique_ptr<BackgroundWorkers> NewBackgroundWorkers(const PluginPorts& ports,
                                                        COrvexMonitorPlugin& plugin);
