#pragma once

#include "ports/xtu_library.h"
#include "sim/scripted_library.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace sim {

struct XtuAnswers {
    bool Present = true;
    bool InitializeResult = true;
    bool MonitorRunning = false;
    // StartMonitor sets MonitorRunning when true.
    bool StartMonitorStarts = true;
    // Monitor values by id; an id that is not here reads 0.0. A queue of values for an id is
    // read front first, its last value staying.
    std::map<uint32_t, std::vector<double>> Values;
};
struct XtuCalls {
    int Created = 0;
    int Destroyed = 0;
    int Initialize = 0;
    int StartMonitor = 0;
    int StopMonitor = 0;
    std::vector<uint32_t> Reads;
};

// The Intel XTU wrapper library of a simulated laptop. Tests change what the monitor answers
// between calls and see every call; a missing library creates no wrapper.
class FakeXtuLibrary final : public ports::XtuLibrary,
                             public ScriptedLibrary<XtuAnswers, XtuCalls> {
public:
    std::unique_ptr<ports::XtuWrapper> CreateWrapper() override {
        std::lock_guard lock(state_->mutex);
        if (!state_->answers.Present) {
            return nullptr;
        }
        ++state_->calls.Created;
        return std::make_unique<Wrapper>(state_);
    }

private:
    class Wrapper final : public ports::XtuWrapper {
    public:
        explicit Wrapper(std::shared_ptr<State> state) : state_(std::move(state)) {}
        ~Wrapper() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.Destroyed;
        }
        bool Initialize() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.Initialize;
            return state_->answers.InitializeResult;
        }
        void StartMonitor() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.StartMonitor;
            state_->answers.MonitorRunning |= state_->answers.StartMonitorStarts;
        }
        bool IsMonitorRunning() override {
            std::lock_guard lock(state_->mutex);
            return state_->answers.MonitorRunning;
        }
        double GetMonitorValue(uint32_t monitorId) override {
            std::lock_guard lock(state_->mutex);
            state_->calls.Reads.push_back(monitorId);
            auto& queue = state_->answers.Values[monitorId];
            if (queue.empty()) {
                return 0.0;
            }
            const double value = queue.front();
            if (queue.size() > 1) {
                queue.erase(queue.begin());
            }
            return value;
        }
        void StopMonitor() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.StopMonitor;
            state_->answers.MonitorRunning = false;
        }

    private:
        std::shared_ptr<State> state_;
    };
};

} // namespace sim
