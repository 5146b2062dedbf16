#include "cpu/amd_status_block.h"

#include "plugin_frame/little_endian.h"

namespace cpu {
namespace {

using VelmorValueSet::LoadLittleEndian;
using VelmorValueSet::StoreLittleEndian;

constexpr std::size_t kHeadSize = 4;
constexpr std::size_t kEntrySize = 32;
constexpr std::size_t kClockOffset = 0;
constexpr std::size_t kMemoryClockOffset = 4;
constexpr std::size_t kVoltageOffset = 8;
constexpr std::size_t kUsageOffset = 28;
constexpr std::size_t kTemperatureOffset = 30;

static_assert(kHeadSize + kEntrySize * kStatusBlockCores == kStatusBlockSize);

constexpr std::size_t EntryOffset(std::size_t core) {
    return kHeadSize + kEntrySize * core;
}

} // namespace

CoreStatus ReadCoreStatus(std::span<const uint8_t, kStatusBlockSize> block, std::size_t core) {
    const uint8_t* entry = block.data() + EntryOffset(core);
    CoreStatus status;
    status.ClockMhz = static_cast<int32_t>(LoadLittleEndian<uint32_t>(entry + kClockOffset));
    status.MemoryClockMhz = LoadLittleEndian<uint32_t>(entry + kMemoryClockOffset);
    status.VoltageMv = LoadLittleEndian<uint32_t>(entry + kVoltageOffset);
    status.UsagePercent = static_cast<int16_t>(LoadLittleEndian<uint16_t>(entry + kUsageOffset));
    status.TemperatureCelsius =
        static_cast<int16_t>(LoadLittleEndian<uint16_t>(entry + kTemperatureOffset));
    return status;
}

void WriteCoreMemoryClock(std::span<uint8_t, kStatusBlockSize> block, std::size_t core,
                          uint32_t megahertz) {
    StoreLittleEndian(block.data() + EntryOffset(core) + kMemoryClockOffset, megahertz);
}

} // namespace cpu
