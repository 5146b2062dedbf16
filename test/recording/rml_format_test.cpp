#include "recording/rml_format.h"
#include "sample_rml_log.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

void ExpectRejected(std::span<const uint8_t> bytes, const std::string& error) {
    const RmlParseResult parsed = ParseRmlLog(bytes);
    EXPECT_FALSE(parsed.log);
    EXPECT_EQ(parsed.error, error);
}

} // namespace

TEST(RmlFormat, header_is_byte_exact) {
    // clang-format off
    const std::array<uint8_t, 256> expected = {
        '_', 'R', 'M', 'L',
        0x01, 0x00, 0x00, 0x00, // version 1
        0xE8, 0x03, 0x00, 0x00, // 1000 ms
        0x0A, 0x00, 0x00, 0x00, // ten items
        0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x10000, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x70, 0xB7, 0x40, // maximum 6000
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x10001, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x59, 0x40, // maximum 100
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x02, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x10002, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x59, 0x40, // maximum 100
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x20000, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x68, 0xA0, 0x40, // maximum 2100
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x20001, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x55, 0x40, // maximum 87
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x02, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x20002, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x59, 0x40, // maximum 100
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x40000, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xD0, 0x40, // maximum 16384
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x80000, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x59, 0x40, // maximum 100
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x80001, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0xFF, // maximum NaN (0xFFF8000000000000)
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
        0x02, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, // 0x80002, reserved
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0xFF, // maximum NaN (0xFFF8000000000000)
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // minimum 0
    };
    // clang-format on
    EXPECT_EQ(EncodeRmlHeader(1000, kSampleItems), expected);
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
    const std::vector<RecordValues> records = SampleRecords();
    const RmlParseResult parsed = ParseRmlLog(RmlLogBytes(250, records));
    ASSERT_TRUE(parsed.log) << parsed.error;
    EXPECT_EQ(parsed.log->version, 1u);
    EXPECT_EQ(parsed.log->intervalMs, 250);
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        EXPECT_EQ(parsed.log->items[i].id, kSampleItems[i].id);
        EXPECT_EQ(parsed.log->items[i].minimum, kSampleItems[i].minimum);
    }
    EXPECT_EQ(parsed.log->items[3].maximum, 2100.0);
    EXPECT_TRUE(std::isnan(parsed.log->items[8].maximum));
    EXPECT_EQ(parsed.log->records, records);
}

TEST(RmlFormat, header_alone_is_a_log_without_records) {
    const RmlParseResult parsed = ParseRmlLog(RmlLogBytes(1000, {}));
    ASSERT_TRUE(parsed.log) << parsed.error;
    EXPECT_TRUE(parsed.log->records.empty());
}

TEST(RmlFormat, truncated_header_is_rejected) {
    const std::vector<uint8_t> bytes = RmlLogBytes(1000, {});
    ExpectRejected(std::span(bytes).first(255),
                   "truncated header: 255 bytes, a log starts with a 256-byte header");
    ExpectRejected({}, "truncated header: 0 bytes, a log starts with a 256-byte header");
}

TEST(RmlFormat, wrong_magic_is_rejected) {
    std::vector<uint8_t> bytes = RmlLogBytes(1000, {});
    bytes[3] = 'X';
    ExpectRejected(bytes, "not a recording log: the file does not start with \"_RML\"");
}

TEST(RmlFormat, wrong_version_is_rejected) {
    std::vector<uint8_t> bytes = RmlLogBytes(1000, {});
    bytes[4] = 2;
    ExpectRejected(bytes, "unsupported version 2, expected 1");
}

TEST(RmlFormat, wrong_item_count_is_rejected) {
    std::vector<uint8_t> bytes = RmlLogBytes(1000, {});
    bytes[12] = 9;
    ExpectRejected(bytes, "unsupported item count 9, expected 10");
}

TEST(RmlFormat, trailing_partial_record_is_rejected) {
    std::vector<uint8_t> bytes = RmlLogBytes(1000, std::vector<RecordValues>(2));
    bytes.resize(bytes.size() - 1);
    ExpectRejected(bytes,
                   "trailing partial record: the last 79 bytes are not a whole 80-byte record");
}
