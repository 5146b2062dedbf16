#pragma once

#include "ports/host_heap.h"

namespace win32 {

// The process heap (HeapAlloc / HeapFree on GetProcessHeap()), which the service host uses for
// the buffers it exchanges with its plug-ins.
class ProcessHeap final : public ports::HostHeap {
public:
    void* Allocate(std::size_t size) override;
    void Free(void* block) override;
};

} // namespace win32
