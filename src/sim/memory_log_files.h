#pragma once

#include "ports/kernel_objects.h"
#include "ports/log_file.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sim {

// Log files kept in memory, with faults tests switch on: creation fails, writes fail at once, or
// writes stay pending until the test completes them (successfully or with an error), flushes fail.
// A pending write's completion is a native event made by the given kernel objects.
class MemoryLogFiles final : public ports::LogFiles {
public:
    enum class WriteMode { Complete, Fail, Hold };

    explicit MemoryLogFiles(ports::KernelObjects& kernel);
    ~MemoryLogFiles() override;

    std::unique_ptr<ports::LogFile> Create(const std::u16string& path) override;

    void FailCreate(bool fail);
    // How the next writes go; Fail uses `error` as the write's error code.
    void SetWriteMode(WriteMode mode, uint32_t error = 0);
    void FailFlush(bool fail);
    // Completes every held write, oldest first: error 0 writes the bytes, any other code fails the
    // write with it. Returns how many were completed.
    std::size_t CompleteHeldWrites(uint32_t error = 0);
    std::size_t HeldWrites() const;
    // Waits until at least `count` writes are held; false if that took more than a minute.
    bool WaitForHeldWrites(std::size_t count) const;

    bool Exists(const std::u16string& path) const;
    // The bytes written to the file so far (empty for an unknown path).
    std::vector<uint8_t> Contents(const std::u16string& path) const;
    // Whether a handle to the file is open.
    bool IsOpen(const std::u16string& path) const;
    int Flushes(const std::u16string& path) const;

private:
    class File;
    class Write;
    struct Disk;
    std::shared_ptr<Disk> disk_;
};

} // namespace sim
