// The background workers, which are not part of this module yet: until they arrive the service
// instance records nothing on its own.
#include "monitor_plugin/background_workers.h"

namespace {

class NoWorkers final : public BackgroundWorkers {
public:
    void DetectDisks() override {}
    void StartPeriodWorkers() override {}
    void StartFirstSessionWorker() override {}
    void Stop() override {}
};

} // namespace

std::unique_ptr<BackgroundWorkers> NewBackgroundWorkers(const PluginPorts&, COrvexMonitorPlugin&) {
    return std::make_unique<NoWorkers>();
}
