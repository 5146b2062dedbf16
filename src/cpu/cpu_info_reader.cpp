#include "cpu/cpu_info_reader.h"

#include "plugin_frame/wide_printf.h"

#include <cmath>
#include <string_view>

namespace cpu {
namespace {

constexpr char16_t kSource[] = u"CPUInfoReader";
constexpr char16_t kQueryLockName[] = u"CPUInfoReaderPDHQueryEvent";
constexpr char16_t kIoLibraryFile[] = u"VelmorIO3_64.dll";
constexpr char16_t kMaxClockSpeedQuery[] = u"SELECT MaxClockSpeed FROM Win32_Processor";
constexpr char16_t kMemoryClockQuery[] = u"SELECT ConfiguredClockSpeed FROM Win32_PhysicalMemory";

// The firmware's voltage device; it also answers whether the firmware reports temperature.
constexpr uint32_t kFirmwareVoltage = 0x00120079;
constexpr uint32_t kFirmwareTemperature = 0x00120094;
constexpr uint32_t kFirmwarePresent = 0x00010000;

constexpr uint32_t kVendorIntel = 1;
constexpr uint32_t kVendorAmd = 2;
// The one model whose core voltage is read from a register.
constexpr std::u16string_view kRegisterVoltageModel = u"QZ731";
constexpr uint32_t kPerfStatusMsr = 0x198; // IA32_PERF_STATUS
constexpr double kVoltageUnit = 1.0 / 8192.0;

// A log line is formatted into this many wide characters, terminator included.
constexpr std::size_t kLogLineCapacity = 1024;

struct CounterSlot {
    const char16_t* Path;
    ports::CounterHandle CPUInfoReader::*Member;
    const char16_t* FailureMessage;
};

const char16_t* PdhStatusName(uint32_t status) {
    switch (status) {
    case ports::kPdhInvalidData:
        return u"PDH_INVALID_DATA";
    case ports::kPdhInvalidArgument:
        return u"PDH_INVALID_ARGUMENT";
    case ports::kPdhInvalidHandle:
        return u"PDH_INVALID_HANDLE";
    default:
        return u"Unknown";
    }
}

int32_t AsSigned(uint32_t status) {
    return static_cast<int32_t>(status);
}

} // namespace

// One firmware answer: valid when the call succeeded, the device exists and its presence bit is
// set; the reading is then the low 16 bits.
struct CPUInfoReader::FirmwareReading {
    bool Valid = false;
    uint32_t Raw = 0;

