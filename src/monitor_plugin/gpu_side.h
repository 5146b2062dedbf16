#pragma once

#include "ports/helper_library.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class BaseOrvexPlugin;
namespace VelmorValueSet {
class ValueSet;
}
namespace gpu {
class FanAcoustic;
}
struct PluginPorts;

// What the graphics adapter reports as the top of its gauges (GPUMaxInfo).
struct GpuMaxima {
    uint32_t ProcessorFrequency = 0;
    uint32_t MemoryFrequency = 0;
    int32_t Voltage = 0;
    int16_t Usage = 0;
    int16_t Temperature = 0;
};

// The outcome of asking the adapter controller for a device and its maxima.
struct AdapterMaxima {
    int32_t CreateResult = 0; // CreateDevice's result; negative when no device was made
    GpuMaxima Maxima;         // zero unless the device reported them
};

// The graphics side as the plug-in drives it: the adapter controller and the GPU readers.
class GpuSide {
public:
    virtual ~GpuSide() = default;

    // What Initialize learnt: the host's product line and the firmware device (null when absent).
    virtual void MachineKnown(int32_t productLine, ports::AcpiDeviceHandle acpiDevice) = 0;

    // The controller calls adaptersChanged(owner) when the adapters change.
    virtual void InitializeAdapters(void* owner, void (*adaptersChanged)(void*)) = 0;
    virtual void RefreshAdapters() = 0;
    // The adapters changed: forget the adapter index the readers keep.
    virtual void AdaptersChanged() = 0;
    virtual void UninitializeAdapters(void* owner) = 0;
    // Nothing when there is no adapter controller to ask.
    virtual std::optional<AdapterMaxima> ReadAdapterMaxima() = 0;

    // Answers of commands 1 and 2.
    virtual void GetGPUMonitorInformation(VelmorValueSet::ValueSet& answer) = 0;
    virtual void GetGPUDeviceInformation(VelmorValueSet::ValueSet& answer) = 0;
    virtual void GetBaseInformation(VelmorValueSet::ValueSet& answer) = 0;
};

// plugin logs and answers host queries; the fan acoustic table outlives the side.
std::unique_ptr<GpuSide> NewGpuSide(const PluginPorts& ports, BaseOrvexPlugin& plugin,
                                    const gpu::FanAcoustic& fanAcoustic);
