#include "recording/rml_format.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr double kQuietNaN = std::numeric_limits<double>::quiet_NaN();

// The items a recording on a machine with a 2,100 MHz, 87 degree adapter and 16 GiB describes.
constexpr std::array<RecordItemInfo, kRecordItemCount> kItems = {{
    {0x10000, 6000.0, 0.0},
    {0x10001, 100.0, 0.0},
    {0x10002, 100.0, 0.0},
    {0x20000, 2100.0, 0.0},
    {0x20001, 87.0, 0.0},
    {0x20002, 100.0, 0.0},
    {0x40000, 16384.0, 0.0},
    {0x80000, 100.0, 0.0},
    {0x80001, kQuietNaN, 0.0},
    {0x80002, kQuietNaN, 0.0},
}};

std::vector<uint8_t> Log(const std::vector<RecordValues>& records, int32_t intervalMs = 1000) {
    const auto header = EncodeRmlHeader(intervalMs, kItems);
    std::vector<uint8_t> bytes(header.begin(), header.end());
    for (const RecordValues& record : records) {
        const auto encoded = EncodeRecord(record);
        bytes.insert(bytes.end(), encoded.begin(), encoded.end());
    }
    return bytes;
}

void ExpectRejected(std::span<const uint8_t> bytes, const std::string& error) {
    const RmlParseResult parsed = ParseRmlLog(bytes);
    EXPECT_FALSE(parsed.log);
    EXPECT_EQ(parsed.error, error);
}

} // namespace

TEST(RmlFormat, header_is_byte_exact) {
    // clang-format off
    const std::array<uint8_t, 40> start = {
        '_', 'R', 'M', 'L',
        0x01, 0x00, 0x00, 0x00,                         // version
        0xE8, 0x03, 0x00, 0x00,                         // 1000 ms
        0x0A, 0x00, 0x00, 0x00,                         // ten items
        0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x10000, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x70, 0xB7, 0x40, // maximum 6000.0
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0.0
    };
    const std::array<uint8_t, 24> lastItem = {
        0x02, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x80002, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F, // maximum: quiet NaN
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0.0
    };
    // clang-format on
    const auto header = EncodeRmlHeader(1000, kItems);
    ASSERT_EQ(header.size(), 256u);
    EXPECT_TRUE(std::equal(start.begin(), start.end(), header.begin()));
    EXPECT_TRUE(std::equal(lastItem.begin(), lastItem.end(), header.end() - 24));
}

TEST(RmlFormat, record_is_ten_little_endian_doubles_in_item_order) {
    RecordValues values{};
    values[0] = 1.0;  // 0x3FF0000000000000
    values[9] = -2.5; // 0xC004000000000000
    const auto bytes = EncodeRecord(values);
    EXPECT_EQ(bytes[7], 0x3F);
    EXPECT_EQ(bytes[6], 0xF0);
    EXPECT_EQ(bytes[79], 0xC0);
    EXPECT_EQ(bytes[78], 0x04);
    EXPECT_EQ(DecodeRecord(bytes), values);
}

TEST(RmlFormat, log_round_trips) {
    const std::vector<RecordValues> records = {
        {2400.0, 55.0, 12.5, 1500.0, 60.0, 3.0, 8123.0, 1.5, 0.0, 4096.0},
        {3300.0, 71.0, 88.0, 1800.0, 65.0, 97.0, 9000.0, 100.0, 12.25, 0.0},
    };
    const RmlParseResult parsed = ParseRmlLog(Log(records, 250));
    ASSERT_TRUE(parsed.log) << parsed.error;
    EXPECT_EQ(parsed.log->version, 1u);
    EXPECT_EQ(parsed.log->intervalMs, 250);
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        EXPECT_EQ(parsed.log->items[i].id, kItems[i].id);
        EXPECT_EQ(parsed.log->items[i].minimum, kItems[i].minimum);
    }
    EXPECT_EQ(parsed.log->items[3].maximum, 2100.0);
    EXPECT_TRUE(std::isnan(parsed.log->items[8].maximum));
    EXPECT_EQ(parsed.log->records, records);
}

TEST(RmlFormat, header_alone_is_a_log_without_records) {
    const RmlParseResult parsed = ParseRmlLog(Log({}));
    ASSERT_TRUE(parsed.log) << parsed.error;
    EXPECT_TRUE(parsed.log->records.empty());
}

TEST(RmlFormat, truncated_header_is_rejected) {
    const std::vector<uint8_t> bytes = Log({});
    ExpectRejected(std::span(bytes).first(255),
                   "truncated header: 255 bytes, a log starts with a 256-byte header");
    ExpectRejected({}, "truncated header: 0 bytes, a log starts with a 256-byte header");
}

TEST(RmlFormat, wrong_magic_is_rejected) {
    std::vector<uint8_t> bytes = Log({});
    bytes[3] = 'X';
    ExpectRejected(bytes, "not a recording log: the file does not start with \"_RML\"");
}

TEST(RmlFormat, wrong_version_is_rejected) {
    std::vector<uint8_t> bytes = Log({});
    bytes[4] = 2;
    ExpectRejected(bytes, "unsupported version 2, expected 1");
}

TEST(RmlFormat, wrong_item_count_is_rejected) {
    std::vector<uint8_t> bytes = Log({});
    bytes[12] = 9;
    ExpectRejected(bytes, "unsupported item count 9, expected 10");
}

TEST(RmlFormat, trailing_partial_record_is_rejected) {
    std::vector<uint8_t> bytes = Log({RecordValues{}, RecordValues{}});
    bytes.resize(bytes.size() - 1);
    ExpectRejected(bytes,
                   "trailing partial record: the last 79 bytes are not a whole 80-byte record");
}
