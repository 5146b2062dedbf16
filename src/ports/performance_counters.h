#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ports {

// Statuses of the performance-counter library, as its PDH_STATUS codes (0 = success).
inline constexpr uint32_t kPdhSuccess = 0;
inline constexpr uint32_t kPdhInvalidHandle = 0xC0000BBC;
inline constexpr uint32_t kPdhInvalidArgument = 0xC0000BBD;
inline constexpr uint32_t kPdhCounterNotFound = 0xC0000BB9;
inline constexpr uint32_t kPdhInvalidData = 0xC0000BC6;

// A counter added to a query; 0 is no counter.
using CounterHandle = uintptr_t;

struct CounterValue {
    uint32_t Status = kPdhSuccess;
    double Value = 0.0;
};

// An open counter query. Destroying it closes the query and its counters.
class CounterQuery {
public:
    virtual ~CounterQuery() = default;

    // Adds a counter by its English path; on success `counter` names it.
    virtual uint32_t AddEnglishCounter(const std::u16string& path, CounterHandle& counter) = 0;
    // Takes one sample of every counter of the query.
    virtual uint32_t CollectQueryData() = 0;
    // The counter's value from the last samples, formatted as a double.
    virtual CounterValue FormattedDouble(CounterHandle counter) = 0;
};

struct OpenedQuery {
    uint32_t Status = kPdhSuccess;
    std::unique_ptr<CounterQuery> Query; // set exactly when Status is success
};

// The system's performance counters (PDH).
class PerformanceCounters {
public:
    virtual ~PerformanceCounters() = default;
    // Opens a real-time query.
    virtual OpenedQuery OpenQuery() = 0;
};

} // namespace ports
