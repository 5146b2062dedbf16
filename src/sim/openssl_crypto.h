#pragma once

#include "ports/crypto.h"

namespace sim {

// The crypto port of native builds, through OpenSSL's libcrypto; the same ciphertexts as the CNG
// implementation of the Windows build.
class OpensslCrypto final : public ports::Crypto {
public:
    std::unique_ptr<ports::AesCipher> NewAesCipher(const ports::AesKey& key,
                                                   const ports::AesVector& vector) override;
};

} // namespace sim
