#pragma once

#include "plugin_frame/value_chunk.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace VelmorValueSet {

// The growable array of a set's entries. A set read from a body gets its block carved from the
// reader's chunk, sized for the body, so reading a set allocates nothing of its own; a block that
// must grow later moves to the heap. The block holds its chunk like a value placed in it does.
template <typename T>
class ChunkVector {
public:
    ChunkVector() = default;
    ~ChunkVector() { reset(); }
    ChunkVector(ChunkVector&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)),
          capacity_(std::exchange(other.capacity_, 0)),
          chunk_(std::exchange(other.chunk_, nullptr)) {}
    ChunkVector& operator=(ChunkVector&& other) noexcept {
        if (this != &other) {
            reset();
            data_ = std::exchange(other.data_, nullptr);
            size_ = std::exchange(other.size_, 0);
            capacity_ = std::exchange(other.capacity_, 0);
            chunk_ = std::exchange(other.chunk_, nullptr);
        }
        return *this;
    }
    ChunkVector(const ChunkVector&) = delete;
    ChunkVector& operator=(const ChunkVector&) = delete;

    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + size_; }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T& back() { return data_[size_ - 1]; }
    const T& back() const { return data_[size_ - 1]; }

    // For the reader only, on an empty vector without a block: room for count elements carved
    // from the chunk. False (and nothing taken) when the chunk has no room for them.
    bool ReserveIn(ValueChunk& chunk, std::size_t count) {
        void* block = count != 0 ? chunk.Take(count * sizeof(T)) : nullptr;
        if (block == nullptr) {
            return false;
        }
        chunk.PlaceValue();
        data_ = static_cast<T*>(block);
        capacity_ = count;
        chunk_ = &chunk;
        return true;
    }

    template <typename... Args>
    T& emplace_back(Args&&... args) {
        if (size_ == capacity_) {
            Grow();
        }
        T* slot = ::new (static_cast<void*>(data_ + size_)) T(std::forward<Args>(args)...);
        ++size_;
        return *slot;
    }

    // Inserts before position; the element is made first, so a failure changes nothing.
    template <typename... Args>
    T* emplace(T* position, Args&&... args) {
        T element(std::forward<Args>(args)...);
        const std::size_t index = static_cast<std::size_t>(position - data_);
        if (size_ == capacity_) {
            Grow();
        }
        if (index == size_) {
            ::new (static_cast<void*>(data_ + size_)) T(std::move(element));
        } else {
            ::new (static_cast<void*>(data_ + size_)) T(std::move(data_[size_ - 1]));
            std::move_backward(data_ + index, data_ + size_ - 1, data_ + size_);
            data_[index] = std::move(element);
        }
        ++size_;
        return data_ + index;
    }

    // Destroys the elements and keeps the block.
    void clear() {
        std::destroy(data_, data_ + size_);
        size_ = 0;
    }
    // Destroys the elements and lets go of the block, so an emptied set does not keep the chunk
    // of a body it once read.
    void reset() {
        clear();
        FreeBlock();
    }

private:
    static constexpr std::size_t kFirstCapacity = 4;

    // Moves the elements to a heap block twice as large; throws bad_alloc as a vector does.
    void Grow() {
        const std::size_t capacity = capacity_ != 0 ? 2 * capacity_ : kFirstCapacity;
        T* block = static_cast<T*>(::operator new(capacity * sizeof(T)));
        std::uninitialized_move(data_, data_ + size_, block);
        std::destroy(data_, data_ + size_);
        FreeBlock();
        data_ = block;
        capacity_ = capacity;
    }

    void FreeBlock() {
        if (chunk_ != nullptr) {
            chunk_->Release();
        } else if (data_ != nullptr) {
            ::operator delete(static_cast<void*>(data_));
        }
        data_ = nullptr;
        capacity_ = 0;
        chunk_ = nullptr;
    }

    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    ValueChunk* chunk_ = nullptr; // the chunk the block was carved from; null for a heap block
};

} // namespace VelmorValueSet
