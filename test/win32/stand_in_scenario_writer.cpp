#include "stand_in_scenario_writer.h"

#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <filesystem>
#include <fstream>
#include <windows.h>

namespace {

constexpr wchar_t kVariable[] = L"MONITOR_STANDIN_SCENARIO";

std::filesystem::path FileOf(const std::wstring& folder, const std::string& name,
                             const char* suffix) {
    return std::filesystem::path(folder) / (name + suffix);
}

} // namespace

StandInScenario::StandInScenario() {
    wchar_t temp[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, temp);
    folder_ = std::wstring(temp) + L"maker_stand_ins_" + std::to_wstring(::GetCurrentProcessId()) +
              L"_" + std::to_wstring(::GetTickCount64());
    std::filesystem::create_directories(folder_);
    ::SetEnvironmentVariableW(kVariable, folder_.c_str());
}

StandInScenario::~StandInScenario() {
    ::SetEnvironmentVariableW(kVariable, nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void StandInScenario::Write(const std::string& name, const std::string& text) const {
    std::ofstream(FileOf(folder_, name, ".txt"), std::ios::trunc) << text;
}

std::vector<std::string> StandInScenario::Calls(const std::string& name) const {
    std::ifstream file(FileOf(folder_, name, "_calls.txt"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::u16string StandInScenario::ProgramFolder() {
    return win32::AsUtf16(win32::OwnModuleFolder().c_str());
}
