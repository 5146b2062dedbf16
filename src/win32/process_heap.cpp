#include "win32/process_heap.h"

#include <windows.h>

namespace win32 {

void* ProcessHeap::Allocate(std::size_t size) {
    return HeapAlloc(GetProcessHeap(), 0, size);
}

void ProcessHeap::Free(void* block) {
    if (block != nullptr) {
        HeapFree(GetProcessHeap(), 0, block);
    }
}

} // namespace win32
