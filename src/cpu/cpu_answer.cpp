#include "cpu/cpu_answer.h"

#include <climits>
#include <cstdint>
#include <new>

namespace cpu {

using VelmorValueSet::ValueSet;

int32_t TruncateToInt32(double value) {
    constexpr double kLimit = 2147483648.0; // 2^31
    if (!(value > -kLimit - 1.0 && value < kLimit)) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(value);
}

ValueSet& WriteFixedCpuEntries(ValueSet& answer, const CpuGaugeMaxima& maxima,
                               uint32_t cpuFanSpeed) {
    answer.SetInt32(key::kMaxProcessorFreq, maxima.ProcessorFreq);
    answer.SetInt32(key::kMaxMemoryFreq, maxima.MemoryFreq);
    answer.SetDouble(key::kMaxVoltage, 3000.0);
    answer.SetInt32(key::kMaxTemperature, 100);
    answer.SetInt32(key::kMaxUsage, 100);
    answer.SetInt32(key::kMaxFanSpeed, maxima.FanSpeed);
    // The firmware's speed travels as the signed integer the user interface reads.
    answer.SetInt32(key::kFanSpeed, static_cast<int32_t>(cpuFanSpeed));
    // One core entry stands for the whole processor.
    answer.SetInt32(key::kCoreCount, 1);
    ValueSet* core = answer.CreateMap(key::kCore0); // a short key: null only without memory
    if (core == nullptr) {
        throw std::bad_alloc();
    }
    return *core;
}

ReaderClockAndUsage WriteReaderClockAndUsage(CpuReadings& reader, ValueSet& answer,
                                             ValueSet& core) {
    reader.CollectQueryData();
    answer.SetInt32(key::kMemoryFrequency, static_cast<int32_t>(reader.GetMemoryClockSpeed()));
    ReaderClockAndUsage written;
    written.Frequency = TruncateToInt32(reader.GetFrequency());
    core.SetInt32(key::kProcessorFrequency, written.Frequency);
    written.Usage = reader.GetUtilization();
    core.SetDouble(key::kUsage, written.Usage);
    return written;
}

void WriteCpuFanAcoustic(ValueSet& answer, FanAcousticLookup& acoustic, uint32_t cpuFanSpeed) {
    if (!acoustic.IsLoaded()) {
        return;
    }
    constexpr int32_t kCpuFan = 0;
    double level = 0.0;
    acoustic.Lookup(kCpuFan, static_cast<int32_t>(cpuFanSpeed), level);
    answer.SetDouble(key::kFanAcoustic, level);
}

} // namespace cpu
