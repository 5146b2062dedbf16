// The parts of the plug-in whose readers and workers are not part of this module yet. Each
// stands for a machine without that part: no CPU readings, no workers, no performance
// counters. They are replaced one by one as the readers arrive.
#include "monitor_plugin/background_workers.h"
#include "monitor_plugin/cpu_side.h"
#include "monitor_plugin/disk_counters.h"

namespace {

class NoCpuReaders final : public CpuSide {
public:
    void LoadAMDSDK(int32_t) override {}
    void CreateCPUInfoReader(int32_t, const std::u16string&, ports::AcpiDeviceHandle) override {}
    uint32_t OpenCPUInitializedEvent() override { return kErrorFileNotFound; }
    void DoXTUInitialize() override {}
    bool XTUReady() override { return false; }
    void GetCPUMonitorInformation(int32_t, VelmorValueSet::ValueSet&) override {}
    void GetAMDCPUMonitorInformation(int32_t, VelmorValueSet::ValueSet&) override {}
    void GetCPUDeviceInformation(VelmorValueSet::ValueSet&) override {}
    void StopCPUInfoReader() override {}
    void DestroyXTUWrapper() override {}
    void UnloadAMDSDK() override {}
    void ReleaseCPUInfoReader() override {}

private:
    static constexpr uint32_t kErrorFileNotFound = 2;
};

class NoWorkers final : public BackgroundWorkers {
public:
    void DetectDisks() override {}
    void StartPeriodWorkers() override {}
    void StartFirstSessionWorker() override {}
    void Stop() override {}
};

// A counter library that knows no disk objects: the query cannot be opened.
class NoDiskCounters final : public DiskCounters {
public:
    int32_t OpenQuery() override { return kNoObject; }
    int32_t AddCounter(std::size_t, const std::u16string&) override { return kNoObject; }
    int32_t Collect() override { return kNoObject; }
    CounterReading Read(std::size_t) override { return {kNoObject, 0.0}; }
    void Close() override {}

private:
    static constexpr int32_t kNoObject = static_cast<int32_t>(0xC0000BB8u); // PDH_CSTATUS_NO_OBJECT
};

} // namespace

std::unique_ptr<CpuSide> NewCpuSide(const PluginPorts&) {
    return std::make_unique<NoCpuReaders>();
}

std::unique_ptr<BackgroundWorkers> NewBackgroundWorkers(const PluginPorts&, COrvexMonitorPlugin&) {
    return std::make_unique<NoWorkers>();
}

std::unique_ptr<DiskCounters> NewDiskCounters(const PluginPorts&) {
    return std::make_unique<NoDiskCounters>();
}
