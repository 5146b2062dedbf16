#include "sim/fake_code_signatures.h"

namespace sim {

void FakeCodeSignatures::Sign(const std::u16string& path, const std::u16string& signer) {
    Signature signature;
    signature.Details.SubjectName = signer;
    Put(path, std::move(signature));
}

void FakeCodeSignatures::Put(const std::u16string& path, Signature signature) {
    std::lock_guard lock(m_mutex);
    m_signatures[path] = std::move(signature);
}

std::vector<std::u16string> FakeCodeSignatures::Verified() const {
    std::lock_guard lock(m_mutex);
    return m_verified;
}

int32_t FakeCodeSignatures::Verify(const std::u16string& path) {
    std::lock_guard lock(m_mutex);
    m_verified.push_back(path);
    const auto found = m_signatures.find(path);
    return found == m_signatures.end() ? kNoSignature : found->second.Status;
}

bool FakeCodeSignatures::ReadDetails(const std::u16string& path, ports::SignatureInfo& info) {
    std::lock_guard lock(m_mutex);
    const auto found = m_signatures.find(path);
    if (found == m_signatures.end() || !found->second.DetailsRead) {
        return false;
    }
    info = found->second.Details;
    return true;
}

} // namespace sim
