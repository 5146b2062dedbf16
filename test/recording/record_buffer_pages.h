#pragma once

#include "recording/record_buffer.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

// Records of the recorder's shape (ten doubles). Record n holds n + 1 in every value, so a slot
// that was never written (all zero) reads back as sequence number -1.
namespace record_buffer_test {

inline constexpr uint32_t kUnit = 80;
inline constexpr int32_t kSectionSize = 600;
inline constexpr int32_t kUnwritten = -1;
inline constexpr std::size_t kValuesPerRecord = kUnit / sizeof(double);

inline void AppendNumbered(RecordBuffer& buffer, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        double record[kValuesPerRecord];
        for (double& value : record) {
            value = buffer.Written() + 1;
        }
        buffer.Append(record);
    }
}

// Caller pages, filled with a marker byte so that untouched bytes are told from copied ones.
class Pages {
public:
    explicit Pages(std::size_t pageCount, int32_t sectionSize = kSectionSize)
        : storage_(pageCount,
                   std::vector<uint8_t>(static_cast<std::size_t>(sectionSize) * kUnit, kMarker)),
          pointers_(pageCount) {
        for (std::size_t i = 0; i < pageCount; ++i) {
            pointers_[i] = storage_[i].data();
        }
    }
    uint8_t* const* Get() const { return pointers_.data(); }

    // The sequence number of the record at `index` of `page`; empty when its ten values disagree
    // or are not a whole record.
    std::optional<int32_t> SequenceAt(std::size_t page, std::size_t index) const {
        double values[kValuesPerRecord];
        std::memcpy(values, storage_[page].data() + index * kUnit, kUnit);
        for (double value : values) {
            if (value != values[0]) {
                return std::nullopt;
            }
        }
        return static_cast<int32_t>(values[0]) - 1;
    }
    bool Untouched(std::size_t page, std::size_t index) const {
        const uint8_t* record = storage_[page].data() + index * kUnit;
        for (std::size_t i = 0; i < kUnit; ++i) {
            if (record[i] != kMarker) {
                return false;
            }
        }
        return true;
    }

private:
    static constexpr uint8_t kMarker = 0xA5;
    std::vector<std::vector<uint8_t>> storage_;
    std::vector<uint8_t*> pointers_;
};

} // namespace record_buffer_test
