#pragma once

#include "cpu/amd_status_block.h"
#include "cpu/cpu_answer.h"
#include "cpu/cpu_readings.h"
#include "cpu/fan_acoustic_lookup.h"
#include "cpu/memory_integrity_notice.h"
#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"
#include "ports/amd_sdk.h"
#include "ports/cpuid.h"
#include "ports/files.h"
#include "ports/machine_registry.h"
#include "ports/system_devices.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace cpu {

// IsVelmorSigned: true when the file at the full path is signed by the maker.
using SignatureCheck = std::function<bool(const std::u16string& path)>;

// What the AMD monitor reaches the machine and the host through.
struct AmdCpuMonitorPorts {
    BaseOrvexPlugin& plugin; // logs and toasts
    ports::AmdSdkLibraries& sdk;
    ports::Cpuid& cpuid;
    ports::SystemDevices& devices;
    ports::MachineRegistry& registry;
    ports::Files& files;
    ports::Folders& folders;
    FanAcousticLookup& acoustic;
    SignatureCheck isVelmorSigned;
};

// The CPU part of a monitor answer on an AMD machine: each quantity from the CPU info reader and,
// where that gives nothing, from AMD's Ryzen SDK, which this object loads (after checking its
// signature), owns and unloads, together with the status block the SDK fills.
//
// Threads: requests and the periodic collector build answers, possibly at once, while the XTU
// initialisation thread may prepare the status block; the module and the block are guarded, so
// a refresh never overlaps a read.
class AmdCpuMonitor {
public:
    explicit AmdCpuMonitor(const AmdCpuMonitorPorts& ports);

    // Chooses, checks and loads the SDK build; does nothing unless vendor is 2 (AMD).
    void LoadAMDSDK(int32_t vendor, int32_t productLine);
    // Uninitialises and frees the SDK and frees the status block.
    void UnloadAMDSDK();
    // True when the status block exists, allocating it on first use.
    bool EnsureAMDSDKMonitor();
    // Fills the CPU keys of answer; reader may be null.
    void GetAMDCPUMonitorInformation(CpuReadings* reader, uint32_t cpuFanSpeed,
                                     VelmorValueSet::ValueSet& answer);

    // The AMD work of the XTU initialisation thread: learns the physical core count, allocates
    // the status block and writes the memory clock into every core's entry. Stops at the first
    // missing module or entry.
    void PrepareStatusBlock();
    int32_t PhysicalCoreCount() const { return m_physicalCoreCount.load(); }
    bool SdkLoaded() const;

private:
    // Core 0 of a freshly filled status block; nullopt when the module or "GetCPUStatus" is
    // missing.
    std::optional<CoreStatus> RefreshStatus();
    // Temperature and voltage from the reader or else the SDK; false when the SDK was needed and
    // its "GetCPUStatus" is missing.
    bool WriteTemperatureAndVoltage(CpuReadings& reader, VelmorValueSet::ValueSet& core);
    // The SDK fallback for what the reader gave as 0.
    void WriteSdkClockAndUsage(const ReaderClockAndUsage& fromReader,
                               VelmorValueSet::ValueSet& core);
    std::u16string PluginPath(const char16_t* relativePath);

    BaseOrvexPlugin& m_plugin;
    ports::AmdSdkLibraries& m_sdk;
    ports::Cpuid& m_cpuid;
    ports::SystemDevices& m_devices;
    ports::MachineRegistry& m_registry;
    ports::Folders& m_folders;
    FanAcousticLookup& m_acoustic;
    SignatureCheck m_isVelmorSigned;
    MemoryIntegrityNotice m_notice;

    mutable std::mutex m_lock; // guards the module and the block
    std::unique_ptr<ports::AmdSdkModule> m_hAMDSDK;
    std::unique_ptr<StatusBlock> pVelmorCPUInformationList;
    std::atomic<int32_t> m_physicalCoreCount{0};
};

} // namespace cpu
