#include "sample_rml_log.h"

#include <bit>

namespace {

const double kNoMaximum = std::bit_cast<double>(uint64_t{0xFFF8'0000'0000'0000});

} // namespace

const std::array<RecordItemInfo, kRecordItemCount> kSampleItems = {{
    {0x10000, 6000.0, 0.0},
    {0x10001, 100.0, 0.0},
    {0x10002, 100.0, 0.0},
    {0x20000, 2100.0, 0.0},
    {0x20001, 87.0, 0.0},
    {0x20002, 100.0, 0.0},
    {0x40000, 16384.0, 0.0},
    {0x80000, 100.0, 0.0},
    {0x80001, kNoMaximum, 0.0},
    {0x80002, kNoMaximum, 0.0},
}};

std::vector<uint8_t> RmlLogBytes(int32_t intervalMs, std::span<const RecordValues> records) {
    const auto header = EncodeRmlHeader(intervalMs, kSampleItems);
    std::vector<uint8_t> bytes(header.begin(), header.end());
    for (const RecordValues& record : records) {
        const auto encoded = EncodeRecord(record);
        bytes.insert(bytes.end(), encoded.begin(), encoded.end());
    }
    return bytes;
}

std::vector<RecordValues> SampleRecords() {
    return {
        {2400.0, 55.0, 12.5, 1500.0, 60.0, 3.0, 8123.0, 1.5, 0.0, 4096.0},
        {3300.0, 71.0, 88.0, 1800.0, 65.0, 97.0, 9000.0, 100.0, 12.25, 0.0},
        {800.0, 42.0, 0.1, 0.0, 0.0, 0.0, 7000.5, 0.0, 0.0, 0.0},
    };
}

std::vector<uint8_t> SampleRmlLog() {
    return RmlLogBytes(500, SampleRecords());
}
