#include "recording/monitor_recorder.h"

#include "recording/log_path.h"
#include "recording/record_buffer.h"
#include "recording/recording_log.h"
#include "recording/rml_format.h"
#include "recording/sampling_schedule.h"
#include "recording/session_lock.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <stdexcept>

namespace {

constexpr int32_t kRecordsPerWrite = 60;
constexpr int64_t kFinalWriteTimeoutMs = 5000;

[[noreturn]] void Fail(const char* text) {
    throw std::runtime_error(text);
}

std::u16string StopLoggingEventName(uint32_t uiPid) {
    // The user interface formats the id with %d too.
    std::u16string name = u"Global\\ResourceMonitorStopLoggingEvent_";
    for (const char digit : std::to_string(static_cast<int32_t>(uiPid))) {
        name += static_cast<char16_t>(digit);
    }
    return name;
}

// What is left of a period of periodMs that began at startMs, never below 0.
int64_t Remaining(ports::Clock& clock, int32_t periodMs, int64_t startMs) {
    return std::max<int64_t>(0, periodMs - (clock.ProcessMilliseconds() - startMs));
}

} // namespace

// Everything one started recording owns. The sampling thread shares it, so a recording that is
// stopped while its thread is still busy stays whole until the thread lets go.
struct MonitorRecorder::Recording {
    explicit Recording(int32_t capacity)
        : ring(capacity, kRecordBytes, kRecordsPerPage),
          pages(std::make_shared<PageTable>(capacity)) {}

    RecordBuffer ring;
    std::shared_ptr<PageTable> pages;
    std::unique_ptr<ports::UiProcess> uiProcess;
    std::unique_ptr<ports::Event> threadStop;
    std::unique_ptr<ports::Event> stopLogging;
    int32_t intervalMs = 0;
    int64_t serialNumber = 0;
    SamplingCallback sampling = nullptr;
    RoundCallback round = nullptr;
    void* context = nullptr;
};

class MonitorRecorder::SamplingThreadEntry {
public:
    SamplingThreadEntry(MonitorRecorder& recorder, const Recording& recording)
        : recorder_(recorder), threadId_(recorder.kernel_.CurrentThreadId()) {
        std::lock_guard lock(recorder_.samplingThreadsLock_);
        recorder_.samplingThreads_.push_back({threadId_, &recording});
    }
    ~SamplingThreadEntry() {
        std::lock_guard lock(recorder_.samplingThreadsLock_);
        std::erase_if(recorder_.samplingThreads_,
                      [&](const SamplingThread& entry) { return entry.threadId == threadId_; });
    }
    SamplingThreadEntry(const SamplingThreadEntry&) = delete;
    SamplingThreadEntry& operator=(const SamplingThreadEntry&) = delete;

private:
    MonitorRecorder& recorder_;
    const uint64_t threadId_;
};

// Holds the session lock. On one of the recorder's sampling threads it gives up once that thread
// is told to stop, because whoever stops it holds the lock and waits for the thread.
class MonitorRecorder::SessionGuard {
public:
    explicit SessionGuard(const MonitorRecorder& recorder) : lock_(*recorder.sessionLock_) {
        const Recording* own = recorder.OwnRecording();
        held_ = own ? lock_.AcquireUnless(*own->threadStop) : lock_.Acquire();
    }
    ~SessionGuard() {
        if (held_) {
            lock_.Release();
        }
    }
    SessionGuard(const SessionGuard&) = delete;
    SessionGuard& operator=(const SessionGuard&) = delete;

    explicit operator bool() const { return held_; }

private:
    SessionLock& lock_;
    bool held_ = false;
};

std::unique_ptr<MonitorRecorder> MonitorRecorder::Create(const RecorderPorts& ports) {
    auto sessionFree = ports.kernel.NewEvent(false, true);
    auto fileLock = ports.kernel.NewCriticalSection();
    if (!sessionFree || !fileLock) {
        return nullptr;
    }
    auto sessionLock = std::make_unique<SessionLock>(ports.kernel, std::move(sessionFree));
    return std::unique_ptr<MonitorRecorder>(
        new MonitorRecorder(ports, std::move(sessionLock), std::move(fileLock)));
}

