#pragma once

#include "ports/files.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// The files and folders of a simulated laptop, in memory. Paths are compared as given (tests use
// one spelling per file). Folders answer what the test set, nullopt when it set nothing.
class MemoryFiles final : public ports::Files, public ports::Folders {
public:
    struct FolderPaths {
        std::optional<std::u16string> Plugin = u"C:\\Program Files\\Orvex\\ThrottlePlugin";
        std::optional<std::u16string> CommonAppData = u"C:\\ProgramData";
        std::optional<std::u16string> ProgramData = u"C:\\ProgramData";
        std::optional<std::u16string> LocalAppData =
            u"C:\\Windows\\system32\\config\\systemprofile\\AppData\\Local";
    };

    MemoryFiles();
    explicit MemoryFiles(FolderPaths folders);

    void Put(const std::u16string& path, std::vector<uint8_t> bytes);
    void Put(const std::u16string& path, std::string_view text);
    std::optional<std::vector<uint8_t>> Contents(const std::u16string& path) const;
    void SetFolders(FolderPaths folders);
    // Makes every later ReadAll of the path fail although the file is there.
    void FailReads(const std::u16string& path);
    int DeleteCount(const std::u16string& path) const;

    bool Exists(const std::u16string& path) override;
    std::optional<std::vector<uint8_t>> ReadAll(const std::u16string& path) override;
    bool ClearAttributes(const std::u16string& path) override;
    bool Delete(const std::u16string& path) override;

    std::optional<std::u16string> PluginFolder() override;
    std::optional<std::u16string> CommonAppData() override;
    std::optional<std::u16string> ProgramData() override;
    std::optional<std::u16string> LocalAppData() override;

private:
    mutable std::mutex mutex_;
    FolderPaths folders_;
    std::map<std::u16string, std::vector<uint8_t>> files_;
    std::map<std::u16string, int> deletes_;
    std::map<std::u16string, bool> failingReads_;
};

} // namespace sim
