#include "scenario_file.h"
#include "win32/maker_exports.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"
#include "win32/win32_helper_library.h"
#include "win32/win32_io_libraries.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr char kHelper[] = "NativeCorvaneHelper";
constexpr char kIo[] = "VelmorIO3_64";

std::wstring Folder() {
    return win32::OwnModuleFolder();
}

standin::ScenarioFolder Scenario() {
    return standin::ScenarioFolder(Folder());
}

std::u16string Beside(const wchar_t* file) {
    return win32::AsUtf16((Folder() + L"\\" + file).c_str());
}

TEST(HelperLibraryBinding, integers_reach_the_library_and_come_back) {
    Scenario().Write(kHelper, "GetCPUVendor=2\nHasBeenUsed=0\nStartUsed=7\nIsXTUServiceRunning=0\n"
                              "StartXTUService=-5\nCheckXTUImagePath=3\n"
                              "CheckXTUImagePath.IsChanged=1\nCheckXTUImagePath.Type=-9\n");
    win32::Win32HelperLibrary library;
    EXPECT_EQ(library.LoadError(), 0u);
    EXPECT_EQ(library.GetCPUVendor(), 2);
    EXPECT_EQ(library.HasBeenUsed(), 0);
    EXPECT_EQ(library.StartUsed(), 7);
    EXPECT_EQ(library.IsXTUServiceRunning(), 0);
    int object = 0;
    EXPECT_EQ(library.StartXTUService(&object), -5);
    const auto check = library.CheckXTUImagePath();
    ASSERT_TRUE(check);
    EXPECT_EQ(check->Result, 3);
    EXPECT_EQ(check->IsChanged, 1);
    EXPECT_EQ(check->Type, -9);
    char pointer[24];
    std::snprintf(pointer, sizeof pointer, "0x%016llX",
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&object)));
    const auto calls = Scenario().Calls(kHelper);
    EXPECT_NE(
        std::find(calls.begin(), calls.end(), std::string("StartXTUService plugin=") + pointer),
        calls.end());
}

TEST(HelperLibraryBinding, the_firmware_method_passes_handle_method_and_device) {
    Scenario().Write(kHelper, "DSTS.0x00120094=0x00010041\n");
    win32::Win32HelperLibrary library;
    const auto reply = library.One_WMIMethod_INT(reinterpret_cast<void*>(0x1234),
                                                 ports::kFirmwareMethodDsts, 0x00120094);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->Returned, 1);
    EXPECT_EQ(reply->Result, 0x00010041u);
    const auto none = library.One_WMIMethod_INT(nullptr, ports::kFirmwareMethodDsts, 0x00110013);
    EXPECT_EQ(none->Result, ports::kFirmwareNoDevice);
    EXPECT_EQ(Scenario().Calls(kHelper),
              (std::vector<std::string>{
                  "One_WMIMethod_INT device=0x0000000000001234 method=0x53545344 id=0x00120094",
                  "One_WMIMethod_INT device=0x0000000000000000 method=0x53545344 id=0x00110013"}));
}

TEST(HelperLibraryBinding, the_scenario_can_change_between_calls) {
    win32::Win32HelperLibrary library;
    Scenario().Write(kHelper, "One_WMIMethod_INT=0\n");
    EXPECT_EQ(library.One_WMIMethod_INT(nullptr, ports::kFirmwareMethodDsts, 0x00120079)->Returned,
              0);
    Scenario().Write(kHelper, "GetCPUVendor=1\n");
    EXPECT_EQ(library.GetCPUVendor(), 1);
    Scenario().Write(kHelper, "GetCPUVendor=0\n");
    EXPECT_EQ(library.GetCPUVendor(), 0);
}

TEST(HelperLibraryBinding, the_processor_name_fills_the_buffer_within_its_capacity) {
    Scenario().Write(kHelper, "ProcessorName=AMD Ryzen 9 7940HS w/ Radeon 780M Graphics\n"
                              "GetProcessorNameString=4\n");
    win32::Win32HelperLibrary library;
    std::vector<char16_t> buffer(260, u'x');
    EXPECT_EQ(library.GetProcessorNameString(buffer), 4);
    EXPECT_EQ(std::u16string(buffer.data()), u"AMD Ryzen 9 7940HS w/ Radeon 780M Graphics");
    std::vector<char16_t> small(4, u'x');
    library.GetProcessorNameString(small);
    EXPECT_EQ(std::u16string(small.data()), u"AMD");
    EXPECT_EQ(Scenario().Calls(kHelper),
              (std::vector<std::string>{"GetProcessorNameString capacity=260",
                                        "GetProcessorNameString capacity=4"}));
}

