#pragma once

#include "ports/clock.h"
#include "ports/kernel_objects.h"
#include "ports/log_file.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>

// An open recording log. Records are appended with overlapped writes; a write waits for the
// completions of earlier writes only within its time budget, and what is still under way stays
// queued for the next write or for closing. Closing (destruction) waits for every queued write,
// flushes and closes the file. Not thread-safe: the recorder calls it under its file lock.
class RecordingLog {
public:
    // Creates (or replaces) the file at path; null when it cannot be created.
    static std::unique_ptr<RecordingLog> Create(ports::KernelObjects& kernel, ports::Clock& clock,
                                                ports::LogFiles& files, const std::u16string& path);
    ~RecordingLog();
    RecordingLog(const RecordingLog&) = delete;
    RecordingLog& operator=(const RecordingLog&) = delete;

    // Writes the header at offset 0, waiting up to 5,000 ms for it, and flushes. False when the
    // write failed or did not complete in time.
    bool WriteHeader(std::span<const uint8_t> header);
    // Writes records after everything written so far and collects completed writes for at most
    // timeoutMs from now; flushes when final. False when this or a collected write failed.
    bool Append(std::span<const uint8_t> records, int64_t timeoutMs, bool final);

private:
    RecordingLog(ports::KernelObjects& kernel, ports::Clock& clock,
                 std::unique_ptr<ports::LogFile> file);

    int64_t Since(int64_t startMs) const { return clock_.ProcessMilliseconds() - startMs; }

    ports::KernelObjects& kernel_;
    ports::Clock& clock_;
    std::unique_ptr<ports::LogFile> file_;
    uint64_t offset_ = 0;
    std::deque<std::unique_ptr<ports::PendingWrite>> queue_; // oldest first
};
