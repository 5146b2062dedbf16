#pragma once

#include <cstdint>

// The Wine prefix's disk driver key "SYSTEM\CurrentControlSet\Services\Disk\Enum" for one test:
// changed as the test says and put back as it was when the object goes.
class DiskEnumKey {
public:
    DiskEnumKey();
    ~DiskEnumKey();
    DiskEnumKey(const DiskEnumKey&) = delete;
    DiskEnumKey& operator=(const DiskEnumKey&) = delete;

    static void Remove();
    // "Count" as a 32-bit number, as text, as a 64-bit number; true when it was written.
    static bool SetCount(uint32_t count);
    static bool SetCountText(const char16_t* text);
    static bool SetCountQword(uint64_t count);

private:
    bool m_existed = false;
    bool m_hadCount = false;
    uint32_t m_count = 0;
};
