#pragma once

#include "recording/record_buffer.h"
#include "recording/record_items.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

// Records per page handed to the user interface, and the bytes of a full page.
inline constexpr int32_t kRecordsPerPage = 600;
inline constexpr std::size_t kPageBytes = std::size_t{kRecordsPerPage} * kRecordBytes;

// The pages a recording hands out: one per started 600 records of its capacity, zeroed at first.
// A read refills them from the ring; a read outside the ring's bounds leaves what they held.
struct PageTable {
    explicit PageTable(int32_t capacity); // throws std::bad_alloc

    std::mutex lock; // held by whoever fills or reads the pages
    std::vector<std::unique_ptr<uint8_t[]>> pages;
    std::vector<uint8_t*> starts; // pages[i].get(), as the ring's read takes them
};

// A reader's hold on a page table: it keeps the table alive, and other readers out, while it
// exists, so a thread lets go of one before asking for the next. Empty when there is no table.
class RecordPages {
public:
    RecordPages() = default;
    explicit RecordPages(std::shared_ptr<PageTable> table);

    explicit operator bool() const { return table_ != nullptr; }
    std::size_t PageCount() const { return table_ ? table_->pages.size() : 0; }
    std::span<const uint8_t, kPageBytes> Page(std::size_t index) const;

private:
    std::shared_ptr<PageTable> table_;
    std::unique_lock<std::mutex> hold_;
};

// Holds the table and, when 1 <= count <= round + 1 and count <= the ring's capacity, refills it
// with the `count` records that end at sequence number `round`. The ring's read throws
// std::invalid_argument ("round is invlid") for a round past the next record to be written.
RecordPages ReadPages(std::shared_ptr<PageTable> table, const RecordBuffer& ring, int32_t round,
                      int32_t count);
