#include "win32/win32_performance_counters.h"

#include "win32/unique_handle.h"
#include "win32/wide.h"

#include <pdh.h>

namespace win32 {
namespace {

void CloseQuery(PDH_HQUERY query) noexcept {
    ::PdhCloseQuery(query);
}
using UniqueQuery = UniqueAny<NullIsEmpty<PDH_HQUERY, &CloseQuery>>;

class Win32CounterQuery final : public ports::CounterQuery {
public:
    explicit Win32CounterQuery(PDH_HQUERY query) : m_query(query) {}

    uint32_t AddEnglishCounter(const std::u16string& path, ports::CounterHandle& counter) override {
        PDH_HCOUNTER added = nullptr;
        const PDH_STATUS status = ::PdhAddEnglishCounterW(m_query.get(), AsWide(path), 0, &added);
        if (status == ERROR_SUCCESS) {
            counter = reinterpret_cast<ports::CounterHandle>(added);
        }
        return static_cast<uint32_t>(status);
    }

    uint32_t CollectQueryData() override {
        return static_cast<uint32_t>(::PdhCollectQueryData(m_query.get()));
    }

    ports::CounterValue FormattedDouble(ports::CounterHandle counter) override {
        PDH_FMT_COUNTERVALUE value{};
        const PDH_STATUS status = ::PdhGetFormattedCounterValue(
            reinterpret_cast<PDH_HCOUNTER>(counter), PDH_FMT_DOUBLE, nullptr, &value);
        if (status != ERROR_SUCCESS) {
            return {static_cast<uint32_t>(status), 0.0};
        }
        return {ports::kPdhSuccess, value.doubleValue};
    }

private:
    UniqueQuery m_query;
};

} // namespace

ports::OpenedQuery Win32PerformanceCounters::OpenQuery() {
    PDH_HQUERY query = nullptr;
    const PDH_STATUS status = ::PdhOpenQueryW(nullptr, 0, &query);
    if (status != ERROR_SUCCESS) {
        return {static_cast<uint32_t>(status), nullptr};
    }
    return {ports::kPdhSuccess, std::make_unique<Win32CounterQuery>(query)};
}

} // namespace win32
