#include "disk_enum_key.h"

#include "win32/wide.h"

#include <string>
#include <windows.h>

namespace {

constexpr wchar_t kDiskEnum[] = L"SYSTEM\\CurrentControlSet\\Services\\Disk\\Enum";
constexpr wchar_t kCount[] = L"Count";

bool Set(DWORD type, const void* data, DWORD size) {
    return ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kDiskEnum, kCount, type, data, size) ==
           ERROR_SUCCESS;
}

} // namespace

DiskEnumKey::DiskEnumKey() {
    HKEY key = nullptr;
    m_existed = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDiskEnum, 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (m_existed) {
        DWORD count = 0;
        DWORD size = sizeof count;
        m_hadCount = ::RegQueryValueExW(key, kCount, nullptr, nullptr,
                                        reinterpret_cast<BYTE*>(&count), &size) == ERROR_SUCCESS;
        m_count = count;
        ::RegCloseKey(key);
    }
}

DiskEnumKey::~DiskEnumKey() {
    if (!m_existed) {
        Remove();
    } else if (m_hadCount) {
        SetCount(m_count);
    } else {
        ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kDiskEnum, kCount);
    }
}

void DiskEnumKey::Remove() {
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kDiskEnum);
}

bool DiskEnumKey::SetCount(uint32_t count) {
    const DWORD value = count;
    return Set(REG_DWORD, &value, sizeof value);
}

bool DiskEnumKey::SetCountText(const char16_t* text) {
    const std::u16string copy(text);
    return Set(REG_SZ, copy.c_str(), static_cast<DWORD>((copy.size() + 1) * sizeof(char16_t)));
}

bool DiskEnumKey::SetCountQword(uint64_t count) {
    return Set(REG_QWORD, &count, sizeof count);
}
