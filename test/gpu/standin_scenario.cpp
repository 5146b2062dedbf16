#include "standin_scenario.h"

#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <windows.h>

namespace gpu_test {

namespace {

std::wstring ScenarioPath() {
    return win32::OwnModuleFolder() + L"\\standin_scenario.ini";
}

} // namespace

void ClearScenario() {
    for (const wchar_t* section : {L"Adapter", L"Dock", L"Encrypt", L"Calls"}) {
        ::WritePrivateProfileStringW(section, nullptr, nullptr, ScenarioPath().c_str());
    }
}

void Scenario(const char16_t* section, const char16_t* key, const std::u16string& value) {
    ::WritePrivateProfileStringW(win32::AsWide(section), win32::AsWide(key), win32::AsWide(value),
                                 ScenarioPath().c_str());
}

uint32_t Calls(const char16_t* name) {
    return ::GetPrivateProfileIntW(L"Calls", win32::AsWide(name), 0, ScenarioPath().c_str());
}

std::u16string TestFolder() {
    const std::wstring folder = win32::OwnModuleFolder();
    return std::u16string(win32::AsUtf16(folder.c_str()), folder.size());
}

void WriteProfileValue(const std::u16string& path, const char16_t* section, const char16_t* key,
                       const char16_t* value) {
    ::WritePrivateProfileStringW(win32::AsWide(section), win32::AsWide(key), win32::AsWide(value),
                                 win32::AsWide(path));
}

} // namespace gpu_test
