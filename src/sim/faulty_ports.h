#pragma once
// Ports that make their operations fail when a FaultPlan says so. Each wraps the port a test would
// otherwise hand over and forwards every call to it, except the calls the plan fails: those return
// what the real port returns when the system refuses (a null object, nullopt for an entry that
// could not be called, false, a failing status, a cipher without a key) and do nothing else.
// Objects a port makes (log files, ciphers, adapter devices, counter queries, library modules) come
// wrapped too, so their operations fail the same way. Operations the system cannot refuse (locks,
// clocks, CPUID, a stop, a wait on one's own objects) and the operations of waitable objects (which
// the native waits must see as they are) are passed through.
#include "ports/amd_sdk.h"
#include "ports/code_signatures.h"
#include "ports/crypto.h"
#include "ports/display_adapters.h"
#include "ports/docking_controller.h"
#include "ports/encrypt_helper.h"
#include "ports/files.h"
#include "ports/firmware_device.h"
#include "ports/helper_library.h"
#include "ports/host_heap.h"
#include "ports/io_library.h"
#include "ports/kernel_objects.h"
#include "ports/log_file.h"
#include "ports/machine_registry.h"
#include "ports/message_programs.h"
#include "ports/performance_counters.h"
#include "ports/physical_drives.h"
#include "ports/profile_strings.h"
#include "ports/registry_keys.h"
#include "ports/shared_events.h"
#include "ports/system_devices.h"
#include "ports/system_messages.h"
#include "ports/ui_process.h"
#include "ports/window_messages.h"
#include "ports/wmi.h"
#include "ports/xtu_library.h"
#include "sim/fault_plan.h"
#include "sim/forwarding_kernel_objects.h"

#include <memory>

namespace sim {

// What a failed call of a library entry or a system call answers where a code is expected.
inline constexpr int32_t kInjectedFailure = static_cast<int32_t>(0x80004005); // E_FAIL
inline constexpr uint32_t kInjectedError = 31;                                // ERROR_GEN_FAILURE

class FaultyHostHeap final : public ports::HostHeap {
public:
    FaultyHostHeap(FaultPlan& plan, ports::HostHeap& inner) : plan_(plan), inner_(inner) {}
    void* Allocate(std::size_t size) override;
    void Free(void* block) override { inner_.Free(block); }

private:
    FaultPlan& plan_;
    ports::HostHeap& inner_;
};

// A wait on objects the caller owns fails only for a handle that is not one, a defect of the
// caller rather than a refusal of the system, so waits (like locks, sleeps and the thread's
// identifier) are passed through.
class FaultyKernelObjects final : public ForwardingKernelObjects {
public:
    FaultyKernelObjects(FaultPlan& plan, ports::KernelObjects& inner)
        : ForwardingKernelObjects(inner), plan_(plan) {}
    std::unique_ptr<ports::Event> NewEvent(bool manualReset, bool initiallySet,
                                           const std::u16string& name) override;
    ports::OpenedEvent OpenExistingEvent(const std::u16string& name) override;
    std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()> body) override;

private:
    FaultPlan& plan_;
};

class FaultyUiProcesses final : public ports::UiProcesses {
public:
    FaultyUiProcesses(FaultPlan& plan, ports::UiProcesses& inner) : plan_(plan), inner_(inner) {}
    std::unique_ptr<ports::UiProcess> Open(uint32_t processId) override;

private:
    FaultPlan& plan_;
    ports::UiProcesses& inner_;
};

class FaultyLogFiles final : public ports::LogFiles {
public:
    FaultyLogFiles(FaultPlan& plan, ports::LogFiles& inner) : plan_(plan), inner_(inner) {}
    std::unique_ptr<ports::LogFile> Create(const std::u16string& path) override;

private:
    FaultPlan& plan_;
    ports::LogFiles& inner_;
};

class FaultyHelperLibrary final : public ports::HelperLibrary {
public:
    FaultyHelperLibrary(FaultPlan& plan, ports::HelperLibrary& inner)
        : plan_(plan), inner_(inner) {}
    std::optional<int32_t> GetCPUVendor() override;
    std::optional<ports::XtuImagePathCheck> CheckXTUImagePath() override;
    std::optional<int32_t> HasBeenUsed() override;
    std::optional<int32_t> StartUsed() override;
    std::optional<int32_t> StartXTUService(void* plugin) override;
    std::optional<int32_t> IsXTUServiceRunning() override;
    std::optional<int32_t> GetProcessorNameString(std::span<char16_t> buffer) override;
    std::optional<ports::SystemSizes> RetriveSystemInfo() override;
    std::optional<ports::FirmwareReply>
    One_WMIMethod_INT(ports::AcpiDeviceHandle device, uint32_t method, uint32_t deviceId) override;

private:
    FaultPlan& plan_;
    ports::HelperLibrary& inner_;
};

