#include "sim/memory_registry_keys.h"

namespace sim {

class MemoryRegistryKeys::Key final : public ports::RegistryKey {
public:
    Key(const MemoryRegistryKeys& registry, std::u16string path)
        : registry_(registry), path_(std::move(path)) {}

    std::optional<std::u16string> FirstSubkey(std::size_t capacity) override {
        std::optional<std::u16string> name;
        {
            std::lock_guard lock(registry_.mutex_);
            name = registry_.FirstSubkeyOf(path_);
        }
        if (!name || name->size() + 1 > capacity) {
            return std::nullopt;
        }
        return name;
    }

private:
    const MemoryRegistryKeys& registry_;
    const std::u16string path_;
};

void MemoryRegistryKeys::Create(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    for (std::size_t end = path.find(u'\\'); end != std::u16string::npos;
         end = path.find(u'\\', end + 1)) {
        keys_.insert(path.substr(0, end));
    }
    keys_.insert(path);
}

bool MemoryRegistryKeys::Exists(const std::u16string& path) const {
    std::lock_guard lock(mutex_);
    return keys_.contains(path);
}

void MemoryRegistryKeys::DenyAccess(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    denied_.insert(path);
}

int MemoryRegistryKeys::Deletes() const {
    std::lock_guard lock(mutex_);
    return deletes_;
}

uint32_t MemoryRegistryKeys::Delete(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    ++deletes_;
    if (Denied(path)) {
        return ports::kRegistryAccessDenied;
    }
    if (!keys_.contains(path)) {
        return ports::kRegistryNotFound;
    }
    if (FirstSubkeyOf(path)) {
        return ports::kRegistryAccessDenied;
    }
    keys_.erase(path);
    return ports::kRegistryOk;
}

ports::OpenedKey MemoryRegistryKeys::OpenForRead(const std::u16string& path) {
    std::lock_guard lock(mutex_);
    if (Denied(path)) {
        return {ports::kRegistryAccessDenied, nullptr};
    }
    if (!keys_.contains(path)) {
        return {ports::kRegistryNotFound, nullptr};
    }
    return {ports::kRegistryOk, std::make_unique<Key>(*this, path)};
}

bool MemoryRegistryKeys::Denied(const std::u16string& path) const {
    for (const auto& denied : denied_) {
        if (path == denied || IsBelow(path, denied)) {
            return true;
        }
    }
    return false;
}

// Under the lock.
std::optional<std::u16string> MemoryRegistryKeys::FirstSubkeyOf(const std::u16string& path) const {
    for (auto it = keys_.lower_bound(path + u'\\'); it != keys_.end() && IsBelow(*it, path); ++it) {
        const std::u16string rest = it->substr(path.size() + 1);
        if (rest.find(u'\\') == std::u16string::npos) {
            return rest;
        }
    }
    return std::nullopt;
}

bool MemoryRegistryKeys::IsBelow(const std::u16string& key, const std::u16string& parent) {
    return key.size() > parent.size() + 1 && key.compare(0, parent.size(), parent) == 0 &&
           key[parent.size()] == u'\\';
}

} // namespace sim
