#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace cpu {

// The block the AMD SDK's "GetCPUStatus" fills: a 4-byte head, then a 32-byte entry per core for
// 64 cores. Only the fields below are read or written by the plug-in; the rest are the SDK's.
inline constexpr std::size_t kStatusBlockSize = 2052;
inline constexpr std::size_t kStatusBlockCores = 64;
using StatusBlock = std::array<uint8_t, kStatusBlockSize>;

// One core's entry as the plug-in reads it.
struct CoreStatus {
    int32_t ClockMhz = 0;
    uint32_t MemoryClockMhz = 0;
    uint32_t VoltageMv = 0;
    int16_t UsagePercent = 0;
    int16_t TemperatureCelsius = 0;
};

// core must be below kStatusBlockCores.
CoreStatus ReadCoreStatus(std::span<const uint8_t, kStatusBlockSize> block, std::size_t core);
void WriteCoreMemoryClock(std::span<uint8_t, kStatusBlockSize> block, std::size_t core,
                          uint32_t megahertz);

} // namespace cpu
