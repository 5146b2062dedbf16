#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// One value a recording samples: its identifier and the gauge range the user interface shows.
struct RecordItemInfo {
    uint32_t id;
    double maximum;
    double minimum;
};

// A record holds one double per item, in this fixed order.
inline constexpr std::size_t kRecordItemCount = 10;
inline constexpr std::array<uint32_t, kRecordItemCount> kRecordItemIds = {
    0x10000, 0x10001, 0x10002, 0x20000, 0x20001, 0x20002, 0x40000, 0x80000, 0x80001, 0x80002};
inline constexpr uint32_t kRecordBytes = 80; // ten doubles in item order
static_assert(kRecordBytes == kRecordItemCount * sizeof(double));

// What an item identifier measures ("CPU frequency", ...); empty for an unknown identifier.
std::string_view RecordItemName(uint32_t id);
// The unit an item's values are in ("MHz", "°C", "%", "kB/s"); empty when its source fixes
// none or the identifier is unknown. UTF-8.
std::string_view RecordItemUnit(uint32_t id);
