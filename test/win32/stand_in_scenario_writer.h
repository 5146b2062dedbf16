#pragma once

#include <string>
#include <vector>

// The test's side of the stand-ins' scenario: a fresh folder, named to the stand-ins through the
// environment, where the test writes what they answer and reads the calls they received. Kept
// free of <windows.h>, so tests of the plug-in frame can use it.
class StandInScenario {
public:
    StandInScenario();
    ~StandInScenario();
    StandInScenario(const StandInScenario&) = delete;
    StandInScenario& operator=(const StandInScenario&) = delete;

    // Replaces the scenario of the stand-in `name` ("xtu", "amd_sdk") with `text`.
    void Write(const std::string& name, const std::string& text) const;
    // The calls the stand-in `name` received so far, one line each.
    std::vector<std::string> Calls(const std::string& name) const;

    // The folder of the test program, where the stand-ins stand.
    static std::u16string ProgramFolder();

private:
    std::wstring folder_;
};
