#pragma once

#include "ports/code_signatures.h"

namespace win32 {

// Authenticode through WinTrust and CryptoAPI: WinVerifyTrust with the generic verify action, and
// the signer's details from the embedded PKCS #7 message (signer information, publisher
// information, signer certificate names and serial number, counter-signature or RFC 3161 time
// stamp).
class Win32CodeSignatures final : public ports::CodeSignatures {
public:
    int32_t Verify(const std::u16string& path) override;
    bool ReadDetails(const std::u16string& path, ports::SignatureInfo& info) override;
};

} // namespace win32
