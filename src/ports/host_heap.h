#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ports {

// The heap that buffers crossing the host boundary live on: answers the plug-in hands to the host
// and answers the host hands back are allocated by one side and freed by the other, so both must
// use this same heap (on Windows, the process heap).
class HostHeap {
public:
    virtual ~HostHeap() = default;

    // Null when the heap cannot give size bytes.
    virtual void* Allocate(std::size_t size) = 0;
    // Takes a block from Allocate, or null (no action).
    virtual void Free(void* block) = 0;
};

// Owns a block of a HostHeap until it is freed or released to the other side.
struct HostHeapFree {
    HostHeap* Heap;
    void operator()(uint8_t* block) const { Heap->Free(block); }
};
using HostHeapBlock = std::unique_ptr<uint8_t, HostHeapFree>;

} // namespace ports
