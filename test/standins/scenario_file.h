#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The simulated machine the stand-in maker libraries answer from, and what they tell about the
// calls they received.
//
// One file, "standin_scenario.ini", plays the whole machine: an INI text with a section per maker
// library, named by its file ("[NativeCorvaneHelper]", "[GPUControlLibrary]",
// "[ExternalGPUConfigHelper]", "[VelmorEncryptHelper]", "[VelmorIO3_64]",
// "[XTUWrapperForNativeCode]", "[AMDCPULibrary]" for every build of the AMD SDK), plus "[Host]"
// for the answers a host gives the plug-in, in the reference host's profile form
// (tools/host_core/host_profile.h: "ProductLine", "MarketingName", "ModelName", "SubBrand" and
// "PPRead", the "UWPInfo" answer).
// Lines are "key=value" (blanks around both trimmed; blank lines and lines starting with ';' or
// '#' skipped; a later line wins); keys are case-sensitive. A stand-in uses the nearest
// "standin_scenario.ini" at or above its own folder and reads it again at every call, so a test
// changes the machine between calls by rewriting it. Each call a stand-in receives is appended to
// "standin_calls.txt" beside the scenario as "Section: text".
//
// This header is free of <windows.h>: tests of any tree, and the profile tools, read and write
// scenarios through it.
namespace standin {

inline constexpr char kScenarioFileName[] = "standin_scenario.ini";
inline constexpr char kCallsFileName[] = "standin_calls.txt";

class Scenario {
public:
    using Section = std::map<std::string, std::string, std::less<>>;

    static Scenario Parse(std::string_view text);
    // An empty scenario when the file cannot be read.
    static Scenario Read(const std::filesystem::path& file);
    std::string Text() const;
    void Write(const std::filesystem::path& file) const;

    std::optional<std::string> Text(std::string_view section, std::string_view key) const;
    // Decimal or, with "0x", hexadecimal, either with a leading '-'.
    int64_t Integer(std::string_view section, std::string_view key, int64_t otherwise) const;
    double Double(std::string_view section, std::string_view key, double otherwise) const;

    void Set(std::string_view section, std::string_view key, std::string_view value);
    // Replaces a section with the "key=value" lines of text.
    void Replace(std::string_view section, std::string_view text);
    // Null when the section is absent.
    const Section* Find(std::string_view section) const;

private:
    std::map<std::string, Section, std::less<>> m_sections;
};

// The test's side: the scenario and the calls in one folder (where the stand-ins stand).
class ScenarioFolder {
public:
    explicit ScenarioFolder(std::filesystem::path folder);

    const std::filesystem::path& Folder() const { return m_folder; }
    std::filesystem::path ScenarioPath() const;

    // Drops the whole scenario and every recorded call.
    void Clear() const;
    // Replaces one library's section and drops the calls it recorded.
    void Write(std::string_view section, std::string_view text) const;
    void Set(std::string_view section, std::string_view key, std::string_view value) const;
    Scenario Current() const;

    // The texts one library recorded, in order.
    std::vector<std::string> Calls(std::string_view section) const;
    // How many calls recorded exactly this text, by any library.
    uint32_t CallCount(std::string_view text) const;

private:
    std::filesystem::path m_folder;
};

#ifdef _WIN32
// The folder of the running program, where a Windows test's stand-ins stand.
std::filesystem::path ProgramFolder();
#endif

} // namespace standin
