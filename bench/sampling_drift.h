#pragma once

// How closely a recorder's sampling thread keeps its schedule: each sample's start compared with
// the ideal start (first start + n × interval), on whatever ports the recorder runs on.
#include "recording/monitor_recorder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

struct SamplingDrift {
    double meanMs = 0;
    double maxMs = 0;
    double lastMs = 0; // of the last sample: how far the whole recording has slipped
};

namespace sampling_drift {

using Clock = std::chrono::steady_clock;

// Notes when each sample starts, works for a while, and says when all samples are in.
struct Starts {
    std::size_t wanted = 0;
    std::chrono::milliseconds work{0};
    std::mutex lock;
    std::condition_variable complete;
    std::vector<Clock::time_point> times;

    static void Sample(void* context, std::map<uint32_t, double>&) {
        auto& starts = *static_cast<Starts*>(context);
        {
            std::lock_guard guard(starts.lock);
            starts.times.push_back(Clock::now());
            if (starts.times.size() == starts.wanted) {
                starts.complete.notify_all();
            }
        }
        std::this_thread::sleep_for(starts.work); // a snapshot takes time
    }
};

} // namespace sampling_drift

// Records `samples` samples at intervalMs for the running process uiPid, each taking workMs, and
// measures the drift of their starts.
inline SamplingDrift MeasureSamplingDrift(const RecorderPorts& ports, uint32_t uiPid,
                                          int32_t samples, int32_t intervalMs, int32_t workMs) {
    sampling_drift::Starts starts;
    starts.wanted = static_cast<std::size_t>(samples);
    starts.work = std::chrono::milliseconds(workMs);
    starts.times.reserve(starts.wanted + 1);
    const std::array<RecordItemInfo, kRecordItemCount> items{};
    auto recorder = MonitorRecorder::Create(ports);
    if (!recorder || recorder->Start(uiPid, 600, intervalMs, items.data(),
                                     &sampling_drift::Starts::Sample, nullptr, &starts) == 0) {
        return {};
    }
    {
        std::unique_lock guard(starts.lock);
        starts.complete.wait(guard, [&] { return starts.times.size() >= starts.wanted; });
    }
    recorder.reset();
    SamplingDrift drift;
    for (std::size_t sample = 0; sample < starts.wanted; ++sample) {
        const auto ideal = starts.times.front() +
                           std::chrono::milliseconds(static_cast<int64_t>(sample) * intervalMs);
        const double ms =
            std::chrono::duration<double, std::milli>(starts.times[sample] - ideal).count();
        drift.meanMs += ms / static_cast<double>(starts.wanted);
        drift.maxMs = std::max(drift.maxMs, ms);
        drift.lastMs = ms;
    }
    return drift;
}
