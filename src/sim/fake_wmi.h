#pragma once

#include "ports/wmi.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

// WMI of a simulated machine: the objects each WQL query returns, each object a map of its 32-bit
// properties. Any step of a query's COM and WMI sequence can be made to fail with a result of the
// test's choice; a query the test did not set finds nothing (WBEM_E_INVALID_CLASS).
class FakeWmi final : public ports::Wmi {
public:
    enum class Step { Security, Locator, Connect, ProxyBlanket, ExecQuery };
    static constexpr int32_t kInvalidClass = static_cast<int32_t>(0x80041010);

    void SetObjects(const std::u16string& wql, std::vector<ports::WmiValues> objects);
    // Makes a step fail for every query until cleared with result 0.
    void FailStep(Step step, int32_t result);
    std::vector<std::u16string> Queries() const;

    int32_t QueryWmiValue(const std::u16string& wql, ports::WmiValues& values) override;

private:
    mutable std::mutex m_mutex;
    std::map<std::u16string, std::vector<ports::WmiValues>> m_objects;
    std::map<Step, int32_t> m_failures;
    std::vector<std::u16string> m_queries;
};

} // namespace sim
