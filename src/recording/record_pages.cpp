#include "recording/record_pages.h"

PageTable::PageTable(int32_t capacity) {
    const auto count = (static_cast<std::size_t>(capacity) + kRecordsPerPage - 1) / kRecordsPerPage;
    pages.reserve(count);
    starts.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        pages.push_back(std::make_unique<uint8_t[]>(kPageBytes));
        starts.push_back(pages.back().get());
    }
}

RecordPages::RecordPages(std::shared_ptr<PageTable> table)
    : table_(std::move(table)), hold_(table_->lock) {}

std::span<const uint8_t, kPageBytes> RecordPages::Page(std::size_t index) const {
    return std::span<const uint8_t, kPageBytes>(table_->pages.at(index).get(), kPageBytes);
}

RecordPages ReadPages(std::shared_ptr<PageTable> table, const RecordBuffer& ring, int32_t round,
                      int32_t count) {
    PageTable& pages = *table;
    RecordPages hold(std::move(table));
    if (count >= 1 && count <= int64_t{round} + 1 && count <= ring.Capacity()) {
        ring.Read(round, count, pages.starts.data());
    }
    return hold;
}
