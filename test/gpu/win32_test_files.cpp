#include "win32_test_files.h"

#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <shlobj.h>
#include <windows.h>

namespace gpu_test {

bool Win32TestFiles::Exists(const std::u16string& path) {
    return ::GetFileAttributesW(win32::AsWide(path)) != INVALID_FILE_ATTRIBUTES;
}

bool Win32TestFiles::Delete(const std::u16string& path) {
    return ::DeleteFileW(win32::AsWide(path)) != FALSE;
}

std::optional<std::u16string> Win32TestFiles::PluginFolder() {
    const std::wstring folder = win32::OwnModuleFolder();
    return std::u16string(win32::AsUtf16(folder.c_str()), folder.size());
}

std::optional<std::u16string> Win32TestFiles::CommonAppData() {
    wchar_t folder[MAX_PATH] = {};
    if (!::SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_APPDATA, FALSE)) {
        return std::nullopt;
    }
    return std::u16string(win32::AsUtf16(folder));
}

} // namespace gpu_test
