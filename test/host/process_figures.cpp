#include "process_figures.h"

#include "process_handles.h"

#include <vector>
#include <windows.h>
// After <windows.h>, which they need.
#include <psapi.h>
#include <tlhelp32.h>

namespace test_host {
namespace {

std::size_t ThreadCount() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return 0;
    }
    std::size_t count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    const DWORD self = GetCurrentProcessId();
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == self ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

uint64_t BusyBytes(HANDLE heap) {
    uint64_t bytes = 0;
    if (!HeapLock(heap)) {
        return 0;
    }
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            bytes += entry.cbData;
        }
    }
    HeapUnlock(heap);
    return bytes;
}

uint64_t HeapBytes() {
    std::vector<HANDLE> heaps(64);
    DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    if (count > heaps.size()) {
        heaps.resize(count);
        count = GetProcessHeaps(count, heaps.data());
    }
    uint64_t bytes = 0;
    for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
        bytes += BusyBytes(heaps[i]);
    }
    return bytes;
}

uint64_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    if (!GetProcessMemoryInfo(GetCurrentProcess(),
                              reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                              sizeof counters)) {
        return 0;
    }
    return counters.PrivateUsage;
}

} // namespace

ProcessFigures MeasureProcess() {
    ProcessFigures figures;
    figures.handles = OpenHandleCount().value_or(0);
    figures.threads = ThreadCount();
    figures.heapBytes = HeapBytes();
    figures.privateBytes = PrivateBytes();
    return figures;
}

std::string Describe(const ProcessFigures& figures) {
    return "handles " + std::to_string(figures.handles) + ", threads " +
           std::to_string(figures.threads) + ", heap bytes " + std::to_string(figures.heapBytes) +
           ", private bytes " + std::to_string(figures.privateBytes);
}

} // namespace test_host
