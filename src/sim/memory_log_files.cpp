#include "sim/memory_log_files.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

namespace sim {

namespace {

struct FileData {
    std::vector<uint8_t> bytes;
    bool open = false;
    int flushes = 0;
};

void WriteAt(FileData& file, uint64_t offset, const std::vector<uint8_t>& bytes) {
    const auto end = static_cast<std::size_t>(offset) + bytes.size();
    if (file.bytes.size() < end) {
        file.bytes.resize(end);
    }
    std::copy(bytes.begin(), bytes.end(), file.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

// A held write, shared by the disk (which completes it) and the PendingWrite handed out.
struct HeldWrite {
    std::shared_ptr<FileData> file;
    uint64_t offset = 0;
    std::vector<uint8_t> bytes;
    std::unique_ptr<ports::Event> done;
    uint32_t result = ports::kWriteIncomplete;
};

} // namespace

struct MemoryLogFiles::Disk {
    explicit Disk(ports::KernelObjects& objects) : kernel(objects) {}

    ports::KernelObjects& kernel;
    mutable std::mutex lock;
    mutable std::condition_variable heldChanged;
    std::map<std::u16string, std::shared_ptr<FileData>> files;
    bool failCreate = false;
    WriteMode writeMode = WriteMode::Complete;
    uint32_t writeError = 0;
    bool failFlush = false;
    std::deque<std::shared_ptr<HeldWrite>> held;
};

class MemoryLogFiles::Write final : public ports::PendingWrite {
public:
    Write(std::shared_ptr<Disk> disk, std::shared_ptr<HeldWrite> write)
        : disk_(std::move(disk)), write_(std::move(write)) {}

    ports::Waitable& Completion() override { return *write_->done; }

    uint32_t Result(bool wait) override {
        if (wait) {
            disk_->kernel.Wait(*write_->done, ports::kInfinite);
        }
        std::lock_guard guard(disk_->lock);
        return write_->result;
    }

private:
    std::shared_ptr<Disk> disk_;
    std::shared_ptr<HeldWrite> write_;
};

class MemoryLogFiles::File final : public ports::LogFile {
public:
    File(std::shared_ptr<Disk> disk, std::shared_ptr<FileData> data)
        : disk_(std::move(disk)), data_(std::move(data)) {}

    ~File() override {
        std::lock_guard guard(disk_->lock);
        data_->open = false;
    }

    ports::WriteStart Write(uint64_t offset, std::span<const uint8_t> bytes) override {
        std::lock_guard guard(disk_->lock);
        switch (disk_->writeMode) {
        case WriteMode::Complete:
            WriteAt(*data_, offset, {bytes.begin(), bytes.end()});
            return {};
        case WriteMode::Fail:
            return {disk_->writeError, nullptr};
        case WriteMode::Hold:
            break;
        }
        auto held = std::make_shared<HeldWrite>();
        held->file = data_;
        held->offset = offset;
        held->bytes.assign(bytes.begin(), bytes.end());
        held->done = disk_->kernel.NewEvent(true, false);
        disk_->held.push_back(held);
        disk_->heldChanged.notify_all();
        return {ports::kWritePending, std::make_unique<MemoryLogFiles::Write>(disk_, held)};
    }

    bool Flush() override {
        std::lock_guard guard(disk_->lock);
        ++data_->flushes;
        return !disk_->failFlush;
    }

private:
    std::shared_ptr<Disk> disk_;
    std::shared_ptr<FileData> data_;
};

MemoryLogFiles::MemoryLogFiles(ports::KernelObjects& kernel)
    : disk_(std::make_shared<Disk>(kernel)) {}
MemoryLogFiles::~MemoryLogFiles() = default;

std::unique_ptr<ports::LogFile> MemoryLogFiles::Create(const std::u16string& path) {
    std::lock_guard guard(disk_->lock);
    if (disk_->failCreate) {
        return nullptr;
    }
    auto data = std::make_shared<FileData>();
    data->open = true;
    disk_->files[path] = data;
    return std::make_unique<File>(disk_, std::move(data));
}

void MemoryLogFiles::FailCreate(bool fail) {
    std::lock_guard guard(disk_->lock);
    disk_->failCreate = fail;
}

void MemoryLogFiles::SetWriteMode(WriteMode mode, uint32_t error) {
    std::lock_guard guard(disk_->lock);
    disk_->writeMode = mode;
    disk_->writeError = error;
}

void MemoryLogFiles::FailFlush(bool fail) {
    std::lock_guard guard(disk_->lock);
    disk_->failFlush = fail;
}

std::size_t MemoryLogFiles::CompleteHeldWrites(uint32_t error) {
    std::lock_guard guard(disk_->lock);
    const std::size_t count = disk_->held.size();
    for (const auto& write : disk_->held) {
        if (error == ports::kWriteSucceeded) {
            WriteAt(*write->file, write->offset, write->bytes);
        }
        write->result = error;
        write->done->Set();
    }
    disk_->held.clear();
    return count;
}

std::size_t MemoryLogFiles::HeldWrites() const {
    std::lock_guard guard(disk_->lock);
    return disk_->held.size();
}

bool MemoryLogFiles::WaitForHeldWrites(std::size_t count) const {
    std::unique_lock guard(disk_->lock);
    return disk_->heldChanged.wait_for(guard, std::chrono::minutes(1),
                                       [&] { return disk_->held.size() >= count; });
}

bool MemoryLogFiles::Exists(const std::u16string& path) const {
    std::lock_guard guard(disk_->lock);
    return disk_->files.contains(path);
}

std::vector<uint8_t> MemoryLogFiles::Contents(const std::u16string& path) const {
    std::lock_guard guard(disk_->lock);
    auto found = disk_->files.find(path);
    return found == disk_->files.end() ? std::vector<uint8_t>{} : found->second->bytes;
}

bool MemoryLogFiles::IsOpen(const std::u16string& path) const {
    std::lock_guard guard(disk_->lock);
    auto found = disk_->files.find(path);
    return found != disk_->files.end() && found->second->open;
}

int MemoryLogFiles::Flushes(const std::u16string& path) const {
    std::lock_guard guard(disk_->lock);
    auto found = disk_->files.find(path);
    return found == disk_->files.end() ? 0 : found->second->flushes;
}

} // namespace sim
