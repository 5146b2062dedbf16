#include "sim/fake_helper_library.h"
#include "sim/memory_files.h"

#include <gtest/gtest.h>

namespace {

TEST(MemoryFilesTest, a_put_file_exists_reads_back_and_is_gone_after_delete) {
    sim::MemoryFiles files;
    const std::u16string path = u"C:\\ProgramData\\a.cfg";
    EXPECT_FALSE(files.Exists(path));
    files.Put(path, "abc");
    EXPECT_TRUE(files.Exists(path));
    EXPECT_EQ(files.ReadAll(path), (std::vector<uint8_t>{'a', 'b', 'c'}));
    EXPECT_TRUE(files.Delete(path));
    EXPECT_FALSE(files.Exists(path));
    EXPECT_FALSE(files.Delete(path));
    EXPECT_EQ(files.DeleteCount(path), 2);
}

TEST(MemoryFilesTest, a_failing_read_gives_nothing_although_the_file_exists) {
    sim::MemoryFiles files;
    files.Put(u"x", "1");
    files.FailReads(u"x");
    EXPECT_TRUE(files.Exists(u"x"));
    EXPECT_EQ(files.ReadAll(u"x"), std::nullopt);
}

TEST(MemoryFilesTest, folders_answer_what_the_test_set) {
    sim::MemoryFiles files;
    EXPECT_EQ(files.ProgramData(), u"C:\\ProgramData");
    files.SetFolders({.Plugin = std::nullopt});
    EXPECT_EQ(files.PluginFolder(), std::nullopt);
}

TEST(FakeHelperLibraryTest, a_missing_library_answers_nothing) {
    sim::FakeHelperLibrary library;
    EXPECT_EQ(library.GetCPUVendor(), std::nullopt);
    char16_t name[4] = {u'x'};
    EXPECT_EQ(library.GetProcessorNameString(name), std::nullopt);
    EXPECT_EQ(name[0], u'x');
}

TEST(FakeHelperLibraryTest, the_processor_name_is_cut_to_the_capacity_and_terminated) {
    sim::FakeHelperLibrary library(sim::FakeHelperLibrary::IntelLaptop());
    char16_t name[6] = {};
    EXPECT_EQ(library.GetProcessorNameString(name), 1);
    EXPECT_EQ(std::u16string(name), u"Intel");
}

TEST(FakeHelperLibraryTest, firmware_answers_per_device_and_no_device_otherwise) {
    sim::FakeHelperLibrary library;
    library.Change([](auto& answers) { answers.Firmware[0x00120094] = {1, 0x00010041}; });
    EXPECT_EQ(library.One_WMIMethod_INT(nullptr, ports::kFirmwareMethodDsts, 0x00120094)->Result,
              0x00010041u);
    EXPECT_EQ(library.One_WMIMethod_INT(nullptr, ports::kFirmwareMethodDsts, 0x00110013)->Result,
              ports::kFirmwareNoDevice);
    EXPECT_EQ(library.FirmwareCalls(), (std::vector<uint32_t>{0x00120094, 0x00110013}));
    library.Change([](auto& answers) { answers.FirmwareMissing = true; });
    EXPECT_EQ(library.One_WMIMethod_INT(nullptr, ports::kFirmwareMethodDsts, 0x00120094),
              std::nullopt);
}

} // namespace
