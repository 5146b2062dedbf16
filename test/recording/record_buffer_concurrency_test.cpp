// One writer appends while readers page through the newest records; run under ThreadSanitizer.
#include "record_buffer_pages.h"
#include "recording/record_buffer.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace record_buffer_test;

namespace {

constexpr int32_t kCapacity = 700;
constexpr int32_t kRingRecords = 2 * kCapacity;
constexpr int32_t kAppends = 20'000;
constexpr int kReadsPerReader = 400;

// Reads the newest records again and again. Each must be a whole record; it is the one asked for
// or, when the writer has lapped the reader since the round was taken, a newer one in its slot.
void ReadWhileWriting(const RecordBuffer& buffer, int& badRecords) {
    const Pages pages(2);
    for (int read = 0; read < kReadsPerReader; ++read) {
        const int32_t round = buffer.Written() - 1;
        buffer.Read(round, kCapacity, pages.Get());
        for (int32_t i = 0; i < kCapacity; ++i) {
            const auto page = static_cast<std::size_t>(i / kSectionSize);
            const auto index = static_cast<std::size_t>(i % kSectionSize);
            const int32_t expected = round - kCapacity + 1 + i;
            const auto sequence = pages.SequenceAt(page, index);
            if (!sequence || *sequence < expected || (*sequence - expected) % kRingRecords != 0) {
                ++badRecords;
            }
        }
    }
}

} // namespace

TEST(RecordBufferConcurrency, readers_see_only_whole_records_while_one_writer_appends) {
    RecordBuffer buffer(kCapacity, kUnit, kSectionSize);
    AppendNumbered(buffer, kCapacity); // every reader has a full run to read from the start
    std::vector<int> badRecords(3, 0);
    std::vector<std::thread> readers;
    for (int& bad : badRecords) {
        readers.emplace_back([&buffer, &bad] { ReadWhileWriting(buffer, bad); });
    }
    AppendNumbered(buffer, kAppends - kCapacity);
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(buffer.Written(), kAppends);
    for (const int bad : badRecords) {
        EXPECT_EQ(bad, 0);
    }
}
