#pragma once

#include "ports/encrypt_helper.h"

#include <memory>
#include <mutex>

namespace win32 {

// VelmorEncryptHelper.dll beside the plug-in. Every Load tries the library again until it has
// loaded once; from then on the one module stays loaded with the port, so the entry handed out
// stays valid.
class Win32EncryptHelper final : public ports::EncryptHelper, private ports::DecryptAesEntry {
public:
    Win32EncryptHelper();
    ~Win32EncryptHelper() override;

    std::optional<ports::DecryptAesEntry*> Load() override;

private:
    struct Library;

    int32_t operator()(const std::u16string& encipheredPath,
                       const std::u16string& plainPath) override;

    std::mutex m_lock;
    std::unique_ptr<Library> m_library;
};

} // namespace win32