MonitorRecorder::MonitorRecorder(const RecorderPorts& ports,
                                 std::unique_ptr<SessionLock> sessionLock,
                                 std::unique_ptr<ports::CriticalSection> fileLock)
    : kernel_(ports.kernel), clock_(ports.clock), uiProcesses_(ports.uiProcesses),
      logFiles_(ports.logFiles), sessionLock_(std::move(sessionLock)),
      fileLock_(std::move(fileLock)) {}

MonitorRecorder::~MonitorRecorder() {
    Stop(true);
}

int64_t MonitorRecorder::Start(uint32_t uiPid, int32_t capacity, int32_t intervalMs,
                               const RecordItemInfo* items, SamplingCallback sampling,
                               RoundCallback round, void* context) {
    Notices notices;
    int64_t serialNumber = 0;
    {
        SessionGuard session(*this);
        if (!session) {
            return 0;
        }
        serialNumber =
            StartLocked({uiPid, capacity, intervalMs, items, sampling, round, context}, notices);
    }
    Deliver(notices);
    return serialNumber;
}

std::string MonitorRecorder::StartFailure() const {
    SessionGuard session(*this);
    return session ? startFailure_ : std::string{};
}

int64_t MonitorRecorder::StartLocked(const StartRequest& request, Notices& notices) {
    if (serialNumber_.load() != 0) {
        StopLocked(true, notices);
    }
    ReapRetiredThreads();
    try {
        return Launch(request);
    } catch (const std::exception& failure) {
        startFailure_ = failure.what();
        StopLocked(true, notices);
        return 0;
    }
}

int64_t MonitorRecorder::Launch(const StartRequest& request) {
    if (request.items == nullptr) {
        Fail("pItemInfo is null");
    }
    if (request.capacity < 1 || request.intervalMs < 1) {
        Fail("capacity or interval is null");
    }
    {
        std::lock_guard file(*fileLock_);
        intervalMs_ = request.intervalMs;
        std::copy_n(request.items, kRecordItemCount, items_.begin());
    }
    auto recording = NewRecording(request.capacity);
    recording->uiProcess = uiProcesses_.Open(request.uiPid);
    if (!recording->uiProcess) {
        Fail("open process failed");
    }
    recording->threadStop = kernel_.NewEvent(true, false);
    if (!recording->threadStop) {
        Fail("create event failed");
    }
    recording->stopLogging = kernel_.NewEvent(true, true, StopLoggingEventName(request.uiPid));
    if (!recording->stopLogging) {
        Fail("create stop logging event failed");
    }
    recording->intervalMs = request.intervalMs;
    recording->sampling = request.sampling;
    recording->round = request.round;
    recording->context = request.context;
    // Known before the thread runs: a user interface that hears of the first round asks for it
    // with this serial number at once.
    recording->serialNumber = clock_.SecondsSince1970();
    serialNumber_.store(recording->serialNumber);
    {
        std::lock_guard file(*fileLock_);
        current_ = recording;
        context_ = request.context;
    }
    thread_ =
        kernel_.StartThread([this, recording]() mutable { return Sample(std::move(recording)); });
    if (!thread_) {
        Fail("create thread failed");
    }
    return recording->serialNumber;
}

std::shared_ptr<MonitorRecorder::Recording> MonitorRecorder::NewRecording(int32_t capacity) const {
    try {
        return std::make_shared<Recording>(capacity);
    } catch (const std::bad_alloc&) {
        Fail("out of memory");
    }
}

void MonitorRecorder::Stop(bool waitForThread) {
    Notices notices;
    {
        SessionGuard session(*this);
        if (!session) {
            return;
        }
        StopLocked(waitForThread, notices);
        if (waitForThread) {
            ReapRetiredThreads();
        }
    }
    Deliver(notices);
}

