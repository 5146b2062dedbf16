#pragma once

#include "ports/waitable.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace ports {

// Results of log-file writes, as Win32 error codes.
inline constexpr uint32_t kWriteSucceeded = 0;
inline constexpr uint32_t kWriteIncomplete = 996; // ERROR_IO_INCOMPLETE
inline constexpr uint32_t kWritePending = 997;    // ERROR_IO_PENDING

// A write that the system is still carrying out. It owns its copy of the bytes and its event, and
// destroying it first makes sure the system no longer uses them.
class PendingWrite {
public:
    virtual ~PendingWrite() = default;
    // Signalled once the write has completed, successfully or not.
    virtual Waitable& Completion() = 0;
    // The write's result; without waiting, a write still under way gives kWriteIncomplete.
    virtual uint32_t Result(bool wait) = 0;
};

struct WriteStart {
    // kWriteSucceeded, kWritePending (then `pending` is set) or the error that failed the write.
    uint32_t result = kWriteSucceeded;
    std::unique_ptr<PendingWrite> pending;
};

// A file written with overlapped I/O, each write at an explicit offset. Destroying it closes it.
class LogFile {
public:
    virtual ~LogFile() = default;
    // Starts writing a copy of bytes at offset; the caller's buffer is free again on return.
    virtual WriteStart Write(uint64_t offset, std::span<const uint8_t> bytes) = 0;
    virtual bool Flush() = 0;
};

class LogFiles {
public:
    virtual ~LogFiles() = default;
    // Creates the file at path, replacing any file there, for overlapped writing while others may
    // read it; null on failure.
    virtual std::unique_ptr<LogFile> Create(const std::u16string& path) = 0;
};

} // namespace ports
