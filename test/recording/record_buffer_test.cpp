#include "record_buffer_pages.h"
#include "recording/record_buffer.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>

using namespace record_buffer_test;

namespace {

// The exception's type and its exact text.
template <typename Exception>
void ExpectThrows(const std::function<void()>& action, const std::string& text) {
    try {
        action();
        ADD_FAILURE() << "no exception, expected \"" << text << "\"";
    } catch (const Exception& error) {
        EXPECT_EQ(error.what(), text);
    } catch (const std::exception& error) {
        ADD_FAILURE() << "wrong exception type with text \"" << error.what() << "\"";
    }
}

void ExpectInvalid(const std::function<void()>& action, const std::string& text) {
    ExpectThrows<std::invalid_argument>(action, text);
}

void ExpectOutOfMemory(const std::function<void()>& action) {
    ExpectThrows<std::runtime_error>(action, "out of memory");
}

// Page `page` holds records first, first + 1, ... from its start, `count` of them.
void ExpectRun(const Pages& pages, std::size_t page, int32_t first, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        EXPECT_EQ(pages.SequenceAt(page, static_cast<std::size_t>(i)), first + i)
            << "page " << page << " record " << i;
    }
}

} // namespace

TEST(RecordBuffer, unit_80_is_accepted) {
    const RecordBuffer buffer(600, 80, 600);
    EXPECT_EQ(buffer.Capacity(), 600);
    EXPECT_EQ(buffer.Written(), 0);
}

TEST(RecordBuffer, unit_84_is_not_a_multiple_of_8) {
    ExpectInvalid([] { RecordBuffer(600, 84, 600); }, "unit is not valid");
}

TEST(RecordBuffer, unit_0_is_not_valid) {
    ExpectInvalid([] { RecordBuffer(600, 0, 600); }, "unit is not valid");
}

TEST(RecordBuffer, capacity_0_fails_before_unit_is_looked_at) {
    ExpectInvalid([] { RecordBuffer(0, 84, 0); }, "capacity is not valid");
    ExpectInvalid([] { RecordBuffer(-1, 80, 600); }, "capacity is not valid");
}

TEST(RecordBuffer, unit_is_checked_before_section_size) {
    ExpectInvalid([] { RecordBuffer(1, 84, 0); }, "unit is not valid");
}

TEST(RecordBuffer, section_size_below_1_is_not_valid) {
    ExpectInvalid([] { RecordBuffer(1, 80, 0); }, "sectionSize is not valid");
    ExpectInvalid([] { RecordBuffer(1, 80, -600); }, "sectionSize is not valid");
}

