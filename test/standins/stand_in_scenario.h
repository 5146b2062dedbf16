#pragma once

// The scenario a Windows test writes for the stand-in maker libraries: a folder named by the
// environment variable MONITOR_STANDIN_SCENARIO holding "NAME.txt" files of "key=value" lines,
// read again at every call so that a test can change the simulated machine between calls. Each
// stand-in appends the calls it received to "NAME_calls.txt" in the same folder.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <windows.h>

namespace stand_in {

inline std::wstring ScenarioFile(const wchar_t* name) {
    wchar_t folder[MAX_PATH] = {};
    const DWORD length = ::GetEnvironmentVariableW(L"MONITOR_STANDIN_SCENARIO", folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return {};
    }
    return std::wstring(folder) + L"\\" + name;
}

// The value of key in the scenario NAME, or fallback when it is not there.
inline double Value(const wchar_t* name, const char* key, double fallback) {
    const std::wstring path = ScenarioFile((std::wstring(name) + L".txt").c_str());
    FILE* file = path.empty() ? nullptr : ::_wfopen(path.c_str(), L"r");
    if (file == nullptr) {
        return fallback;
    }
    double value = fallback;
    char line[256];
    const std::size_t keyLength = std::strlen(key);
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, key, keyLength) == 0 && line[keyLength] == '=') {
            value = std::strtod(line + keyLength + 1, nullptr);
        }
    }
    std::fclose(file);
    return value;
}

// Appends one line to NAME_calls.txt.
inline void Record(const wchar_t* name, const char* line) {
    const std::wstring path = ScenarioFile((std::wstring(name) + L"_calls.txt").c_str());
    FILE* file = path.empty() ? nullptr : ::_wfopen(path.c_str(), L"a");
    if (file == nullptr) {
        return;
    }
    std::fputs(line, file);
    std::fputc('\n', file);
    std::fclose(file);
}

} // namespace stand_in
