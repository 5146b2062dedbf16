#include "sim/fake_physical_drives.h"
#include "storage/nvme_health_query.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace storage::health_query;
using sim::FakePhysicalDrives;

uint32_t At(const std::vector<uint8_t>& bytes, std::size_t at) {
    return uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 |
           uint32_t{bytes[at + 3]} << 24;
}

void Put(std::vector<uint8_t>& bytes, std::size_t at, uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

// The drive's answer placed in a whole block, as the drive writes it into the query.
std::optional<HealthLog> Read(const FakePhysicalDrives::Answer& answer) {
    Block block{};
    std::copy(answer.Bytes.begin(), answer.Bytes.end(), block.begin());
    return ReadHealthAnswer(block, answer.Returned.value_or(0));
}

TEST(HealthQuery, block_is_4144_bytes_with_the_log_page_request_and_zeros_elsewhere) {
    const Block block = NewHealthQuery();
    const std::vector<uint8_t> bytes(block.begin(), block.end());
    ASSERT_EQ(bytes.size(), 4144u);
    EXPECT_EQ(At(bytes, 0), 50u);
    EXPECT_EQ(At(bytes, 4), 0u);
    EXPECT_EQ(At(bytes, 8), 3u);
    EXPECT_EQ(At(bytes, 12), 2u);
    EXPECT_EQ(At(bytes, 16), 2u);
    EXPECT_EQ(At(bytes, 20), 0u);
    EXPECT_EQ(At(bytes, 24), 40u);
    EXPECT_EQ(At(bytes, 28), 512u);
    for (std::size_t at = 32; at < bytes.size(); ++at) {
        ASSERT_EQ(bytes[at], 0) << "byte " << at;
    }
}

TEST(HealthQuery, a_well_formed_answer_gives_the_warning_code_and_the_counter) {
    const auto log = Read(FakePhysicalDrives::HealthAnswer(0x04, 123456));
    ASSERT_TRUE(log);
    EXPECT_EQ(log->CriticalWarning, 4);
    EXPECT_EQ(log->DataUnitsWritten, 123456u);
}

TEST(HealthQuery, only_the_low_32_bits_of_the_counter_are_kept) {
    const auto log = Read(FakePhysicalDrives::HealthAnswer(0, 0x1'0000'0005ull));
    ASSERT_TRUE(log);
    EXPECT_EQ(log->DataUnitsWritten, 5u);
}

TEST(HealthQuery, version_40_is_unreadable) {
    auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
    Put(answer.Bytes, 0, 40);
    EXPECT_FALSE(Read(answer));
}

TEST(HealthQuery, size_other_than_48_is_unreadable) {
    auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
    Put(answer.Bytes, 4, 40);
    EXPECT_FALSE(Read(answer));
}

TEST(HealthQuery, zero_bytes_returned_is_unreadable) {
    auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
    answer.Returned = 0;
    EXPECT_FALSE(Read(answer));
}

TEST(HealthQuery, offset_below_40_is_unreadable) {
    auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
    Put(answer.Bytes, 24, 39);
    EXPECT_FALSE(Read(answer));
}

TEST(HealthQuery, length_below_512_is_unreadable) {
    auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
    Put(answer.Bytes, 28, 511);
    EXPECT_FALSE(Read(answer));
}

TEST(HealthQuery, a_larger_offset_and_length_locate_the_page_further_on) {
    FakePhysicalDrives::Answer answer{std::vector<uint8_t>(kBlockSize, 0), kBlockSize};
    Put(answer.Bytes, 0, 48);
    Put(answer.Bytes, 4, 48);
    Put(answer.Bytes, 24, 100);
    Put(answer.Bytes, 28, 4096);
    answer.Bytes[108] = 0x10;
    Put(answer.Bytes, 108 + 48, 77);
    const auto log = Read(answer);
    ASSERT_TRUE(log);
    EXPECT_EQ(log->CriticalWarning, 16);
    EXPECT_EQ(log->DataUnitsWritten, 77u);
}

TEST(HealthQuery, an_offset_that_puts_the_page_past_the_block_is_unreadable) {
    for (const uint32_t offset : {4096u - 40u + 1u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
        answer.Returned = kBlockSize;
        Put(answer.Bytes, 24, offset);
        EXPECT_FALSE(Read(answer)) << offset;
    }
}

TEST(HealthQuery, a_page_past_the_bytes_the_drive_reported_is_unreadable) {
    auto answer = FakePhysicalDrives::HealthAnswer(0, 1);
    answer.Returned = 8 + 40 + 511;
    EXPECT_FALSE(Read(answer));
    answer.Returned = 8 + 40 + 512;
    EXPECT_TRUE(Read(answer));
}

TEST(HealthQuery, a_reported_count_beyond_the_block_reads_only_the_block) {
    auto answer = FakePhysicalDrives::HealthAnswer(0x02, 9);
    answer.Returned = 0xFFFFFFFFu;
    const auto log = Read(answer);
    ASSERT_TRUE(log);
    EXPECT_EQ(log->CriticalWarning, 2);
}

TEST(HealthQuery, an_answer_shorter_than_the_descriptor_is_unreadable) {
    const Block block = NewHealthQuery();
    EXPECT_FALSE(ReadHealthAnswer(std::span<const uint8_t>(block).first(47), 47));
}

TEST(CriticalWarning, highest_of_bits_0_to_4_and_minus_32_above_31) {
    EXPECT_EQ(CriticalWarningCode(0x00), 0);
    EXPECT_EQ(CriticalWarningCode(0x01), 1);
    EXPECT_EQ(CriticalWarningCode(0x03), 2);
    EXPECT_EQ(CriticalWarningCode(0x05), 4);
    EXPECT_EQ(CriticalWarningCode(0x0F), 8);
    EXPECT_EQ(CriticalWarningCode(0x10), 16);
    EXPECT_EQ(CriticalWarningCode(0x1F), 16);
    EXPECT_EQ(CriticalWarningCode(0x20), -32);
    EXPECT_EQ(CriticalWarningCode(0x21), -32);
    EXPECT_EQ(CriticalWarningCode(0xFF), -32);
}

TEST(CriticalWarning, texts_of_the_six_codes_and_any_other) {
    EXPECT_EQ(CriticalWarningText(0), u"0x00");
    EXPECT_EQ(CriticalWarningText(1), u"0x01");
    EXPECT_EQ(CriticalWarningText(2), u"0x02");
    EXPECT_EQ(CriticalWarningText(4), u"0x04");
    EXPECT_EQ(CriticalWarningText(8), u"0x08");
    EXPECT_EQ(CriticalWarningText(16), u"0x10");
    EXPECT_EQ(CriticalWarningText(-32), u"~0x1f");
    EXPECT_EQ(CriticalWarningText(3), u"~0x1f");
}

} // namespace