void MonitorRecorder::StopLocked(bool waitForThread, Notices& notices) {
    std::shared_ptr<Recording> recording;
    {
        std::lock_guard file(*fileLock_);
        CloseLog();
        NotifyLogEnd(notices);
        recording = std::move(current_);
        logFinished_ = nullptr;
        context_ = nullptr;
    }
    serialNumber_.store(0);
    if (recording) {
        recording->threadStop->Set();
    }
    if (!thread_) {
        return;
    }
    if (waitForThread && recording.get() != OwnRecording()) {
        kernel_.Wait(*thread_, ports::kInfinite);
        thread_.reset();
    } else {
        retiredThreads_.push_back({recording.get(), std::move(thread_)});
    }
}

void MonitorRecorder::ReapRetiredThreads() {
    const Recording* own = OwnRecording();
    std::erase_if(retiredThreads_, [&](const RetiredThread& retired) {
        if (own != nullptr && retired.recording == own) {
            return false; // a thread cannot wait for itself
        }
        kernel_.Wait(*retired.thread, ports::kInfinite);
        return true;
    });
}

uint32_t MonitorRecorder::Sample(std::shared_ptr<Recording> recording) {
    const SamplingThreadEntry entry(*this, *recording);
    ports::Waitable* const ends[] = {recording->uiProcess.get(), recording->threadStop.get()};
    auto outcome = kernel_.WaitAny(ends, 0);
    SamplingSchedule schedule(recording->intervalMs);
    while (outcome.status == ports::WaitStatus::TimedOut) {
        const int64_t startMs = clock_.ProcessMilliseconds();
        schedule.SampleStarts(startMs);
        LogSample(recording, TakeSample(*recording), startMs);
        outcome = kernel_.WaitAny(ends, schedule.WaitMs(clock_.ProcessMilliseconds()));
    }
    if (outcome.Signalled(0)) {
        EndRecording(); // the user interface has gone
    }
    return 0;
}

int32_t MonitorRecorder::TakeSample(Recording& recording) {
    std::map<uint32_t, double> values;
    if (recording.sampling != nullptr) {
        recording.sampling(recording.context, values);
    }
    RecordValues record{};
    for (std::size_t item = 0; item < kRecordItemCount; ++item) {
        const auto found = values.find(kRecordItemIds[item]);
        record[item] = found == values.end() ? 0.0 : found->second;
    }
    recording.ring.Append(EncodeRecord(record).data());
    const int32_t newest = recording.ring.Written() - 1;
    if (recording.round != nullptr) {
        recording.round(recording.context, recording.serialNumber, newest);
    }
    return newest;
}

void MonitorRecorder::LogSample(const std::shared_ptr<Recording>& recording, int32_t sequence,
                                int64_t startMs) {
    Notices notices;
    {
        std::lock_guard file(*fileLock_);
        // A stopped recording no longer feeds the log, not even one opened after it stopped.
        if (!log_ || current_ != recording) {
            return;
        }
        ++pending_;
        newestPending_ = sequence;
        if (pending_ < kRecordsPerWrite) {
            return;
        }
        const int64_t timeoutMs = Remaining(clock_, recording->intervalMs, startMs) * 4 / 5;
        const bool written = WriteRecords(*recording, kRecordsPerWrite, timeoutMs, false);
        pending_ = 0;
        if (!written) {
            CloseLog();
            NotifyLogEnd(notices);
        }
    }
    Deliver(notices);
}

void MonitorRecorder::EndRecording() {
    Notices notices;
    {
        // Won only while nobody has told this thread to stop, so its recording is still current.
        SessionGuard session(*this);
        if (!session) {
            return;
        }
        StopLocked(false, notices);
    }
    Deliver(notices);
}

