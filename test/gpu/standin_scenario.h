#pragma once

#include <cstdint>
#include <string>

// The test's side of the stand-in maker libraries' scenario (test/standins/scenario_file.h),
// beside this test.
namespace gpu_test {

// Drops every value and recorded call of the scenario.
void ClearScenario();
void Scenario(const char* section, const char* key, const std::string& value);
// How often the stand-ins recorded the call named so.
uint32_t Calls(const char16_t* name);
// The folder of this test (and of the stand-ins).
std::u16string TestFolder();
// Writes one INI value with WritePrivateProfileStringW.
void WriteProfileValue(const std::u16string& path, const char16_t* section, const char16_t* key,
                       const char16_t* value);

} // namespace gpu_test
