// Command 3's counter query on the system's performance counters.
#include "monitor_plugin/disk_counters.h"
#include "monitor_plugin/plugin_ports.h"

#include <array>

namespace {

class PdhDiskCounters final : public DiskCounters {
public:
    explicit PdhDiskCounters(ports::PerformanceCounters& counters) : counters_(counters) {}

    int32_t OpenQuery() override {
        ports::OpenedQuery opened = counters_.OpenQuery();
        query_ = std::move(opened.Query);
        slots_ = {};
        return static_cast<int32_t>(opened.Status);
    }
    int32_t AddCounter(std::size_t slot, const std::u16string& englishPath) override {
        if (query_ == nullptr || slot >= slots_.size()) {
            return static_cast<int32_t>(ports::kPdhInvalidHandle);
        }
        return static_cast<int32_t>(query_->AddEnglishCounter(englishPath, slots_[slot]));
    }
    int32_t Collect() override {
        return static_cast<int32_t>(query_ != nullptr ? query_->CollectQueryData()
                                                      : ports::kPdhInvalidHandle);
    }
    CounterReading Read(std::size_t slot) override {
        // A counter that was never added reads as the library reads an empty handle.
        if (query_ == nullptr || slot >= slots_.size() || slots_[slot] == 0) {
            return {static_cast<int32_t>(ports::kPdhInvalidHandle), 0.0};
        }
        const ports::CounterValue value = query_->FormattedDouble(slots_[slot]);
        return {static_cast<int32_t>(value.Status), value.Value};
    }
    void Close() override {
        query_.reset();
        slots_ = {};
    }

private:
    ports::PerformanceCounters& counters_;
    std::unique_ptr<ports::CounterQuery> query_;
    std::array<ports::CounterHandle, 3> slots_{};
};

} // namespace

std::unique_ptr<DiskCounters> NewDiskCounters(const PluginPorts& ports) {
    return std::make_unique<PdhDiskCounters>(ports.counters);
}
