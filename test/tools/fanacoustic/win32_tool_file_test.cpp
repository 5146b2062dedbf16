// Under Wine: the tool's own file (written by the fanacoustic executable before this test runs),
// placed where the configuration tool places it in the prefix's program-data folder, is found,
// read and deciphered by the plug-in's table through the Win32 folders, files and CNG adapters.
#include "sample_table_levels.h"
#include "win32/wide.h"
#include "win32/win32_crypto.h"
#include "win32/win32_files.h"

#include <windows.h>

namespace {

// Makes Velmor\Quillon Config\Data under the program-data folder and copies the file in, with
// single separators as a configuration tool writes them.
std::wstring PlaceInProgramData(const std::u16string& programData, const wchar_t* source,
                                const wchar_t* model) {
    std::wstring folder(win32::AsWide(programData));
    for (const wchar_t* part : {L"\\Velmor", L"\\Quillon Config", L"\\Data"}) {
        folder += part;
        ::CreateDirectoryW(folder.c_str(), nullptr);
    }
    const std::wstring target = folder + L"\\Quillon_Config.FanAcoustic." + model + L".cfg";
    EXPECT_TRUE(::CopyFileW(source, target.c_str(), FALSE)) << ::GetLastError();
    return target;
}

TEST(FanAcousticWineTest, the_tools_file_in_program_data_gives_the_sample_tables_levels) {
    win32::Win32Folders folders;
    win32::Win32Files files;
    win32::Win32Crypto crypto;
    const auto programData = folders.ProgramData();
    ASSERT_TRUE(programData.has_value());
    for (const wchar_t* written : {L"sample_from_ini.cfg", L"sample_from_json.cfg"}) {
        const std::wstring placed = PlaceInProgramData(*programData, written, L"WineFanTool");
        gpu::FanAcoustic table(crypto, files, folders);
        EXPECT_EQ(table.Load(u"WineFanTool"), 1);
        ExpectSampleTableLevels(table);
        EXPECT_EQ(table.Load(u"WineFanTool2"), 0);
        ::DeleteFileW(placed.c_str());
    }
}

} // namespace
