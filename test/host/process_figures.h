#pragma once
// What this process holds, for load and unload cycles under Wine: open handles, threads, bytes
// in use on its heaps and its private bytes.
#include <cstddef>
#include <cstdint>
#include <string>

namespace test_host {

struct ProcessFigures {
    std::size_t handles = 0;   // entries of the system's handle table (OpenHandleCount)
    std::size_t threads = 0;   // the process's threads in a Toolhelp snapshot
    uint64_t heapBytes = 0;    // busy blocks of every heap of the process (HeapWalk)
    uint64_t privateBytes = 0; // PrivateUsage of GetProcessMemoryInfo; pages, not blocks

    // Handles, threads and heap bytes: what a cycle must give back exactly. Private bytes follow
    // the heaps' committed pages and are reported, not compared.
    bool SameHoldings(const ProcessFigures& other) const {
        return handles == other.handles && threads == other.threads && heapBytes == other.heapBytes;
    }
};

ProcessFigures MeasureProcess();
std::string Describe(const ProcessFigures& figures);

} // namespace test_host
