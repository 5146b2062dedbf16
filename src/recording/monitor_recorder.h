#pragma once

#include "ports/clock.h"
#include "ports/critical_section.h"
#include "ports/kernel_objects.h"
#include "ports/log_file.h"
#include "ports/thread.h"
#include "ports/ui_process.h"
#include "recording/record_items.h"
#include "recording/record_pages.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

class RecordingLog;
class SessionLock;

// Fills `values` with one value per record item identifier; items left out record 0.0.
using SamplingCallback = void (*)(void* context, std::map<uint32_t, double>& values);
// Announces the record with sequence number `newest` of the recording `serialNumber`.
using RoundCallback = void (*)(void* context, int64_t serialNumber, int32_t newest);
// Tells that the log at `path` has ended.
using LogFinishedCallback = void (*)(void* context, const std::u16string& path);

// What the recorder reaches the machine through.
struct RecorderPorts {
    ports::KernelObjects& kernel;
    ports::Clock& clock;
    ports::UiProcesses& uiProcesses;
    ports::LogFiles& logFiles;
};

// Runs one resource recording at a time for the user interface. A sampling thread takes a record
// of the ten items every interval (measured from the start of one sample to the start of the
// next, and kept on a deadline schedule so that record i is taken at i × interval; see
// SamplingSchedule) into a ring, announces it, and while logging is on streams the records to a
// "_RML" log in runs of 60 with overlapped writes. The recording ends by itself when the user
// interface's process ends.
//
// Threads and locks: request threads call every operation; the callbacks run on the sampling
// thread, with no recorder lock held, so they may call the recorder back (except to destroy it).
// The session lock serialises start and stop; the file lock, taken after it, serialises every
// log operation. The log-finished callback also runs without any recorder lock, right after the
// operation that ended the log.
class MonitorRecorder {
public:
    // An idle recorder (interval 1000 ms, no log); null when its locks cannot be made.
    static std::unique_ptr<MonitorRecorder> Create(const RecorderPorts& ports);
    // Stops the recording, waiting for its thread, and for any thread still ending.
    ~MonitorRecorder();
    MonitorRecorder(const MonitorRecorder&) = delete;
    MonitorRecorder& operator=(const MonitorRecorder&) = delete;

    // Stops a running recording, then starts one that samples every intervalMs into a ring of
    // `capacity` records, for the process uiPid; items points at kRecordItemCount descriptions.
    // Returns the serial number (start time in seconds since 1970), or 0 when the recording could
    // not start: then the recorder is idle and StartFailure() says why.
    int64_t Start(uint32_t uiPid, int32_t capacity, int32_t intervalMs, const RecordItemInfo* items,
                  SamplingCallback sampling, RoundCallback round, void* context);
    // Why the last failed start failed ("out of memory", "open process failed", ...).
    std::string StartFailure() const;

    static constexpr std::size_t ItemCount() { return kRecordItemCount; }
    static constexpr std::span<const uint32_t, kRecordItemCount> ItemTable() {
        return kRecordItemIds;
    }
    // The running recording's serial number; 0 when idle.
    int64_t SerialNumber() const { return serialNumber_.load(); }

    // The page table, after refilling it with the `count` records that end at sequence number
    // `round` when 1 <= count <= round + 1 and count <= the capacity; otherwise the pages keep
    // their previous contents. Empty when no recording runs. Throws std::invalid_argument
    // ("round is invlid") for a round past the next record to be written.
    RecordPages Pages(int32_t round, int32_t count);
    static constexpr int32_t RecordsPerPage() { return kRecordsPerPage; }
    static constexpr int64_t PageBytes(int32_t records) { return int64_t{records} * kRecordBytes; }

