#include "host_win32/plugin_library.h"

#include <cstdio>
#include <utility>

namespace orvex_host {

std::wstring WindowsFolder(std::string_view folder) {
    std::wstring path(folder.begin(), folder.end()); // build-tree paths are plain ASCII
    if (path.starts_with(L'/')) {
        path.insert(0, L"Z:");
    }
    for (wchar_t& c : path) {
        if (c == L'/') {
            c = L'\\';
        }
    }
    return path;
}

LibraryModule::LibraryModule(const std::wstring& path)
    : module_(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {}

LibraryModule::LibraryModule(LibraryModule&& other) noexcept
    : module_(std::exchange(other.module_, nullptr)) {}

LibraryModule& LibraryModule::operator=(LibraryModule&& other) noexcept {
    if (this != &other) {
        Reset();
        module_ = std::exchange(other.module_, nullptr);
    }
    return *this;
}

LibraryModule::~LibraryModule() {
    Reset();
}

void* LibraryModule::Export(const char* name) const {
    return module_ == nullptr ? nullptr : reinterpret_cast<void*>(GetProcAddress(module_, name));
}

void LibraryModule::Reset() {
    if (module_ != nullptr) {
        FreeLibrary(std::exchange(module_, nullptr));
    }
}

std::wstring ReadText(abi::Plugin* plugin, TextSlot slot) {
    uint32_t count = 0;
    slot(plugin, nullptr, &count);
    if (count == 0) {
        return {};
    }
    std::wstring text(count, L'\0');
    if (slot(plugin, text.data(), &count) != 0) {
        return {};
    }
    text.resize(wcsnlen(text.c_str(), text.size()));
    return text;
}

std::string RegistryForm(const GUID& id) {
    char text[39];
    std::snprintf(text, sizeof text, "{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned long>(id.Data1), id.Data2, id.Data3, id.Data4[0],
                  id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5], id.Data4[6],
                  id.Data4[7]);
    return text;
}

} // namespace orvex_host
