#pragma once

#include <cstdint>

namespace cpu {

// The processor readings the Intel and AMD monitor builders take from the CPU info reader. Every
// reading keeps and returns its last good value when a new one cannot be had.
class CpuReadings {
public:
    virtual ~CpuReadings() = default;

    // True when a counter query is open and a new sample was collected; called before each round
    // of GetFrequency and GetUtilization.
    virtual bool CollectQueryData() = 0;
    // Effective processor clock, MHz.
    virtual double GetFrequency() = 0;
    // Utilisation, percent, 0 to 100.
    virtual double GetUtilization() = 0;
    // The firmware's temperature (low 16 bits of its answer), 0 while none was read.
    virtual uint16_t GetTemperature() = 0;
    // Core voltage: millivolts from the register path, the firmware's own figure otherwise.
    virtual double GetVoltage() = 0;
    // With probe false only answers the stored support flag; with probe true detects support.
    virtual bool IsVoltageSupported(bool probe) = 0;
    // Memory clock, MHz, 0 while unknown.
    virtual uint32_t GetMemoryClockSpeed() = 0;
};

} // namespace cpu
