#pragma once

#include "ports/files.h"

namespace gpu_test {

// The few file and folder calls the GPU clock table makes, through Win32, for the tests under
// Wine: existence, deletion, the common application-data folder and the folder of this module.
class Win32TestFiles final : public ports::Files, public ports::Folders {
public:
    bool Exists(const std::u16string& path) override;
    std::optional<std::vector<uint8_t>> ReadAll(const std::u16string&) override {
        return std::nullopt; // the clock table never reads a file whole
    }
    bool ClearAttributes(const std::u16string&) override { return false; }
    bool Delete(const std::u16string& path) override;

    std::optional<std::u16string> PluginFolder() override;
    std::optional<std::u16string> CommonAppData() override;
    std::optional<std::u16string> ProgramData() override { return std::nullopt; }
    std::optional<std::u16string> LocalAppData() override { return std::nullopt; }
};

} // namespace gpu_test
