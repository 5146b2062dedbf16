#include "cpu/amd_cpu_monitor.h"

#include "cpu/amd_sdk_build.h"
#include "cpu/cpu_answer.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace cpu {
namespace {

using VelmorValueSet::ValueSet;

constexpr int32_t kVendorAmd = 2;

constexpr char16_t kLogCheckSignature[] = u"Check digital signature of \"%s\"";
constexpr char16_t kLogNotSigned[] = u"LoadAMDSDK Failed because no digital signature";
constexpr char16_t kLogLoadFailed[] = u"LoadAMDSDK LoadLibraryEx Failed: %d";
constexpr char16_t kLogNoInit[] = u"LoadAMDSDK GetProcAddress Failed: %d";
constexpr char16_t kLogInitFailed[] = u"LoadAMDSDK AMDSDK_Init Failed: %d";
constexpr char16_t kLogInitOk[] = u"AMDSDK_Init OK: %d";
constexpr char16_t kLogUninitFailed[] = u"UnloadAMDSDK AMDSDK_Uninit Failed: %d";
constexpr char16_t kLogUninitOk[] = u"AMDSDK_Uninit OK: %d";
constexpr char16_t kLogNoUninit[] = u"UnloadAMDSDK GetProcAddress Failed: %d";
constexpr char16_t kLogBlockFreed[] = u"pVelmorCPUInformationList";
constexpr char16_t kLogBlockAllocated[] = u"pVelmorCPUInformationList : %p size of :%d";
constexpr char16_t kLogBlockMissing[] = u"pVelmorCPUInformationList == NULL";
constexpr char16_t kLogBegin[] = u"GetAMDCPUMonitorInformation : Begin";
constexpr char16_t kLogEnd[] = u"GetAMDCPUMonitorInformation : End";
constexpr char16_t kLogNoReader[] = u"CPUInfoReader is null.";
constexpr char16_t kLogNoStatus[] = u"Monitor Plugin - GetCPUStatus is NULL. ";
constexpr char16_t kLogSdkTemperature[] = u"Monitor Plugin - AMD CPU Temperature from SDK : %f";
constexpr char16_t kLogSdkVoltage[] = u"Monitor Plugin - AMD CPU Voltage from SDK : %f";
constexpr char16_t kLogSdkBegin[] = u"Get AMD CPU Info From SDK : Begin";
constexpr char16_t kLogSdkFrequency[] = u"Get CPU Frequency from AMD SDK : %d.";
constexpr char16_t kLogSdkUsage[] = u"Get CPU Usage from AMD SDK : %f";
constexpr char16_t kLogEnsureFailed[] = u"Monitor Plugin - EnsureAMDSDKMonitor failed";

// |value| with the processor's wrap-around: the most negative clock stays as it is.
int32_t AbsoluteClock(int32_t value) {
    const auto magnitude = static_cast<uint32_t>(value);
    return static_cast<int32_t>(value < 0 ? 0u - magnitude : magnitude);
}

// The SDK is told at most as many cores as the block has entries for.
uint32_t CoresInBlock(int32_t physicalCores) {
    return static_cast<uint32_t>(std::clamp<int32_t>(physicalCores, 0, kStatusBlockCores));
}

} // namespace

AmdCpuMonitor::AmdCpuMonitor(const AmdCpuMonitorPorts& ports)
    : m_plugin(ports.plugin), m_sdk(ports.sdk), m_cpuid(ports.cpuid), m_devices(ports.devices),
      m_registry(ports.registry), m_folders(ports.folders), m_acoustic(ports.acoustic),
      m_isVelmorSigned(ports.isVelmorSigned), m_notice(ports.plugin, ports.files, ports.folders) {}

