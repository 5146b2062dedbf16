#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace VelmorValueSet {

// One heap block from which the reader carves the values of a body (and their short payloads and
// nested sets), so reading a tree costs a few allocations instead of one or two per value. Every
// value placed in it holds it; the block goes when the reader and the last such value let go,
// whichever thread that is on.
class ValueChunk {
public:
    static constexpr std::size_t kAlignment = alignof(std::max_align_t);

    // A chunk with room for capacity bytes, for one reader; null when memory runs out.
    static ValueChunk* Make(std::size_t capacity);

    // size bytes aligned to kAlignment; null when the chunk is full. Only the reader calls these.
    void* Take(std::size_t size) {
        const std::size_t rounded = Rounded(size);
        if (rounded > capacity_ - used_) {
            return nullptr;
        }
        void* taken = Data() + used_;
        used_ += rounded;
        return taken;
    }
    std::size_t Room() const { return capacity_ - used_; }
    // Counts one more value placed in the chunk (without an atomic operation: the reader's own
    // hold is a bias that outnumbers them until it lets go).
    void PlaceValue() { ++placed_; }
    // The reader lets go: what stays held is one hold per value placed.
    void ReaderDone();
    // Values placed in the chunk let go.
    void Release(uint64_t values = 1);

    static constexpr std::size_t Rounded(std::size_t size) {
        return (size + kAlignment - 1) / kAlignment * kAlignment;
    }

private:
    explicit ValueChunk(std::size_t capacity) : capacity_(capacity) {}
    static constexpr std::size_t HeaderSize() { return Rounded(sizeof(ValueChunk)); }
    unsigned char* Data() { return reinterpret_cast<unsigned char*>(this) + HeaderSize(); }

    static constexpr uint64_t kReaderBias = uint64_t{1} << 62;

    std::atomic<uint64_t> holders_{kReaderBias};
    uint64_t placed_ = 0;
    std::size_t capacity_;
    std::size_t used_ = 0;
};

} // namespace VelmorValueSet
