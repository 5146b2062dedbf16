#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

// The in-memory ring of fixed-size records that a running recording fills. One writer appends;
// any number of readers copy a run of consecutive records, ending at a given sequence number, into
// pages of sectionSize records each.
//
// The ring holds twice the capacity, so a reader can copy the newest `capacity` records while the
// writer keeps appending. A record's position is (sequence number * unit) mod ring size, stored in
// heap blocks of unit * 8192 bytes; copies are split wherever they meet a block end or the ring's
// end.
//
// Failures throw std::invalid_argument or std::runtime_error with the recording's fixed texts.
class RecordBuffer {
public:
    RecordBuffer(int32_t capacity, uint32_t unit, int32_t sectionSize);
    RecordBuffer(const RecordBuffer&) = delete;
    RecordBuffer& operator=(const RecordBuffer&) = delete;

    int32_t Capacity() const noexcept { return capacity_; }
    // Records appended so far; the newest record's sequence number is Written() - 1.
    int32_t Written() const noexcept { return written_.load(std::memory_order_acquire); }

    // Copies exactly `unit` bytes from record.
    void Append(const void* record);
    // Copies `count` records, the last one with sequence number `round`, into pages[0], pages[1],
    // ...; each page takes sectionSize * unit bytes.
    void Read(int32_t round, int32_t count, uint8_t* const* pages) const;
    void ReadLatest(int32_t count, uint8_t* const* pages) const;

private:
    // The bytes from position to the end of its block or of the ring, whichever comes first.
    std::span<uint8_t> RunAt(uint64_t position) const;
    void CopyOut(uint64_t position, uint8_t* destination, uint64_t size) const;

    int32_t capacity_;
    uint32_t unit_;
    int32_t sectionSize_;
    std::atomic<int32_t> written_{0};
    uint64_t blockBytes_ = 0;
    uint64_t ringBytes_ = 0;
    uint64_t writeOffset_ = 0;
    std::vector<std::unique_ptr<uint8_t[]>> blocks_;
    // A plain mutex, not a reader-writer lock: the MinGW run-time's reader-writer lock keeps a
    // record of every thread that takes it, and the one it keeps for the host's thread (which
    // reads pages and outlives the module) is never closed when the module is unloaded: a
    // thread handle, an event and two semaphores per recording. Readers copy a few pages at a
    // time, so they gain little from sharing the lock.
    mutable std::mutex lock_;
};
