#include "sim/faulty_ports.h"

namespace sim {
namespace {

class FaultyLogFile final : public ports::LogFile {
public:
    FaultyLogFile(FaultPlan& plan, std::unique_ptr<ports::LogFile> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    ports::WriteStart Write(uint64_t offset, std::span<const uint8_t> bytes) override;
    bool Flush() override { return !plan_.Fails("LogFile.Flush") && inner_->Flush(); }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::LogFile> inner_;
};

class FaultyPendingWrite final : public ports::PendingWrite {
public:
    FaultyPendingWrite(FaultPlan& plan, std::unique_ptr<ports::PendingWrite> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    ports::Waitable& Completion() override { return inner_->Completion(); }
    uint32_t Result(bool wait) override {
        const uint32_t result = inner_->Result(wait);
        return plan_.Fails("PendingWrite.Result") ? kInjectedError : result;
    }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::PendingWrite> inner_;
};

ports::WriteStart FaultyLogFile::Write(uint64_t offset, std::span<const uint8_t> bytes) {
    if (plan_.Fails("LogFile.Write")) {
        return {kInjectedError, nullptr};
    }
    ports::WriteStart start = inner_->Write(offset, bytes);
    if (start.pending != nullptr) {
        start.pending = std::make_unique<FaultyPendingWrite>(plan_, std::move(start.pending));
    }
    return start;
}

class FaultyAesCipher final : public ports::AesCipher {
public:
    FaultyAesCipher(FaultPlan& plan, std::unique_ptr<ports::AesCipher> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t> ciphertext) override {
        return plan_.Fails("AesCipher.Decrypt") ? std::nullopt : inner_->Decrypt(ciphertext);
    }
    std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t> plaintext) override {
        return plan_.Fails("AesCipher.Encrypt") ? std::nullopt : inner_->Encrypt(plaintext);
    }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::AesCipher> inner_;
};

// A cipher whose set-up failed: it has no key and refuses every call.
class KeylessCipher final : public ports::AesCipher {
public:
    std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t>) override {
        return std::nullopt;
    }
    std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t>) override {
        return std::nullopt;
    }
};

class FaultyAdapterDevice final : public ports::DisplayAdapterDevice {
public:
    FaultyAdapterDevice(FaultPlan& plan, std::unique_ptr<ports::DisplayAdapterDevice> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    uint32_t GetVendor() override {
        return plan_.Fails("AdapterDevice.GetVendor") ? 0 : inner_->GetVendor();
    }
    uint32_t GetType() override {
        return plan_.Fails("AdapterDevice.GetType") ? 0 : inner_->GetType();
    }
    ports::LibraryCode GetDeviceID(ports::GPUDeviceID& id) override {
        return plan_.Fails("AdapterDevice.GetDeviceID") ? kInjectedFailure
                                                        : inner_->GetDeviceID(id);
    }
    ports::LibraryCode GetBasicInfo(ports::GPUBasicInfo& info) override {
        return plan_.Fails("AdapterDevice.GetBasicInfo") ? kInjectedFailure
                                                         : inner_->GetBasicInfo(info);
    }
    ports::LibraryCode GetMaxInfo(ports::GPUMaxInfo& info) override {
        return plan_.Fails("AdapterDevice.GetMaxInfo") ? kInjectedFailure
                                                       : inner_->GetMaxInfo(info);
    }
    ports::LibraryCode GetCurrentInfo(ports::GPUCurrentInfo& info) override {
        return plan_.Fails("AdapterDevice.GetCurrentInfo") ? kInjectedFailure
                                                           : inner_->GetCurrentInfo(info);
    }
    ports::LibraryCode GetFanSpeed(uint32_t& rpm) override {
        return plan_.Fails("AdapterDevice.GetFanSpeed") ? kInjectedFailure
                                                        : inner_->GetFanSpeed(rpm);
    }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::DisplayAdapterDevice> inner_;
};

class FaultyCounterQuery final : public ports::CounterQuery {
public:
    FaultyCounterQuery(FaultPlan& plan, std::unique_ptr<ports::CounterQuery> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    uint32_t AddEnglishCounter(const std::u16string& path, ports::CounterHandle& counter) override {
        return plan_.Fails("CounterQuery.AddEnglishCounter")
                   ? ports::kPdhCounterNotFound
                   : inner_->AddEnglishCounter(path, counter);
    }
    uint32_t CollectQueryData() override {
        return plan_.Fails("CounterQuery.CollectQueryData") ? ports::kPdhInvalidData
                                                            : inner_->CollectQueryData();
    }
    ports::CounterValue FormattedDouble(ports::CounterHandle counter) override {
        return plan_.Fails("CounterQuery.FormattedDouble")
                   ? ports::CounterValue{ports::kPdhInvalidData, 0.0}
                   : inner_->FormattedDouble(counter);
    }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::CounterQuery> inner_;
};

class FaultyIoLibrary final : public ports::IoLibrary {
public:
    FaultyIoLibrary(FaultPlan& plan, std::unique_ptr<ports::IoLibrary> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    bool Complete() const override { return inner_->Complete(); }
    bool Open(int32_t flags) override {
        return !plan_.Fails("IoLibrary.Open") && inner_->Open(flags);
    }
    int32_t ReadMsr(uint32_t index, uint64_t& value) override {
        return plan_.Fails("IoLibrary.ReadMsr") ? 0 : inner_->ReadMsr(index, value);
    }
    void Close() override { inner_->Close(); }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::IoLibrary> inner_;
};

class FaultyXtuWrapper final : public ports::XtuWrapper {
public:
    FaultyXtuWrapper(FaultPlan& plan, std::unique_ptr<ports::XtuWrapper> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    bool Initialize() override {
        return !plan_.Fails("XtuWrapper.Initialize") && inner_->Initialize();
    }
    void StartMonitor() override { inner_->StartMonitor(); }
    bool IsMonitorRunning() override {
        return !plan_.Fails("XtuWrapper.IsMonitorRunning") && inner_->IsMonitorRunning();
    }
    double GetMonitorValue(uint32_t monitorId) override {
        return plan_.Fails("XtuWrapper.GetMonitorValue") ? 0.0 : inner_->GetMonitorValue(monitorId);
    }
    void StopMonitor() override { inner_->StopMonitor(); }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::XtuWrapper> inner_;
};

class FaultyAmdSdkModule final : public ports::AmdSdkModule {
public:
    FaultyAmdSdkModule(FaultPlan& plan, std::unique_ptr<ports::AmdSdkModule> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    ports::SdkAnswer AMDSDK_Init() override {
        return plan_.Fails("AmdSdk.AMDSDK_Init") ? Failed() : inner_->AMDSDK_Init();
    }
    ports::SdkAnswer AMDSDK_Uninit() override {
        return plan_.Fails("AmdSdk.AMDSDK_Uninit") ? Failed() : inner_->AMDSDK_Uninit();
    }
    ports::SdkAnswer NumberOFPhysicalCPU() override {
        return plan_.Fails("AmdSdk.NumberOFPhysicalCPU") ? Failed() : inner_->NumberOFPhysicalCPU();
    }
    ports::SdkAnswer GetMemoryFrequency(uint32_t& megahertz) override {
        return plan_.Fails("AmdSdk.GetMemoryFrequency") ? Failed()
                                                        : inner_->GetMemoryFrequency(megahertz);
    }
    ports::SdkAnswer GetCPUStatus(uint32_t coreCount, std::span<uint8_t> statusBlock) override {
        return plan_.Fails("AmdSdk.GetCPUStatus") ? Failed()
                                                  : inner_->GetCPUStatus(coreCount, statusBlock);
    }

private:
    // The entry was found and answered with a failure.
    static ports::SdkAnswer Failed() { return {true, kInjectedFailure, 0}; }

    FaultPlan& plan_;
    std::unique_ptr<ports::AmdSdkModule> inner_;
};

} // namespace

class FaultyEncryptHelper::Entry final : public ports::DecryptAesEntry {
public:
    Entry(FaultPlan& plan, ports::DecryptAesEntry& inner) : plan_(plan), inner_(inner) {}
    int32_t operator()(const std::u16string& encipheredPath,
                       const std::u16string& plainPath) override {
        return plan_.Fails("EncryptHelper.DecryptAES") ? kInjectedFailure
                                                       : inner_(encipheredPath, plainPath);
    }

private:
    FaultPlan& plan_;
    ports::DecryptAesEntry& inner_;
};

void* FaultyHostHeap::Allocate(std::size_t size) {
    return plan_.Fails("HostHeap.Allocate") ? nullptr : inner_.Allocate(size);
}

std::unique_ptr<ports::Event> FaultyKernelObjects::NewEvent(bool manualReset, bool initiallySet,
                                                            const std::u16string& name) {
    return plan_.Fails("Kernel.NewEvent") ? nullptr
                                          : real_.NewEvent(manualReset, initiallySet, name);
}

ports::OpenedEvent FaultyKernelObjects::OpenExistingEvent(const std::u16string& name) {
    return plan_.Fails("Kernel.OpenExistingEvent") ? ports::OpenedEvent{}
                                                   : real_.OpenExistingEvent(name);
}

std::unique_ptr<ports::Thread> FaultyKernelObjects::StartThread(std::function<uint32_t()> body) {
    return plan_.Fails("Kernel.StartThread") ? nullptr : real_.StartThread(std::move(body));
}

std::unique_ptr<ports::UiProcess> FaultyUiProcesses::Open(uint32_t processId) {
    return plan_.Fails("UiProcesses.Open") ? nullptr : inner_.Open(processId);
}

std::unique_ptr<ports::LogFile> FaultyLogFiles::Create(const std::u16string& path) {
    if (plan_.Fails("LogFiles.Create")) {
        return nullptr;
    }
    auto file = inner_.Create(path);
    return file ? std::make_unique<FaultyLogFile>(plan_, std::move(file)) : nullptr;
}

std::optional<int32_t> FaultyHelperLibrary::GetCPUVendor() {
    return plan_.Fails("Helper.GetCPUVendor") ? std::nullopt : inner_.GetCPUVendor();
}
std::optional<ports::XtuImagePathCheck> FaultyHelperLibrary::CheckXTUImagePath() {
    return plan_.Fails("Helper.CheckXTUImagePath") ? std::nullopt : inner_.CheckXTUImagePath();
}
std::optional<int32_t> FaultyHelperLibrary::HasBeenUsed() {
    return plan_.Fails("Helper.HasBeenUsed") ? std::nullopt : inner_.HasBeenUsed();
}
std::optional<int32_t> FaultyHelperLibrary::StartUsed() {
    return plan_.Fails("Helper.StartUsed") ? std::nullopt : inner_.StartUsed();
}
std::optional<int32_t> FaultyHelperLibrary::StartXTUService(void* plugin) {
    return plan_.Fails("Helper.StartXTUService") ? std::nullopt : inner_.StartXTUService(plugin);
}
std::optional<int32_t> FaultyHelperLibrary::IsXTUServiceRunning() {
    return plan_.Fails("Helper.IsXTUServiceRunning") ? std::nullopt : inner_.IsXTUServiceRunning();
}
std::optional<int32_t> FaultyHelperLibrary::GetProcessorNameString(std::span<char16_t> buffer) {
    return plan_.Fails("Helper.GetProcessorNameString") ? std::nullopt
                                                        : inner_.GetProcessorNameString(buffer);
}
std::optional<ports::SystemSizes> FaultyHelperLibrary::RetriveSystemInfo() {
    return plan_.Fails("Helper.RetriveSystemInfo") ? std::nullopt : inner_.RetriveSystemInfo();
}
std::optional<ports::FirmwareReply>
FaultyHelperLibrary::One_WMIMethod_INT(ports::AcpiDeviceHandle device, uint32_t method,
                                       uint32_t deviceId) {
    return plan_.Fails("Helper.One_WMIMethod_INT")
               ? std::nullopt
               : inner_.One_WMIMethod_INT(device, method, deviceId);
}

bool FaultyFiles::Exists(const std::u16string& path) {
    return !plan_.Fails("Files.Exists") && files_.Exists(path);
}
std::optional<std::vector<uint8_t>> FaultyFiles::ReadAll(const std::u16string& path) {
    return plan_.Fails("Files.ReadAll") ? std::nullopt : files_.ReadAll(path);
}
bool FaultyFiles::ClearAttributes(const std::u16string& path) {
    return !plan_.Fails("Files.ClearAttributes") && files_.ClearAttributes(path);
}
bool FaultyFiles::Delete(const std::u16string& path) {
    return !plan_.Fails("Files.Delete") && files_.Delete(path);
}
std::optional<std::u16string> FaultyFiles::PluginFolder() {
    return plan_.Fails("Folders.PluginFolder") ? std::nullopt : folders_.PluginFolder();
}
std::optional<std::u16string> FaultyFiles::CommonAppData() {
    return plan_.Fails("Folders.CommonAppData") ? std::nullopt : folders_.CommonAppData();
}
std::optional<std::u16string> FaultyFiles::ProgramData() {
    return plan_.Fails("Folders.ProgramData") ? std::nullopt : folders_.ProgramData();
}
std::optional<std::u16string> FaultyFiles::LocalAppData() {
    return plan_.Fails("Folders.LocalAppData") ? std::nullopt : folders_.LocalAppData();
}

std::unique_ptr<ports::AesCipher> FaultyCrypto::NewAesCipher(const ports::AesKey& key,
                                                             const ports::AesVector& vector) {
    if (plan_.Fails("Crypto.NewAesCipher")) {
        return std::make_unique<KeylessCipher>();
    }
    return std::make_unique<FaultyAesCipher>(plan_, inner_.NewAesCipher(key, vector));
}

std::optional<ports::LibraryCode> FaultyDisplayAdapters::Initialize(void* owner,
                                                                    ChangeCallback callback) {
    return plan_.Fails("Adapters.Initialize") ? std::optional(kInjectedFailure)
                                              : inner_.Initialize(owner, callback);
}
std::optional<ports::LibraryCode> FaultyDisplayAdapters::Uninitialize(void* owner) {
    return plan_.Fails("Adapters.Uninitialize") ? std::optional(kInjectedFailure)
                                                : inner_.Uninitialize(owner);
}
std::optional<ports::LibraryCode> FaultyDisplayAdapters::Refresh(uint32_t flags) {
    return plan_.Fails("Adapters.Refresh") ? std::optional(kInjectedFailure)
                                           : inner_.Refresh(flags);
}
std::optional<ports::CreatedDevice> FaultyDisplayAdapters::CreateDevice() {
    if (plan_.Fails("Adapters.CreateDevice")) {
        return ports::CreatedDevice{kInjectedFailure, nullptr};
    }
    auto created = inner_.CreateDevice();
    if (created && created->Device != nullptr) {
        created->Device = std::make_unique<FaultyAdapterDevice>(plan_, std::move(created->Device));
    }
    return created;
}

std::optional<ports::LibraryCode> FaultyDockingController::Initialize(void* owner) {
    return plan_.Fails("Dock.Initialize") ? std::optional(kInjectedFailure)
                                          : inner_.Initialize(owner);
}
std::optional<ports::LibraryCode> FaultyDockingController::Uninitialize(void* owner) {
    return plan_.Fails("Dock.Uninitialize") ? std::optional(kInjectedFailure)
                                            : inner_.Uninitialize(owner);
}
std::optional<ports::DockedGpuId> FaultyDockingController::GetEGPUID() {
    return plan_.Fails("Dock.GetEGPUID") ? std::optional(ports::DockedGpuId{kInjectedFailure, {}})
                                         : inner_.GetEGPUID();
}
std::optional<ports::DockedGpuConfig> FaultyDockingController::GetEGPUConfig() {
    return plan_.Fails("Dock.GetEGPUConfig")
               ? std::optional(ports::DockedGpuConfig{kInjectedFailure, std::nullopt})
               : inner_.GetEGPUConfig();
}
std::optional<ports::DockFanSpeed> FaultyDockingController::GetFanSpeed() {
    return plan_.Fails("Dock.GetFanSpeed")
               ? std::optional(ports::DockFanSpeed{kInjectedFailure, 0, 0})
               : inner_.GetFanSpeed();
}

FaultyEncryptHelper::FaultyEncryptHelper(FaultPlan& plan, ports::EncryptHelper& inner)
    : plan_(plan), inner_(inner) {}
FaultyEncryptHelper::~FaultyEncryptHelper() = default;

std::optional<ports::DecryptAesEntry*> FaultyEncryptHelper::Load() {
    if (plan_.Fails("EncryptHelper.Load")) {
        return std::nullopt;
    }
    const auto loaded = inner_.Load();
    if (!loaded || *loaded == nullptr) {
        return loaded;
    }
    entry_ = std::make_unique<Entry>(plan_, **loaded);
    return entry_.get();
}

std::u16string FaultyProfileStrings::Read(const std::u16string& path, std::u16string_view section,
                                          std::u16string_view key, std::u16string_view defaultText,
                                          std::size_t capacity) {
    if (plan_.Fails("ProfileStrings.Read")) {
        // As for a missing file: the default, cut to the buffer.
        return std::u16string(defaultText.substr(0, capacity == 0 ? 0 : capacity - 1));
    }
    return inner_.Read(path, section, key, defaultText, capacity);
}
std::vector<std::u16string> FaultyProfileStrings::KeyNames(const std::u16string& path,
                                                           std::u16string_view section) {
    return plan_.Fails("ProfileStrings.KeyNames") ? std::vector<std::u16string>{}
                                                  : inner_.KeyNames(path, section);
}

ports::OpenedQuery FaultyPerformanceCounters::OpenQuery() {
    if (plan_.Fails("Counters.OpenQuery")) {
        return {ports::kPdhInvalidArgument, nullptr};
    }
    ports::OpenedQuery opened = inner_.OpenQuery();
    if (opened.Query != nullptr) {
        opened.Query = std::make_unique<FaultyCounterQuery>(plan_, std::move(opened.Query));
    }
    return opened;
}

int32_t FaultyWmi::QueryWmiValue(const std::u16string& wql, ports::WmiValues& values) {
    return plan_.Fails("Wmi.QueryWmiValue") ? ports::kWmiFail : inner_.QueryWmiValue(wql, values);
}

ports::LoadedIoLibrary FaultyIoLibraries::Load(const std::u16string& path) {
    if (plan_.Fails("IoLibraries.Load")) {
        return {kInjectedError, nullptr};
    }
    ports::LoadedIoLibrary loaded = inner_.Load(path);
    if (loaded.Library != nullptr) {
        loaded.Library = std::make_unique<FaultyIoLibrary>(plan_, std::move(loaded.Library));
    }
    return loaded;
}

int32_t FaultyCodeSignatures::Verify(const std::u16string& path) {
    constexpr auto kNoSignature = static_cast<int32_t>(0x800B0100); // TRUST_E_NOSIGNATURE
    return plan_.Fails("CodeSignatures.Verify") ? kNoSignature : inner_.Verify(path);
}
bool FaultyCodeSignatures::ReadDetails(const std::u16string& path, ports::SignatureInfo& info) {
    return !plan_.Fails("CodeSignatures.ReadDetails") && inner_.ReadDetails(path, info);
}

std::unique_ptr<ports::XtuWrapper> FaultyXtuLibrary::CreateWrapper() {
    if (plan_.Fails("Xtu.CreateWrapper")) {
        return nullptr;
    }
    auto wrapper = inner_.CreateWrapper();
    return wrapper ? std::make_unique<FaultyXtuWrapper>(plan_, std::move(wrapper)) : nullptr;
}

ports::LoadedAmdSdk FaultyAmdSdkLibraries::Load(const std::u16string& relativePath) {
    if (plan_.Fails("AmdSdkLibraries.Load")) {
        return {nullptr, kInjectedError};
    }
    ports::LoadedAmdSdk loaded = inner_.Load(relativePath);
    if (loaded.Module != nullptr) {
        loaded.Module = std::make_unique<FaultyAmdSdkModule>(plan_, std::move(loaded.Module));
    }
    return loaded;
}

std::optional<std::u16string>
FaultySystemDevices::FindDriverKey(std::u16string_view hardwareIdPart) {
    return plan_.Fails("SystemDevices.FindDriverKey") ? std::nullopt
                                                      : inner_.FindDriverKey(hardwareIdPart);
}

std::optional<std::u16string> FaultyMachineRegistry::ReadString(const std::u16string& path,
                                                                const std::u16string& name) {
    return plan_.Fails("MachineRegistry.ReadString") ? std::nullopt : inner_.ReadString(path, name);
}

std::unique_ptr<ports::FirmwareDevice> FaultyFirmwareDevices::Open(const std::u16string& path) {
    return plan_.Fails("FirmwareDevices.Open") ? nullptr : inner_.Open(path);
}

ports::SharedEvent FaultySharedEvents::Create(const std::u16string& name) {
    return plan_.Fails("SharedEvents.Create") ? ports::SharedEvent{nullptr, kInjectedError}
                                              : inner_.Create(name);
}
ports::SharedEvent FaultySharedEvents::Open(const std::u16string& name) {
    return plan_.Fails("SharedEvents.Open") ? ports::SharedEvent{nullptr, ports::kErrorNotFound}
                                            : inner_.Open(name);
}

uint32_t FaultyWindowMessages::Register(const std::u16string& name) {
    return plan_.Fails("WindowMessages.Register") ? 0 : inner_.Register(name);
}

bool FaultyMessagePrograms::Start(int32_t kind, const std::u16string& text) {
    return !plan_.Fails("MessagePrograms.Start") && inner_.Start(kind, text);
}

namespace {

class FaultyPhysicalDrive final : public ports::PhysicalDrive {
public:
    FaultyPhysicalDrive(FaultPlan& plan, std::unique_ptr<ports::PhysicalDrive> inner)
        : plan_(plan), inner_(std::move(inner)) {}
    std::optional<uint32_t> QueryProperty(std::span<const uint8_t> query,
                                          std::span<uint8_t> answer) override {
        return plan_.Fails("PhysicalDrive.QueryProperty") ? std::nullopt
                                                          : inner_->QueryProperty(query, answer);
    }

private:
    FaultPlan& plan_;
    std::unique_ptr<ports::PhysicalDrive> inner_;
};

} // namespace

ports::PhysicalDrives::DiskEnum FaultyPhysicalDrives::ReadDiskEnum() {
    if (plan_.Fails("PhysicalDrives.ReadDiskEnum")) {
        return {static_cast<int32_t>(kInjectedError), std::nullopt};
    }
    return inner_.ReadDiskEnum();
}

std::unique_ptr<ports::PhysicalDrive> FaultyPhysicalDrives::Open(uint32_t number) {
    if (plan_.Fails("PhysicalDrives.Open")) {
        return nullptr;
    }
    auto drive = inner_.Open(number);
    return drive ? std::make_unique<FaultyPhysicalDrive>(plan_, std::move(drive)) : nullptr;
}

} // namespace sim
