#include "win32/win32_registry_keys.h"

#include "win32/unique_handle.h"
#include "win32/wide.h"

#include <vector>
#include <windows.h>

namespace win32 {
namespace {

using UniqueKey = UniqueAny<NullIsEmpty<HKEY, &::RegCloseKey>>;

class Win32RegistryKey final : public ports::RegistryKey {
public:
    explicit Win32RegistryKey(UniqueKey key) noexcept : key_(std::move(key)) {}

    std::optional<std::u16string> FirstSubkey(std::size_t capacity) override {
        std::vector<wchar_t> name(capacity + 1, L'\0');
        DWORD size = static_cast<DWORD>(capacity);
        if (::RegEnumKeyExW(key_.get(), 0, name.data(), &size, nullptr, nullptr, nullptr,
                            nullptr) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        return std::u16string(AsUtf16(name.data()));
    }

private:
    UniqueKey key_;
};

} // namespace

uint32_t Win32RegistryKeys::Delete(const std::u16string& path) {
    return static_cast<uint32_t>(
        ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, AsWide(path), KEY_WOW64_64KEY, 0));
}

ports::OpenedKey Win32RegistryKeys::OpenForRead(const std::u16string& path) {
    UniqueKey key;
    const LSTATUS status =
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, AsWide(path), 0, KEY_READ | KEY_WOW64_64KEY, key.put());
    if (status != ERROR_SUCCESS) {
        return {static_cast<uint32_t>(status), nullptr};
    }
    return {ports::kRegistryOk, std::make_unique<Win32RegistryKey>(std::move(key))};
}

} // namespace win32