    uint16_t Value() const { return static_cast<uint16_t>(Raw & 0xFFFF); }
};

CPUInfoReader::CPUInfoReader(const CpuInfoPorts& ports, uint32_t vendor, std::u16string model)
    : m_ports(ports), cpuVendor(vendor), modelName(std::move(model)) {}

CPUInfoReader::~CPUInfoReader() = default;

template <typename... Args>
void CPUInfoReader::Log(int32_t level, const char16_t* format, Args... args) {
    if (!logger) {
        return;
    }
    char16_t line[kLogLineCapacity];
    FormatMsInto(line, kLogLineCapacity, format, args...);
    logger(level, kSource, line);
}

CPUInfoReader::FirmwareReading CPUInfoReader::CallFirmware(uint32_t deviceId) {
    const auto reply =
        m_ports.Helper.One_WMIMethod_INT(acpiDevice, ports::kFirmwareMethodDsts, deviceId);
    if (!reply) {
        return {};
    }
    const bool valid = reply->Returned == 1 && reply->Result != ports::kFirmwareNoDevice &&
                       (reply->Result & kFirmwarePresent) != 0;
    return {valid, reply->Result};
}

void CPUInfoReader::Initialize(ports::AcpiDeviceHandle device) {
    if (initialised) {
        return;
    }
    acpiDevice = device;
    const FirmwareReading reading = CallFirmware(kFirmwareVoltage);
    biosTemperatureSupported = reading.Valid;
    if (reading.Valid) {
        Log(5, u"Support BIOS Temperature");
    } else {
        Log(3, u"WMI temperature return: %d ", AsSigned(reading.Raw));
    }
    IsVoltageSupported(true);
    queryLock = m_ports.Kernel.NewEvent(false, true, kQueryLockName);
    initialised = true;
}

bool CPUInfoReader::IsVoltageSupported(bool probe) {
    return probe ? DetectVoltageSupport() : voltageSupported.load();
}

bool CPUInfoReader::DetectVoltageSupport() {
    FirmwareReading reading;
    if (cpuVendor == kVendorAmd) {
        reading = CallFirmware(kFirmwareVoltage);
        if (reading.Valid) {
            Log(5, u"Support BIOS Voltage");
            voltageSupported = true;
            return true;
        }
    }
    if (cpuVendor != kVendorIntel || modelName.size() < kRegisterVoltageModel.size() ||
        modelName.find(kRegisterVoltageModel) == std::u16string::npos) {
        Log(3, u"WMI voltage return: %d ", AsSigned(reading.Raw));
        voltageSupported = false;
        return false;
    }
    modelMatched = true;
    return LoadIoLibrary();
}

bool CPUInfoReader::LoadIoLibrary() {
    const std::u16string path =
        m_ports.Folders.PluginFolder().value_or(u"") + u"\\" + kIoLibraryFile;
    if (!libraryVerifier || libraryVerifier(path) == 0) {
        Log(3, u"Invalid library:%s", kIoLibraryFile);
        return voltageSupported;
    }
    std::lock_guard use(m_ioLibraryUse);
    ports::LoadedIoLibrary loaded = m_ports.IoLibraries.Load(path);
    if (!loaded.Library) {
        Log(3, u"Failed to load %s", kIoLibraryFile);
        return voltageSupported;
    }
    m_ioLibrary = std::move(loaded.Library);
    voltageSupported = m_ioLibrary->Complete();
    if (!voltageSupported) {
        return false;
    }
    voltageSupported = m_ioLibrary->Open(0);
    if (!voltageSupported) {
        return false;
    }
    Log(5, u"Support VelmorIO3 Voltage");
    m_ioLibrary->Close();
    return true;
}

double CPUInfoReader::GetVoltage() {
    const FirmwareReading reading = CallFirmware(kFirmwareVoltage);
    if (reading.Valid) {
        const auto firmwareVoltage = static_cast<double>(reading.Value());
        voltage = firmwareVoltage;
        Log(6, u"Voltage from WMI:%f", firmwareVoltage);
        return firmwareVoltage;
    }
    if (!modelMatched || !voltageSupported) {
        return voltage;
    }
    std::lock_guard use(m_ioLibraryUse);
    if (!m_ioLibrary || !m_ioLibrary->Open(0)) {
        return voltage;
    }
    uint64_t status = 0;
    m_ioLibrary->ReadMsr(kPerfStatusMsr, status);
    // The whole upper half counts, in units of 1/8192 V.
    const auto upperHalf = static_cast<uint32_t>(status >> 32);
    const auto millivolts = static_cast<double>(
        static_cast<int32_t>(static_cast<double>(upperHalf) * 1000.0 * kVoltageUnit));
    voltage = millivolts;
    m_ioLibrary->Close();
    Log(6, u"Voltage from VelmorIO:%f", millivolts);
    return millivolts;
}

uint16_t CPUInfoReader::GetTemperature() {
    const FirmwareReading reading = CallFirmware(kFirmwareTemperature);
    if (reading.Valid) {
        temperature = reading.Value();
    }
    const uint16_t stored = temperature;
    Log(6, u"Temperature:%d", static_cast<int>(static_cast<int16_t>(stored)));
    return stored;
}

uint32_t CPUInfoReader::GetMemoryClockSpeed() {
    if (memoryFrequency > 0) {
        return memoryFrequency;
    }
    uint32_t speed = 0;
    const int32_t result = QueryWmiSingleValue(m_ports.Wmi, kMemoryClockQuery, &speed);
    if (result < 0) {
        Log(5, u"WMIQuery Win32_PhysicalMemory failed:0x%08x", result);
    } else {
        memoryFrequency = speed;
    }
    return memoryFrequency;
}

void CPUInfoReader::RefreshWmiMaxClockSpeed() {
    uint32_t speed = 0;
    if (QueryWmiSingleValue(m_ports.Wmi, kMaxClockSpeedQuery, &speed) >= 0) {
        wmiMaxClockSpeed = speed;
    }
}

bool CPUInfoReader::LockQuery() {
    return queryLock && m_ports.Kernel.Wait(*queryLock, ports::kInfinite).Signalled(0);
}

void CPUInfoReader::UnlockQuery(bool locked) {
    if (locked) {
        queryLock->Set();
    }
}

uint32_t CPUInfoReader::StartPDH() {
    std::lock_guard state(m_queryState);
    return StartQuery();
}

uint32_t CPUInfoReader::StartQuery() {
    static constexpr CounterSlot kCounters[] = {
        {u"\\Processor Information(_Total)\\% Processor Performance",
         &CPUInfoReader::performanceCounter,
         u"PdhAddEnglishCounter(Processor Performance) failed: %d "},
        {u"\\Processor Information(_Total)\\Processor Frequency", &CPUInfoReader::frequencyCounter,
         u"PdhAddEnglishCounter(Processor Frequency) failed: %d "},
        {u"\\Processor Information(_Total)\\% of Maximum Frequency",
         &CPUInfoReader::maxFrequencyCounter,
         u"PdhAddEnglishCounter(of Maximum Frequency) failed: %d "},
        {u"\\Processor Information(_Total)\\% Processor Utility", &CPUInfoReader::utilityCounter,
         u"PdhAddEnglishCounter(Processor Utility) failed: %d "},
    };
    Log(6, u"Enter StartPDH");
    RefreshWmiMaxClockSpeed();
    uint32_t status = ports::kPdhSuccess;
    if (!pdhQuery) {
        ports::OpenedQuery opened = m_ports.Counters.OpenQuery();
        status = opened.Status;
        if (status == ports::kPdhSuccess) {
            pdhQuery = std::move(opened.Query);
            for (const CounterSlot& slot : kCounters) {
                status = pdhQuery->AddEnglishCounter(slot.Path, this->*slot.Member);
                if (status != ports::kPdhSuccess) {
                    Log(3, slot.FailureMessage, AsSigned(status));
                    break;
                }
            }
            // Rate counters need a first sample before they can be read.
            const uint32_t collected = pdhQuery->CollectQueryData();
            if (status == ports::kPdhSuccess) {
                status = collected;
            }
        }
        if (status != ports::kPdhSuccess) {
            CloseQuery();
        }
    }
    Log(6, u"Leave StartPDH:%d", AsSigned(status));
    return status;
}

void CPUInfoReader::CloseQuery() {
    pdhQuery.reset();
    performanceCounter = frequencyCounter = maxFrequencyCounter = utilityCounter = 0;
}

bool CPUInfoReader::CollectQueryData() {
    std::lock_guard state(m_queryState);
    return pdhQuery && pdhQuery->CollectQueryData() == ports::kPdhSuccess;
}

template <typename Read>
double CPUInfoReader::ReadWithQuery(const double& cached, Read read) {
    const bool locked = LockQuery();
    double result = 0.0;
    {
        std::lock_guard state(m_queryState);
        const uint32_t started = pdhQuery ? ports::kPdhSuccess : StartQuery();
        if (started == ports::kPdhSuccess) {
            read();
        } else {
            Log(3, u"StartPDHQuery failed: %d ", AsSigned(started));
        }
        result = cached;
    }
    UnlockQuery(locked);
    return result;
}

double CPUInfoReader::GetFrequency() {
    return ReadWithQuery(frequency, [this] {
        const ports::CounterValue performance = pdhQuery->FormattedDouble(performanceCounter);
        ports::CounterValue maxFrequency;
        bool read = performance.Status == ports::kPdhSuccess;
        if (!read) {
            Log(3, u"PdhGetFormattedCounterValue(Performance) failed: (%d)",
                AsSigned(performance.Status));
        }
        // "Processor Frequency" is read with the others, but its figure is not used.
        for (const ports::CounterHandle counter : {frequencyCounter, maxFrequencyCounter}) {
            if (!read) {
                break;
            }
            maxFrequency = pdhQuery->FormattedDouble(counter);
            read = maxFrequency.Status == ports::kPdhSuccess;
            if (!read) {
                Log(3, u"PdhGetFormattedCounterValue(Frequency) failed: %d ",
                    AsSigned(maxFrequency.Status));
            }
        }
        if (wmiMaxClockSpeed == 0) {
            RefreshWmiMaxClockSpeed();
        }
        // "% of Maximum Frequency" only says whether the processor reports a clock at all.
        if (read && maxFrequency.Value > 0.0) {
            frequency =
                std::round(static_cast<double>(wmiMaxClockSpeed) * performance.Value / 100.0);
        }
        Log(6, u"Frequency:%f, Performance:%f, WmiMaxClockSpeed:%d", frequency, performance.Value,
            wmiMaxClockSpeed.load());
    });
}

double CPUInfoReader::GetUtilization() {
    return ReadWithQuery(utilization, [this] {
        const ports::CounterValue utility = pdhQuery->FormattedDouble(utilityCounter);
        if (utility.Status != ports::kPdhSuccess) {
            Log(3, u"PdhGetFormattedCounterValue(Performance) failed: (%d)%s ",
                AsSigned(utility.Status), PdhStatusName(utility.Status));
        } else {
            utilization = utility.Value > 100.0 ? 100.0 : std::round(utility.Value);
        }
        Log(6, u"Utilization:%f", utilization);
    });
}

void CPUInfoReader::Stop() {
    Stop(true);
}

void CPUInfoReader::Stop(bool logAlways) {
    bool open = false;
    {
        std::lock_guard state(m_queryState);
        open = pdhQuery != nullptr;
    }
    if (logAlways || open) {
        Log(6, u"Enter Stop");
    }
    if (open && queryLock) {
        const bool locked = LockQuery();
        {
            std::lock_guard state(m_queryState);
            CloseQuery();
        }
        UnlockQuery(locked);
    }
    if (logAlways || open) {
        Log(6, u"Leave Stop");
    }
}

void CPUInfoReader::Release() {
    Stop(false);
    queryLock.reset();
    initialised = false;
}

int32_t CPUInfoReader::QueryWmiValue(ports::Wmi& wmi, const std::u16string& wql,
                                     ports::WmiValues& values) {
    return wmi.QueryWmiValue(wql, values);
}

int32_t CPUInfoReader::QueryWmiSingleValue(ports::Wmi& wmi, const std::u16string& wql,
                                           uint32_t* value) {
    ports::WmiValues values;
    const int32_t result = QueryWmiValue(wmi, wql, values);
    if (result < 0) {
        return result;
    }
    if (values.size() != 1) {
        return ports::kWmiFail;
    }
    *value = values.begin()->second;
    return result;
}

} // namespace cpu