TEST(RecordBuffer, ring_size_beyond_32_bits_is_out_of_memory_instead_of_wrapping) {
    // 26,843,546 records of 80 bytes, doubled, is just over 4 GiB.
    ExpectOutOfMemory([] { RecordBuffer(26'843'546, 80, 600); });
    ExpectOutOfMemory([] { RecordBuffer(std::numeric_limits<int32_t>::max(), 80, 600); });
    ExpectOutOfMemory([] { RecordBuffer(1, 0x8000'0000u, 600); });
}

TEST(RecordBuffer, written_counts_every_append_past_the_ring_end) {
    RecordBuffer buffer(2, kUnit, kSectionSize);
    AppendNumbered(buffer, 10);
    EXPECT_EQ(buffer.Written(), 10);
}

TEST(RecordBuffer, null_record_is_data_is_null_and_not_counted) {
    RecordBuffer buffer(3, kUnit, kSectionSize);
    ExpectInvalid([&] { buffer.Append(nullptr); }, "data is null");
    EXPECT_EQ(buffer.Written(), 0);
}

// Capacity 600 in the recorder's shape, and one page to read into.
class RecordBufferOf600 : public testing::Test {
protected:
    RecordBuffer buffer{600, kUnit, kSectionSize};
    const Pages pages{1};
};

// Records 0, 1 and 2 written.
class RecordBufferWithThreeRecords : public RecordBufferOf600 {
protected:
    void SetUp() override { AppendNumbered(buffer, 3); }
};

TEST_F(RecordBufferWithThreeRecords, round_2_count_3_returns_records_0_to_2) {
    buffer.Read(2, 3, pages.Get());
    ExpectRun(pages, 0, 0, 3);
    EXPECT_TRUE(pages.Untouched(0, 3));
}

TEST_F(RecordBufferWithThreeRecords, count_above_round_plus_1_is_invlid) {
    ExpectInvalid([&] { buffer.Read(2, 4, pages.Get()); }, "count is invlid");
}

TEST_F(RecordBufferWithThreeRecords, round_equal_to_written_returns_the_unwritten_slot) {
    buffer.Read(3, 1, pages.Get());
    EXPECT_EQ(pages.SequenceAt(0, 0), kUnwritten);
}

TEST_F(RecordBufferWithThreeRecords, round_beyond_written_is_invlid) {
    ExpectInvalid([&] { buffer.Read(4, 1, pages.Get()); }, "round is invlid");
}

TEST_F(RecordBufferWithThreeRecords, count_is_checked_before_round) {
    ExpectInvalid([&] { buffer.Read(10, 11, pages.Get()); }, "round is invlid");
    ExpectInvalid([&] { buffer.Read(10, 12, pages.Get()); }, "count is invlid");
}

TEST_F(RecordBufferWithThreeRecords, null_pages_are_data_is_null_before_count_is_checked) {
    ExpectInvalid([&] { buffer.Read(2, 3, nullptr); }, "data is null");
    ExpectInvalid([&] { buffer.Read(2, 0, nullptr); }, "data is null");
}

TEST(RecordBuffer, count_outside_1_to_capacity_is_invlid) {
    RecordBuffer buffer(600, kUnit, kSectionSize);
    AppendNumbered(buffer, 700);
    const Pages pages(2);
    ExpectInvalid([&] { buffer.Read(699, 0, pages.Get()); }, "count is invlid");
    ExpectInvalid([&] { buffer.Read(699, -1, pages.Get()); }, "count is invlid");
    ExpectInvalid([&] { buffer.Read(699, 601, pages.Get()); }, "count is invlid");
}

TEST(RecordBuffer, negative_round_is_rejected_by_the_count_check) {
    RecordBuffer buffer(600, kUnit, kSectionSize);
    const Pages pages(1);
    ExpectInvalid([&] { buffer.Read(-1, 1, pages.Get()); }, "count is invlid");
    ExpectInvalid([&] { buffer.ReadLatest(1, pages.Get()); }, "count is invlid");
}

TEST(RecordBuffer, largest_round_does_not_overflow_the_count_check) {
    RecordBuffer buffer(600, kUnit, kSectionSize);
    const Pages pages(1);
    ExpectInvalid([&] { buffer.Read(std::numeric_limits<int32_t>::max(), 1, pages.Get()); },
                  "round is invlid");
}

TEST(RecordBuffer, a_null_page_that_the_read_needs_is_data_is_null) {
    RecordBuffer buffer(601, kUnit, kSectionSize);
    AppendNumbered(buffer, 601);
    uint8_t first[kSectionSize * kUnit];
    uint8_t* const pages[] = {first, nullptr};
    ExpectInvalid([&] { buffer.Read(600, 601, pages); }, "data is null");
    EXPECT_NO_THROW(buffer.Read(599, 600, pages));
}

// Capacity 600 after 1,500 appends: the ring of 1,200 slots has wrapped once.
class RecordBufferAfter1500Appends : public RecordBufferOf600 {
protected:
    void SetUp() override { AppendNumbered(buffer, 1500); }
};

TEST_F(RecordBufferAfter1500Appends, round_1499_count_600_returns_records_900_to_1499_in_one_page) {
    buffer.Read(1499, 600, pages.Get());
    ExpectRun(pages, 0, 900, 600);
}

TEST_F(RecordBufferAfter1500Appends, records_more_than_1200_back_are_overwritten) {
    buffer.Read(299, 1, pages.Get());
    EXPECT_EQ(pages.SequenceAt(0, 0), 1499);
    buffer.Read(300, 1, pages.Get());
    EXPECT_EQ(pages.SequenceAt(0, 0), 300);
}

TEST(RecordBuffer, count_601_with_section_600_fills_two_pages_the_second_with_one_record) {
    RecordBuffer buffer(601, kUnit, kSectionSize);
    AppendNumbered(buffer, 601);
    const Pages pages(2);
    buffer.Read(600, 601, pages.Get());
    ExpectRun(pages, 0, 0, 600);
    EXPECT_EQ(pages.SequenceAt(1, 0), 600);
    EXPECT_TRUE(pages.Untouched(1, 1));
}

TEST(RecordBuffer, a_page_that_crosses_the_ring_end_continues_at_its_start) {
    RecordBuffer buffer(3, kUnit, 3); // a ring of six records
    AppendNumbered(buffer, 8);        // records 6 and 7 are in slots 0 and 1
    const Pages pages(1, 3);
    buffer.Read(7, 3, pages.Get());
    ExpectRun(pages, 0, 5, 3);
}

TEST(RecordBuffer, pages_after_a_ring_wrap_line_up) {
    RecordBuffer buffer(3, kUnit, 2);
    AppendNumbered(buffer, 7);
    const Pages pages(2, 2);
    buffer.Read(6, 3, pages.Get());
    ExpectRun(pages, 0, 4, 2);
    EXPECT_EQ(pages.SequenceAt(1, 0), 6);
    EXPECT_TRUE(pages.Untouched(1, 1));
}

TEST(RecordBuffer, capacity_10000_reads_back_across_the_block_boundary_and_the_ring_wrap) {
    // A ring of 20,000 records in blocks of 8,192: records 15,000-24,999 start in the second
    // block, run into the third and wrap to the first.
    RecordBuffer buffer(10'000, kUnit, kSectionSize);
    AppendNumbered(buffer, 25'000);
    const Pages pages(17);
    buffer.Read(24'999, 10'000, pages.Get());
    for (std::size_t page = 0; page < 16; ++page) {
        ExpectRun(pages, page, 15'000 + static_cast<int32_t>(page) * kSectionSize, kSectionSize);
    }
    ExpectRun(pages, 16, 24'600, 400);
    EXPECT_TRUE(pages.Untouched(16, 400));
}

TEST(RecordBuffer, read_latest_ends_at_the_newest_record) {
    RecordBuffer buffer(10'000, kUnit, kSectionSize);
    AppendNumbered(buffer, 16'384); // the newest record is the last of the second block
    const Pages pages(1);
    buffer.ReadLatest(60, pages.Get());
    ExpectRun(pages, 0, 16'324, 60);
    AppendNumbered(buffer, 1);
    buffer.ReadLatest(2, pages.Get());
    ExpectRun(pages, 0, 16'383, 2);
}