    // Ends any log (without telling), then logs the recording to a new file at path. With
    // stopLoggingHandle, the stop-logging event is reset and shared with the user interface's
    // process, and the handle value it got there (0 when none) is stored. The file is created as
    // the user of the user interface's process, which must be the console session's user; a path
    // that is not a file's (IsLogFilePath) or such a user is refused like a file that cannot be
    // created.
    bool StartLogging(const std::u16string& path, uint64_t* stopLoggingHandle,
                      LogFinishedCallback logFinished);
    // Ends the log: writes the pending records, signals the stop-logging event and calls the
    // log-finished callback of the last StartLogging, even when that log has ended before (the
    // callback is kept until the recording stops).
    void StopLogging();
    // Ends the log as StopLogging does and stops the recording. Without waitForThread the sampling
    // thread is only told to stop; it is waited for by the next start or at destruction.
    void Stop(bool waitForThread);

private:
    struct Recording;
    struct LogNotice {
        LogFinishedCallback callback;
        void* context;
        std::u16string path;
    };
    using Notices = std::vector<LogNotice>;
    struct RetiredThread {
        const Recording* recording;
        std::unique_ptr<ports::Thread> thread;
    };
    class SessionGuard;

    MonitorRecorder(const RecorderPorts& ports, std::unique_ptr<SessionLock> sessionLock,
                    std::unique_ptr<ports::CriticalSection> fileLock);

    struct StartRequest {
        uint32_t uiPid;
        int32_t capacity;
        int32_t intervalMs;
        const RecordItemInfo* items;
        SamplingCallback sampling;
        RoundCallback round;
        void* context;
    };

    // Under the session lock.
    int64_t StartLocked(const StartRequest& request, Notices& notices);
    int64_t Launch(const StartRequest& request); // throws with the failure's text
    std::shared_ptr<Recording> NewRecording(int32_t capacity) const;
    void StopLocked(bool waitForThread, Notices& notices);
    void ReapRetiredThreads();

    // On the sampling thread.
    uint32_t Sample(std::shared_ptr<Recording> recording);
    int32_t TakeSample(Recording& recording);
    void LogSample(const std::shared_ptr<Recording>& recording, int32_t sequence, int64_t startMs);
    void EndRecording();

    // Under the file lock.
    std::unique_ptr<RecordingLog> CreateLogAsUser(const std::u16string& path);
    void CloseLog();
    void NotifyLogEnd(Notices& notices);
    uint64_t ShareStopLoggingEvent();
    bool WriteRecords(const Recording& recording, int32_t count, int64_t timeoutMs, bool final);

    std::shared_ptr<Recording> CurrentRecording();
    // The recording whose sampling thread is the caller, if it is one of this recorder's.
    const Recording* OwnRecording() const;
    static void Deliver(const Notices& notices);

    // Registers the calling sampling thread with its recording for as long as it lives.
    class SamplingThreadEntry;

    // The sampling threads by thread identifier. Not a thread_local: under MinGW that is kept by
    // the run-time's thread keys, and the record they keep for a host thread that reads it (every
    // request asks whether it came from a sampling thread) is never closed when the module is
    // unloaded, leaving a thread handle, an event and two semaphores behind each time.
    struct SamplingThread {
        uint64_t threadId;
        const Recording* recording;
    };
    mutable std::mutex samplingThreadsLock_;
    std::vector<SamplingThread> samplingThreads_;

    ports::KernelObjects& kernel_;
    ports::Clock& clock_;
    ports::UiProcesses& uiProcesses_;
    ports::LogFiles& logFiles_;
    const std::unique_ptr<SessionLock> sessionLock_;
    const std::unique_ptr<ports::CriticalSection> fileLock_;

    std::atomic<int64_t> serialNumber_{0};

    // Under the session lock.
    std::unique_ptr<ports::Thread> thread_;
    std::vector<RetiredThread> retiredThreads_; // told to stop, not yet waited for
    std::string startFailure_;

    // Changed under both locks, read under either.
    std::shared_ptr<Recording> current_;

    // Under the file lock.
    int32_t intervalMs_ = 1000;
    std::array<RecordItemInfo, kRecordItemCount> items_{};
    void* context_ = nullptr;
    std::unique_ptr<RecordingLog> log_;
    std::u16string logPath_;
    LogFinishedCallback logFinished_ = nullptr;
    int32_t pending_ = 0;       // records sampled since the last write
    int32_t newestPending_ = 0; // sequence number of the newest of them
};
