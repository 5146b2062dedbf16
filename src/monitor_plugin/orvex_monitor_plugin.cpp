#include "monitor_plugin/orvex_monitor_plugin.h"

#include "monitor_plugin/module_list.h"
#include "monitor_plugin/update_client_key.h"
#include "plugin_frame/value_set.h"
#include "recording/monitor_recorder.h"

#include <cstring>

namespace {

using VelmorValueSet::ValueSet;

const BaseOrvexPlugin::Identity kMonitorIdentity = {
    u"Monitor Plugin",
    {0xD22B890B, 0xE516, 0x4151, {0x99, 0x43, 0xAB, 0xF0, 0x87, 0xC4, 0x70, 0x73}},
    {0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}},
    u"Monitor System Information",
    {3, 2, 14, 0},
};

constexpr int32_t kVendorIntel = 1;

constexpr char16_t kQueryProductLine[] = u"ProductLine";
constexpr char16_t kQueryModelName[] = u"ModelName";
constexpr std::string_view kKeyProductLine = "ProductLine";
constexpr std::string_view kKeyModelName = "ModelName";

constexpr char16_t kRavikAcpiDevice[] = u"\\\\.\\RavikACPI";
constexpr char16_t kFirstUserSessionStartEvent[] = u"Global\\FirstUserSessionStart";
constexpr char16_t kPowerResumeEvent[] = u"Global\\ACPowerResume";
constexpr char16_t kRavikHotkeyMessage[] = u"ACPI Notification through RavikHotkey from BIOS";

// The firmware's switch word; bit 0x10000 says the machine has the graphics switch.
constexpr uint32_t kDstsSwitchDevice = 0x00090019;
constexpr uint32_t kDstsSwitchBit = 0x10000;

// Power settings the service instance follows (GUID_ACDC_POWER_SOURCE,
// GUID_LIDSWITCH_STATE_CHANGE).
constexpr GUID kAcdcPowerSource = {
    0x5D3E9A59, 0xE9D5, 0x4B00, {0xA6, 0xBD, 0xFF, 0x34, 0xFF, 0x51, 0x65, 0x48}};
constexpr GUID kLidSwitchStateChange = {
    0xBA3E0F4D, 0xB817, 0x4094, {0xA2, 0xD1, 0xD5, 0x63, 0x79, 0xE6, 0xA0, 0xF3}};

// DEV_BROADCAST_DEVICEINTERFACE_W for the display adapters, as the host's registration takes it.
struct DeviceInterfaceFilter {
    uint32_t Size;
    uint32_t DeviceType;
    uint32_t Reserved;
    GUID ClassGuid;
    char16_t Name[2]; // one empty name, padded to the record's size
};
static_assert(sizeof(DeviceInterfaceFilter) == 32);
constexpr uint32_t kDeviceTypeInterface = 5;
constexpr GUID kDisplayAdapterClass = {
    0x5B45201D, 0xF2F2, 0x4F3B, {0x85, 0xBB, 0x30, 0xFF, 0x1F, 0x95, 0x35, 0x99}};
// DEVICE_NOTIFY_ALL_INTERFACE_CLASSES: the class in the filter does not limit the notifications.
constexpr uint32_t kAllInterfaceClasses = 4;

void OnAdaptersChanged(void* plugin) {
    static_cast<COrvexMonitorPlugin*>(plugin)->HandleDeviceChangedEvent();
}

} // namespace

COrvexMonitorPlugin::COrvexMonitorPlugin(uint32_t hostMode, const PluginPorts& ports)
    : BaseOrvexPlugin(kMonitorIdentity, hostMode, ports.heap), m_ports(ports),
      m_fanAcoustic(ports.crypto, ports.files, ports.folders),
      m_cpu(NewCpuSide(ports, *this, m_fanAcoustic)),
      m_gpu(NewGpuSide(ports, *this, m_fanAcoustic)), m_diskActivity(NewDiskCounters(ports)),
      m_workers(NewBackgroundWorkers(ports, *this)), m_commands(CommandTable::Commands()),
      m_monitorLock(ports.kernel.NewCriticalSection()), m_moduleList(MonitorModuleList()) {
    if (m_monitorLock == nullptr) {
        throw std::bad_alloc(); // QueryLibrary answers null
    }
}

