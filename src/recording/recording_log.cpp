#include "recording/recording_log.h"

namespace {

constexpr uint32_t kHeaderTimeoutMs = 5000;

} // namespace

std::unique_ptr<RecordingLog> RecordingLog::Create(ports::KernelObjects& kernel,
                                                   ports::Clock& clock, ports::LogFiles& files,
                                                   const std::u16string& path) {
    auto file = files.Create(path);
    if (!file) {
        return nullptr;
    }
    return std::unique_ptr<RecordingLog>(new RecordingLog(kernel, clock, std::move(file)));
}

RecordingLog::RecordingLog(ports::KernelObjects& kernel, ports::Clock& clock,
                           std::unique_ptr<ports::LogFile> file)
    : kernel_(kernel), clock_(clock), file_(std::move(file)) {}

RecordingLog::~RecordingLog() {
    for (const auto& write : queue_) {
        kernel_.Wait(write->Completion(), ports::kInfinite);
    }
    queue_.clear();
    file_->Flush();
}

bool RecordingLog::WriteHeader(std::span<const uint8_t> header) {
    ports::WriteStart start = file_->Write(0, header);
    if (start.result == ports::kWritePending) {
        kernel_.Wait(start.pending->Completion(), kHeaderTimeoutMs);
        start.result = start.pending->Result(false);
    }
    if (start.result != ports::kWriteSucceeded) {
        return false;
    }
    offset_ = header.size();
    file_->Flush();
    return true;
}

bool RecordingLog::Append(std::span<const uint8_t> records, int64_t timeoutMs, bool final) {
    const int64_t startMs = clock_.ProcessMilliseconds();
    ports::WriteStart start = file_->Write(offset_, records);
    offset_ += records.size();
    if (start.result == ports::kWritePending) {
        queue_.push_back(std::move(start.pending));
    } else if (start.result != ports::kWriteSucceeded) {
        return false;
    }
    for (int64_t budget = timeoutMs - Since(startMs); !queue_.empty() && budget > 0;
         budget = timeoutMs - Since(startMs)) {
        const auto waited =
            kernel_.Wait(queue_.front()->Completion(), static_cast<uint32_t>(budget));
        if (waited.status == ports::WaitStatus::TimedOut) {
            break;
        }
        const uint32_t result = queue_.front()->Result(false);
        queue_.pop_front();
        if (result != ports::kWriteSucceeded) {
            return false;
        }
    }
    if (final) {
        file_->Flush();
    }
    return true;
}
