#include "standin_scenario.h"

#include "scenario_file.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <windows.h>

namespace gpu_test {

namespace {

standin::ScenarioFolder Here() {
    return standin::ScenarioFolder(win32::OwnModuleFolder());
}

} // namespace

void ClearScenario() {
    Here().Clear();
}

void Scenario(const char* section, const char* key, const std::string& value) {
    Here().Set(section, key, value);
}

uint32_t Calls(const char16_t* name) {
    std::string narrow; // the names are ASCII
    for (const char16_t* c = name; *c != u'\0'; ++c) {
        narrow += static_cast<char>(*c);
    }
    return Here().CallCount(narrow);
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
