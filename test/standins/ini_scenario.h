#pragma once

#include <cstdint>
#include <string>

// The simulated machine the stand-in maker libraries answer from: an INI file
// ("standin_scenario.ini"; one file for these stand-ins) beside the stand-ins, which the test writes and changes between calls.
// Every call a stand-in receives is counted in its [Calls] section.
namespace standin {

std::wstring ScenarioPath();
// A number of the scenario (decimal, or hexadecimal with "0x"); fallback when it is not there.
uint32_t Number(const wchar_t* section, const wchar_t* key, uint32_t fallback);
std::wstring Text(const wchar_t* section, const wchar_t* key);
void CountCall(const wchar_t* name);

} // namespace standin
