#pragma once

#include "ports/code_signatures.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

// Authenticode signatures of a simulated machine's files, by path. A file the test has not signed
// has no signature (TRUST_E_NOSIGNATURE). Records every path verified.
class FakeCodeSignatures final : public ports::CodeSignatures {
public:
    static constexpr int32_t kNoSignature = static_cast<int32_t>(0x800B0100);
    static constexpr int32_t kBadDigest = static_cast<int32_t>(0x80096010);

    struct Signature {
        int32_t Status = 0;      // the verification's result
        bool DetailsRead = true; // whether the details can be read after it verified
        ports::SignatureInfo Details;
    };

    // A file whose signature verifies and names signer as its subject.
    void Sign(const std::u16string& path, const std::u16string& signer);
    void Put(const std::u16string& path, Signature signature);
    std::vector<std::u16string> Verified() const;

    int32_t Verify(const std::u16string& path) override;
    bool ReadDetails(const std::u16string& path, ports::SignatureInfo& info) override;

private:
    mutable std::mutex m_mutex;
    std::map<std::u16string, Signature> m_signatures;
    std::vector<std::u16string> m_verified;
};

} // namespace sim
