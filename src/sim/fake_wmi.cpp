#include "sim/fake_wmi.h"

namespace sim {

void FakeWmi::SetObjects(const std::u16string& wql, std::vector<ports::WmiValues> objects) {
    std::lock_guard lock(m_mutex);
    m_objects[wql] = std::move(objects);
}

void FakeWmi::FailStep(Step step, int32_t result) {
    std::lock_guard lock(m_mutex);
    m_failures[step] = result;
}

std::vector<std::u16string> FakeWmi::Queries() const {
    std::lock_guard lock(m_mutex);
    return m_queries;
}

int32_t FakeWmi::QueryWmiValue(const std::u16string& wql, ports::WmiValues& values) {
    std::lock_guard lock(m_mutex);
    m_queries.push_back(wql);
    for (const auto& [step, result] : m_failures) {
        if (result < 0) {
            return result;
        }
    }
    const auto found = m_objects.find(wql);
    if (found == m_objects.end()) {
        return kInvalidClass;
    }
    // Objects come one after the other; a later one's property overwrites an earlier one's.
    for (const ports::WmiValues& object : found->second) {
        for (const auto& [name, value] : object) {
            values[name] = value;
        }
    }
    return ports::kWmiOk;
}

} // namespace sim
