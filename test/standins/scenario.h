#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>
#include <windows.h>

// The simulated machine a stand-in maker library answers from.
//
// A stand-in DLL named X.dll reads the file "X.scenario" in its own folder on every call, so a test
// changes the machine between calls by rewriting that file. The file holds one "key=value" per
// line (blank lines and lines starting with '#' are skipped; a later line wins). A value is read as
// the call needs it: an integer in decimal or with "0x" in hexadecimal, a double, or UTF-8 text.
// A key that is not there gives the stand-in's default. Each call the stand-in receives is appended
// as one line of text to "X.calls" beside it, so a test can see the arguments that arrived.
namespace standin {

class Scenario {
public:
    // The scenario of the stand-in DLL containing this code.
    static Scenario OfThisLibrary();

    std::optional<std::string> Text(const std::string& key) const;
    int64_t Integer(const std::string& key, int64_t otherwise) const;
    double Double(const std::string& key, double otherwise) const;
    std::wstring Wide(const std::string& key, const std::wstring& otherwise) const;

    // Appends a line to the calls file.
    void Record(const std::string& line) const;

private:
    std::wstring m_callsPath;
    std::map<std::string, std::string> m_values;
};

// For tests: writes a stand-in's scenario (library is the DLL's base name, e.g.
// "NativeCorvaneHelper") in folder, and clears its calls.
void WriteScenario(const std::wstring& folder, const std::wstring& library,
                   const std::string& text);
// For tests: the lines the stand-in recorded since the scenario was last written.
std::vector<std::string> RecordedCalls(const std::wstring& folder, const std::wstring& library);

} // namespace standin
