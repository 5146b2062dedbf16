#include "win32/win32_log_files.h"

#include "ports/kernel_objects.h"
#include "win32/wide.h"
#include "win32/win32_event.h"

#include <vector>

namespace win32 {
namespace {

static_assert(ports::kWriteIncomplete == ERROR_IO_INCOMPLETE);
static_assert(ports::kWritePending == ERROR_IO_PENDING);

// One overlapped write. The system uses its OVERLAPPED, event and bytes until the write has
// completed, so they live here, and a write still under way is cancelled and waited for before
// they go.
class Win32PendingWrite final : public ports::PendingWrite {
public:
    Win32PendingWrite(HANDLE file, uint64_t offset, std::span<const uint8_t> bytes,
                      UniqueHandle event)
        : file_(file), bytes_(bytes.begin(), bytes.end()), event_(std::move(event)) {
        overlapped_.Offset = static_cast<DWORD>(offset);
        overlapped_.OffsetHigh = static_cast<DWORD>(offset >> 32);
        overlapped_.hEvent = event_.Handle();
    }
    Win32PendingWrite(const Win32PendingWrite&) = delete;
    Win32PendingWrite& operator=(const Win32PendingWrite&) = delete;

    ~Win32PendingWrite() override {
        if (underWay_) {
            ::CancelIoEx(file_, &overlapped_);
            Result(true);
        }
    }

    // Issues the write: kWriteSucceeded, kWritePending or the error that failed it.
    uint32_t Issue() {
        if (::WriteFile(file_, bytes_.data(), static_cast<DWORD>(bytes_.size()), nullptr,
                        &overlapped_)) {
            return ports::kWriteSucceeded;
        }
        const DWORD error = ::GetLastError();
        underWay_ = error == ERROR_IO_PENDING;
        return error;
    }

    ports::Waitable& Completion() override { return event_; }

    uint32_t Result(bool wait) override {
        DWORD written = 0;
        if (::GetOverlappedResult(file_, &overlapped_, &written, wait ? TRUE : FALSE)) {
            underWay_ = false;
            return ports::kWriteSucceeded;
        }
        const DWORD error = ::GetLastError();
        underWay_ = error == ERROR_IO_INCOMPLETE;
        return error;
    }

private:
    HANDLE file_;
    std::vector<uint8_t> bytes_;
    Win32Event event_;
    OVERLAPPED overlapped_{};
    bool underWay_ = false;
};

class Win32LogFile final : public ports::LogFile {
public:
    explicit Win32LogFile(UniqueFileHandle file) noexcept : file_(std::move(file)) {}

    ports::WriteStart Write(uint64_t offset, std::span<const uint8_t> bytes) override {
        UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        if (!event) {
            return {::GetLastError(), nullptr};
        }
        auto write = ports::MadeOrNull([&] {
            return std::make_unique<Win32PendingWrite>(file_.get(), offset, bytes,
                                                       std::move(event));
        });
        if (!write) {
            return {ERROR_NOT_ENOUGH_MEMORY, nullptr};
        }
        const uint32_t result = write->Issue();
        if (result != ports::kWritePending) {
            return {result, nullptr};
        }
        return {result, std::move(write)};
    }

    bool Flush() override { return ::FlushFileBuffers(file_.get()) != FALSE; }

private:
    UniqueFileHandle file_;
};

} // namespace

std::unique_ptr<ports::LogFile> Win32LogFiles::Create(const std::u16string& path) {
    UniqueFileHandle file(::CreateFileW(AsWide(path), GENERIC_WRITE | READ_CONTROL | WRITE_DAC,
                                        FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                        FILE_FLAG_OVERLAPPED, nullptr));
    if (!file) {
        return nullptr;
    }
    return ports::MadeOrNull([&] { return std::make_unique<Win32LogFile>(std::move(file)); });
}

} // namespace win32
