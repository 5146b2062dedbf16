#include "sim/memory_files.h"

namespace sim {

MemoryFiles::MemoryFiles() : MemoryFiles(FolderPaths{}) {}

MemoryFiles::MemoryFiles(FolderPaths folders) : folders_(std::move(folders)) {}

void MemoryFiles::Put(const std::u16string& path, std::vector<uint8_t> bytes) {
    std::lock_guard lock(mutex_);
    files_[path] = std::move(bytes);
}

void MemoryFiles::Put(const std::u16string& path, std::string_view text) {
    Put(path, std::vector<uint8_t>(text.begin(), text.end()));
}

std::optional<std::vector<uint8_t>> MemoryFiles::Contents(const std::u16string& path) const {
    std::lock_guard lock(mutex_);
    const auto found = files_.find(path);
    if (found == files_.end()) {
        return std::nullopt;
    }
    return found->second;
}

void MemoryFiles::SetFolders(FolderPaths folders) {
    std::lock_guard lock(mutex_);
    folders_ = std::move(folders);
}

void MemoryFiles::FailReads(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    failingReads_[path] = true;
}

int MemoryFiles::DeleteCount(const std::u16string& path) const {
    std::lock_guard lock(mutex_);
    const auto found = deletes_.find(path);
    return found == deletes_.end() ? 0 : found->second;
}

bool MemoryFiles::Exists(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    return files_.contains(path);
}

std::optional<std::vector<uint8_t>> MemoryFiles::ReadAll(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    const auto found = files_.find(path);
    if (found == files_.end() || failingReads_.contains(path)) {
        return std::nullopt;
    }
    return found->second;
}

bool MemoryFiles::ClearAttributes(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    return files_.contains(path);
}

bool MemoryFiles::Delete(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    ++deletes_[path];
    return files_.erase(path) == 1;
}

std::optional<std::u16string> MemoryFiles::PluginFolder() {
    std::lock_guard lock(mutex_);
    return folders_.Plugin;
}

std::optional<std::u16string> MemoryFiles::CommonAppData() {
    std::lock_guard lock(mutex_);
    return folders_.CommonAppData;
}

std::optional<std::u16string> MemoryFiles::ProgramData() {
    std::lock_guard lock(mutex_);
    return folders_.ProgramData;
}

std::optional<std::u16string> MemoryFiles::LocalAppData() {
    std::lock_guard lock(mutex_);
    return folders_.LocalAppData;
}

} // namespace sim
