#pragma once

#include "ports/performance_counters.h"

namespace win32 {

// Performance counters through PDH: PdhOpenQueryW with no data source, PdhAddEnglishCounterW,
// PdhCollectQueryData and PdhGetFormattedCounterValue as a double; PdhCloseQuery when the query
// goes.
class Win32PerformanceCounters final : public ports::PerformanceCounters {
public:
    ports::OpenedQuery OpenQuery() override;
};

} // namespace win32
