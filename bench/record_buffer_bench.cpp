// The page copy a command 18 request makes of 4,096 records (ReadLatest into 600-record pages),
// against plain memcpy of the same bytes.
#include "recording/record_buffer.h"
#include "recording/record_items.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>
#include <vector>

namespace {

constexpr int32_t kRecords = 4096;
constexpr int32_t kSectionSize = 600;
constexpr std::size_t kPageBytes = std::size_t{kSectionSize} * kRecordBytes;
constexpr std::size_t kTotalBytes = std::size_t{kRecords} * kRecordBytes;
constexpr std::size_t kPageCount = (kTotalBytes + kPageBytes - 1) / kPageBytes;

class PageSet {
public:
    PageSet() : storage_(kPageCount, std::vector<uint8_t>(kPageBytes)) {
        for (auto& page : storage_) {
            pointers_.push_back(page.data());
        }
    }
    uint8_t* const* Get() const { return pointers_.data(); }

private:
    std::vector<std::vector<uint8_t>> storage_;
    std::vector<uint8_t*> pointers_;
};

// A full buffer of capacity `capacity` whose newest records end `appends` records into the ring.
void ReadLatest(benchmark::State& state, int32_t capacity, int32_t appends) {
    RecordBuffer buffer(capacity, kRecordBytes, kSectionSize);
    uint8_t record[kRecordBytes] = {};
    for (int32_t i = 0; i < appends; ++i) {
        buffer.Append(record);
    }
    const PageSet pages;
    for (auto _ : state) {
        buffer.ReadLatest(kRecords, pages.Get());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotalBytes));
}

// Newest record at the end of the ring's first half: one run, no split.
void BM_ReadLatest4096_OneRun(benchmark::State& state) {
    ReadLatest(state, kRecords, kRecords);
}

// Newest records straddle the ring's end: every read splits a page there.
void BM_ReadLatest4096_AcrossRingEnd(benchmark::State& state) {
    ReadLatest(state, kRecords, 2 * kRecords + kRecords / 2);
}

// Capacity 10,000 with the 4,096 newest records across the first block's end.
void BM_ReadLatest4096_AcrossBlockEnd(benchmark::State& state) {
    ReadLatest(state, 10'000, 8192 + kRecords / 2);
}

// The same bytes into the same pages with memcpy from one contiguous source.
void BM_MemcpyIntoPages(benchmark::State& state) {
    const std::vector<uint8_t> source(kTotalBytes, 0x5A);
    const PageSet pages;
    for (auto _ : state) {
        for (std::size_t copied = 0, page = 0; copied < kTotalBytes; copied += kPageBytes, ++page) {
            std::memcpy(pages.Get()[page], source.data() + copied,
                        std::min(kPageBytes, kTotalBytes - copied));
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotalBytes));
}

// One memcpy of all 327,680 bytes.
void BM_MemcpyContiguous(benchmark::State& state) {
    const std::vector<uint8_t> source(kTotalBytes, 0x5A);
    std::vector<uint8_t> destination(kTotalBytes);
    for (auto _ : state) {
        std::memcpy(destination.data(), source.data(), kTotalBytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotalBytes));
}

} // namespace

BENCHMARK(BM_ReadLatest4096_OneRun);
BENCHMARK(BM_ReadLatest4096_AcrossRingEnd);
BENCHMARK(BM_ReadLatest4096_AcrossBlockEnd);
BENCHMARK(BM_MemcpyIntoPages);
BENCHMARK(BM_MemcpyContiguous);

BENCHMARK_MAIN();
