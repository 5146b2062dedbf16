#include "win32/plugin_module.h"

namespace win32 {

std::wstring OwnModuleFolder() {
    HMODULE self = nullptr;
    if (!::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<LPCWSTR>(&OwnModuleFolder), &self)) {
        return {};
    }
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(self, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            return {};
        }
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        path.resize(path.size() * 2);
    }
    const std::size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? std::wstring{} : path.substr(0, slash);
}

LoadedLibrary LoadMakerLibrary(const std::wstring& path) {
    LoadedLibrary loaded;
    loaded.Module.reset(::LoadLibraryExW(path.c_str(), nullptr, kMakerLibrarySearch));
    if (!loaded.Module) {
        loaded.Error = ::GetLastError();
    }
    return loaded;
}

LoadedLibrary LoadBesidePlugin(const wchar_t* fileName) {
    return LoadMakerLibrary(OwnModuleFolder() + L'\\' + fileName);
}

} // namespace win32
