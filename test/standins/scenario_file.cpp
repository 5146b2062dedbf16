#include "scenario_file.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

namespace standin {
namespace {

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Calls "key=value" for every such line of text, and section for every "[name]" line.
template <typename OnSection, typename OnValue>
void ForEachLine(std::string_view text, OnSection onSection, OnValue onValue) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = Trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.empty() || line[0] == ';' || line[0] == '#') {
            continue;
        }
        if (line.front() == '[' && line.back() == ']') {
            onSection(Trimmed(line.substr(1, line.size() - 2)));
            continue;
        }
        const auto equals = line.find('=');
        if (equals != std::string_view::npos) {
            onValue(Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)));
        }
    }
}

// Read through C's files rather than a stream: a stand-in reads its scenario on the host's thread,
// where a stream would set up the C++ run-time's locale (see stand_in.cpp).
std::string FileText(const std::filesystem::path& file) {
#ifdef _WIN32
    std::FILE* stream = _wfopen(file.c_str(), L"rb");
#else
    std::FILE* stream = std::fopen(file.c_str(), "rb");
#endif
    std::string text;
    if (stream == nullptr) {
        return text;
    }
    char block[4096];
    for (std::size_t read; (read = std::fread(block, 1, sizeof block, stream)) > 0;) {
        text.append(block, read);
    }
    std::fclose(stream);
    return text;
}

// (section, text) of every line of the calls file.
std::vector<std::pair<std::string, std::string>> CallLines(const std::filesystem::path& file) {
    std::vector<std::pair<std::string, std::string>> calls;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const auto colon = line.find(": ");
        if (colon != std::string::npos) {
            calls.emplace_back(line.substr(0, colon), line.substr(colon + 2));
        }
    }
    return calls;
}

} // namespace

Scenario Scenario::Parse(std::string_view text) {
    Scenario scenario;
    std::string section;
    ForEachLine(
        text, [&](std::string_view name) { section = name; },
        [&](std::string_view key, std::string_view value) { scenario.Set(section, key, value); });
    return scenario;
}

Scenario Scenario::Read(const std::filesystem::path& file) {
    return Parse(FileText(file));
}

std::string Scenario::Text() const {
    std::string text;
    for (const auto& [section, values] : m_sections) {
        text += "[" + section + "]\n";
        for (const auto& [key, value] : values) {
            text += key + "=" + value + "\n";
        }
    }
    return text;
}

void Scenario::Write(const std::filesystem::path& file) const {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << Text();
}

std::optional<std::string> Scenario::Text(std::string_view section, std::string_view key) const {
    const Section* values = Find(section);
    if (values == nullptr) {
        return std::nullopt;
    }
    const auto found = values->find(key);
    if (found == values->end()) {
        return std::nullopt;
    }
    return found->second;
}

int64_t Scenario::Integer(std::string_view section, std::string_view key, int64_t otherwise) const {
    const auto text = Text(section, key);
    if (!text || text->empty()) {
        return otherwise;
    }
    const bool negative = (*text)[0] == '-';
    const char* digits = text->c_str() + (negative ? 1 : 0);
    const bool hex = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    const auto magnitude =
        hex ? std::strtoull(digits + 2, nullptr, 16) : std::strtoull(digits, nullptr, 10);
    return static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
}

double Scenario::Double(std::string_view section, std::string_view key, double otherwise) const {
    const auto text = Text(section, key);
    return text && !text->empty() ? std::strtod(text->c_str(), nullptr) : otherwise;
}

void Scenario::Set(std::string_view section, std::string_view key, std::string_view value) {
    const auto found = m_sections.find(section);
    Section& values = found != m_sections.end() ? found->second : m_sections[std::string(section)];
    values.insert_or_assign(std::string(key), std::string(value));
}

void Scenario::Replace(std::string_view section, std::string_view text) {
    m_sections[std::string(section)].clear();
    ForEachLine(
        text, [](std::string_view) {},
        [&](std::string_view key, std::string_view value) { Set(section, key, value); });
}

const Scenario::Section* Scenario::Find(std::string_view section) const {
    const auto found = m_sections.find(section);
    return found != m_sections.end() ? &found->second : nullptr;
}

ScenarioFolder::ScenarioFolder(std::filesystem::path folder) : m_folder(std::move(folder)) {}

std::filesystem::path ScenarioFolder::ScenarioPath() const {
    return m_folder / kScenarioFileName;
}

void ScenarioFolder::Clear() const {
    std::error_code ignored;
    std::filesystem::remove(ScenarioPath(), ignored);
    std::filesystem::remove(m_folder / kCallsFileName, ignored);
}

void ScenarioFolder::Write(std::string_view section, std::string_view text) const {
    Scenario scenario = Current();
    scenario.Replace(section, text);
    scenario.Write(ScenarioPath());
    std::string kept;
    for (const auto& [library, call] : CallLines(m_folder / kCallsFileName)) {
        if (library != section) {
            kept += library + ": " + call + "\n";
        }
    }
    std::ofstream(m_folder / kCallsFileName, std::ios::binary | std::ios::trunc) << kept;
}

void ScenarioFolder::Set(std::string_view section, std::string_view key,
                         std::string_view value) const {
    Scenario scenario = Current();
    scenario.Set(section, key, value);
    scenario.Write(ScenarioPath());
}

Scenario ScenarioFolder::Current() const {
    return Scenario::Read(ScenarioPath());
}

std::vector<std::string> ScenarioFolder::Calls(std::string_view section) const {
    std::vector<std::string> texts;
    for (auto& [library, call] : CallLines(m_folder / kCallsFileName)) {
        if (library == section) {
            texts.push_back(std::move(call));
        }
    }
    return texts;
}

uint32_t ScenarioFolder::CallCount(std::string_view text) const {
    uint32_t count = 0;
    for (const auto& call : CallLines(m_folder / kCallsFileName)) {
        count += call.second == text ? 1 : 0;
    }
    return count;
}

} // namespace standin