class FaultyFiles final : public ports::Files, public ports::Folders {
public:
    FaultyFiles(FaultPlan& plan, ports::Files& files, ports::Folders& folders)
        : plan_(plan), files_(files), folders_(folders) {}
    bool Exists(const std::u16string& path) override;
    std::optional<std::vector<uint8_t>> ReadAll(const std::u16string& path) override;
    bool ClearAttributes(const std::u16string& path) override;
    bool Delete(const std::u16string& path) override;
    std::optional<std::u16string> PluginFolder() override;
    std::optional<std::u16string> CommonAppData() override;
    std::optional<std::u16string> ProgramData() override;
    std::optional<std::u16string> LocalAppData() override;

private:
    FaultPlan& plan_;
    ports::Files& files_;
    ports::Folders& folders_;
};

class FaultyCrypto final : public ports::Crypto {
public:
    FaultyCrypto(FaultPlan& plan, ports::Crypto& inner) : plan_(plan), inner_(inner) {}
    std::unique_ptr<ports::AesCipher> NewAesCipher(const ports::AesKey& key,
                                                   const ports::AesVector& vector) override;

private:
    FaultPlan& plan_;
    ports::Crypto& inner_;
};

class FaultyDisplayAdapters final : public ports::DisplayAdapterController {
public:
    FaultyDisplayAdapters(FaultPlan& plan, ports::DisplayAdapterController& inner)
        : plan_(plan), inner_(inner) {}
    std::optional<ports::LibraryCode> Initialize(void* owner, ChangeCallback callback) override;
    std::optional<ports::LibraryCode> Uninitialize(void* owner) override;
    std::optional<ports::LibraryCode> Refresh(uint32_t flags) override;
    std::optional<ports::CreatedDevice> CreateDevice() override;

private:
    FaultPlan& plan_;
    ports::DisplayAdapterController& inner_;
};

class FaultyDockingController final : public ports::DockingController {
public:
    FaultyDockingController(FaultPlan& plan, ports::DockingController& inner)
        : plan_(plan), inner_(inner) {}
    std::optional<ports::LibraryCode> Initialize(void* owner) override;
    std::optional<ports::LibraryCode> Uninitialize(void* owner) override;
    std::optional<ports::DockedGpuId> GetEGPUID() override;
    std::optional<ports::DockedGpuConfig> GetEGPUConfig() override;
    std::optional<ports::DockFanSpeed> GetFanSpeed() override;

private:
    FaultPlan& plan_;
    ports::DockingController& inner_;
};

class FaultyEncryptHelper final : public ports::EncryptHelper {
public:
    FaultyEncryptHelper(FaultPlan& plan, ports::EncryptHelper& inner);
    ~FaultyEncryptHelper() override;
    std::optional<ports::DecryptAesEntry*> Load() override;

private:
    class Entry;
    FaultPlan& plan_;
    ports::EncryptHelper& inner_;
    std::unique_ptr<Entry> entry_;
};

class FaultyProfileStrings final : public ports::ProfileStrings {
public:
    FaultyProfileStrings(FaultPlan& plan, ports::ProfileStrings& inner)
        : plan_(plan), inner_(inner) {}
    std::u16string Read(const std::u16string& path, std::u16string_view section,
                        std::u16string_view key, std::u16string_view defaultText,
                        std::size_t capacity) override;
    std::vector<std::u16string> KeyNames(const std::u16string& path,
                                         std::u16string_view section) override;

private:
    FaultPlan& plan_;
    ports::ProfileStrings& inner_;
};

class FaultyPerformanceCounters final : public ports::PerformanceCounters {
public:
    FaultyPerformanceCounters(FaultPlan& plan, ports::PerformanceCounters& inner)
        : plan_(plan), inner_(inner) {}
    ports::OpenedQuery OpenQuery() override;

private:
    FaultPlan& plan_;
    ports::PerformanceCounters& inner_;
};

class FaultyWmi final : public ports::Wmi {
public:
    FaultyWmi(FaultPlan& plan, ports::Wmi& inner) : plan_(plan), inner_(inner) {}
    int32_t QueryWmiValue(const std::u16string& wql, ports::WmiValues& values) override;

private:
    FaultPlan& plan_;
    ports::Wmi& inner_;
};

class FaultyIoLibraries final : public ports::IoLibraries {
public:
    FaultyIoLibraries(FaultPlan& plan, ports::IoLibraries& inner) : plan_(plan), inner_(inner) {}
    ports::LoadedIoLibrary Load(const std::u16string& path) override;

private:
    FaultPlan& plan_;
    ports::IoLibraries& inner_;
};

class FaultyCodeSignatures final : public ports::CodeSignatures {
public:
    FaultyCodeSignatures(FaultPlan& plan, ports::CodeSignatures& inner)
        : plan_(plan), inner_(inner) {}
    int32_t Verify(const std::u16string& path) override;
    bool ReadDetails(const std::u16string& path, ports::SignatureInfo& info) override;

private:
    FaultPlan& plan_;
    ports::CodeSignatures& inner_;
};

