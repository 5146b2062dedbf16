#pragma once

#include "ports/crypto.h"

namespace win32 {

// The crypto port through CNG: the "AES" provider's default implementation and chaining mode
// (CBC), the key imported as a key-data blob, block padding.
class Win32Crypto final : public ports::Crypto {
public:
    std::unique_ptr<ports::AesCipher> NewAesCipher(const ports::AesKey& key,
                                                   const ports::AesVector& vector) override;
};

} // namespace win32