COrvexMonitorPlugin::~COrvexMonitorPlugin() {
    m_ports.recordingStopRequest.Unbind();
    // A worker that shutdown gave up on may still use the readers and the monitor lock.
    m_workers.reset();
    DestroyRecorder();
    // The initialisation threads use the CPU side, which goes with this object.
    for (const auto& thread : m_hXTUInitializeThreads) {
        m_ports.kernel.Wait(*thread, ports::kInfinite);
    }
}

HRESULT COrvexMonitorPlugin::QueryInterface(const GUID* iid, void** out) noexcept {
    if (out == nullptr || iid == nullptr ||
        (*iid != kIidOrvexEventHandler && *iid != kIidOrvexEventHandlerEx1)) {
        return BaseOrvexPlugin::QueryInterface(iid, out);
    }
    *out = EventHandler();
    AddRef();
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::Initialize() noexcept {
    // The text ends in a blank and carries no number; the host's log has always shown it so.
    Log(LogLevel::kTrace, u"Initialize : Begin Plugin Version ");
    if (m_initialised == 0) {
        try {
            m_cpuVendor = m_ports.helper.GetCPUVendor().value_or(0);
            Log(LogLevel::kTrace, u"CPU Vendor ID : %d", m_cpuVendor);
            if (HostMode() == 0 && m_cpuVendor == kVendorIntel) {
                if (const auto check = m_ports.helper.CheckXTUImagePath()) {
                    Log(LogLevel::kProgress,
                        u"CheckXTUImagePath result: %d, isChanged: %d, type: %d", check->Result,
                        check->IsChanged, check->Type);
                }
            }
            // The recording message's program ends with code 1 when the user asks to stop.
            m_ports.recordingStopRequest.Bind([this] {
                if (const auto recorder = Recorder()) {
                    recorder->Stop(true);
                }
            });
            QueryProductLine();
            m_cpu->LoadAMDSDK(m_cpuVendor, m_productLine);
            if (HostMode() == 0) {
                InitializeServiceInstance();
            } else {
                InitializeUserSessionInstance();
            }
            auto powerResume = m_ports.sharedEvents.Create(kPowerResumeEvent);
            std::shared_ptr<ports::Event> resume = std::move(powerResume.event);
            SetSharedEvent(m_hPowerResumeEvent, resume);
            if (resume == nullptr) {
                Log(LogLevel::kTrace, u"Create m_hPowerResumeEvent failed: %d", powerResume.error);
            }
            if (HostMode() == 0) {
                // The power-resume worker waits on this event, so it starts once the event is
                // there (without it, it only waits to be stopped).
                m_workers->StartPowerResumeWorker(std::move(resume));
            }
            ReadDstsFlag();
            m_initialised = 1;
        } catch (...) {
            // Out of memory part-way: every step is independent and Initialize answers 0.
        }
    }
    // Two blanks after "Plugin", as the host's log has always shown it.
    Log(LogLevel::kTrace, u"Monitor Plugin  Initialize : End");
    return OrvexResult::kOk;
}

void COrvexMonitorPlugin::QueryProductLine() {
    ValueSet answer;
    if (Query(kQueryProductLine, answer) < 0) {
        return; // stays 128
    }
    m_productLine = answer.GetInt32(kKeyProductLine);
    Log(LogLevel::kProgress, u"ProductLine - %d", m_productLine);
}

void COrvexMonitorPlugin::InitializeServiceInstance() {
    ValueSet model;
    Query(kQueryModelName, model);
    const std::u16string modelName = model.GetString(kKeyModelName);
    if (!modelName.empty()) {
        m_modelName = modelName;
        m_fanAcoustic.Load(m_modelName);
    }
    if (m_hRavikACPI == nullptr) {
        m_hRavikACPI = m_ports.firmware.Open(kRavikAcpiDevice);
    }
    m_gpu->MachineKnown(m_productLine, m_hRavikACPI ? m_hRavikACPI->Handle() : nullptr);
    Log(LogLevel::kProgress, u"Create CPUInforReader.");
    m_cpu->CreateCPUInfoReader(m_cpuVendor, m_modelName,
                               m_hRavikACPI ? m_hRavikACPI->Handle() : nullptr);
    RegisterDeviceNotification();
    m_gpu->InitializeAdapters(this, &OnAdaptersChanged);
    m_used = m_ports.helper.HasBeenUsed().value_or(0);
    if (m_used != 0) {
        StartXtuInitializeThread();
    }
    RegisterPowerSettings();
    m_workers->DetectDisks();
    m_workers->StartPeriodWorkers();
    if (const uint32_t error = m_cpu->OpenCPUInitializedEvent(); error != 0) {
        Log(LogLevel::kTrace, u"GetCPUInitializedEventHandle failed: %d", error);
    }
    auto firstSession = m_ports.sharedEvents.Create(kFirstUserSessionStartEvent);
    std::shared_ptr<ports::Event> started = std::move(firstSession.event);
    SetSharedEvent(m_hFirstUserSessionStartEvent, started);
    if (started != nullptr) {
        m_workers->StartFirstSessionWorker(std::move(started));
    } else {
        Log(LogLevel::kTrace, u"Failed to create m_hFirstUserSessionStartEvent: %d",
            firstSession.error);
    }
}

// An instance in the user's session tells the service instance that a user session has started.
void COrvexMonitorPlugin::InitializeUserSessionInstance() {
    auto firstSession = m_ports.sharedEvents.Open(kFirstUserSessionStartEvent);
    if (firstSession.event != nullptr) {
        firstSession.event->Set();
    } else {
        Log(LogLevel::kTrace, u"Failed to open m_hFirstUserSessionStartEvent: %d",
            firstSession.error);
    }
    RegisterHotkeyMessage();
}

void COrvexMonitorPlugin::RegisterDeviceNotification() {
    const auto fn = reinterpret_cast<OrvexRegisterDeviceNotification>(
        m_fnRegisterDeviceNotificationParam.Function);
    if (fn == nullptr) {
        return;
    }
    const DeviceInterfaceFilter filter{
        sizeof(DeviceInterfaceFilter), kDeviceTypeInterface, 0, kDisplayAdapterClass, {}};
    m_hDevNotify = fn(m_fnRegisterDeviceNotificationParam.Context, &filter, kAllInterfaceClasses);
    Log(LogLevel::kTrace, u"Initialize : m_fnRegisterDeviceNotificationParam 0x%08X",
        static_cast<uint32_t>(reinterpret_cast<uintptr_t>(m_hDevNotify)));
}

void COrvexMonitorPlugin::RegisterPowerSettings() {
    const auto fn =
        reinterpret_cast<OrvexRegisterPowerSetting>(m_fnRegisterPowerSettingParam.Function);
    if (fn == nullptr) {
        return;
    }
    m_acdcRegistered = fn(m_fnRegisterPowerSettingParam.Context, &kAcdcPowerSource) >= 0 ? 1 : 0;
    m_lidRegistered =
        fn(m_fnRegisterPowerSettingParam.Context, &kLidSwitchStateChange) >= 0 ? 1 : 0;
}

void COrvexMonitorPlugin::RegisterHotkeyMessage() {
    const auto fn =
        reinterpret_cast<OrvexRegisterWindowMessage>(m_fnRegisterWindowMessageParam.Function);
    if (fn == nullptr) {
        return;
    }
    m_ravikHotkeyMessage = m_ports.windowMessages.Register(kRavikHotkeyMessage);
    GUID id{};
    GetId(&id);
    fn(m_fnRegisterWindowMessageParam.Context, &id, m_ravikHotkeyMessage, 1);
}

void COrvexMonitorPlugin::ReadDstsFlag() {
    if (m_hRavikACPI == nullptr) {
        return;
    }
    const auto reply = m_ports.helper.One_WMIMethod_INT(
        m_hRavikACPI->Handle(), ports::kFirmwareMethodDsts, kDstsSwitchDevice);
    if (reply && reply->Returned == 1 && reply->Result != ports::kFirmwareNoDevice &&
        (reply->Result & kDstsSwitchBit) != 0) {
        m_dstsFlag = 1;
    }
}

// Called under the monitor lock or before any request can arrive.
void COrvexMonitorPlugin::StartXtuInitializeThread() {
    CpuSide& cpu = *m_cpu;
    if (auto thread = m_ports.kernel.StartThread([&cpu] {
            cpu.DoXTUInitialize();
            return 0u;
        })) {
        m_hXTUInitializeThreads.push_back(std::move(thread));
    }
}

HRESULT COrvexMonitorPlugin::Uninitialize() noexcept {
    Log(LogLevel::kTrace, u"Uninitialize : Begin");
    // Waits for a stop the message program asked for, before the recorder goes.
    m_ports.recordingStopRequest.Unbind();
    try {
        if (Recorder() != nullptr) {
            m_ports.messagePrograms.Stop(ports::kMessageLogReady);
            DestroyRecorder();
        }
        m_cpu->StopCPUInfoReader();
        m_hRavikACPI.reset();
        m_cpu->DestroyXTUWrapper();
        m_workers->StopPeriodWorkers();
        // The first-session worker, still finishing, holds the events it waits on.
        SetSharedEvent(m_hFirstUserSessionStartEvent, nullptr);
        m_workers->CloseWorkerEvents();
        SetSharedEvent(m_hPowerResumeEvent, nullptr);
        m_workers->StopFirstSessionWorker();
        m_workers->CloseDisks();
        m_cpu->UnloadAMDSDK();
        m_diskActivity.Close();
        if (HostMode() == 0) {
            m_gpu->UninitializeAdapters(this);
        }
        m_cpu->ReleaseCPUInfoReader();
    } catch (...) {
        // Out of memory part-way: what is left goes with the plug-in.
    }
    m_initialised = 0;
    Log(LogLevel::kTrace, u"Uninitialize : End");
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::Reserved12(uint32_t, uint32_t* out) noexcept {
    if (out != nullptr) {
        *out = 0;
    }
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::GetModuleList(char16_t* buffer, uint32_t* count) noexcept {
    return CopyModuleList(m_moduleList, buffer, count);
}

std::shared_ptr<MonitorRecorder> COrvexMonitorPlugin::Recorder() {
    std::lock_guard lock(m_recorderLock);
    return m_recorder;
}

void COrvexMonitorPlugin::DestroyRecorder() {
    std::shared_ptr<MonitorRecorder> recorder;
    {
        std::lock_guard lock(m_recorderLock);
        recorder = std::move(m_recorder);
    }
    // The last holder destroys it, which ends the log and waits for the sampling thread outside
    // every lock of the plug-in.
}

int32_t COrvexMonitorPlugin::RemoveUpdateClientKey() noexcept {
    return RemoveUpdateClientRegistration(m_ports.registryKeys);
}

HRESULT COrvexMonitorPlugin::SetEventCallback1(void* fn, void* context) noexcept {
    return m_fnRegisterDeviceNotificationParam.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback2(void* fn, void* context) noexcept {
    return m_fnEventCallback2.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback3(void* fn, void* context) noexcept {
    return m_fnRegisterPowerSettingParam.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback4(void* fn, void* context) noexcept {
    return m_fnEventCallback4.Store(fn, context);
}

HRESULT COrvexMonitorPlugin::SetEventCallback5(void* fn, void* context) noexcept {
    return m_fnRegisterWindowMessageParam.Store(fn, context);
}

std::shared_ptr<ports::Event>
COrvexMonitorPlugin::SharedEvent(const std::shared_ptr<ports::Event>& event) {
    std::lock_guard lock(m_sharedEventsLock);
    return event;
}

void COrvexMonitorPlugin::SetSharedEvent(std::shared_ptr<ports::Event>& event,
                                         std::shared_ptr<ports::Event> value) {
    std::lock_guard lock(m_sharedEventsLock);
    event.swap(value); // the old one closes outside the lock
}
