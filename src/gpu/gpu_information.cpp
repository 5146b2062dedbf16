#include "gpu/gpu_information.h"

#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"

#include <cstdio>

namespace gpu {

using VelmorValueSet::Kind;
using VelmorValueSet::OrvexValue;
using VelmorValueSet::ValueSet;

namespace {

constexpr char16_t kLogBaseBegin[] = u"GetBaseInformation : Begin";
constexpr char16_t kLogBaseEnd[] = u"GetBaseInformation : End";
constexpr char16_t kLogDeviceBegin[] = u"GetGPUDeviceInformation : Begin";
constexpr char16_t kLogDeviceEnd[] = u"GetGPUDeviceInformation : End";
constexpr char16_t kLogMonitorBegin[] = u"GetGPUMonitorInformation : Begin";
constexpr char16_t kLogMonitorEnd[] = u"GetGPUMonitorInformation : End";
constexpr char16_t kLogCreateDeviceFailed[] = u"CreateDevice Failed:0x%08X";
constexpr char16_t kLogFanSpeed[] = u"GetFanSpeed:0x%08X, FanSpeed %d";
constexpr char16_t kLogEgpuById[] = u"EGPU detected for EGPU ID";
constexpr char16_t kLogEgpuByConfig[] = u"EGPU detected for EGPU Config";
constexpr char16_t kLogDeviceIdText[] = u"GPUDeviceIDStr - %s";
constexpr char16_t kLogBasicInfo[] = u"<basicInfo>:0x%08X, EmptyFlags 0x%08X, FullName %s, "
                                     u"Vendor %d, MemorySize %d, BusWidth/BandWidth %d";
constexpr char16_t kLogVendor[] = u"<vendor>:%d";
constexpr char16_t kLogType[] = u"<type>:%d";
constexpr char16_t kLogMaxInfo[] = u"<maxInfo>:0x%08X, ProcessorFrequency %d, MemoryFrequency "
                                   u"%d, Voltage %d, Temperature %d, Usage %d";
constexpr char16_t kLogCurrentInfo[] = u"<currentInfo>:0x%08X, State %d, ProcessorFrequency %d, "
                                       u"MemoryFrequency %d, Voltage %d, Temperature %d, Usage %d";
constexpr char16_t kLogAdapterFan[] = u"Get Fan Speed by DA API:0x%08X, Fan Speed %d";
// The acoustic level is passed along although the text has no field for it.
constexpr char16_t kLogDockFan[] =
    u"Get EGPU Fan Speed by Docking API:0x%08X, Fan Speed %d, Fan Acoustic";
constexpr char16_t kLogFirmwareFan[] = u"Get Fan Speed by Ravik:0x%08X, Fan Speed %d";

constexpr char16_t kQueryModelName[] = u"ModelName";
constexpr char16_t kQuerySubBrand[] = u"SubBrand";
constexpr char kEntryMarketingName[] = "MarketingName";
constexpr char kEntrySubBrand[] = "SubBrand";

constexpr char kKeyModelName[] = "ModelName";
constexpr char kKeySubBrand[] = "SubBrand";
constexpr char kKeyUiVersion[] = "UIVersion";
constexpr char kKeySupportGpuFan[] = "IsSupportGPUFan";
constexpr char kKeySupportFanAcoustic[] = "IsSupportFanAcoustic";
constexpr char kKeySupportEgpuFan[] = "IsSupportEGPUFan";

constexpr char kKeyFullName[] = "GPUFullName";
constexpr char kKeyVendor[] = "GPUVendor";
constexpr char kKeyMemorySize[] = "GPUMemorySize";
constexpr char kKeyBandWidth[] = "GPUBandWidth";
constexpr char kKeyBusWidth[] = "GPUBusWidth";
constexpr char kKeyEmptyFlags[] = "EmptyFlags";
// Name, vendor and memory all missing.
constexpr uint32_t kNothingRead = 7;

constexpr char kKeyMaxProcessorFreq[] = "MaxGPUProcessorFreq";
constexpr char kKeyMaxMemoryFreq[] = "MaxGPUMemoryFreq";
constexpr char kKeyMaxVoltage[] = "MaxGPUVoltage";
constexpr char kKeyMaxTemperature[] = "MaxGPUTemprature";
constexpr char kKeyMaxUsage[] = "MaxGPUUsage";
constexpr char kKeyAdapterCount[] = "GPUAdapterCount";
constexpr char kKeyAdapter0[] = "Adapter0";
constexpr char kKeyMaxFanSpeed[] = "MaxGPUFanSpeed";
constexpr char kKeyFanSpeed[] = "GPUFanSpeed";
constexpr char kKeyFanAcoustic[] = "GPUFanAcoustic";
constexpr char kKeyEgpuFanSpeed[] = "EGPUFanSpeed";
constexpr char kKeyEgpuFanAcoustic[] = "EGPUFanAcoustic";
constexpr int32_t kMaxFanSpeedRpm = 5500;

constexpr char kKeyState[] = "GPUState";
constexpr char kKeyProcessorFrequency[] = "ProcessorFrequency";
constexpr char kKeyMemoryFrequency[] = "MemoryFrequency";
constexpr char kKeyVoltage[] = "Voltage";
constexpr char kKeyTemperature[] = "Temprature";
constexpr char kKeyUsage[] = "Usage";
constexpr char kKeyBaseFrequency[] = "ProcessorBaseFrequency";
constexpr char kKeyNvBoostFrequency[] = "NVBoostFrequency";
constexpr char kKeyTarvoBoostFrequency[] = "TarvoBoostFrequency";
constexpr char kKeyOcFrequency[] = "OCFrequency";
constexpr char kKeyVramBaseFrequency[] = "VRAMBaseFrequency";
constexpr char kKeyVramOcFrequency[] = "VRAMOCFrequency";

constexpr uint32_t kVendorNvidia = 1;
constexpr uint32_t kTypeReadable = 1;
constexpr uint32_t kStateActive = 1;
// The firmware's GPU fan (DSTS device id); it counts in hundreds of rpm in its low 16 bits.
constexpr uint32_t kFirmwareGpuFan = 0x00110014;
constexpr uint32_t kFirmwareFanMask = 0xFFFF;
constexpr uint32_t kFirmwareFanUnit = 100;

// The PCI device ID (the high 16 bits of the identity's first word) as "%04X".
std::u16string DeviceIdText(const ports::GPUDeviceID& id) {
    char narrow[8] = {};
    std::snprintf(narrow, sizeof narrow, "%04X", static_cast<unsigned>(id.Word0 >> 16));
    return {narrow, narrow + std::char_traits<char>::length(narrow)};
}

} // namespace

// What one monitor request read from the adapter, the dock and the firmware; zero when unread.
struct GpuInformation::MonitorReadings {
    uint32_t Vendor = 0;
    uint32_t Type = 0;
    ports::GPUMaxInfo Max;
    ports::GPUCurrentInfo Current;
    bool CurrentRead = false;
    uint32_t GpuFan = 0;
    uint32_t EgpuFan = 0;
    uint32_t EgpuAcoustic = 0;
};

GpuInformation::GpuInformation(BaseOrvexPlugin& plugin, Machine machine,
                               const FanAcoustic& fanAcoustic)
    : m_plugin(plugin), m_machine(machine), m_fanAcoustic(fanAcoustic),
      m_clocks(plugin, machine.Clocks) {}

std::unique_ptr<ports::DisplayAdapterDevice> GpuInformation::CreateDevice() {
    auto created = m_machine.Adapters.CreateDevice();
    if (!created) {
        return nullptr;
    }
    if (!ports::Succeeded(created->Code) || !created->Device) {
        m_plugin.Log(LogLevel::kFailure, kLogCreateDeviceFailed, created->Code);
        return nullptr;
    }
    return std::move(created->Device);
}

std::optional<uint32_t> GpuInformation::FirmwareGpuFan() {
    const ports::AcpiDeviceHandle device = m_acpiDevice;
    if (device == nullptr) {
        return std::nullopt;
    }
    const auto reply =
        m_machine.Helper.One_WMIMethod_INT(device, ports::kFirmwareMethodDsts, kFirmwareGpuFan);
    if (!reply || reply->Returned == 0 || reply->Result == ports::kFirmwareNoDevice) {
        return std::nullopt;
    }
    return reply->Result;
}

void GpuInformation::GetBaseInformation(ValueSet& answer) {
    m_plugin.Log(LogLevel::kTrace, kLogBaseBegin);
    CopyModelName(answer);
    const bool subBrandOne = CopySubBrand(answer);
    bool fanReadable = false;
    const uint32_t vendor = ProbeAdapter(fanReadable);
    answer.SetInt32(kKeyUiVersion, subBrandOne && vendor == kVendorNvidia ? 2 : 1);
    const bool ravik = m_nProductLine == kProductLineRavik;
    if (ravik && FirmwareGpuFan()) {
        fanReadable = true;
    }
    answer.SetInt32(kKeySupportGpuFan, fanReadable ? 1 : 0);
    answer.SetInt32(kKeySupportFanAcoustic, m_fanAcoustic.IsLoaded() ? 1 : 0);
    answer.SetInt32(kKeySupportEgpuFan, ravik && m_nEGPUState == kEgpuDocked ? 1 : 0);
    m_plugin.Log(LogLevel::kTrace, kLogBaseEnd);
}

// The host's "MarketingName" goes out as it came, whatever its kind.
void GpuInformation::CopyModelName(ValueSet& answer) {
    ValueSet reply;
    if (m_plugin.Query(kQueryModelName, reply) < 0 || !reply.Contains(kEntryMarketingName)) {
        return;
    }
    std::unique_ptr<OrvexValue> name = std::move(reply.Slot(kEntryMarketingName));
    answer.Set(kKeyModelName, std::move(name));
}

bool GpuInformation::CopySubBrand(ValueSet& answer) {
    ValueSet reply;
    if (m_plugin.Query(kQuerySubBrand, reply) < 0) {
        return false;
    }
    const OrvexValue* entry = reply.Find(kEntrySubBrand);
    const int32_t subBrand =
        entry != nullptr && entry->GetKind() == Kind::Int32 ? entry->AsInt32() : 0;
    answer.SetInt32(kKeySubBrand, subBrand);
    return entry != nullptr && entry->GetKind() == Kind::Int32 && subBrand == 1;
}

uint32_t GpuInformation::ProbeAdapter(bool& fanReadable) {
    const auto device = CreateDevice();
    if (!device) {
        return 0;
    }
    const uint32_t vendor = device->GetVendor();
    if (device->GetType() != kTypeReadable) {
        return vendor;
    }
    if (m_nProductLine != kProductLineRavik) {
        uint32_t rpm = 0;
        const ports::LibraryCode code = device->GetFanSpeed(rpm);
        fanReadable = ports::Succeeded(code);
        m_plugin.Log(LogLevel::kProgress, kLogFanSpeed, code, rpm);
    } else if (m_nEGPUState == kEgpuNotProbed) {
        ProbeDock(*device);
    }
    return vendor;
}

// Both the dock's identity and its first configuration record are compared with the adapter's,
// even when the first already matched.
void GpuInformation::ProbeDock(ports::DisplayAdapterDevice& device) {
    m_nEGPUState = kEgpuAbsent;
    ports::GPUDeviceID id;
    device.GetDeviceID(id);
    void* const owner = &m_plugin;
    m_machine.Dock.Initialize(owner);
    const auto docked = m_machine.Dock.GetEGPUID();
    if (docked && ports::Succeeded(docked->Code) && docked->Id == id) {
        m_nEGPUState = kEgpuDocked;
        m_plugin.Log(LogLevel::kNotable, kLogEgpuById);
    }
    const auto config = m_machine.Dock.GetEGPUConfig();
    if (config && ports::Succeeded(config->Code) && config->FirstId && *config->FirstId == id) {
        m_nEGPUState = kEgpuDocked;
        m_plugin.Log(LogLevel::kNotable, kLogEgpuByConfig);
    }
    m_machine.Dock.Uninitialize(owner);
}

void GpuInformation::GetGPUDeviceInformation(ValueSet& answer) {
    m_plugin.Log(LogLevel::kTrace, kLogDeviceBegin);
    if (const auto device = CreateDevice(); device && device->GetType() == kTypeReadable) {
        WriteDeviceKeys(*device, answer);
    }
    if (!answer.Contains(kKeyEmptyFlags)) {
        answer.SetUInt32(kKeyEmptyFlags, kNothingRead);
    }
    m_plugin.Log(LogLevel::kTrace, kLogDeviceEnd);
}

// The keys are written whatever GetBasicInfo returned: a failed call leaves the zeroed fields.
void GpuInformation::WriteDeviceKeys(ports::DisplayAdapterDevice& device, ValueSet& answer) {
    ports::GPUDeviceID id;
    device.GetDeviceID(id);
    const std::u16string idText = DeviceIdText(id);
    m_plugin.Log(LogLevel::kTrace, kLogDeviceIdText, idText.c_str());
    GetGPUBaseFrequency(idText);
    ports::GPUBasicInfo basic;
    const ports::LibraryCode code = device.GetBasicInfo(basic);
    basic.FullName[std::size(basic.FullName) - 1] = u'\0';
    m_plugin.Log(LogLevel::kTrace, kLogBasicInfo, code, basic.EmptyFlags,
                 static_cast<const char16_t*>(basic.FullName), basic.Vendor, basic.MemorySize,
                 basic.BusWidth);
    answer.Set(kKeyFullName,
               std::make_unique<OrvexValue>(basic.FullName, VelmorValueSet::kCountTerminator));
    answer.SetInt32(kKeyVendor, basic.Vendor);
    answer.SetInt32(kKeyMemorySize, basic.MemorySize);
    // The library reports one width; the user interface reads it under either key.
    answer.SetInt32(kKeyBandWidth, basic.BusWidth);
    answer.SetInt32(kKeyBusWidth, basic.BusWidth);
    answer.SetUInt32(kKeyEmptyFlags, basic.EmptyFlags);
}

void GpuInformation::GetGPUMonitorInformation(ValueSet& answer) {
    m_plugin.Log(LogLevel::kTrace, kLogMonitorBegin);
    MonitorReadings readings;
    ReadMonitorFigures(readings);
    answer.SetInt32(kKeyMaxProcessorFreq, static_cast<int32_t>(readings.Max.ProcessorFrequency));
    answer.SetInt32(kKeyMaxMemoryFreq, static_cast<int32_t>(readings.Max.MemoryFrequency));
    answer.SetDouble(kKeyMaxVoltage, static_cast<double>(readings.Max.Voltage));
    answer.SetInt32(kKeyMaxTemperature, readings.Max.Temperature);
    answer.SetInt32(kKeyMaxUsage, readings.Max.Usage);
    ValueSet* adapter = readings.CurrentRead ? answer.CreateMap(kKeyAdapter0) : nullptr;
    answer.SetInt32(kKeyAdapterCount, adapter != nullptr ? 1 : 0);
    if (adapter != nullptr) {
        WriteAdapterKeys(readings, *adapter);
    }
    WriteFanKeys(readings, answer);
    m_plugin.Log(LogLevel::kTrace, kLogMonitorEnd);
}

void GpuInformation::ReadMonitorFigures(MonitorReadings& readings) {
    const auto device = CreateDevice();
    if (!device) {
        return;
    }
    readings.Vendor = device->GetVendor();
    m_plugin.Log(LogLevel::kTrace, kLogVendor, readings.Vendor);
    readings.Type = device->GetType();
    m_plugin.Log(LogLevel::kTrace, kLogType, readings.Type);
    if (readings.Type != kTypeReadable) {
        return;
    }
    const ports::GPUMaxInfo& max = readings.Max;
    const ports::LibraryCode maxCode = device->GetMaxInfo(readings.Max);
    m_plugin.Log(LogLevel::kTrace, kLogMaxInfo, maxCode, max.ProcessorFrequency,
                 max.MemoryFrequency, max.Voltage, max.Temperature, max.Usage);
    const ports::GPUCurrentInfo& current = readings.Current;
    const ports::LibraryCode currentCode = device->GetCurrentInfo(readings.Current);
    m_plugin.Log(LogLevel::kTrace, kLogCurrentInfo, currentCode, current.State,
                 current.ProcessorFrequency, current.MemoryFrequency, current.Voltage,
                 current.Temperature, current.Usage);
    readings.CurrentRead = ports::Succeeded(currentCode);
    ReadAdapterFan(*device, readings);
}

void GpuInformation::ReadAdapterFan(ports::DisplayAdapterDevice& device,
                                    MonitorReadings& readings) {
    if (m_nProductLine != kProductLineRavik) {
        const ports::LibraryCode code = device.GetFanSpeed(readings.GpuFan);
        m_plugin.Log(LogLevel::kTrace, kLogAdapterFan, code, readings.GpuFan);
    } else if (m_nEGPUState == kEgpuDocked) {
        void* const owner = &m_plugin;
        m_machine.Dock.Initialize(owner);
        if (const auto fan = m_machine.Dock.GetFanSpeed()) {
            readings.EgpuFan = fan->Rpm;
            readings.EgpuAcoustic = fan->Acoustic;
            m_plugin.Log(LogLevel::kTrace, kLogDockFan, fan->Code, fan->Rpm, fan->Acoustic);
        }
        m_machine.Dock.Uninitialize(owner);
    }
}

void GpuInformation::WriteAdapterKeys(const MonitorReadings& readings, ValueSet& adapter) {
    const ports::GPUCurrentInfo& current = readings.Current;
    adapter.SetString(kKeyState, current.State == kStateActive ? u"1" : u"0");
    adapter.SetInt32(kKeyProcessorFrequency, static_cast<int32_t>(current.ProcessorFrequency));
    adapter.SetInt32(kKeyMemoryFrequency, static_cast<int32_t>(current.MemoryFrequency));
    adapter.SetDouble(kKeyVoltage, static_cast<double>(current.Voltage));
    adapter.SetInt32(kKeyTemperature, current.Temperature);
    adapter.SetDouble(kKeyUsage, static_cast<double>(current.Usage));
    if (readings.Vendor != kVendorNvidia || readings.Type != kTypeReadable) {
        return;
    }
    const GpuClocks clocks = Clocks();
    adapter.SetInt32(kKeyBaseFrequency, static_cast<int32_t>(clocks.Base));
    adapter.SetInt32(kKeyNvBoostFrequency, static_cast<int32_t>(clocks.NvBoost));
    adapter.SetInt32(kKeyTarvoBoostFrequency, static_cast<int32_t>(clocks.TarvoBoost));
    adapter.SetInt32(kKeyOcFrequency, static_cast<int32_t>(clocks.Overclock));
    adapter.SetInt32(kKeyVramBaseFrequency, static_cast<int32_t>(clocks.MemoryBase));
    adapter.SetInt32(kKeyVramOcFrequency, static_cast<int32_t>(clocks.MemoryOverclock));
}

void GpuInformation::WriteFanKeys(MonitorReadings& readings, ValueSet& answer) {
    const bool ravik = m_nProductLine == kProductLineRavik;
    if (ravik) {
        const auto status = FirmwareGpuFan();
        if (status) {
            readings.GpuFan = (*status & kFirmwareFanMask) * kFirmwareFanUnit;
        }
        m_plugin.Log(LogLevel::kTrace, kLogFirmwareFan, status ? 1 : 0, readings.GpuFan);
    }
    answer.SetInt32(kKeyMaxFanSpeed, kMaxFanSpeedRpm);
    answer.SetInt32(kKeyFanSpeed, static_cast<int32_t>(readings.GpuFan));
    if (m_fanAcoustic.IsLoaded()) {
        double level = 0.0;
        m_fanAcoustic.Lookup(kGpuFan, static_cast<int32_t>(readings.GpuFan), level);
        answer.SetDouble(kKeyFanAcoustic, level);
    }
    if (ravik && m_nEGPUState == kEgpuDocked) {
        answer.SetInt32(kKeyEgpuFanSpeed, static_cast<int32_t>(readings.EgpuFan));
        answer.SetInt32(kKeyEgpuFanAcoustic, static_cast<int32_t>(readings.EgpuAcoustic));
    }
}

} // namespace gpu
