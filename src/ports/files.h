#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ports {

// Files the plug-in reads, deletes or looks for, by full path (wide text, Windows form).
class Files {
public:
    virtual ~Files() = default;

    // PathFileExistsW: a file or folder is there.
    virtual bool Exists(const std::u16string& path) = 0;
    // The whole file in binary, opened with no sharing restriction; nullopt when it cannot be read.
    virtual std::optional<std::vector<uint8_t>> ReadAll(const std::u16string& path) = 0;
    // Sets the attributes to FILE_ATTRIBUTE_NORMAL, so a read-only or hidden file can be deleted.
    virtual bool ClearAttributes(const std::u16string& path) = 0;
    virtual bool Delete(const std::u16string& path) = 0;
};

// The folders the plug-in's paths start from, each without a trailing backslash; nullopt when the
// system cannot tell.
class Folders {
public:
    virtual ~Folders() = default;

    // The folder of the plug-in's own module file: the maker's libraries sit beside it.
    virtual std::optional<std::u16string> PluginFolder() = 0;
    // SHGetSpecialFolderPathW with CSIDL_COMMON_APPDATA.
    virtual std::optional<std::u16string> CommonAppData() = 0;
    // SHGetKnownFolderPath with FOLDERID_ProgramData.
    virtual std::optional<std::u16string> ProgramData() = 0;
    // SHGetSpecialFolderPathW with CSIDL_LOCAL_APPDATA, creating the folder if needed.
    virtual std::optional<std::u16string> LocalAppData() = 0;
};

} // namespace ports
