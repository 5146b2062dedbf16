#include "laptop_profile.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <map>
#include <stdexcept>

namespace abi_test {
namespace {

using test_host::Tree;
using test_host::Value;

constexpr uint32_t kNoDevice = 0xFFFFFFFE;
constexpr uint32_t kPresenceBit = 0x10000;
constexpr uint32_t kCpuFan = 0x00110013;
constexpr uint32_t kGpuFan = 0x00110014;
constexpr uint32_t kGpuPower = 0x00120093;
constexpr uint32_t kCpuVoltage = 0x00120079;
constexpr uint32_t kCpuTemperature = 0x00120094;

std::filesystem::path SourceFolder(const std::string& name) {
    return std::filesystem::path(PROFILES_SOURCE_DIR) / name;
}

std::optional<standin::Scenario> OptionalFile(const std::filesystem::path& file) {
    if (!std::filesystem::exists(file)) {
        return std::nullopt;
    }
    return standin::Scenario::Read(file);
}

orvex_host::HostProfile HostOf(const standin::Scenario& machine) {
    std::string text;
    if (const auto* host = machine.Find("Host")) {
        for (const auto& [key, value] : *host) {
            text += key + " = " + value + "\n";
        }
    }
    auto parsed = orvex_host::ParseHostProfile(text);
    if (!parsed.profile) {
        throw std::runtime_error("[Host] of the profile: " + parsed.error);
    }
    return *parsed.profile;
}

// A wide string as the plug-in writes it with the constructor that counts the terminator.
Value WithTerminator(std::wstring text) {
    text.push_back(L'\0');
    return Value::Wide(text);
}

std::wstring Wide(const std::string& utf8) {
    return std::wstring(utf8.begin(), utf8.end()); // the profiles' texts are ASCII
}

std::string DstsKey(uint32_t device) {
    char key[24];
    std::snprintf(key, sizeof key, "DSTS.0x%08X", device);
    return key;
}

} // namespace

LaptopProfile::LaptopProfile(const std::string& name)
    : m_name(name),
      m_machine(standin::Scenario::Read(SourceFolder(name) / standin::kScenarioFileName)),
      m_fanTable(OptionalFile(SourceFolder(name) / "fan_acoustic.ini")),
      m_clockTable(OptionalFile(SourceFolder(name) / "gpu_clock.ini")), m_host(HostOf(m_machine)) {}

std::wstring LaptopProfile::PluginFolder() const {
    return test_host::WindowsFolder(std::string(PROFILES_DIR) + "/" + m_name);
}

Tree LaptopProfile::QueryAnswer(const std::wstring& name) const {
    return orvex_host::AnswerHostRequest(m_host, Tree{{"Cmd", Value::Wide(L"Query." + name)}})
        .answer;
}

int32_t LaptopProfile::CpuVendor() const {
    return static_cast<int32_t>(Helper("GetCPUVendor", 1));
}

int64_t LaptopProfile::Helper(const std::string& key, int64_t otherwise) const {
    return m_machine.Integer("NativeCorvaneHelper", key, otherwise);
}

double LaptopProfile::HelperDouble(const std::string& key) const {
    return m_machine.Double("NativeCorvaneHelper", key, 0.0);
}

int64_t LaptopProfile::Adapter(const std::string& key) const {
    return m_machine.Integer("GPUControlLibrary", key, 0);
}

int64_t LaptopProfile::Sdk(const std::string& key, int64_t otherwise) const {
    return m_machine.Integer("AMDCPULibrary", key, otherwise);
}

double LaptopProfile::Xtu(const std::string& key) const {
    return m_machine.Double("XTUWrapperForNativeCode", key, 0.0);
}

// The firmware's result for a device when the call itself succeeded (any non-zero status) and the
// device exists.
std::optional<uint32_t> LaptopProfile::Dsts(uint32_t device) const {
    const auto value = static_cast<uint32_t>(Helper(DstsKey(device), kNoDevice));
    if (Helper("One_WMIMethod_INT", 1) == 0 || value == kNoDevice) {
        return std::nullopt;
    }
    return value;
}

// A CPU reading: status 1 exactly and the presence bit; the reading is the low 16 bits.
std::optional<uint16_t> LaptopProfile::FirmwareReading(uint32_t device) const {
    const auto value = Dsts(device);
    if (!value || Helper("One_WMIMethod_INT", 1) != 1 || (*value & kPresenceBit) == 0) {
        return std::nullopt;
    }
    return static_cast<uint16_t>(*value & 0xFFFF);
}

bool LaptopProfile::AdapterReadable() const {
    return static_cast<int32_t>(Adapter("CreateCode")) >= 0 && Adapter("Type") == 1;
}

uint32_t LaptopProfile::CpuFanRpm() const {
    const auto value = Dsts(kCpuFan);
    return value ? (*value & 0xFFFF) * 100 : 0;
}

uint32_t LaptopProfile::GpuFanRpm() const {
    if (m_host.productLine == 1) {
        const auto value = Dsts(kGpuFan);
        return value ? (*value & 0xFFFF) * 100 : 0;
    }
    return AdapterReadable() ? static_cast<uint32_t>(Adapter("FanRpm")) : 0;
}

// The fan acoustic table's curve for fan ("CPU" or "GPU") at rpm: the zero point, the profile's
// points, straight lines between them, the last level above the last point.
double LaptopProfile::FanLevel(const char* fan, uint32_t rpm) const {
    std::map<int32_t, double> points{{0, 0.0}};
    if (const auto* curve = m_fanTable->Find(fan)) {
        for (const auto& [speed, level] : *curve) {
            points[std::atoi(speed.c_str())] = std::strtod(level.c_str(), nullptr);
        }
    }
    const auto request = static_cast<int32_t>(rpm);
    auto previous = points.begin();
    for (auto point = points.begin(); point != points.end(); previous = point++) {
        if (point->first == request) {
            return point->second;
        }
        if (point->first > request) {
            return previous->second + static_cast<double>(request - previous->first) *
                                          (point->second - previous->second) /
                                          static_cast<double>(point->first - previous->first);
        }
    }
    return points.rbegin()->second;
}

std::array<double, 3> LaptopProfile::CoreReadings() const {
    const auto firmwareTemperature = FirmwareReading(kCpuTemperature);
    const bool fromFirmware = firmwareTemperature && *firmwareTemperature != 0;
    const double temperature = fromFirmware       ? static_cast<int16_t>(*firmwareTemperature)
                               : CpuVendor() == 1 ? std::trunc(Xtu("value.A1000001"))
                                                  : static_cast<int16_t>(Sdk("temperature", 0));
    if (CpuVendor() == 1) {
        return {std::trunc(std::fabs(Xtu("value.5") * 1000.0)), temperature,
                std::fabs(Xtu("value.5A"))};
    }
    return {std::fabs(static_cast<double>(static_cast<int32_t>(Sdk("clock", 0)))), temperature,
            std::fabs(static_cast<double>(static_cast<int16_t>(Sdk("usage", 0))))};
}

// On Wine the processor counters are missing, so the CPU info reader gives no clock and no
// utilisation: they come from the tuning utility (Intel) or the Ryzen SDK (AMD).
void LaptopProfile::AddCpuKeys(Tree& answer, uint32_t memoryClock) const {
    const bool intel = CpuVendor() == 1;
    const uint32_t fan = CpuFanRpm();
    const auto [clock, temperature, usage] = CoreReadings();
    double voltage = 0.0;
    if (intel) {
        voltage = std::fabs(Xtu("value.41") * 1000.0);
    } else if (const auto firmware = FirmwareReading(kCpuVoltage)) {
        voltage = *firmware;
    } else {
        voltage = static_cast<double>(static_cast<uint32_t>(Sdk("voltage", 0)));
    }
    answer.Set("MaxCPUProcessorFreq", Value::Int32(6000));
    answer.Set("MaxCPUMemoryFreq", Value::Int32(intel ? 4000 : 3000));
    answer.Set("MaxCPUVoltage", Value::Double(3000.0));
    answer.Set("MaxCPUTemprature", Value::Int32(100));
    answer.Set("MaxCPUUsage", Value::Int32(100));
    answer.Set("MaxCPUFanSpeed", Value::Int32(intel ? 5500 : 6000));
    answer.Set("CPUFanSpeed", Value::Int32(static_cast<int32_t>(fan)));
    answer.Set("CPUCoreCount", Value::Int32(1));
    answer.Set("CPUMemoryFrequency", Value::Int32(static_cast<int32_t>(memoryClock)));
    answer.Set("Core0",
               Value::Map({{"ProcessorFrequency", Value::Int32(static_cast<int32_t>(clock))},
                           {"Temprature", Value::Int32(static_cast<int32_t>(temperature))},
                           {"Usage", Value::Double(usage)},
                           {"Voltage", Value::Double(voltage)}}));
    if (HasFanTable()) {
        answer.Set("CPUFanAcoustic", Value::Double(FanLevel("CPU", fan)));
    }
}

// The clocks of the GPU clock table's entry for the adapter's device ID; zeros without one.
std::array<int32_t, 6> LaptopProfile::GpuClocks() const {
    std::array<int32_t, 6> clocks{};
    if (!m_clockTable) {
        return clocks;
    }
    char device[8];
    std::snprintf(device, sizeof device, "%04X",
                  static_cast<unsigned>(static_cast<uint32_t>(Adapter("IdWord0")) >> 16));
    const int64_t count = m_clockTable->Integer("Main", "Count", 0);
    for (int64_t i = 1; i <= count; ++i) {
        if (m_clockTable->Text("Main", std::to_string(i)) != device) {
            continue;
        }
        const auto value = [&](const char* key) {
            return static_cast<int32_t>(m_clockTable->Integer(device, key, 0));
        };
        clocks = {value("NV Base"),     value("NV Boost"),
                  value("Tarvo Boost"), value("Tarvo Boost") + value("OC"),
                  value("VRAM Base"),   value("VRAM OC")};
    }
    return clocks;
}

void LaptopProfile::AddGpuKeys(Tree& answer) const {
    const bool readable = AdapterReadable();
    const bool current = readable && static_cast<int32_t>(Adapter("CurrentCode")) >= 0;
    const auto field = [&](const char* key) { return readable ? Adapter(key) : 0; };
    answer.Set("MaxGPUProcessorFreq",
               Value::Int32(static_cast<int32_t>(field("MaxProcessorFrequency"))));
    answer.Set("MaxGPUMemoryFreq", Value::Int32(static_cast<int32_t>(field("MaxMemoryFrequency"))));
    answer.Set("MaxGPUVoltage",
               Value::Double(static_cast<double>(static_cast<int32_t>(field("MaxVoltage")))));
    answer.Set("MaxGPUTemprature", Value::Int32(static_cast<int16_t>(field("MaxTemperature"))));
    answer.Set("MaxGPUUsage", Value::Int32(static_cast<int16_t>(field("MaxUsage"))));
    answer.Set("GPUAdapterCount", Value::Int32(current ? 1 : 0));
    if (current) {
        Tree adapter{
            {"GPUState", Value::Wide(Adapter("State") == 1 ? L"1" : L"0")},
            {"ProcessorFrequency",
             Value::Int32(static_cast<int32_t>(Adapter("ProcessorFrequency")))},
            {"MemoryFrequency", Value::Int32(static_cast<int32_t>(Adapter("MemoryFrequency")))},
            {"Voltage", Value::Double(static_cast<int32_t>(Adapter("Voltage")))},
            {"Temprature", Value::Int32(static_cast<int16_t>(Adapter("Temperature")))},
            {"Usage", Value::Double(static_cast<int16_t>(Adapter("Usage")))}};
        if (Adapter("Vendor") == 1) {
            const auto clocks = GpuClocks();
            const char* keys[] = {"ProcessorBaseFrequency", "NVBoostFrequency",
                                  "TarvoBoostFrequency",    "OCFrequency",
                                  "VRAMBaseFrequency",      "VRAMOCFrequency"};
            for (size_t i = 0; i < clocks.size(); ++i) {
                adapter.Set(keys[i], Value::Int32(clocks[i]));
            }
        }
        answer.Set("Adapter0", Value::Map(std::move(adapter)));
    }
    const uint32_t fan = GpuFanRpm();
    answer.Set("MaxGPUFanSpeed", Value::Int32(5500));
    answer.Set("GPUFanSpeed", Value::Int32(static_cast<int32_t>(fan)));
    if (HasFanTable()) {
        answer.Set("GPUFanAcoustic", Value::Double(FanLevel("GPU", fan)));
    }
}

Tree LaptopProfile::Snapshot(uint32_t memoryClock) const {
    Tree answer{{"Command", Value::Int32(1)}};
    if (CpuVendor() == 1 || CpuVendor() == 2) {
        AddCpuKeys(answer, memoryClock);
    }
    AddGpuKeys(answer);
    const auto power = Dsts(kGpuPower);
    const bool powerAccepted = power && Helper("One_WMIMethod_INT", 1) == 1;
    answer.Set("GPUTGP", Value::Int32(powerAccepted ? static_cast<int32_t>(*power & 0xFFFF) : 0));
    answer.Set("TotalDiskSize", Value::Double(HelperDouble("TotalDisk")));
    answer.Set("AvailableDiskSize", Value::Double(HelperDouble("AvailableDisk")));
    answer.Set("TotalMemorySize", Value::Double(HelperDouble("TotalMemory")));
    answer.Set("AvailableMemorySize", Value::Double(HelperDouble("AvailableMemory")));
    return answer;
}

Tree LaptopProfile::DeviceInformation() const {
    const std::string processor =
        m_machine.Text("NativeCorvaneHelper", "ProcessorName").value_or("");
    Tree answer{{"Command", Value::Int32(2)},
                {"CPUVendor", Value::Int32(CpuVendor())},
                {"CPUFullName", WithTerminator(Wide(processor))}};
    const bool readable = AdapterReadable();
    if (readable) {
        const std::string name = m_machine.Text("GPUControlLibrary", "FullName").value_or("");
        answer.Set("GPUFullName", WithTerminator(Wide(name)));
        answer.Set("GPUVendor", Value::Int32(static_cast<int32_t>(Adapter("BasicVendor"))));
        answer.Set("GPUMemorySize", Value::Int32(static_cast<int32_t>(Adapter("MemorySize"))));
        answer.Set("GPUBandWidth", Value::Int32(static_cast<int32_t>(Adapter("BusWidth"))));
        answer.Set("GPUBusWidth", Value::Int32(static_cast<int32_t>(Adapter("BusWidth"))));
    }
    answer.Set("EmptyFlags",
               Value::UInt32(readable ? static_cast<uint32_t>(Adapter("EmptyFlags")) : 7u));

    answer.Set("ModelName", *QueryAnswer(L"ModelName").Find("MarketingName"));
    answer.Set("SubBrand", Value::Int32(m_host.subBrand));
    const bool adapterCreated = static_cast<int32_t>(Adapter("CreateCode")) >= 0;
    answer.Set(
        "UIVersion",
        Value::Int32(m_host.subBrand == 1 && adapterCreated && Adapter("Vendor") == 1 ? 2 : 1));
    bool fanReadable = false;
    if (m_host.productLine == 1) {
        fanReadable = Dsts(kGpuFan).has_value();
    } else {
        fanReadable = readable && static_cast<int32_t>(Adapter("FanCode")) >= 0;
    }
    const auto dock = [&](const char* key) {
        return m_machine.Integer("ExternalGPUConfigHelper", key, 0);
    };
    const bool docked =
        m_host.productLine == 1 && readable &&
        ((static_cast<int32_t>(dock("IdCode")) >= 0 && dock("IdWord0") == Adapter("IdWord0") &&
          dock("IdWord1") == Adapter("IdWord1")) ||
         (static_cast<int32_t>(dock("ConfigCode")) >= 0 && dock("ConfigRecords") > 0 &&
          dock("ConfigWord0") == Adapter("IdWord0") && dock("ConfigWord1") == Adapter("IdWord1")));
    answer.Set("IsSupportGPUFan", Value::Int32(fanReadable ? 1 : 0));
    answer.Set("IsSupportFanAcoustic", Value::Int32(HasFanTable() ? 1 : 0));
    answer.Set("IsSupportEGPUFan", Value::Int32(docked ? 1 : 0));
    return answer;
}

std::array<double, 10> LaptopProfile::RecordMaxima() const {
    const bool readable = AdapterReadable();
    const auto field = [&](const char* key) { return readable ? Adapter(key) : 0; };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return {6000.0,
            100.0,
            100.0,
            static_cast<double>(static_cast<uint32_t>(field("MaxProcessorFrequency"))),
            static_cast<double>(static_cast<int16_t>(field("MaxTemperature"))),
            static_cast<double>(static_cast<int16_t>(field("MaxUsage"))),
            HelperDouble("TotalMemory"),
            100.0,
            nan,
            nan};
}

// Wine has no disk counters, so the three disk items record 0.0.
std::array<double, 10> LaptopProfile::RecordedRound() const {
    const bool cpu = CpuVendor() == 1 || CpuVendor() == 2;
    const auto core = cpu ? CoreReadings() : std::array<double, 3>{};
    const bool current = AdapterReadable() && static_cast<int32_t>(Adapter("CurrentCode")) >= 0;
    return {core[0],
            core[1],
            core[2],
            current ? static_cast<double>(static_cast<int32_t>(Adapter("ProcessorFrequency")))
                    : 0.0,
            current ? static_cast<double>(static_cast<int16_t>(Adapter("Temperature"))) : 0.0,
            current ? static_cast<double>(static_cast<int16_t>(Adapter("Usage"))) : 0.0,
            HelperDouble("TotalMemory") - HelperDouble("AvailableMemory"),
            0.0,
            0.0,
            0.0};
}

} // namespace abi_test
