#include "scenario.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace standin {
namespace {

std::wstring ModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            return {};
        }
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

HMODULE ThisModule() {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&ThisModule), &module);
    return module;
}

std::filesystem::path FileOf(const std::wstring& folder, const std::wstring& library,
                             const wchar_t* extension) {
    return std::filesystem::path(folder) / (library + extension);
}

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

} // namespace

Scenario Scenario::OfThisLibrary() {
    const std::filesystem::path module(ModulePath(ThisModule()));
    const std::wstring folder = module.parent_path().wstring();
    const std::wstring library = module.stem().wstring();
    Scenario scenario;
    scenario.m_callsPath = FileOf(folder, library, L".calls").wstring();
    std::ifstream file(FileOf(folder, library, L".scenario"));
    std::string line;
    while (std::getline(file, line)) {
        line = Trimmed(line);
        const auto equals = line.find('=');
        if (line.empty() || line[0] == '#' || equals == std::string::npos) {
            continue;
        }
        scenario.m_values[Trimmed(line.substr(0, equals))] = Trimmed(line.substr(equals + 1));
    }
    return scenario;
}

std::optional<std::string> Scenario::Text(const std::string& key) const {
    const auto found = m_values.find(key);
    if (found == m_values.end()) {
        return std::nullopt;
    }
    return found->second;
}

int64_t Scenario::Integer(const std::string& key, int64_t otherwise) const {
    const auto text = Text(key);
    if (!text || text->empty()) {
        return otherwise;
    }
    const bool hex =
        text->size() > 2 && (*text)[0] == '0' && ((*text)[1] == 'x' || (*text)[1] == 'X');
    return hex ? static_cast<int64_t>(std::strtoull(text->c_str() + 2, nullptr, 16))
               : std::strtoll(text->c_str(), nullptr, 10);
}

double Scenario::Double(const std::string& key, double otherwise) const {
    const auto text = Text(key);
    return text && !text->empty() ? std::strtod(text->c_str(), nullptr) : otherwise;
}

std::wstring Scenario::Wide(const std::string& key, const std::wstring& otherwise) const {
    const auto text = Text(key);
    if (!text) {
        return otherwise;
    }
    const int length =
        ::MultiByteToWideChar(CP_UTF8, 0, text->data(), static_cast<int>(text->size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text->data(), static_cast<int>(text->size()), wide.data(),
                          length);
    return wide;
}

void Scenario::Record(const std::string& line) const {
    std::ofstream(std::filesystem::path(m_callsPath), std::ios::app) << line << '\n';
}

void WriteScenario(const std::wstring& folder, const std::wstring& library,
                   const std::string& text) {
    std::ofstream(FileOf(folder, library, L".scenario"), std::ios::trunc) << text;
    std::filesystem::remove(FileOf(folder, library, L".calls"));
}

std::vector<std::string> RecordedCalls(const std::wstring& folder, const std::wstring& library) {
    std::vector<std::string> lines;
    std::ifstream file(FileOf(folder, library, L".calls"));
    std::string line;
    while (std::getline(file, line)) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace standin
