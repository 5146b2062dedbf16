#include "sim/fake_performance_counters.h"

#include <vector>

namespace sim {

struct FakePerformanceCounters::State {
    mutable std::mutex Mutex;
    std::map<std::u16string, Counter> Counters;
    uint32_t OpenStatus = ports::kPdhSuccess;
    uint32_t CollectStatus = ports::kPdhSuccess;
    int Opens = 0;
    int Collects = 0;
    int Live = 0;
};

// A query remembers the paths of its counters; a handle is the position of its path plus one.
class FakePerformanceCounters::Query final : public ports::CounterQuery {
public:
    explicit Query(std::shared_ptr<State> state) : m_state(std::move(state)) {}
    ~Query() override {
        std::lock_guard lock(m_state->Mutex);
        --m_state->Live;
    }

    uint32_t AddEnglishCounter(const std::u16string& path, ports::CounterHandle& counter) override {
        std::lock_guard lock(m_state->Mutex);
        const auto found = m_state->Counters.find(path);
        if (found == m_state->Counters.end()) {
            return ports::kPdhCounterNotFound;
        }
        if (found->second.AddStatus != ports::kPdhSuccess) {
            return found->second.AddStatus;
        }
        m_paths.push_back(path);
        counter = m_paths.size();
        return ports::kPdhSuccess;
    }

    uint32_t CollectQueryData() override {
        std::lock_guard lock(m_state->Mutex);
        ++m_state->Collects;
        return m_state->CollectStatus;
    }

    ports::CounterValue FormattedDouble(ports::CounterHandle counter) override {
        std::lock_guard lock(m_state->Mutex);
        if (counter == 0 || counter > m_paths.size()) {
            return {ports::kPdhInvalidHandle, 0.0};
        }
        const Counter& found = m_state->Counters[m_paths[counter - 1]];
        if (found.ReadStatus != ports::kPdhSuccess) {
            return {found.ReadStatus, 0.0};
        }
        return {ports::kPdhSuccess, found.Value};
    }

private:
    std::shared_ptr<State> m_state;
    std::vector<std::u16string> m_paths;
};

FakePerformanceCounters::FakePerformanceCounters() : m_state(std::make_shared<State>()) {}

void FakePerformanceCounters::SetValue(const std::u16string& path, double value) {
    std::lock_guard lock(m_state->Mutex);
    m_state->Counters[path].Value = value;
}

void FakePerformanceCounters::FailAdd(const std::u16string& path, uint32_t status) {
    std::lock_guard lock(m_state->Mutex);
    m_state->Counters[path].AddStatus = status;
}

void FakePerformanceCounters::FailRead(const std::u16string& path, uint32_t status) {
    std::lock_guard lock(m_state->Mutex);
    m_state->Counters[path].ReadStatus = status;
}

void FakePerformanceCounters::FailOpen(uint32_t status) {
    std::lock_guard lock(m_state->Mutex);
    m_state->OpenStatus = status;
}

void FakePerformanceCounters::FailCollect(uint32_t status) {
    std::lock_guard lock(m_state->Mutex);
    m_state->CollectStatus = status;
}

int FakePerformanceCounters::Opens() const {
    std::lock_guard lock(m_state->Mutex);
    return m_state->Opens;
}

int FakePerformanceCounters::Collects() const {
    std::lock_guard lock(m_state->Mutex);
    return m_state->Collects;
}

int FakePerformanceCounters::OpenQueries() const {
    std::lock_guard lock(m_state->Mutex);
    return m_state->Live;
}

ports::OpenedQuery FakePerformanceCounters::OpenQuery() {
    std::lock_guard lock(m_state->Mutex);
    ++m_state->Opens;
    if (m_state->OpenStatus != ports::kPdhSuccess) {
        return {m_state->OpenStatus, nullptr};
    }
    ++m_state->Live;
    return {ports::kPdhSuccess, std::make_unique<Query>(m_state)};
}

} // namespace sim
