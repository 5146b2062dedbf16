#pragma once

#include <cstdint>

// How long the background workers and shutdown wait, in milliseconds. The values are the
// product's; tests shorten them.
struct WorkerTimeouts {
    // The first-session worker: for a user session to start after the worker has started ...
    uint32_t FirstUserSessionMs = 30000;
    // ... and then before it records, so the session's own start-up is not measured.
    uint32_t FirstSessionRecordDelayMs = 5000;
    // Between two period records.
    uint32_t PeriodMs = 1200000;
    // A collection on an Intel machine, for the tuning utility to become ready.
    uint32_t TuningUtilityReadyMs = 30000;
    // Uninitialize: for the period worker and the power-resume worker to say they have ended, and
    // for the first-session worker's thread.
    uint32_t PeriodWorkerExitMs = 2000;
    uint32_t PowerResumeWorkerExitMs = 2000;
    uint32_t FirstSessionWorkerExitMs = 10000;
};
