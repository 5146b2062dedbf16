#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ports {

// Win32 error codes the registry answers with.
inline constexpr uint32_t kRegistryOk = 0;
inline constexpr uint32_t kRegistryNotFound = 2;     // ERROR_FILE_NOT_FOUND
inline constexpr uint32_t kRegistryAccessDenied = 5; // ERROR_ACCESS_DENIED

// A key opened for reading; closed when the object goes.
class RegistryKey {
public:
    virtual ~RegistryKey() = default;
    // The name of the key's first subkey, read into a buffer of `capacity` characters with its
    // terminator; empty when there is none or it does not fit.
    virtual std::optional<std::u16string> FirstSubkey(std::size_t capacity) = 0;
};

struct OpenedKey {
    uint32_t error = kRegistryOk; // set when key is null
    std::unique_ptr<RegistryKey> key;
};

// Keys of HKEY_LOCAL_MACHINE in the 64-bit view of the registry, whatever the caller's bitness.
class RegistryKeys {
public:
    virtual ~RegistryKeys() = default;
    // Deletes the key, which must have no subkeys; the error code, kRegistryOk when deleted.
    virtual uint32_t Delete(const std::u16string& path) = 0;
    virtual OpenedKey OpenForRead(const std::u16string& path) = 0;
};

} // namespace ports
