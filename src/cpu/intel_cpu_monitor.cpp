#include "cpu/intel_cpu_monitor.h"

#include "cpu/cpu_answer.h"
#include "cpu/cpu_initialized_event.h"

#include <cmath>

namespace cpu {
namespace {

using VelmorValueSet::ValueSet;

// XTU monitor ids. The temperature is read twice under one id although the log lines name two
// monitors.
constexpr uint32_t kXtuTemperature = 0xA1000001;
constexpr uint32_t kXtuEachProcessorVoltage0 = 0x41;
constexpr uint32_t kXtuCoreVoltage = 0xA5000004;
constexpr uint32_t kXtuProcessorClockGhz = 5;
constexpr uint32_t kXtuUtilization = 90;
constexpr double kPerKilo = 1000.0;

constexpr char16_t kLogBegin[] = u"GetCPUMonitorInformation : Begin";
constexpr char16_t kLogEnd[] = u"GetCPUMonitorInformation : End";
constexpr char16_t kLogNoReader[] = u"CPUInfoReader is null.";
constexpr char16_t kLogReaderTemperature[] =
    u"Monitor Plugin - Get CPU Temperature from CPUInfoReader : %d";
constexpr char16_t kLogXtuTemperature[] =
    u"Monitor Plugin - XTU get CPU_TEMPERATURE OK - CPU temperature is %f";
constexpr char16_t kLogXtuTemperatureRetry[] =
    u"Monitor Plugin - XTU get PROCESSOR_ID_CPU_TEMPERATURE OK - CPU temperature is %f";
constexpr char16_t kLogXtuTemperatureFail[] =
    u"Monitor Plugin - XTU get PROCESSOR_ID_CPU_TEMPERATURE Fail - CPU temperature is 0";
constexpr char16_t kLogEnsureFailed[] = u"Monitor Plugin - EnsureXTUMonitor failed";
constexpr char16_t kLogReaderVoltage[] =
    u"Monitor Plugin - Get CPU Voltage from CPUInfoReader : %f";
constexpr char16_t kLogXtuVoltage[] =
    u"Monitor Plugin - XTU get PROCESSOR_ID_EACH_PROCESSOR_VOLTAGE+0 OK - CPU voltage is %f";
constexpr char16_t kLogXtuVoltageRetry[] =
    u"Monitor Plugin - XTU get VOLTAGES_ID_PROCESS_CORE_VOLTAGE OK - CPU voltage is %f";
constexpr char16_t kLogXtuVoltageFail[] =
    u"Monitor Plugin - XTU get VOLTAGES_ID_PROCESS_CORE_VOLTAGE Fail - CPU voltage is 0";
// Also said when the clock and utilisation fallback finds no XTU monitor.
constexpr char16_t kLogVoltageEnsureFailed[] = u"Monitor Plugin - (Voltage)EnsureXTUMonitor failed";
constexpr char16_t kLogXtuFrequency[] = u"Get CPU Frequency from XTU : %d.";
constexpr char16_t kLogXtuUsage[] = u"Get CPU Usage from XTU : %f";
constexpr char16_t kLogNoXtu[] = u"XTU pointer is null";
constexpr char16_t kLogStartMonitor[] = u"XTU StartMonitor";

} // namespace

IntelCpuMonitor::IntelCpuMonitor(const IntelCpuMonitorPorts& ports, std::function<bool()> isReady,
                                 XtuDelays delays)
    : m_plugin(ports.plugin), m_kernel(ports.kernel), m_helper(ports.helper),
      m_xtuLibrary(ports.xtu), m_acoustic(ports.acoustic), m_isReady(std::move(isReady)),
      m_delays(delays) {}

void IntelCpuMonitor::GetCPUMonitorInformation(CpuReadings* reader, uint32_t cpuFanSpeed,
                                               ValueSet& answer) {
    m_plugin.Log(LogLevel::kTrace, kLogBegin);
    ValueSet& core = WriteFixedCpuEntries(answer, kIntelMaxima, cpuFanSpeed);
    if (reader == nullptr) {
        m_plugin.Log(LogLevel::kFailure, kLogNoReader);
        WriteXtuClockAndUsage({}, core);
    } else {
        const ReaderClockAndUsage fromReader = WriteReaderClockAndUsage(*reader, answer, core);
        WriteTemperature(*reader, core);
        WriteVoltage(*reader, core);
        if (!fromReader.Complete()) {
            WriteXtuClockAndUsage(fromReader, core);
        }
    }
    WriteCpuFanAcoustic(answer, m_acoustic, cpuFanSpeed);
    m_plugin.Log(LogLevel::kTrace, kLogEnd);
}

void IntelCpuMonitor::WriteTemperature(CpuReadings& reader, ValueSet& core) {
    if (reader.GetTemperature() != 0) {
        // The firmware's figure is a signed 16-bit number.
        const auto temperature = static_cast<int16_t>(reader.GetTemperature());
        m_plugin.Log(LogLevel::kTrace, kLogReaderTemperature, static_cast<int32_t>(temperature));
        core.SetInt32(key::kTemperature, temperature);
        return;
    }
    const auto xtu = EnsuredXtu();
    if (!xtu) {
        m_plugin.Log(LogLevel::kFailure, kLogEnsureFailed);
        return;
    }
    core.SetInt32(key::kTemperature, TruncateToInt32(ReadXtuTemperature(*xtu)));
}

double IntelCpuMonitor::ReadXtuTemperature(ports::XtuWrapper& xtu) {
    double temperature = xtu.GetMonitorValue(kXtuTemperature);
    if (temperature != 0.0) {
        m_plugin.Log(LogLevel::kTrace, kLogXtuTemperature, temperature);
        return temperature;
    }
    temperature = xtu.GetMonitorValue(kXtuTemperature);
    if (temperature != 0.0) {
        m_plugin.Log(LogLevel::kTrace, kLogXtuTemperatureRetry, temperature);
    } else {
        m_plugin.Log(LogLevel::kZeroReading, kLogXtuTemperatureFail);
    }
    return temperature;
}

void IntelCpuMonitor::WriteVoltage(CpuReadings& reader, ValueSet& core) {
    if (reader.IsVoltageSupported(false)) {
        const double voltage = reader.GetVoltage();
        m_plugin.Log(LogLevel::kTrace, kLogReaderVoltage, voltage);
        core.SetDouble(key::kVoltage, std::fabs(voltage));
        return;
    }
    const auto xtu = EnsuredXtu();
    if (!xtu) {
        m_plugin.Log(LogLevel::kFailure, kLogVoltageEnsureFailed);
        return;
    }
    core.SetDouble(key::kVoltage, std::fabs(ReadXtuVoltage(*xtu)));
}

double IntelCpuMonitor::ReadXtuVoltage(ports::XtuWrapper& xtu) {
    double millivolts = xtu.GetMonitorValue(kXtuEachProcessorVoltage0) * kPerKilo;
    if (millivolts != 0.0) {
        m_plugin.Log(LogLevel::kTrace, kLogXtuVoltage, millivolts);
        return millivolts;
    }
    millivolts = xtu.GetMonitorValue(kXtuCoreVoltage) * kPerKilo;
    if (millivolts != 0.0) {
        m_plugin.Log(LogLevel::kTrace, kLogXtuVoltageRetry, millivolts);
    } else {
        m_plugin.Log(LogLevel::kZeroReading, kLogXtuVoltageFail);
    }
    return millivolts;
}

// A later write of a key replaces the reader's zero clock or utilisation.
void IntelCpuMonitor::WriteXtuClockAndUsage(const ReaderClockAndUsage& fromReader, ValueSet& core) {
    const auto xtu = EnsuredXtu();
    if (!xtu) {
        m_plugin.Log(LogLevel::kFailure, kLogVoltageEnsureFailed);
        return;
    }
    if (fromReader.Frequency == 0) {
        const int32_t megahertz =
            TruncateToInt32(std::fabs(xtu->GetMonitorValue(kXtuProcessorClockGhz) * kPerKilo));
        m_plugin.Log(LogLevel::kTrace, kLogXtuFrequency, megahertz);
        core.SetInt32(key::kProcessorFrequency, megahertz);
    }
    if (fromReader.Usage == 0.0) {
        const double percent = xtu->GetMonitorValue(kXtuUtilization);
        m_plugin.Log(LogLevel::kTrace, kLogXtuUsage, percent);
        core.SetDouble(key::kUsage, std::fabs(percent));
    }
}

bool IntelCpuMonitor::EnsureXTUMonitor() {
    return EnsuredXtu() != nullptr;
}

std::shared_ptr<ports::XtuWrapper> IntelCpuMonitor::EnsuredXtu() {
    auto xtu = Xtu();
    if (!xtu) {
        m_plugin.Log(LogLevel::kTrace, kLogNoXtu);
        return nullptr;
    }
    if (xtu->IsMonitorRunning()) {
        return xtu;
    }
    m_plugin.Log(LogLevel::kTrace, kLogStartMonitor);
    xtu->StartMonitor();
    m_kernel.Sleep(m_delays.AfterStartMonitorMs);
    if (!m_isReady()) {
        m_kernel.Sleep(m_delays.WhileNotReadyMs);
    }
    return xtu;
}

void IntelCpuMonitor::InitializeXtu() {
    m_helper.StartXTUService(&m_plugin);
    std::shared_ptr<ports::XtuWrapper> wrapper = m_xtuLibrary.CreateWrapper();
    bool initialized = false;
    if (wrapper) {
        m_kernel.Sleep(m_delays.BeforeInitializeMs);
        initialized = wrapper->Initialize();
        if (!initialized) {
            wrapper.reset();
        }
    }
    {
        std::lock_guard lock(m_xtuLock);
        m_pXTU = std::move(wrapper);
    }
    m_XTUIsInitial = initialized;
    if (const auto event = OpenCPUInitializedEvent(m_kernel); event && initialized) {
        event->Set();
    }
}

bool IntelCpuMonitor::HasXtu() const {
    return Xtu() != nullptr;
}

void IntelCpuMonitor::StopXtuMonitor() {
    if (const auto xtu = Xtu()) {
        xtu->StopMonitor();
    }
}

void IntelCpuMonitor::DestroyXtu() {
    std::shared_ptr<ports::XtuWrapper> gone;
    std::lock_guard lock(m_xtuLock);
    gone.swap(m_pXTU);
}

std::shared_ptr<ports::XtuWrapper> IntelCpuMonitor::Xtu() const {
    std::lock_guard lock(m_xtuLock);
    return m_pXTU;
}

} // namespace cpu
