#pragma once

#include "win32/unique_handle.h"

#include <cstdint>
#include <string>
#include <windows.h>

namespace win32 {

// The folder of the module this code is linked into (MonitorPlugin.dll in the product, the test
// executable in a test), without a trailing backslash; empty when the system cannot tell.
std::wstring OwnModuleFolder();

// A library loaded by full path, and the system error when it could not be.
struct LoadedLibrary {
    UniqueModule Module;
    DWORD Error = ERROR_SUCCESS;
};

// How every library of the maker is loaded: by its full path, its own dependencies looked for
// beside it and in System32 only. The process's search path (current folder, PATH, folders other
// code added) takes no part, and nothing of the process's loader state is changed.
inline constexpr DWORD kMakerLibrarySearch =
    LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;

// Loads the library at the full path `path` with kMakerLibrarySearch.
LoadedLibrary LoadMakerLibrary(const std::wstring& path);

// Loads fileName (a path relative to the plug-in's folder) by its full path.
LoadedLibrary LoadBesidePlugin(const wchar_t* fileName);

// The export `name` of module as a function of type Fn; null when the module or the entry is
// missing.
template <typename Fn>
Fn Resolve(HMODULE module, const char* name) noexcept {
    if (module == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

} // namespace win32
