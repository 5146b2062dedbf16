#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ports {

using AesKey = std::array<uint8_t, 32>;
using AesVector = std::array<uint8_t, 16>;

// AES with a 256-bit key in CBC mode and PKCS#7 block padding. Every call starts from the vector
// the cipher was made with, so calls do not chain into each other. Safe to call from any thread.
class AesCipher {
public:
    virtual ~AesCipher() = default;

    // The plaintext; nullopt when the cipher has no key, the length is not whole blocks, the
    // padding is bad or the system fails.
    virtual std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t> ciphertext) = 0;
    // The ciphertext (always at least one block); nullopt when the cipher has no key or the system
    // fails.
    virtual std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t> plaintext) = 0;
};

class Crypto {
public:
    virtual ~Crypto() = default;

    // Never null: a cipher whose set-up failed has no key and refuses every call.
    virtual std::unique_ptr<AesCipher> NewAesCipher(const AesKey& key, const AesVector& vector) = 0;
};

} // namespace ports
