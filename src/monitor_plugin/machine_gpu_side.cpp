// The graphics side on the machine: the adapter controller of the adapter library and the GPU
// pages, which share the plug-in's fan acoustic table.
#include "gpu/gpu_information.h"
#include "monitor_plugin/gpu_side.h"
#include "monitor_plugin/plugin_ports.h"

namespace {

// Only an adapter of type 1 reports its maxima.
constexpr uint32_t kAdapterWithMaxima = 1;

class MachineGpuSide final : public GpuSide {
public:
    MachineGpuSide(const PluginPorts& ports, BaseOrvexPlugin& plugin,
                   const gpu::FanAcoustic& fanAcoustic)
        : adapters_(ports.adapters),
          information_(plugin,
                       {ports.adapters,
                        ports.dock,
                        ports.helper,
                        {ports.encryptHelper, ports.profileStrings, ports.files, ports.folders}},
                       fanAcoustic) {}

    void MachineKnown(int32_t productLine, ports::AcpiDeviceHandle acpiDevice) override {
        information_.SetProductLine(static_cast<uint8_t>(productLine));
        information_.SetAcpiDevice(acpiDevice);
    }
    void InitializeAdapters(void* owner, void (*adaptersChanged)(void*)) override {
        adapters_.Initialize(owner, adaptersChanged);
    }
    void RefreshAdapters() override { adapters_.Refresh(0); }
    void AdaptersChanged() override { information_.ResetEGPUState(); }
    void UninitializeAdapters(void* owner) override { adapters_.Uninitialize(owner); }

    std::optional<AdapterMaxima> ReadAdapterMaxima() override {
        auto created = adapters_.CreateDevice();
        if (!created) {
            return std::nullopt;
        }
        AdapterMaxima maxima{created->Code, {}};
        ports::GPUMaxInfo info;
        if (ports::Succeeded(created->Code) && created->Device != nullptr &&
            created->Device->GetType() == kAdapterWithMaxima &&
            ports::Succeeded(created->Device->GetMaxInfo(info))) {
            maxima.Maxima = {info.ProcessorFrequency, info.MemoryFrequency, info.Voltage,
                             info.Usage, info.Temperature};
        }
        return maxima; // the device goes back to the library here
    }

    void GetGPUMonitorInformation(VelmorValueSet::ValueSet& answer) override {
        information_.GetGPUMonitorInformation(answer);
    }
    void GetGPUDeviceInformation(VelmorValueSet::ValueSet& answer) override {
        information_.GetGPUDeviceInformation(answer);
    }
    void GetBaseInformation(VelmorValueSet::ValueSet& answer) override {
        information_.GetBaseInformation(answer);
    }

private:
    ports::DisplayAdapterController& adapters_;
    gpu::GpuInformation information_;
};

} // namespace

std::unique_ptr<GpuSide> NewGpuSide(const PluginPorts& ports, BaseOrvexPlugin& plugin,
                                    const gpu::FanAcoustic& fanAcoustic) {
    return std::make_unique<MachineGpuSide>(ports, plugin, fanAcoustic);
}