RecordPages MonitorRecorder::Pages(int32_t round, int32_t count) {
    const auto recording = CurrentRecording();
    if (!recording) {
        return {};
    }
    return ReadPages(recording->pages, recording->ring, round, count);
}

bool MonitorRecorder::StartLogging(const std::u16string& path, uint64_t* stopLoggingHandle,
                                   LogFinishedCallback logFinished) {
    std::lock_guard file(*fileLock_);
    CloseLog();
    logFinished_ = logFinished;
    if (stopLoggingHandle != nullptr) {
        *stopLoggingHandle = ShareStopLoggingEvent();
    }
    log_ = CreateLogAsUser(path);
    if (!log_) {
        return false;
    }
    logPath_ = path;
    if (!log_->WriteHeader(EncodeRmlHeader(intervalMs_, items_))) {
        log_.reset();
        return false;
    }
    return true;
}

// The path comes from the user interface and the service may write where its user may not, so
// the file is created with that user's rights, and only when the user interface runs in the
// console session as its user.
std::unique_ptr<RecordingLog> MonitorRecorder::CreateLogAsUser(const std::u16string& path) {
    if (!current_ || !IsLogFilePath(path)) {
        return nullptr;
    }
    const auto user = current_->uiProcess->ImpersonateConsoleUser();
    if (!user) {
        return nullptr;
    }
    auto log = RecordingLog::Create(kernel_, clock_, logFiles_, path);
    if (!user->Revert()) {
        return nullptr; // never go on with this thread in the user's identity
    }
    return log;
}

void MonitorRecorder::StopLogging() {
    Notices notices;
    {
        std::lock_guard file(*fileLock_);
        CloseLog();
        NotifyLogEnd(notices);
    }
    Deliver(notices);
}

void MonitorRecorder::CloseLog() {
    // Pending records exist only while a log is open, and belong to the current recording.
    if (log_ && pending_ > 0) {
        WriteRecords(*current_, pending_, kFinalWriteTimeoutMs, true);
    }
    pending_ = 0;
    log_.reset();
}

void MonitorRecorder::NotifyLogEnd(Notices& notices) {
    if (current_) {
        current_->stopLogging->Set();
    }
    // A log started while no recording ran (after a failed start, or after the user interface's
    // process ended) has nobody to tell: the callbacks' context went with the recording.
    if (logFinished_ != nullptr && context_ != nullptr) {
        notices.push_back({logFinished_, context_, logPath_});
    }
}

uint64_t MonitorRecorder::ShareStopLoggingEvent() {
    // Reset first: from now on the user interface waits on it for the end of the new log.
    if (!current_ || !current_->stopLogging->Reset()) {
        return 0;
    }
    return current_->uiProcess->ShareEvent(*current_->stopLogging);
}

bool MonitorRecorder::WriteRecords(const Recording& recording, int32_t count, int64_t timeoutMs,
                                   bool final) {
    std::vector<uint8_t> records(static_cast<std::size_t>(count) * kRecordBytes);
    uint8_t* const pages[] = {records.data()};
    try {
        recording.ring.Read(newestPending_, count, pages);
    } catch (const std::invalid_argument&) {
        return false; // a ring smaller than one write cannot give the records back
    }
    return log_->Append(records, timeoutMs, final);
}

std::shared_ptr<MonitorRecorder::Recording> MonitorRecorder::CurrentRecording() {
    std::lock_guard file(*fileLock_);
    return current_;
}

const MonitorRecorder::Recording* MonitorRecorder::OwnRecording() const {
    const uint64_t caller = kernel_.CurrentThreadId();
    std::lock_guard lock(samplingThreadsLock_);
    const auto found =
        std::find_if(samplingThreads_.begin(), samplingThreads_.end(),
                     [&](const SamplingThread& entry) { return entry.threadId == caller; });
    return found != samplingThreads_.end() ? found->recording : nullptr;
}

void MonitorRecorder::Deliver(const Notices& notices) {
    for (const auto& notice : notices) {
        notice.callback(notice.context, notice.path);
    }
}
