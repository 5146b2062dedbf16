#pragma once

#include "ports/files.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <shlwapi.h>

// The test executable's folder stands for the plug-in's folder: the stand-in maker libraries are
// placed beside it.
class TestFolders final : public ports::Folders {
public:
    std::optional<std::u16string> PluginFolder() override {
        return std::u16string(win32::AsUtf16(win32::OwnModuleFolder().c_str()));
    }
    std::optional<std::u16string> CommonAppData() override { return std::nullopt; }
    std::optional<std::u16string> ProgramData() override { return std::nullopt; }
    std::optional<std::u16string> LocalAppData() override { return std::nullopt; }
};

// Files as PathFileExistsW sees them; nothing is read or deleted here.
class TestFiles final : public ports::Files {
public:
    bool Exists(const std::u16string& path) override {
        return ::PathFileExistsW(win32::AsWide(path)) != FALSE;
    }
    std::optional<std::vector<uint8_t>> ReadAll(const std::u16string&) override {
        return std::nullopt;
    }
    bool ClearAttributes(const std::u16string&) override { return false; }
    bool Delete(const std::u16string&) override { return false; }
};
