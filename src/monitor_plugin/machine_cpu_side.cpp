// The processor side on the machine: the CPU information reader, the Intel monitor with its XTU
// wrapper and the AMD monitor with its SDK, sharing the plug-in's fan acoustic table.
#include "cpu/amd_cpu_monitor.h"
#include "cpu/cpu_device_information.h"
#include "cpu/cpu_info_reader.h"
#include "cpu/cpu_initialized_event.h"
#include "cpu/intel_cpu_monitor.h"
#include "cpu/xtu_initialization.h"
#include "gpu/fan_acoustic.h"
#include "monitor_plugin/cpu_side.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "platform/signature_check.h"

#include <mutex>

namespace {

// The plug-in's fan acoustic table as the CPU builders look levels up in it.
class TableLookup final : public cpu::FanAcousticLookup {
public:
    explicit TableLookup(const gpu::FanAcoustic& table) : table_(table) {}
    bool IsLoaded() const override { return table_.IsLoaded(); }
    int32_t Lookup(int32_t fan, int32_t rpm, double& level) override {
        return table_.Lookup(fan, rpm, level);
    }

private:
    const gpu::FanAcoustic& table_;
};

// The system error for an event that could not be had (ERROR_INVALID_HANDLE).
constexpr uint32_t kNoEvent = 6;

class MachineCpuSide final : public CpuSide {
public:
    MachineCpuSide(const PluginPorts& ports, COrvexMonitorPlugin& plugin,
                   const gpu::FanAcoustic& fanAcoustic)
        : ports_(ports), plugin_(plugin), lookup_(fanAcoustic),
          intel_(
              {plugin, ports.kernel, ports.helper, ports.xtu, lookup_},
              [&plugin] { return plugin.RecordFlag(); }, ports.xtuDelays),
          amd_({plugin, ports.amdSdk, ports.cpuid, ports.systemDevices, ports.machineRegistry,
                ports.files, ports.folders, lookup_,
                [this](const std::u16string& path) { return IsSigned(path); }}) {}

    void LoadAMDSDK(int32_t vendor, int32_t productLine) override {
        vendor_ = vendor;
        amd_.LoadAMDSDK(vendor, productLine);
    }

    void CreateCPUInfoReader(int32_t vendor, const std::u16string& modelName,
                             ports::AcpiDeviceHandle acpiDevice) override {
        auto reader = std::make_shared<cpu::CPUInfoReader>(
            cpu::CpuInfoPorts{ports_.kernel, ports_.helper, ports_.counters, ports_.wmi,
                              ports_.ioLibraries, ports_.folders},
            static_cast<uint32_t>(vendor), modelName);
        COrvexMonitorPlugin& plugin = plugin_;
        reader->logger = [&plugin](int32_t level, const char16_t* source, const char16_t* text) {
            plugin.LogFrom(level, source, text);
        };
        reader->libraryVerifier = [this](const std::u16string& path) {
            return IsSigned(path) ? 1 : 0;
        };
        reader->Initialize(acpiDevice);
        std::lock_guard lock(readerLock_);
        reader_ = std::move(reader);
    }

    uint32_t OpenCPUInitializedEvent() override {
        std::shared_ptr<ports::Event> opened = cpu::OpenCPUInitializedEvent(ports_.kernel);
        const bool got = opened != nullptr;
        std::lock_guard lock(readerLock_);
        cpuInitialized_ = std::move(opened);
        return got ? 0 : kNoEvent;
    }

    void DoXTUInitialize() override { cpu::DoXTUInitialize(vendor_, intel_, amd_); }
    bool XTUReady() override { return intel_.HasXtu() && intel_.XtuIsInitial(); }
    bool XTUIsInitial() override { return intel_.XtuIsInitial(); }
    bool HasXTUWrapper() override { return intel_.HasXtu(); }
    void StopXTUMonitor() override { intel_.StopXtuMonitor(); }
    std::shared_ptr<ports::Event> CPUInitializedEvent() override {
        std::lock_guard lock(readerLock_);
        return cpuInitialized_;
    }

    void GetCPUMonitorInformation(int32_t cpuFanRpm, VelmorValueSet::ValueSet& answer) override {
        const auto reader = Reader();
        intel_.GetCPUMonitorInformation(reader.get(), static_cast<uint32_t>(cpuFanRpm), answer);
    }
    void GetAMDCPUMonitorInformation(int32_t cpuFanRpm, VelmorValueSet::ValueSet& answer) override {
        const auto reader = Reader();
        amd_.GetAMDCPUMonitorInformation(reader.get(), static_cast<uint32_t>(cpuFanRpm), answer);
    }
    void GetCPUDeviceInformation(VelmorValueSet::ValueSet& answer) override {
        cpu::GetCPUDeviceInformation(plugin_, ports_.helper, vendor_, answer);
    }

    void StopCPUInfoReader() override {
        if (const auto reader = Reader()) {
            reader->Stop();
        }
    }
    void DestroyXTUWrapper() override { intel_.DestroyXtu(); }
    void UnloadAMDSDK() override { amd_.UnloadAMDSDK(); }
    void ReleaseCPUInfoReader() override {
        std::shared_ptr<cpu::CPUInfoReader> reader;
        {
            std::lock_guard lock(readerLock_);
            reader = std::move(reader_);
        }
        if (reader != nullptr) {
            reader->Release();
        }
    }

private:
    bool IsSigned(const std::u16string& path) {
        return platform::IsVelmorSigned(ports_.files, ports_.codeSignatures, path);
    }
    // A request keeps the reader it started with, even when shutdown releases it meanwhile.
    std::shared_ptr<cpu::CPUInfoReader> Reader() {
        std::lock_guard lock(readerLock_);
        return reader_;
    }

    PluginPorts ports_;
    COrvexMonitorPlugin& plugin_;
    TableLookup lookup_;
    cpu::IntelCpuMonitor intel_;
    cpu::AmdCpuMonitor amd_;
    std::atomic<int32_t> vendor_{0};
    std::mutex readerLock_; // guards the reader and the event, which the workers read meanwhile
    std::shared_ptr<cpu::CPUInfoReader> reader_;
    std::shared_ptr<ports::Event> cpuInitialized_;
};

} // namespace

std::unique_ptr<CpuSide> NewCpuSide(const PluginPorts& ports, COrvexMonitorPlugin& plugin,
                                    const gpu::FanAcoustic& fanAcoustic) {
    return std::make_unique<MachineCpuSide>(ports, plugin, fanAcoustic);
}
