#include "recording/record_buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <stdexcept>

namespace {

constexpr uint64_t kRecordsPerBlock = 8192;
// The ring's size is 32-bit arithmetic in this system; a capacity whose ring would not fit is
// refused instead of wrapping to a small ring.
constexpr uint64_t kMaxRingBytes = std::numeric_limits<uint32_t>::max();

} // namespace

RecordBuffer::RecordBuffer(int32_t capacity, uint32_t unit, int32_t sectionSize)
    : capacity_(capacity), unit_(unit), sectionSize_(sectionSize) {
    if (capacity <= 0) {
        throw std::invalid_argument("capacity is not valid");
    }
    if (unit < 1 || unit % 8 != 0) {
        throw std::invalid_argument("unit is not valid");
    }
    if (sectionSize < 1) {
        throw std::invalid_argument("sectionSize is not valid");
    }
    ringBytes_ = static_cast<uint64_t>(capacity) * unit * 2;
    if (ringBytes_ > kMaxRingBytes) {
        throw std::runtime_error("out of memory");
    }
    blockBytes_ = static_cast<uint64_t>(unit) * kRecordsPerBlock;
    try {
        blocks_.reserve((ringBytes_ + blockBytes_ - 1) / blockBytes_);
        // The last block holds only what is left of the ring; make_unique zero-fills.
        for (uint64_t start = 0; start < ringBytes_; start += blockBytes_) {
            blocks_.push_back(
                std::make_unique<uint8_t[]>(std::min(blockBytes_, ringBytes_ - start)));
        }
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("out of memory");
    }
}

void RecordBuffer::Append(const void* record) {
    if (record == nullptr) {
        throw std::invalid_argument("data is null");
    }
    std::lock_guard guard(lock_);
    // Blocks and the ring are whole multiples of unit, so a record never straddles either.
    std::memcpy(RunAt(writeOffset_).data(), record, unit_);
    writeOffset_ += unit_;
    if (writeOffset_ >= ringBytes_) {
        writeOffset_ -= ringBytes_;
    }
    // The count stops at its maximum (24 days of 1 ms samples) rather than turning negative.
    const int32_t written = written_.load(std::memory_order_relaxed);
    if (written < std::numeric_limits<int32_t>::max()) {
        written_.store(written + 1, std::memory_order_release);
    }
}

void RecordBuffer::Read(int32_t round, int32_t count, uint8_t* const* pages) const {
    if (pages == nullptr) {
        throw std::invalid_argument("data is null");
    }
    if (count < 1 || count > static_cast<int64_t>(round) + 1 || count > capacity_) {
        throw std::invalid_argument("count is invlid");
    }
    const uint64_t pageBytes = static_cast<uint64_t>(sectionSize_) * unit_;
    const uint64_t total = static_cast<uint64_t>(count) * unit_;
    const uint64_t pageCount = (total + pageBytes - 1) / pageBytes;
    if (std::any_of(pages, pages + pageCount,
                    [](const uint8_t* page) { return page == nullptr; })) {
        throw std::invalid_argument("data is null");
    }

    std::lock_guard guard(lock_);
    // round >= 0 follows from the count check. round == written is admitted on purpose: that slot
    // is not written yet and reads as zeros or as the record it is about to replace.
    if (round > written_.load(std::memory_order_relaxed)) {
        throw std::invalid_argument("round is invlid");
    }
    uint64_t position = static_cast<uint64_t>(round - count + 1) * unit_ % ringBytes_;
    for (uint64_t copied = 0, page = 0; copied < total; copied += pageBytes, ++page) {
        const uint64_t size = std::min(pageBytes, total - copied);
        CopyOut(position, pages[page], size);
        position = (position + size) % ringBytes_;
    }
}

void RecordBuffer::ReadLatest(int32_t count, uint8_t* const* pages) const {
    Read(Written() - 1, count, pages);
}

std::span<uint8_t> RecordBuffer::RunAt(uint64_t position) const {
    const uint64_t block = position / blockBytes_;
    const uint64_t offset = position % blockBytes_;
    const uint64_t blockEnd = std::min(blockBytes_, ringBytes_ - block * blockBytes_);
    return {blocks_[block].get() + offset, blockEnd - offset};
}

void RecordBuffer::CopyOut(uint64_t position, uint8_t* destination, uint64_t size) const {
    while (size > 0) {
        const std::span<uint8_t> run = RunAt(position);
        const uint64_t n = std::min<uint64_t>(size, run.size());
        std::memcpy(destination, run.data(), n);
        destination += n;
        size -= n;
        position = (position + n) % ringBytes_;
    }
}
