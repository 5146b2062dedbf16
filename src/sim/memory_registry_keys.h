#pragma once

#include "ports/registry_keys.h"

#include <mutex>
#include <set>
#include <string>

namespace sim {

// An in-memory HKEY_LOCAL_MACHINE of keys only, with the registry's answers: deleting a key that
// has subkeys is refused (access denied), a missing key is not found. Paths compare exactly.
class MemoryRegistryKeys final : public ports::RegistryKeys {
public:
    // Adds the key and every key above it.
    void Create(const std::u16string& path);
    bool Exists(const std::u16string& path) const;
    // Opening or deleting the key or any key below it is refused from now on.
    void DenyAccess(const std::u16string& path);
    // How many deletes were asked for, successful or not.
    int Deletes() const;

    uint32_t Delete(const std::u16string& path) override;
    ports::OpenedKey OpenForRead(const std::u16string& path) override;

private:
    class Key;
    bool Denied(const std::u16string& path) const;
    std::optional<std::u16string> FirstSubkeyOf(const std::u16string& path) const;
    static bool IsBelow(const std::u16string& key, const std::u16string& parent);

    mutable std::mutex mutex_;
    std::set<std::u16string> keys_;
    std::set<std::u16string> denied_;
    int deletes_ = 0;
};

} // namespace sim