TEST(HelperLibraryBinding, doubles_come_back_in_their_order) {
    Scenario().Write(kHelper, "TotalDisk=953.5\nAvailableDisk=120.25\nTotalMemory=32768\n"
                              "AvailableMemory=0.125\nRetriveSystemInfo=9\n");
    win32::Win32HelperLibrary library;
    const auto sizes = library.RetriveSystemInfo();
    ASSERT_TRUE(sizes);
    EXPECT_EQ(sizes->Result, 9);
    EXPECT_EQ(sizes->TotalDisk, 953.5);
    EXPECT_EQ(sizes->AvailableDisk, 120.25);
    EXPECT_EQ(sizes->TotalMemory, 32768.0);
    EXPECT_EQ(sizes->AvailableMemory, 0.125);
}

TEST(HelperLibraryBinding, a_missing_library_answers_nothing) {
    const std::wstring present = Folder() + L"\\NativeCorvaneHelper.dll";
    const std::wstring moved = Folder() + L"\\NativeCorvaneHelper.moved";
    ASSERT_TRUE(::MoveFileExW(present.c_str(), moved.c_str(), MOVEFILE_REPLACE_EXISTING));
    {
        win32::Win32HelperLibrary library;
        EXPECT_EQ(library.LoadError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
        EXPECT_EQ(library.GetCPUVendor(), std::nullopt);
        EXPECT_EQ(library.CheckXTUImagePath(), std::nullopt);
        std::vector<char16_t> buffer(8);
        EXPECT_EQ(library.GetProcessorNameString(buffer), std::nullopt);
        EXPECT_EQ(library.RetriveSystemInfo(), std::nullopt);
        EXPECT_EQ(library.One_WMIMethod_INT(nullptr, ports::kFirmwareMethodDsts, 0x00120079),
                  std::nullopt);
    }
    ASSERT_TRUE(::MoveFileExW(moved.c_str(), present.c_str(), 0));
}

TEST(IoLibraryBinding, opens_reads_a_register_and_closes) {
    Scenario().Write(kIo, "MSR.0x198=0x00001A0012345678\nReadMSR=1\n");
    win32::Win32IoLibraries libraries;
    auto loaded = libraries.Load(Beside(win32::maker::io::kFile));
    ASSERT_NE(loaded.Library, nullptr);
    EXPECT_TRUE(loaded.Library->Complete());
    EXPECT_TRUE(loaded.Library->Open(0));
    uint64_t value = 0;
    EXPECT_EQ(loaded.Library->ReadMsr(0x198, value), 1);
    EXPECT_EQ(value, 0x00001A0012345678u);
    uint64_t untouched = 77;
    loaded.Library->ReadMsr(0x199, untouched);
    EXPECT_EQ(untouched, 77u);
    loaded.Library->Close();
    EXPECT_EQ(
        Scenario().Calls(kIo),
        (std::vector<std::string>{"VELMORIO_OPEN_WO_MSG flags=0", "VELMORIO_ReadMSR index=0x198",
                                  "VELMORIO_ReadMSR index=0x199", "VELMORIO_Close"}));
}

TEST(IoLibraryBinding, a_failed_open_answers_false) {
    Scenario().Write(kIo, "Open=0\n");
    win32::Win32IoLibraries libraries;
    auto loaded = libraries.Load(Beside(win32::maker::io::kFile));
    ASSERT_NE(loaded.Library, nullptr);
    EXPECT_FALSE(loaded.Library->Open(3));
    EXPECT_EQ(Scenario().Calls(kIo), (std::vector<std::string>{"VELMORIO_OPEN_WO_MSG flags=3"}));
}

TEST(IoLibraryBinding, a_missing_file_gives_the_load_error) {
    win32::Win32IoLibraries libraries;
    auto loaded = libraries.Load(Beside(L"NoSuchLibrary.dll"));
    EXPECT_EQ(loaded.Library, nullptr);
    EXPECT_EQ(loaded.Error, static_cast<uint32_t>(ERROR_MOD_NOT_FOUND));
}

TEST(IoLibraryBinding, a_library_without_the_entries_is_not_complete) {
    win32::Win32IoLibraries libraries;
    auto loaded = libraries.Load(Beside(win32::maker::helper::kFile));
    ASSERT_NE(loaded.Library, nullptr);
    EXPECT_FALSE(loaded.Library->Complete());
}

} // namespace
