#include "win32/win32_encrypt_helper.h"

#include "win32/maker_exports.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"

namespace win32 {

namespace {

using DecryptAesFn = int32_t (*)(const wchar_t* encipheredPath, const wchar_t* plainPath);

} // namespace

struct Win32EncryptHelper::Library {
    UniqueModule module;
    DecryptAesFn decryptAes = nullptr;
};

Win32EncryptHelper::Win32EncryptHelper() = default;

Win32EncryptHelper::~Win32EncryptHelper() = default;

std::optional<ports::DecryptAesEntry*> Win32EncryptHelper::Load() {
    std::lock_guard lock(m_lock);
    if (!m_library) {
        UniqueModule module = std::move(LoadBesidePlugin(maker::encrypt::kFile).Module);
        if (!module) {
            return std::nullopt;
        }
        const auto decryptAes = Resolve<DecryptAesFn>(module.get(), maker::encrypt::kDecryptAES);
        m_library = std::make_unique<Library>(Library{std::move(module), decryptAes});
    }
    return m_library->decryptAes != nullptr ? static_cast<ports::DecryptAesEntry*>(this) : nullptr;
}

int32_t Win32EncryptHelper::operator()(const std::u16string& encipheredPath,
                                       const std::u16string& plainPath) {
    return m_library->decryptAes(AsWide(encipheredPath), AsWide(plainPath));
}

} // namespace win32
