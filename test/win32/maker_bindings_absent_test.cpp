// Built into a folder without the stand-ins: the maker libraries the bindings look for beside the
// program are missing, and each source is absent.
#include "win32/win32_amd_sdk.h"
#include "win32/win32_xtu_library.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

TEST(MakerBindingsAbsentTest, a_missing_xtu_library_creates_no_wrapper) {
    win32::Win32XtuLibrary library;
    EXPECT_EQ(library.CreateWrapper(), nullptr);
}

TEST(MakerBindingsAbsentTest, a_missing_sdk_build_gives_the_system_error_of_loading_it) {
    win32::Win32AmdSdkLibraries libraries;
    const ports::LoadedAmdSdk loaded = libraries.Load(u"AMDCPULibrary.dll");
    EXPECT_EQ(loaded.Module, nullptr);
    EXPECT_EQ(loaded.Error, static_cast<uint32_t>(ERROR_MOD_NOT_FOUND));
}

} // namespace
