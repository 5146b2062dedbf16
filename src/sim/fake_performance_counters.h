#pragma once

#include "ports/performance_counters.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace sim {

// The performance counters of a simulated machine. A counter path the test has not set cannot be
// added (PDH_CSTATUS_NO_COUNTER); every step can be made to fail with a status of the test's
// choice. Values may change between samples, from any thread.
class FakePerformanceCounters final : public ports::PerformanceCounters {
public:
    struct Counter {
        double Value = 0.0;
        uint32_t AddStatus = ports::kPdhSuccess;
        uint32_t ReadStatus = ports::kPdhSuccess;
    };

    FakePerformanceCounters();

    // Sets a counter's value, making it exist if it did not.
    void SetValue(const std::u16string& path, double value);
    void FailAdd(const std::u16string& path, uint32_t status);
    void FailRead(const std::u16string& path, uint32_t status);
    void FailOpen(uint32_t status);
    void FailCollect(uint32_t status);

    int Opens() const;
    int Collects() const;
    // Queries open now (opened and not yet destroyed).
    int OpenQueries() const;

    ports::OpenedQuery OpenQuery() override;

private:
    struct State;
    class Query;
    std::shared_ptr<State> m_state;
};

} // namespace sim