void AmdCpuMonitor::LoadAMDSDK(int32_t vendor, int32_t productLine) {
    if (vendor != kVendorAmd) {
        return;
    }
    const AmdSdkBuild build =
        ChooseAmdSdkBuild(productLine, IsOldRyzenPart(m_cpuid), m_devices, m_registry);
    m_plugin.Log(LogLevel::kProgress, build.LogLine);
    const std::u16string path = PluginPath(build.File);
    m_plugin.Log(LogLevel::kTrace, kLogCheckSignature, path.c_str());
    if (!m_isVelmorSigned || !m_isVelmorSigned(path)) {
        m_plugin.Log(LogLevel::kZeroReading, kLogNotSigned);
        return;
    }
    ports::LoadedAmdSdk loaded = m_sdk.Load(build.File);
    if (!loaded.Module) {
        m_plugin.Log(LogLevel::kZeroReading, kLogLoadFailed, static_cast<int32_t>(loaded.Error));
        return;
    }
    const ports::SdkAnswer init = loaded.Module->AMDSDK_Init();
    if (!init.Found) {
        m_plugin.Log(LogLevel::kZeroReading, kLogNoInit, static_cast<int32_t>(init.LookupError));
        return;
    }
    // A build whose initialisation failed stays loaded and is used as if initialised.
    if (init.Result < 0) {
        m_plugin.Log(LogLevel::kZeroReading, kLogInitFailed, init.Result);
    } else {
        m_plugin.Log(LogLevel::kProgress, kLogInitOk, init.Result);
    }
    std::lock_guard lock(m_lock);
    m_hAMDSDK = std::move(loaded.Module);
}

void AmdCpuMonitor::UnloadAMDSDK() {
    std::unique_ptr<ports::AmdSdkModule> module;
    {
        std::lock_guard lock(m_lock);
        module = std::move(m_hAMDSDK);
    }
    if (module) {
        const ports::SdkAnswer uninit = module->AMDSDK_Uninit();
        if (!uninit.Found) {
            m_plugin.Log(LogLevel::kZeroReading, kLogNoUninit,
                         static_cast<int32_t>(uninit.LookupError));
        } else if (uninit.Result < 0) {
            m_plugin.Log(LogLevel::kZeroReading, kLogUninitFailed, uninit.Result);
        } else {
            m_plugin.Log(LogLevel::kProgress, kLogUninitOk, uninit.Result);
        }
        module.reset();
    }
    m_plugin.Log(LogLevel::kTrace, kLogBlockFreed);
    std::unique_ptr<StatusBlock> block;
    std::lock_guard lock(m_lock);
    block.swap(pVelmorCPUInformationList);
}

bool AmdCpuMonitor::EnsureAMDSDKMonitor() {
    std::lock_guard lock(m_lock);
    if (pVelmorCPUInformationList) {
        return true;
    }
    pVelmorCPUInformationList.reset(new (std::nothrow) StatusBlock{});
    if (!pVelmorCPUInformationList) {
        m_plugin.Log(LogLevel::kFailure, kLogBlockMissing);
        return false;
    }
    m_plugin.Log(LogLevel::kTrace, kLogBlockAllocated,
                 static_cast<void*>(pVelmorCPUInformationList->data()),
                 static_cast<int32_t>(kStatusBlockSize));
    return true;
}

void AmdCpuMonitor::PrepareStatusBlock() {
    std::lock_guard lock(m_lock);
    if (!m_hAMDSDK) {
        return;
    }
    const ports::SdkAnswer cores = m_hAMDSDK->NumberOFPhysicalCPU();
    if (!cores.Found) {
        return;
    }
    m_physicalCoreCount = cores.Result;
    if (!pVelmorCPUInformationList) {
        pVelmorCPUInformationList.reset(new (std::nothrow) StatusBlock{});
        if (!pVelmorCPUInformationList) {
            return;
        }
    }
    uint32_t megahertz = 0;
    if (!m_hAMDSDK->GetMemoryFrequency(megahertz).Found || megahertz == 0) {
        return;
    }
    for (uint32_t core = 0; core < CoresInBlock(cores.Result); ++core) {
        WriteCoreMemoryClock(*pVelmorCPUInformationList, core, megahertz);
    }
}

bool AmdCpuMonitor::SdkLoaded() const {
    std::lock_guard lock(m_lock);
    return m_hAMDSDK != nullptr;
}

