#pragma once

#include "scenario_file.h"

#include <cstdint>
#include <string>
#include <windows.h>

// A stand-in's view of the scenario (scenario_file.h): its own library's section of the nearest
// "standin_scenario.ini" at or above the folder of the stand-in's file, read afresh for each call.
namespace standin {

class StandIn {
public:
    // Reads the scenario now; section names the maker library this stand-in plays.
    explicit StandIn(const char* section);

    std::optional<std::string> Text(const std::string& key) const;
    int64_t Integer(const std::string& key, int64_t otherwise) const;
    double Double(const std::string& key, double otherwise) const;
    std::wstring Wide(const std::string& key, const std::wstring& otherwise = {}) const;

    // Appends "Section: line" to the calls file beside the scenario.
    void Record(const std::string& line) const;

private:
    const char* m_section;
    std::filesystem::path m_folder;
    Scenario m_scenario;
};

} // namespace standin
