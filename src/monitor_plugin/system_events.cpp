// The system events the host forwards to the plug-in's event handler: device changes, power
// changes, the firmware's hotkey message and the client's connection, and the adapter controller's
// change callback.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"
#include "recording/monitor_recorder.h"

#include <cstring>

namespace {

using VelmorValueSet::ValueSet;

constexpr std::string_view kKeyRequestRole = "RequestRole";
// Notification codes and roles the clients hear.
constexpr uint8_t kNotifyDeviceChanged = 1;
constexpr char16_t kDeviceChangedEvent[] = u"DeviceChangedEvent";
constexpr uint8_t kNotifyWindowMessageDeviceChange = 2;
constexpr char16_t kWindowMessageDeviceChangeEvent[] = u"WindowMessageDeviceChangeEvent";

// Device events (DBT_DEVICEARRIVAL, DBT_DEVICEREMOVECOMPLETE, DBT_DEVNODES_CHANGED) and the
// broadcast of a device interface (DEV_BROADCAST_DEVICEINTERFACE_W: size, device type, reserved,
// class identifier, name).
constexpr uint32_t kDeviceArrival = 0x8000;
constexpr uint32_t kDeviceRemoveComplete = 0x8004;
constexpr uint32_t kDeviceNodesChanged = 7;
constexpr uint32_t kDeviceTypeInterface = 5;
constexpr std::size_t kDeviceTypeAt = 4;
constexpr std::size_t kClassGuidAt = 12;
constexpr uint32_t kInterfaceBroadcastHead = kClassGuidAt + sizeof(GUID);
// The display adapters and the display devices' arrival.
constexpr GUID kDisplayAdapterClass = {
    0x5B45201D, 0xF2F2, 0x4F3B, {0x85, 0xBB, 0x30, 0xFF, 0x1F, 0x95, 0x35, 0x99}};
constexpr GUID kDisplayDeviceArrivalClass = {
    0x1CA05180, 0xA699, 0x450A, {0x9A, 0x0C, 0xDE, 0x4F, 0xBE, 0x3D, 0xDD, 0x89}};

// Power events (PBT_POWERSETTINGCHANGE with a POWERBROADCAST_SETTING: setting, data length,
// data; PBT_APMRESUMESUSPEND) and the settings the service instance follows.
constexpr uint32_t kPowerSettingChange = 0x8013;
constexpr uint32_t kResumeSuspend = 7;
constexpr std::size_t kSettingDataLengthAt = sizeof(GUID);
constexpr std::size_t kSettingDataAt = kSettingDataLengthAt + 4;
constexpr GUID kAcdcPowerSource = {
    0x5D3E9A59, 0xE9D5, 0x4B00, {0xA6, 0xBD, 0xFF, 0x34, 0xFF, 0x51, 0x65, 0x48}};
constexpr GUID kLidSwitchStateChange = {
    0xBA3E0F4D, 0xB817, 0x4094, {0xA2, 0xD1, 0xD5, 0x63, 0x79, 0xE6, 0xA0, 0xF3}};
constexpr uint32_t kPowerSourceAc = 0;
constexpr uint32_t kPowerSourceBattery = 1;
constexpr uint32_t kLidOpen = 1;

// Record reasons of the power and lid reports.
constexpr uint32_t kReasonBecameAc = 14;
constexpr uint32_t kReasonBecameBattery = 15;
constexpr uint32_t kReasonLidOpened = 16;
constexpr uint32_t kReasonLidClosed = 17;

// The firmware's hotkey message carries this parameter when a display device changed.
constexpr uintptr_t kHotkeyDeviceChange = 190;

uint32_t ReadUint32(const void* at, std::size_t offset) {
    uint32_t value = 0;
    std::memcpy(&value, static_cast<const uint8_t*>(at) + offset, sizeof value);
    return value;
}

GUID ReadGuid(const void* at, std::size_t offset) {
    GUID guid{};
    std::memcpy(&guid, static_cast<const uint8_t*>(at) + offset, sizeof guid);
    return guid;
}

} // namespace

HRESULT COrvexMonitorPlugin::OnDeviceChange(uint32_t eventType, const void* header) noexcept {
    Log(LogLevel::kTrace, u"OnDeviceChange: DevNotify Handle:%p, Event Type:0x%08X", m_hDevNotify,
        eventType);
    if (m_hDevNotify == nullptr || header == nullptr) {
        return OrvexResult::kOk;
    }
    if (eventType != kDeviceArrival && eventType != kDeviceRemoveComplete &&
        eventType != kDeviceNodesChanged) {
        return OrvexResult::kOk;
    }
    const uint32_t deviceType = ReadUint32(header, kDeviceTypeAt);
    Log(LogLevel::kTrace, u"OnDeviceChange: device type:%d", deviceType);
    // The header's own size says whether a class identifier follows.
    if (deviceType != kDeviceTypeInterface || ReadUint32(header, 0) < kInterfaceBroadcastHead) {
        return OrvexResult::kOk;
    }
    const GUID cls = ReadGuid(header, kClassGuidAt);
    Log(LogLevel::kTrace,
        u"OnDeviceChange: class guid: "
        u"{%08lX-%04hX-%04hX-%02hhX%02hhX-%02hhX%02hhX%02hhX%02hhX%02hhX%02hhX}",
        cls.Data1, cls.Data2, cls.Data3, cls.Data4[0], cls.Data4[1], cls.Data4[2], cls.Data4[3],
        cls.Data4[4], cls.Data4[5], cls.Data4[6], cls.Data4[7]);
    if (cls != kDisplayAdapterClass && cls != kDisplayDeviceArrivalClass) {
        return OrvexResult::kOk;
    }
    Log(LogLevel::kTrace, u"OnDeviceChange: Refresh Begin Skarn Switch: %d", m_dstsFlag);
    m_gpu->RefreshAdapters();
    Log(LogLevel::kTrace, u"OnDeviceChange: Refresh End");
    return OrvexResult::kOk;
}

