#include "plugin_frame/value_chunk.h"

#include <new>

namespace VelmorValueSet {

namespace {

constexpr std::size_t kHeaderSize = ValueChunk::Rounded(sizeof(ValueChunk));

} // namespace

ValueChunk* ValueChunk::Make(std::size_t capacity) {
    void* block = ::operator new(kHeaderSize + capacity, std::nothrow);
    return block != nullptr ? ::new (block) ValueChunk(capacity) : nullptr;
}

unsigned char* ValueChunk::Data() {
    return reinterpret_cast<unsigned char*>(this) + kHeaderSize;
}

void* ValueChunk::Take(std::size_t size) {
    const std::size_t rounded = Rounded(size);
    if (rounded > capacity_ - used_) {
        return nullptr;
    }
    void* taken = Data() + used_;
    used_ += rounded;
    return taken;
}

void ValueChunk::ReaderDone() {
    Release(kReaderBias - placed_);
}

void ValueChunk::Release(uint64_t values) {
    if (holders_.fetch_sub(values, std::memory_order_acq_rel) == values) {
        this->~ValueChunk();
        ::operator delete(static_cast<void*>(this));
    }
}

} // namespace VelmorValueSet
