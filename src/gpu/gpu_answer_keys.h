#pragma once

namespace gpu {

// The keys of a monitor answer's adapter entry that other parts read back (the system records).
// "Temprature" is spelled as the user interface reads it.
namespace key {
inline constexpr char kAdapter0[] = "Adapter0";
inline constexpr char kState[] = "GPUState";
inline constexpr char kProcessorFrequency[] = "ProcessorFrequency";
inline constexpr char kTemperature[] = "Temprature";
inline constexpr char kUsage[] = "Usage";
} // namespace key

} // namespace gpu
