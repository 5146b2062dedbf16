#include "process_handles.h"

#include <vector>
#include <windows.h>

namespace test_host {
namespace {

constexpr ULONG kSystemExtendedHandleInformation = 64;
constexpr LONG kInfoLengthMismatch = static_cast<LONG>(0xC0000004);

struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG grantedAccess;
    USHORT creatorBackTraceIndex;
    USHORT objectTypeIndex;
    ULONG attributes;
    ULONG reserved;
};

struct HandleTable {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};

using QuerySystemInformation = LONG(WINAPI*)(ULONG type, void* buffer, ULONG size, ULONG* needed);

QuerySystemInformation Query() {
    static const auto query = reinterpret_cast<QuerySystemInformation>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    return query;
}

} // namespace

std::optional<size_t> OpenHandleCount() {
    const QuerySystemInformation query = Query();
    if (query == nullptr) {
        return std::nullopt;
    }
    // The table can grow between the calls: retry with more room until it fits.
    std::vector<ULONG_PTR> buffer(4096);
    for (int attempt = 0; attempt < 16; ++attempt) {
        ULONG needed = 0;
        const auto size = static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR));
        const LONG status = query(kSystemExtendedHandleInformation, buffer.data(), size, &needed);
        if (status == kInfoLengthMismatch) {
            buffer.resize(buffer.size() * 2 + needed / sizeof(ULONG_PTR));
            continue;
        }
        if (status != 0) {
            return std::nullopt;
        }
        const auto* table = reinterpret_cast<const HandleTable*>(buffer.data());
        const ULONG_PTR self = GetCurrentProcessId();
        size_t count = 0;
        for (ULONG_PTR i = 0; i < table->count; ++i) {
            count += table->entries[i].processId == self ? 1 : 0;
        }
        return count;
    }
    return std::nullopt;
}

} // namespace test_host
