#include "ini_scenario.h"

#include <cwchar>
#include <windows.h>

namespace standin {

namespace {

std::wstring OwnFolder() {
    HMODULE self = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&OwnFolder), &self);
    wchar_t path[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameW(self, path, MAX_PATH);
    std::wstring folder(path, length);
    return folder.substr(0, folder.find_last_of(L"\\/"));
}

} // namespace

std::wstring ScenarioPath() {
    return OwnFolder() + L"\\standin_scenario.ini";
}

uint32_t Number(const wchar_t* section, const wchar_t* key, uint32_t fallback) {
    const std::wstring text = Text(section, key);
    if (text.empty()) {
        return fallback;
    }
    const bool negative = text[0] == L'-';
    const auto magnitude =
        static_cast<uint32_t>(std::wcstoul(text.c_str() + (negative ? 1 : 0), nullptr, 0));
    return negative ? 0u - magnitude : magnitude;
}

std::wstring Text(const wchar_t* section, const wchar_t* key) {
    wchar_t buffer[512] = {};
    const DWORD length =
        ::GetPrivateProfileStringW(section, key, L"", buffer, 512, ScenarioPath().c_str());
    return std::wstring(buffer, length);
}

void CountCall(const wchar_t* name) {
    const uint32_t calls = Number(L"Calls", name, 0) + 1;
    ::WritePrivateProfileStringW(L"Calls", name, std::to_wstring(calls).c_str(),
                                 ScenarioPath().c_str());
}

} // namespace standin
