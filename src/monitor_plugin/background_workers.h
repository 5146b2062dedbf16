#pragma once

#include <memory>

class COrvexMonitorPlugin;
struct PluginPorts;

// The service instance's own work besides requests: disk detection and the period, power-resume
// and first-session workers. Initialize starts them at its fixed steps; Uninitialize stops them
// before it closes the events they wait on.
class BackgroundWorkers {
public:
    virtual ~BackgroundWorkers() = default;

    virtual void DetectDisks() = 0;
    virtual void StartPeriodWorkers() = 0;
    // Once the first-session event exists.
    virtual void StartFirstSessionWorker() = 0;
    // Returns once every worker has ended or been given up on.
    virtual void Stop() = 0;
};

std::unique_ptr<BackgroundWorkers> NewBackgroundWorkers(const PluginPorts& ports,
                                                        COrvexMonitorPlugin& plugin);