std::optional<CoreStatus> AmdCpuMonitor::RefreshStatus() {
    std::lock_guard lock(m_lock);
    if (!m_hAMDSDK || !pVelmorCPUInformationList) {
        return std::nullopt;
    }
    const uint32_t cores = CoresInBlock(m_physicalCoreCount);
    if (!m_hAMDSDK->GetCPUStatus(cores, *pVelmorCPUInformationList).Found) {
        return std::nullopt;
    }
    return ReadCoreStatus(*pVelmorCPUInformationList, 0);
}

void AmdCpuMonitor::GetAMDCPUMonitorInformation(CpuReadings* reader, uint32_t cpuFanSpeed,
                                                ValueSet& answer) {
    m_plugin.Log(LogLevel::kTrace, kLogBegin);
    ValueSet& core = WriteFixedCpuEntries(answer, kAmdMaxima, cpuFanSpeed);
    if (reader == nullptr) {
        m_plugin.Log(LogLevel::kFailure, kLogNoReader);
        WriteSdkClockAndUsage({}, core);
    } else {
        const ReaderClockAndUsage fromReader = WriteReaderClockAndUsage(*reader, answer, core);
        // A missing "GetCPUStatus" for temperature or voltage ends the answer where it stands.
        if (!WriteTemperatureAndVoltage(*reader, core)) {
            return;
        }
        if (!fromReader.Complete()) {
            WriteSdkClockAndUsage(fromReader, core);
        }
    }
    WriteCpuFanAcoustic(answer, m_acoustic, cpuFanSpeed);
    m_notice.Check();
    m_plugin.Log(LogLevel::kTrace, kLogEnd);
}

bool AmdCpuMonitor::WriteTemperatureAndVoltage(CpuReadings& reader, ValueSet& core) {
    std::optional<CoreStatus> status; // refreshed at most once per answer
    if (reader.GetTemperature() != 0) {
        core.SetInt32(key::kTemperature, static_cast<int16_t>(reader.GetTemperature()));
    } else if (EnsureAMDSDKMonitor()) {
        status = RefreshStatus();
        if (!status) {
            m_plugin.Log(LogLevel::kFailure, kLogNoStatus);
            return false;
        }
        m_plugin.Log(LogLevel::kTrace, kLogSdkTemperature,
                     static_cast<double>(status->TemperatureCelsius));
        core.SetInt32(key::kTemperature, status->TemperatureCelsius);
    }

    if (reader.IsVoltageSupported(false)) {
        core.SetDouble(key::kVoltage, std::fabs(reader.GetVoltage()));
    } else if (EnsureAMDSDKMonitor()) {
        if (!status) {
            status = RefreshStatus();
        }
        if (!status) {
            m_plugin.Log(LogLevel::kFailure, kLogNoStatus);
            return false;
        }
        const auto millivolts = static_cast<double>(status->VoltageMv);
        m_plugin.Log(LogLevel::kTrace, kLogSdkVoltage, millivolts);
        core.SetDouble(key::kVoltage, millivolts);
    }
    return true;
}

void AmdCpuMonitor::WriteSdkClockAndUsage(const ReaderClockAndUsage& fromReader, ValueSet& core) {
    m_plugin.Log(LogLevel::kTrace, kLogSdkBegin);
    if (!EnsureAMDSDKMonitor()) {
        m_plugin.Log(LogLevel::kFailure, kLogEnsureFailed);
        return;
    }
    const std::optional<CoreStatus> status = RefreshStatus();
    if (!status) {
        m_plugin.Log(LogLevel::kTrace, kLogNoStatus);
        return;
    }
    if (fromReader.Frequency == 0) {
        m_plugin.Log(LogLevel::kTrace, kLogSdkFrequency, status->ClockMhz);
        core.SetInt32(key::kProcessorFrequency, AbsoluteClock(status->ClockMhz));
    }
    if (fromReader.Usage != 0.0) {
        return;
    }
    const auto percent = static_cast<double>(status->UsagePercent);
    m_plugin.Log(LogLevel::kTrace, kLogSdkUsage, percent);
    core.SetDouble(key::kUsage, std::fabs(percent));
}

std::u16string AmdCpuMonitor::PluginPath(const char16_t* relativePath) {
    return m_folders.PluginFolder().value_or(u"") + u"\\" + relativePath;
}

} // namespace cpu
