#include "win32/win32_files.h"

#include "win32/plugin_module.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"

#include <algorithm>
#include <cstdint>
#include <knownfolders.h>
#include <new>
#include <shlobj.h>
#include <shlwapi.h>

namespace win32 {
namespace {

using UniqueTaskMemory = UniqueAny<NullIsEmpty<PWSTR, &::CoTaskMemFree>>;

// ReadFile takes at most a DWORD at a time.
constexpr DWORD kReadPiece = 1u << 30;

bool ReadInto(HANDLE file, std::vector<uint8_t>& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const DWORD piece =
            static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, kReadPiece));
        DWORD read = 0;
        if (!::ReadFile(file, bytes.data() + done, piece, &read, nullptr) || read == 0) {
            return false;
        }
        done += read;
    }
    return true;
}

std::optional<std::u16string> SpecialFolder(int folder, bool create) {
    wchar_t path[MAX_PATH] = {};
    if (!::SHGetSpecialFolderPathW(nullptr, path, folder, create ? TRUE : FALSE)) {
        return std::nullopt;
    }
    return std::u16string(AsUtf16(path));
}

} // namespace

bool Win32Files::Exists(const std::u16string& path) {
    return ::PathFileExistsW(AsWide(path)) != FALSE;
}

std::optional<std::vector<uint8_t>> Win32Files::ReadAll(const std::u16string& path) {
    const UniqueFileHandle file(::CreateFileW(
        AsWide(path), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || !::GetFileSizeEx(file.get(), &size) || size.QuadPart < 0 ||
        static_cast<uint64_t>(size.QuadPart) > SIZE_MAX) {
        return std::nullopt;
    }
    try {
        std::vector<uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
        if (!ReadInto(file.get(), bytes)) {
            return std::nullopt;
        }
        return bytes;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

bool Win32Files::ClearAttributes(const std::u16string& path) {
    return ::SetFileAttributesW(AsWide(path), FILE_ATTRIBUTE_NORMAL) != FALSE;
}

bool Win32Files::Delete(const std::u16string& path) {
    return ::DeleteFileW(AsWide(path)) != FALSE;
}

std::optional<std::u16string> Win32Folders::PluginFolder() {
    const std::wstring folder = OwnModuleFolder();
    if (folder.empty()) {
        return std::nullopt;
    }
    return std::u16string(AsUtf16(folder.c_str()), folder.size());
}

std::optional<std::u16string> Win32Folders::CommonAppData() {
    return SpecialFolder(CSIDL_COMMON_APPDATA, false);
}

std::optional<std::u16string> Win32Folders::ProgramData() {
    UniqueTaskMemory path;
    if (FAILED(::SHGetKnownFolderPath(FOLDERID_ProgramData, 0, nullptr, path.put())) || !path) {
        return std::nullopt;
    }
    return std::u16string(AsUtf16(path.get()));
}

std::optional<std::u16string> Win32Folders::LocalAppData() {
    return SpecialFolder(CSIDL_LOCAL_APPDATA, true);
}

} // namespace win32
