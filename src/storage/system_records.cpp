#include "storage/system_records.h"

#include "cpu/cpu_answer.h"
#include "gpu/gpu_answer_keys.h"
#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"

#include <array>
#include <limits>
#include <string>

namespace storage {

using VelmorValueSet::ValueSet;

namespace {

constexpr char16_t kTable[] = u"SysInfo";
constexpr char16_t kColumnFreq[] = u"freq";
constexpr char16_t kColumnCpuUtilization[] = u"CPU_Utilization";
constexpr char16_t kColumnCpuFrequency[] = u"CPU_Frequency";
constexpr char16_t kColumnGpuUtilization[] = u"GPU_Utilization";
constexpr char16_t kColumnGpuFrequency[] = u"GPU_Frequency";
constexpr char16_t kColumnGpuTemperature[] = u"GPU_temperature";
constexpr char16_t kColumnGpuPowersaving[] = u"GPU_Powersaving_status";
constexpr char16_t kColumnSmartHealth[] = u"smart_health";
constexpr char16_t kColumnDataUnitsWritten[] = u"Data_Units_Written";

constexpr char16_t kLogCpuGpuResult[] = u"SaveCPUGPUInfoToDB result: %s";
constexpr char16_t kLogNVMeResult[] = u"SaveNVMeHealthToDB result: %s";
constexpr char16_t kLogHealthFailed[] = u"Failed to get PhysicalDrive%d HealthString";
constexpr char16_t kLogHealth[] = u"Success get HealthString:%s";

// A number the collected set did not hold. A present value equal to it reads the same: the row
// cannot tell them apart.
constexpr int32_t kAbsent = std::numeric_limits<int32_t>::max();

std::u16string Decimal(auto number) {
    const std::string narrow = std::to_string(number);
    return {narrow.begin(), narrow.end()};
}

std::u16string ColumnValue(int32_t number) {
    return number == kAbsent ? u"-1" : Decimal(number);
}

// The row's figures, each absent until its entry is found in the collected set.
struct CpuGpuFigures {
    int32_t CpuUsage = kAbsent;
    int32_t CpuFrequency = kAbsent;
    int32_t GpuUsage = kAbsent;
    int32_t GpuFrequency = kAbsent;
    int32_t GpuTemperature = kAbsent;
    std::u16string GpuState;
};

CpuGpuFigures ReadFigures(const ValueSet& collected) {
    CpuGpuFigures figures;
    if (const ValueSet* core = collected.FindMap(cpu::key::kCore0)) {
        figures.CpuUsage = cpu::TruncateToInt32(core->GetDouble(cpu::key::kUsage));
        figures.CpuFrequency = core->GetInt32(cpu::key::kProcessorFrequency);
    }
    if (const ValueSet* adapter = collected.FindMap(gpu::key::kAdapter0)) {
        figures.GpuUsage = cpu::TruncateToInt32(adapter->GetDouble(gpu::key::kUsage));
        figures.GpuFrequency = adapter->GetInt32(gpu::key::kProcessorFrequency);
        figures.GpuTemperature = adapter->GetInt32(gpu::key::kTemperature);
        figures.GpuState = adapter->GetString(gpu::key::kState);
    }
    return figures;
}

template <std::size_t Count>
using Texts = std::array<std::u16string, Count>;

template <std::size_t Count>
std::array<const char16_t*, Count> Pointers(const Texts<Count>& texts) {
    std::array<const char16_t*, Count> pointers{};
    for (std::size_t i = 0; i < Count; ++i) {
        pointers[i] = texts[i].c_str();
    }
    return pointers;
}

template <std::size_t Count>
int32_t InsertRow(BaseOrvexPlugin& plugin, const std::array<const char16_t*, Count>& names,
                  const Texts<Count>& values) {
    return plugin.InsertData(kTable, names.data(), Pointers(values).data(),
                             static_cast<int32_t>(Count));
}

} // namespace

SystemRecords::SystemRecords(BaseOrvexPlugin& plugin, ports::SystemMessages& messages)
    : m_plugin(plugin), m_messages(messages) {}

void SystemRecords::SaveCPUGPUInfoToDB(const ValueSet& collected, uint32_t freq) {
    const CpuGpuFigures figures = ReadFigures(collected);
    static constexpr std::array<const char16_t*, 7> kNames{
        kColumnFreq,         kColumnCpuUtilization, kColumnCpuFrequency,  kColumnGpuUtilization,
        kColumnGpuFrequency, kColumnGpuTemperature, kColumnGpuPowersaving};
    const Texts<7> values{Decimal(freq),
                          ColumnValue(figures.CpuUsage),
                          ColumnValue(figures.CpuFrequency),
                          ColumnValue(figures.GpuUsage),
                          ColumnValue(figures.GpuFrequency),
                          ColumnValue(figures.GpuTemperature),
                          figures.GpuState};
    LogResult(kLogCpuGpuResult, InsertRow(m_plugin, kNames, values));
}

void SystemRecords::SaveNVMeHealthToDB(std::span<NVMeDrive> drives, uint32_t freq) {
    std::u16string health;
    std::u16string dataUnitsWritten;
    for (std::size_t position = 0; position < drives.size(); ++position) {
        if (!drives[position].GetHealthString(health, dataUnitsWritten)) {
            m_plugin.Log(LogLevel::kTrace, kLogHealthFailed, static_cast<int32_t>(position));
        }
    }
    if (drives.empty()) {
        return;
    }
    m_plugin.Log(LogLevel::kTrace, kLogHealth, health.c_str());
    static constexpr std::array<const char16_t*, 3> kNames{kColumnFreq, kColumnSmartHealth,
                                                           kColumnDataUnitsWritten};
    const Texts<3> values{Decimal(freq), u"'" + health + u"'", dataUnitsWritten};
    LogResult(kLogNVMeResult, InsertRow(m_plugin, kNames, values));
}

void SystemRecords::LogResult(const char16_t* format, int32_t result) {
    const std::u16string text = m_messages.Text(result);
    m_plugin.Log(LogLevel::kTrace, format, text.c_str());
}

} // namespace storage
