#include "cpu_machine.h"

CpuMachine::CpuMachine() = default;

void CpuMachine::Processor(uint32_t maxClock, double performance, double ofMaximum,
                           double utility) {
    wmi.SetObjects(kMaxClockQuery, {{{u"MaxClockSpeed", maxClock}}});
    counters.SetValue(kPerformance, performance);
    counters.SetValue(kFrequency, 1234.0);
    counters.SetValue(kOfMaximum, ofMaximum);
    counters.SetValue(kUtility, utility);
}

std::unique_ptr<cpu::CPUInfoReader> CpuMachine::Reader(uint32_t vendor, std::u16string model) {
    auto reader = std::make_unique<cpu::CPUInfoReader>(
        cpu::CpuInfoPorts{kernel, helper, counters, wmi, io, files}, vendor, std::move(model));
    reader->logger = [this](int32_t level, const char16_t* source, const char16_t* text) {
        std::lock_guard lock(m_mutex);
        m_logs.push_back({level, source, text});
    };
    reader->libraryVerifier = [this](const std::u16string& path) {
        std::lock_guard lock(m_mutex);
        m_verified.push_back(path);
        return verifierAnswer;
    };
    return reader;
}

std::unique_ptr<cpu::CPUInfoReader> CpuMachine::InitializedReader(uint32_t vendor,
                                                                  std::u16string model) {
    auto reader = Reader(vendor, std::move(model));
    reader->Initialize(nullptr);
    return reader;
}

std::vector<CpuMachine::LogLine> CpuMachine::Logs() const {
    std::lock_guard lock(m_mutex);
    return m_logs;
}

bool CpuMachine::Logged(int32_t level, const std::u16string& text) const {
    for (const LogLine& line : Logs()) {
        if (line.Level == level && line.Text == text) {
            return true;
        }
    }
    return false;
}

bool CpuMachine::LoggedText(const std::u16string& text) const {
    for (const LogLine& line : Logs()) {
        if (line.Text == text) {
            return true;
        }
    }
    return false;
}

std::vector<std::u16string> CpuMachine::Verified() const {
    std::lock_guard lock(m_mutex);
    return m_verified;
}
