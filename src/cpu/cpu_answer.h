#pragma once

#include "cpu/cpu_readings.h"
#include "cpu/fan_acoustic_lookup.h"
#include "plugin_frame/value_set.h"

#include <cstdint>

namespace cpu {

// The CPU keys of a monitor answer. "Temprature" is spelled as the user interface reads it.
namespace key {
inline constexpr char kMaxProcessorFreq[] = "MaxCPUProcessorFreq";
inline constexpr char kMaxMemoryFreq[] = "MaxCPUMemoryFreq";
inline constexpr char kMaxVoltage[] = "MaxCPUVoltage";
inline constexpr char kMaxTemperature[] = "MaxCPUTemprature";
inline constexpr char kMaxUsage[] = "MaxCPUUsage";
inline constexpr char kMaxFanSpeed[] = "MaxCPUFanSpeed";
inline constexpr char kFanSpeed[] = "CPUFanSpeed";
inline constexpr char kCoreCount[] = "CPUCoreCount";
inline constexpr char kCore0[] = "Core0";
inline constexpr char kMemoryFrequency[] = "CPUMemoryFrequency";
inline constexpr char kProcessorFrequency[] = "ProcessorFrequency";
inline constexpr char kUsage[] = "Usage";
inline constexpr char kTemperature[] = "Temprature";
inline constexpr char kVoltage[] = "Voltage";
inline constexpr char kFanAcoustic[] = "CPUFanAcoustic";
} // namespace key

// The gauge maxima a builder answers; Intel and AMD machines differ in memory and fan.
struct CpuGaugeMaxima {
    int32_t ProcessorFreq;
    int32_t MemoryFreq;
    int32_t FanSpeed;
};
inline constexpr CpuGaugeMaxima kIntelMaxima{6000, 4000, 5500};
inline constexpr CpuGaugeMaxima kAmdMaxima{6000, 3000, 6000};

// A reading cut to an integer as the processor's truncating conversion does: a value outside the
// 32-bit range, or NaN, gives INT32_MIN.
int32_t TruncateToInt32(double value);

// Writes the eight fixed entries, "MaxCPUProcessorFreq" to "CPUCoreCount", and returns the new
// empty "Core0" map. Throws std::bad_alloc when memory runs out.
VelmorValueSet::ValueSet& WriteFixedCpuEntries(VelmorValueSet::ValueSet& answer,
                                               const CpuGaugeMaxima& maxima, uint32_t cpuFanSpeed);

// The reader's clock and utilisation as written; a zero in either is filled by the vendor's
// library.
struct ReaderClockAndUsage {
    int32_t Frequency = 0;
    double Usage = 0.0;

    bool Complete() const { return Frequency != 0 && Usage != 0.0; }
};

// Collects a new sample and writes "CPUMemoryFrequency" into the answer and "ProcessorFrequency"
// and "Usage" into the core entry.
ReaderClockAndUsage WriteReaderClockAndUsage(CpuReadings& reader, VelmorValueSet::ValueSet& answer,
                                             VelmorValueSet::ValueSet& core);

// Writes "CPUFanAcoustic" for the CPU fan at cpuFanSpeed when the table holds data.
void WriteCpuFanAcoustic(VelmorValueSet::ValueSet& answer, FanAcousticLookup& acoustic,
                         uint32_t cpuFanSpeed);

} // namespace cpu
