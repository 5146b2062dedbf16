#pragma once

#include "ports/event.h"
#include "ports/helper_library.h"

#include <cstdint>
#include <memory>
#include <string>

class COrvexMonitorPlugin;
namespace VelmorValueSet {
class ValueSet;
}
namespace gpu {
class FanAcoustic;
}
struct PluginPorts;

// The processor readers as the plug-in drives them: the CPU information reader, the Intel
// tuning-utility wrapper and the AMD SDK, in the order Initialize, the commands and Uninitialize
// call them. Which vendor's reader answers is the plug-in's choice; each operation does its own
// part only.
class CpuSide {
public:
    virtual ~CpuSide() = default;

    // Initialize, service instance first. The AMD SDK decides by itself by vendor.
    virtual void LoadAMDSDK(int32_t vendor, int32_t productLine) = 0;
    virtual void CreateCPUInfoReader(int32_t vendor, const std::u16string& modelName,
                                     ports::AcpiDeviceHandle acpiDevice) = 0;
    // Takes the CPU-initialised event; 0 when it is there, else the system error.
    virtual uint32_t OpenCPUInitializedEvent() = 0;

    // The tuning utility's initialisation; blocks until it is ready or has given up. Run on a
    // thread of its own or, once, on a request's thread.
    virtual void DoXTUInitialize() = 0;
    // The wrapper exists and is initialised.
    virtual bool XTUReady() = 0;

    // The workers' collection and the client's disconnection.
    // m_XTUIsInitial: the wrapper's initialisation succeeded.
    virtual bool XTUIsInitial() = 0;
    virtual bool HasXTUWrapper() = 0;
    virtual void StopXTUMonitor() = 0;
    // "CPUInitializedEvent", set once the tuning utility is ready; null when it could not be had.
    virtual std::shared_ptr<ports::Event> CPUInitializedEvent() = 0;

    // Answers of commands 1 and 2.
    virtual void GetCPUMonitorInformation(int32_t cpuFanRpm, VelmorValueSet::ValueSet& answer) = 0;
    virtual void GetAMDCPUMonitorInformation(int32_t cpuFanRpm,
                                             VelmorValueSet::ValueSet& answer) = 0;
    virtual void GetCPUDeviceInformation(VelmorValueSet::ValueSet& answer) = 0;

    // Uninitialize, in call order.
    virtual void StopCPUInfoReader() = 0;
    virtual void DestroyXTUWrapper() = 0;
    virtual void UnloadAMDSDK() = 0;
    virtual void ReleaseCPUInfoReader() = 0;
};

// The processor readers the machine offers; plugin logs, toasts and holds the record flag, and
// the fan acoustic table outlives the side.
std::unique_ptr<CpuSide> NewCpuSide(const PluginPorts& ports, COrvexMonitorPlugin& plugin,
                                    const gpu::FanAcoustic& fanAcoustic);