void COrvexMonitorPlugin::HandleDeviceChangedEvent() noexcept {
    Log(LogLevel::kNotable, u"HandleDeviceChangedEvent Begin");
    m_gpu->AdaptersChanged();
    if (m_ports.helper.HasBeenUsed().value_or(0) == 0) {
        return;
    }
    if (const auto recorder = Recorder()) {
        recorder->StopLogging();
    }
    DestroyRecorder();
    try {
        ValueSet changed;
        changed.SetString(kKeyRequestRole, kDeviceChangedEvent);
        Notify(kNotifyDeviceChanged, changed);
    } catch (...) {
        // Out of memory: the clients are not told this time.
    }
    Log(LogLevel::kNotable, u"HandleDeviceChangedEvent End");
}

HRESULT COrvexMonitorPlugin::OnWindowMessageDeviceChange(uint32_t message,
                                                         uintptr_t parameter) noexcept {
    if (message != m_ravikHotkeyMessage || parameter != kHotkeyDeviceChange) {
        return OrvexResult::kOk;
    }
    try {
        ValueSet changed;
        changed.SetString(kKeyRequestRole, kWindowMessageDeviceChangeEvent);
        Notify(kNotifyWindowMessageDeviceChange, changed);
    } catch (...) {
        // Out of memory: the clients are not told this time.
    }
    Log(LogLevel::kProgress, u"WindowMessageDeviceChangeEvent \n");
    return OrvexResult::kOk;
}

HRESULT COrvexMonitorPlugin::OnPowerChange(uint32_t eventType, const void* data) noexcept {
    Log(LogLevel::kTrace, u"OnPowerChange dwEventType:%d", eventType);
    // Only the service instance records; an instance in the user's session only hears of it.
    if (HostMode() != 0) {
        return OrvexResult::kOk;
    }
    if (eventType == kPowerSettingChange && data != nullptr) {
        OnPowerSettingChange(data);
    } else if (eventType == kResumeSuspend) {
        Log(LogLevel::kTrace, u"PBT_APMRESUMESUSPEND");
        // The power-resume worker records it.
        if (const auto resume = SharedEvent(m_hPowerResumeEvent)) {
            resume->Set();
        }
    }
    return OrvexResult::kOk;
}

void COrvexMonitorPlugin::OnPowerSettingChange(const void* data) {
    // The setting's data is at least its first 32-bit word, which is all that is read.
    if (ReadUint32(data, kSettingDataLengthAt) < sizeof(uint32_t)) {
        return;
    }
    const GUID setting = ReadGuid(data, 0);
    const uint32_t value = ReadUint32(data, kSettingDataAt);
    if (setting == kAcdcPowerSource && m_acdcRegistered != 0) {
        OnPowerSourceReport(value);
    }
    if (setting == kLidSwitchStateChange && m_lidRegistered != 0) {
        OnLidSwitchReport(value);
    }
}

void COrvexMonitorPlugin::OnPowerSourceReport(uint32_t value) {
    if (m_firstAcdc.exchange(0) != 0) {
        Log(LogLevel::kTrace, u"Filter first GUID_ACDC_POWER_SOURCE");
        return;
    }
    Log(LogLevel::kTrace, u"GUID_ACDC_POWER_SOURCE : %d", value);
    m_powerSource = static_cast<int32_t>(value);
    // Any other source (a short-term one) is not recorded.
    if (value == kPowerSourceAc) {
        RecordSysInfoByEvent(kReasonBecameAc);
    } else if (value == kPowerSourceBattery) {
        RecordSysInfoByEvent(kReasonBecameBattery);
    }
}

void COrvexMonitorPlugin::OnLidSwitchReport(uint32_t value) {
    if (m_firstLid.exchange(0) != 0) {
        Log(LogLevel::kTrace, u"Filter first GUID_LIDSWITCH_STATE_CHANGE");
        return;
    }
    Log(LogLevel::kTrace, u"GUID_LIDSWITCH_STATE_CHANGE : %d", value);
    m_lidState = static_cast<int32_t>(value);
    RecordSysInfoByEvent(value == kLidOpen ? kReasonLidOpened : kReasonLidClosed);
}

// On the host's thread: the row has been sent when the event returns.
void COrvexMonitorPlugin::RecordSysInfoByEvent(uint32_t reason) {
    try {
        m_workers->DoRecordSysInfoByEvent(reason);
    } catch (...) {
        // Out of memory: this record is lost.
    }
}

HRESULT COrvexMonitorPlugin::OnUWPConnectionChange(int32_t connected) noexcept {
    Log(LogLevel::kSupport, u"Monitor Plugin : OnUWPConnectionChange :%d \n", connected);
    m_clientConnected = connected;
    if (connected == 0) {
        // Nobody reads the monitors until a client connects again.
        if (m_cpu->HasXTUWrapper()) {
            Log(LogLevel::kSupport, u"Monitor Plugin : StopMonitor.\r\n");
            m_cpu->StopXTUMonitor();
        }
        m_cpu->StopCPUInfoReader();
    }
    return OrvexResult::kOk;
}
