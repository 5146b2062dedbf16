#pragma once

#include "recording/record_items.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

// The recording log ("_RML"), little-endian: a 256-byte header (magic, version 1, interval in
// milliseconds, item count 10, ten 24-byte item descriptions), then 80-byte records, oldest first.
inline constexpr uint32_t kRmlHeaderBytes = 256;
inline constexpr std::array<uint8_t, 4> kRmlMagic = {'_', 'R', 'M', 'L'};
inline constexpr uint32_t kRmlVersion = 1;
// Identifier, 4 reserved zero bytes, maximum, minimum.
inline constexpr uint32_t kRmlItemBytes = 24;
static_assert(16 + kRecordItemCount * kRmlItemBytes == kRmlHeaderBytes);

using RecordValues = std::array<double, kRecordItemCount>;

std::array<uint8_t, kRmlHeaderBytes>
EncodeRmlHeader(int32_t intervalMs, std::span<const RecordItemInfo, kRecordItemCount> items);

// A record in the byte form the ring and the log share: ten little-endian doubles in item order.
std::array<uint8_t, kRecordBytes> EncodeRecord(const RecordValues& values);
RecordValues DecodeRecord(std::span<const uint8_t, kRecordBytes> bytes);

struct RmlLog {
    uint32_t version = 0;
    int32_t intervalMs = 0;
    std::array<RecordItemInfo, kRecordItemCount> items{};
    std::vector<RecordValues> records;
};

// Either the parsed log or, when the bytes are not a whole log, a sentence saying what is wrong.
struct RmlParseResult {
    std::optional<RmlLog> log;
    std::string error;
};

RmlParseResult ParseRmlLog(std::span<const uint8_t> bytes);
