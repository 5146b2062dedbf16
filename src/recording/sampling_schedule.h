#pragma once

#include <cstdint>

// When a recording's samples are due: sample k at the first sample's start + k × interval, on the
// process clock. Waiting "interval minus the time the sample took" would add every wait's wake-up
// lateness to the log's time axis, which places record i at i × interval; keeping deadlines holds
// the period to the interval on average as well as from one start to the next.
class SamplingSchedule {
public:
    explicit SamplingSchedule(int32_t intervalMs) : intervalMs_(intervalMs) {}

    // Notes that a sample starts at nowMs. A sample that starts a whole interval or more away from
    // its due time re-anchors the schedule at nowMs: after a sample that overran, the samples
    // missed are not made up in a burst, and a clock that stood still or stepped back does not
    // leave the deadlines far ahead.
    void SampleStarts(int64_t nowMs);
    // The time-out of the wait for the next sample at nowMs: the time left until it is due, never
    // below 0 and never above one interval.
    uint32_t WaitMs(int64_t nowMs) const;

private:
    int64_t intervalMs_;
    bool anchored_ = false;
    int64_t nextDueMs_ = 0;
};
