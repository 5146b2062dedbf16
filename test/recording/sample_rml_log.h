#pragma once

#include "recording/rml_format.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

// The items command 17 describes on a machine with a 2,100 MHz, 87 degree graphics adapter and
// 16 GiB of memory; the disk speeds have no maximum (the quiet NaN 0xFFF8000000000000).
extern const std::array<RecordItemInfo, kRecordItemCount> kSampleItems;

// A log of these items with the given interval and records.
std::vector<uint8_t> RmlLogBytes(int32_t intervalMs, std::span<const RecordValues> records);

// Three records of plausible values.
std::vector<RecordValues> SampleRecords();

// The sample log: interval 500 ms and the sample records.
std::vector<uint8_t> SampleRmlLog();
