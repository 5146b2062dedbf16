#include "recording/sampling_schedule.h"

#include <algorithm>

void SamplingSchedule::SampleStarts(int64_t nowMs) {
    const int64_t offMs = nowMs - nextDueMs_;
    if (!anchored_ || offMs >= intervalMs_ || offMs <= -intervalMs_) {
        nextDueMs_ = nowMs;
        anchored_ = true;
    }
    nextDueMs_ += intervalMs_;
}

uint32_t SamplingSchedule::WaitMs(int64_t nowMs) const {
    return static_cast<uint32_t>(std::clamp<int64_t>(nextDueMs_ - nowMs, 0, intervalMs_));
}
