#pragma once

#include "ports/host_heap.h"

#include <cstdlib>

namespace sim {

// The C heap as the host heap of native builds.
class NativeHeap final : public ports::HostHeap {
public:
    void* Allocate(std::size_t size) override { return std::malloc(size); }
    void Free(void* block) override { std::free(block); }
};

} // namespace sim
