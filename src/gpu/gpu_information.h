#pragma once

#include "gpu/fan_acoustic.h"
#include "gpu/gpu_clock_configuration.h"
#include "ports/display_adapters.h"
#include "ports/docking_controller.h"
#include "ports/helper_library.h"

#include <atomic>
#include <cstdint>
#include <string>

class BaseOrvexPlugin;

namespace VelmorValueSet {
class ValueSet;
}

namespace gpu {

// The plug-in's GPU and fan pages: base information (model, sub-brand, UI generation, which fan
// read-outs exist), the GPU's device information and its monitor figures. It keeps the external
// GPU state, probed from the dock once after start and once after each device change, and the
// GPU clock table.
class GpuInformation {
public:
    // m_nEGPUState values.
    static constexpr uint32_t kEgpuNotProbed = 0xFFFFFFFF;
    static constexpr uint32_t kEgpuAbsent = 1;
    static constexpr uint32_t kEgpuDocked = 2;
    // The product line whose GPU fan is read through the firmware and that may have a dock.
    static constexpr uint8_t kProductLineRavik = 1;
    // The product line before the platform has told it.
    static constexpr uint8_t kProductLineUnknown = 128;
    // The fan acoustic table's GPU fan (any fan but the CPU's).
    static constexpr int32_t kGpuFan = 1;

    struct Machine {
        ports::DisplayAdapterController& Adapters;
        ports::DockingController& Dock;
        ports::HelperLibrary& Helper;
        GpuClockConfiguration::Machine Clocks;
    };

    // plugin logs, answers host queries and is the owner handed to the dock library.
    GpuInformation(BaseOrvexPlugin& plugin, Machine machine, const FanAcoustic& fanAcoustic);

    void SetProductLine(uint8_t productLine) { m_nProductLine = productLine; }
    // The firmware's ACPI device the BIOS method runs on; null while there is none.
    void SetAcpiDevice(ports::AcpiDeviceHandle device) { m_acpiDevice = device; }
    // A device change: the dock is probed again by the next GetBaseInformation.
    void ResetEGPUState() { m_nEGPUState = kEgpuNotProbed; }
    uint32_t EGPUState() const { return m_nEGPUState; }
    GpuClocks Clocks() const { return m_clocks.Clocks(); }

    void GetBaseInformation(VelmorValueSet::ValueSet& answer);
    void GetGPUDeviceInformation(VelmorValueSet::ValueSet& answer);
    void GetGPUMonitorInformation(VelmorValueSet::ValueSet& answer);
    void GetGPUBaseFrequency(const std::u16string& deviceIdText) {
        m_clocks.GetGPUBaseFrequency(deviceIdText);
    }

private:
    struct MonitorReadings;

    void CopyModelName(VelmorValueSet::ValueSet& answer);
    // Writes "SubBrand" and tells whether the host's entry is the integer 1.
    bool CopySubBrand(VelmorValueSet::ValueSet& answer);
    // Reads the adapter for the base information: its vendor (0 without a device) and whether
    // its fan can be read.
    uint32_t ProbeAdapter(bool& fanReadable);
    void ProbeDock(ports::DisplayAdapterDevice& device);
    void WriteDeviceKeys(ports::DisplayAdapterDevice& device, VelmorValueSet::ValueSet& answer);
    void ReadMonitorFigures(MonitorReadings& readings);
    void ReadAdapterFan(ports::DisplayAdapterDevice& device, MonitorReadings& readings);
    void WriteAdapterKeys(const MonitorReadings& readings, VelmorValueSet::ValueSet& adapter);
    void WriteFanKeys(MonitorReadings& readings, VelmorValueSet::ValueSet& answer);
    std::unique_ptr<ports::DisplayAdapterDevice> CreateDevice();
    // The GPU fan's firmware status, when the BIOS method answered with one.
    std::optional<uint32_t> FirmwareGpuFan();

    BaseOrvexPlugin& m_plugin;
    Machine m_machine;
    const FanAcoustic& m_fanAcoustic;
    GpuClockConfiguration m_clocks;
    std::atomic<uint8_t> m_nProductLine{kProductLineUnknown};
    std::atomic<uint32_t> m_nEGPUState{kEgpuNotProbed};
    std::atomic<ports::AcpiDeviceHandle> m_acpiDevice{nullptr};
};

} // namespace gpu
