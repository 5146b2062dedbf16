#include "win32/plugin_module.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"
#include "win32/win32_files.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// A scratch folder in the temporary folder, one per test, removed at the end.
class ScratchFolder {
public:
    ScratchFolder() {
        wchar_t temp[MAX_PATH] = {};
        ::GetTempPathW(MAX_PATH, temp);
        path_ = std::wstring(temp) + L"MonitorPluginFilesTest." +
                std::to_wstring(::GetCurrentProcessId());
        ::CreateDirectoryW(path_.c_str(), nullptr);
    }
    ~ScratchFolder() {
        for (const auto& file : made_) {
            ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::DeleteFileW(file.c_str());
        }
        ::RemoveDirectoryW(path_.c_str());
    }

    std::u16string Put(const wchar_t* name, const std::string& bytes) {
        const std::wstring file = path_ + L"\\" + name;
        made_.push_back(file);
        const win32::UniqueFileHandle handle(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr,
                                                           CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                                           nullptr));
        DWORD written = 0;
        EXPECT_TRUE(::WriteFile(handle.get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                                &written, nullptr));
        return Utf16(file);
    }
    std::u16string Path(const wchar_t* name) const { return Utf16(path_ + L"\\" + name); }
    std::u16string Folder() const { return Utf16(path_); }

    static std::u16string Utf16(const std::wstring& text) {
        return std::u16string(win32::AsUtf16(text.c_str()), text.size());
    }

private:
    std::wstring path_;
    std::vector<std::wstring> made_;
};

TEST(Win32FilesTest, exists_for_a_file_and_a_folder_and_not_for_a_missing_path) {
    ScratchFolder scratch;
    win32::Win32Files files;
    EXPECT_TRUE(files.Exists(scratch.Put(L"a.cfg", "x")));
    EXPECT_TRUE(files.Exists(scratch.Folder()));
    EXPECT_FALSE(files.Exists(scratch.Path(L"missing.cfg")));
}

TEST(Win32FilesTest, reads_every_byte_of_a_file) {
    ScratchFolder scratch;
    win32::Win32Files files;
    std::string bytes(70000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7);
    }
    const auto read = files.ReadAll(scratch.Put(L"big.cfg", bytes));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(std::string(read->begin(), read->end()), bytes);
    EXPECT_EQ(files.ReadAll(scratch.Put(L"empty.cfg", "")), std::vector<uint8_t>{});
    EXPECT_EQ(files.ReadAll(scratch.Path(L"missing.cfg")), std::nullopt);
}

TEST(Win32FilesTest, reads_a_file_that_another_handle_holds_open_for_writing) {
    ScratchFolder scratch;
    win32::Win32Files files;
    const std::u16string path = scratch.Put(L"busy.cfg", "abc");
    const win32::UniqueFileHandle writer(
        ::CreateFileW(win32::AsWide(path), GENERIC_WRITE | DELETE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(writer);
    EXPECT_EQ(files.ReadAll(path), (std::vector<uint8_t>{'a', 'b', 'c'}));
}

TEST(Win32FilesTest, a_read_only_file_is_deleted_once_its_attributes_are_cleared) {
    ScratchFolder scratch;
    win32::Win32Files files;
    const std::u16string path = scratch.Put(L"flag.ini", "1");
    ASSERT_TRUE(::SetFileAttributesW(win32::AsWide(path), FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(files.Delete(path));
    EXPECT_TRUE(files.ClearAttributes(path));
    EXPECT_EQ(::GetFileAttributesW(win32::AsWide(path)) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_TRUE(files.Delete(path));
    EXPECT_FALSE(files.Exists(path));
    EXPECT_FALSE(files.Delete(path));
    EXPECT_FALSE(files.ClearAttributes(path));
}

TEST(Win32FoldersTest, every_folder_is_an_existing_path_without_a_trailing_backslash) {
    win32::Win32Folders folders;
    win32::Win32Files files;
    for (const auto& folder : {folders.PluginFolder(), folders.CommonAppData(),
                               folders.ProgramData(), folders.LocalAppData()}) {
        ASSERT_TRUE(folder.has_value());
        ASSERT_FALSE(folder->empty());
        EXPECT_NE(folder->back(), u'\\');
        EXPECT_TRUE(files.Exists(*folder));
    }
}

TEST(Win32FoldersTest, the_plugin_folder_is_the_folder_of_the_running_module) {
    win32::Win32Folders folders;
    const std::wstring own = win32::OwnModuleFolder();
    EXPECT_EQ(folders.PluginFolder(), ScratchFolder::Utf16(own));
}

TEST(Win32FoldersTest, program_data_is_the_common_application_data_folder) {
    win32::Win32Folders folders;
    EXPECT_EQ(folders.ProgramData(), folders.CommonAppData());
}

} // namespace
