#include "stand_in.h"

namespace standin {
namespace {

// The stand-in's files in folder. Their names are ASCII and widened here: the path's own conversion
// of narrow text sets up the C++ run-time's locale on the host's thread, which makes MinGW's thread
// library keep a record of that thread (a handle and an event) that nothing frees when the
// stand-in is unloaded.
std::filesystem::path FileIn(const std::filesystem::path& folder, std::string_view name) {
    return folder / std::wstring(name.begin(), name.end());
}

std::filesystem::path OwnFolder() {
    HMODULE self = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&OwnFolder), &self);
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(self, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return std::filesystem::path(path).parent_path();
        }
        path.resize(path.size() * 2);
    }
}

// The nearest folder at or above the stand-in's own that holds a scenario; its own when none does.
std::filesystem::path ScenarioFolderOf(const std::filesystem::path& own) {
    for (std::filesystem::path folder = own;; folder = folder.parent_path()) {
        std::error_code ignored;
        if (std::filesystem::exists(FileIn(folder, kScenarioFileName), ignored)) {
            return folder;
        }
        if (folder == folder.parent_path()) {
            return own;
        }
    }
}

} // namespace

StandIn::StandIn(const char* section)
    : m_section(section), m_folder(ScenarioFolderOf(OwnFolder())),
      m_scenario(Scenario::Read(FileIn(m_folder, kScenarioFileName))) {}

std::optional<std::string> StandIn::Text(const std::string& key) const {
    return m_scenario.Text(m_section, key);
}

int64_t StandIn::Integer(const std::string& key, int64_t otherwise) const {
    return m_scenario.Integer(m_section, key, otherwise);
}

double StandIn::Double(const std::string& key, double otherwise) const {
    return m_scenario.Double(m_section, key, otherwise);
}

std::wstring StandIn::Wide(const std::string& key, const std::wstring& otherwise) const {
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

// One write of the whole line to a file opened for appending, so that lines from the plug-in's
// threads and from several stand-ins never interleave.
void StandIn::Record(const std::string& line) const {
    const std::string text = std::string(m_section) + ": " + line + "\n";
    const HANDLE file = ::CreateFileW(FileIn(m_folder, kCallsFileName).c_str(), FILE_APPEND_DATA,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    DWORD written = 0;
    ::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    ::CloseHandle(file);
}

} // namespace standin