class FaultyXtuLibrary final : public ports::XtuLibrary {
public:
    FaultyXtuLibrary(FaultPlan& plan, ports::XtuLibrary& inner) : plan_(plan), inner_(inner) {}
    std::unique_ptr<ports::XtuWrapper> CreateWrapper() override;

private:
    FaultPlan& plan_;
    ports::XtuLibrary& inner_;
};

class FaultyAmdSdkLibraries final : public ports::AmdSdkLibraries {
public:
    FaultyAmdSdkLibraries(FaultPlan& plan, ports::AmdSdkLibraries& inner)
        : plan_(plan), inner_(inner) {}
    ports::LoadedAmdSdk Load(const std::u16string& relativePath) override;

private:
    FaultPlan& plan_;
    ports::AmdSdkLibraries& inner_;
};

class FaultySystemDevices final : public ports::SystemDevices {
public:
    FaultySystemDevices(FaultPlan& plan, ports::SystemDevices& inner)
        : plan_(plan), inner_(inner) {}
    std::optional<std::u16string> FindDriverKey(std::u16string_view hardwareIdPart) override;

private:
    FaultPlan& plan_;
    ports::SystemDevices& inner_;
};

class FaultyMachineRegistry final : public ports::MachineRegistry {
public:
    FaultyMachineRegistry(FaultPlan& plan, ports::MachineRegistry& inner)
        : plan_(plan), inner_(inner) {}
    std::optional<std::u16string> ReadString(const std::u16string& path,
                                             const std::u16string& name) override;

private:
    FaultPlan& plan_;
    ports::MachineRegistry& inner_;
};

class FaultyFirmwareDevices final : public ports::FirmwareDevices {
public:
    FaultyFirmwareDevices(FaultPlan& plan, ports::FirmwareDevices& inner)
        : plan_(plan), inner_(inner) {}
    std::unique_ptr<ports::FirmwareDevice> Open(const std::u16string& path) override;

private:
    FaultPlan& plan_;
    ports::FirmwareDevices& inner_;
};

class FaultySharedEvents final : public ports::SharedEvents {
public:
    FaultySharedEvents(FaultPlan& plan, ports::SharedEvents& inner) : plan_(plan), inner_(inner) {}
    ports::SharedEvent Create(const std::u16string& name) override;
    ports::SharedEvent Open(const std::u16string& name) override;

private:
    FaultPlan& plan_;
    ports::SharedEvents& inner_;
};

class FaultyWindowMessages final : public ports::WindowMessages {
public:
    FaultyWindowMessages(FaultPlan& plan, ports::WindowMessages& inner)
        : plan_(plan), inner_(inner) {}
    uint32_t Register(const std::u16string& name) override;

private:
    FaultPlan& plan_;
    ports::WindowMessages& inner_;
};

class FaultyMessagePrograms final : public ports::MessagePrograms {
public:
    FaultyMessagePrograms(FaultPlan& plan, ports::MessagePrograms& inner)
        : plan_(plan), inner_(inner) {}
    bool Start(int32_t kind, const std::u16string& text) override;
    void Stop(int32_t kind) override { inner_.Stop(kind); }
    void SetEnabled(int32_t kind, int32_t enabled) override { inner_.SetEnabled(kind, enabled); }

private:
    FaultPlan& plan_;
    ports::MessagePrograms& inner_;
};

class FaultyPhysicalDrives final : public ports::PhysicalDrives {
public:
    FaultyPhysicalDrives(FaultPlan& plan, ports::PhysicalDrives& inner)
        : plan_(plan), inner_(inner) {}
    DiskEnum ReadDiskEnum() override;
    std::unique_ptr<ports::PhysicalDrive> Open(uint32_t number) override;

private:
    FaultPlan& plan_;
    ports::PhysicalDrives& inner_;
};

class FaultySystemMessages final : public ports::SystemMessages {
public:
    FaultySystemMessages(FaultPlan& plan, ports::SystemMessages& inner)
        : plan_(plan), inner_(inner) {}
    // A message the system cannot format reads as an empty text.
    std::u16string Text(int32_t code) override {
        return plan_.Fails("SystemMessages.Text") ? std::u16string() : inner_.Text(code);
    }

private:
    FaultPlan& plan_;
    ports::SystemMessages& inner_;
};

class FaultyRegistryKeys final : public ports::RegistryKeys {
public:
    FaultyRegistryKeys(FaultPlan& plan, ports::RegistryKeys& inner) : plan_(plan), inner_(inner) {}
    uint32_t Delete(const std::u16string& path) override {
        return plan_.Fails("RegistryKeys.Delete") ? kInjectedError : inner_.Delete(path);
    }
    ports::OpenedKey OpenForRead(const std::u16string& path) override {
        if (plan_.Fails("RegistryKeys.OpenForRead")) {
            return {kInjectedError, nullptr};
        }
        return inner_.OpenForRead(path);
    }

private:
    FaultPlan& plan_;
    ports::RegistryKeys& inner_;
};

} // namespace sim
