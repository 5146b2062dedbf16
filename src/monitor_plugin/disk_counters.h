#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct PluginPorts;

// A counter value read as a double, with the status of the read.
struct CounterReading {
    int32_t Status = 0; // 0 on success, a PDH status otherwise
    double Value = 0.0;
};

// The performance-counter query behind command 3: one query, counters added to it by English
// path into numbered slots, collected together and read one by one. Every call gives the status
// the counter library returned.
class DiskCounters {
public:
    virtual ~DiskCounters() = default;

    virtual int32_t OpenQuery() = 0;
    virtual int32_t AddCounter(std::size_t slot, const std::u16string& englishPath) = 0;
    virtual int32_t Collect() = 0;
    virtual CounterReading Read(std::size_t slot) = 0;
    // Removes the counters and closes the query; the next OpenQuery starts afresh.
    virtual void Close() = 0;
};

std::unique_ptr<DiskCounters> NewDiskCounters(const PluginPorts& ports);
