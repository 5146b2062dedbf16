#include "plugin_frame/value_chunk.h"

#include <new>

namespace VelmorValueSet {

ValueChunk* ValueChunk::Make(std::size_t capacity) {
    void* block = ::operator new(HeaderSize() + capacity, std::nothrow);
    return block != nullptr ? ::new (block) ValueChunk(capacity) : nullptr;
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
