#include "gpu_machine.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace gpu_test;
using gpu::GpuClocks;
using ::testing::ElementsAre;

constexpr char kOneDevice[] = "[Main]\nCount=1\n1=25A0\n[25A0]\nNV Base=1200\nNV Boost=1500\n"
                              "Tarvo Boost=1800\nOC=100\nVRAM Base=2000\nVRAM OC=2250\n";

class ClockConfigurationTest : public ::testing::Test {
protected:
    // The enciphered file is there and the helper writes text as the plain table.
    void Table(const std::string& text) {
        machine.files.Put(kEncipheredPath, "enciphered");
        machine.encrypt.Change([&](auto& answers) { answers.PlainText = text; });
    }
    void Load(const std::u16string& id = u"25A0") { machine.gpu.GetGPUBaseFrequency(id); }
    GpuClocks Clocks() const { return machine.gpu.Clocks(); }

    GpuMachine machine;
    const GpuClocks loaded{1200, 1500, 1800, 1900, 2000, 2250};
};

TEST_F(ClockConfigurationTest, reads_the_entry_of_the_device_and_deletes_the_plain_file) {
    Table(kOneDevice);
    Load();
    EXPECT_EQ(Clocks(), loaded);
    EXPECT_FALSE(machine.files.Exists(kPlainPath));
    EXPECT_EQ(machine.files.DeleteCount(kPlainPath), 1);
    EXPECT_TRUE(machine.files.Exists(kEncipheredPath));
    ASSERT_EQ(machine.encrypt.Calls().size(), 1u);
    EXPECT_EQ(machine.encrypt.Calls()[0], std::pair(kEncipheredPath, kPlainPath));
}

TEST_F(ClockConfigurationTest, logs_paths_and_every_value_in_order) {
    Table(kOneDevice);
    Load();
    EXPECT_THAT(machine.Logs(),
                ElementsAre("6 GetGPUBaseFrequency In.", "6 ModelName = GE78",
                            "6 encInFilename = C:\\ProgramData\\Velmor\\QUILLON "
                            "Config\\Data\\Quillon_Config.VgaOc.GE78.enc",
                            "6 filename = C:\\ProgramData\\Velmor\\QUILLON "
                            "Config\\Data\\Quillon_Config.VgaOc.GE78.ini",
                            "6 NV Base Frequency - 1200MHz", "6 NVBoostClock - 1500MHz",
                            "6 Tarvo Boost Frequency - 1800MHz", "6 O.C. Frequency - 1900MHz",
                            "6 VRAMBaseClock - 2000MHz", "6 VRAMOCClock - 2250MHz",
                            "6 GetGPUBaseFrequency End."));
}

TEST_F(ClockConfigurationTest, oc_frequency_is_tarvo_boost_plus_the_oc_offset) {
    Table("[Main]\nCount=1\n1=25A0\n[25A0]\nTarvo Boost=1800\nOC=100\n");
    Load();
    EXPECT_EQ(Clocks().TarvoBoost, 1800u);
    EXPECT_EQ(Clocks().Overclock, 1900u);
}

TEST_F(ClockConfigurationTest, a_missing_nv_boost_reads_0) {
    Table("[Main]\nCount=1\n1=25A0\n[25A0]\nNV Base=1200\nTarvo Boost=1800\n");
    Load();
    EXPECT_EQ(Clocks().Base, 1200u);
    EXPECT_EQ(Clocks().NvBoost, 0u);
    EXPECT_TRUE(machine.host.Logged(6, "NVBoostClock - 0MHz"));
}

TEST_F(ClockConfigurationTest, count_0_leaves_the_plain_file_and_the_values) {
    Table(kOneDevice);
    Load();
    Table("[Main]\nCount=0\n1=25A0\n[25A0]\nNV Base=1\n");
    machine.host.logs.clear();
    Load();
    EXPECT_EQ(Clocks(), loaded);
    EXPECT_TRUE(machine.files.Exists(kPlainPath));
    EXPECT_EQ(machine.Logs().back(), "6 GetGPUBaseFrequency End.");
    EXPECT_FALSE(machine.host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(ClockConfigurationTest, a_missing_count_is_count_0) {
    Table("[Main]\n1=25A0\n");
    Load();
    EXPECT_TRUE(machine.files.Exists(kPlainPath));
}

TEST_F(ClockConfigurationTest, count_1_without_a_match_deletes_the_file_and_zeroes_the_values) {
    Table(kOneDevice);
    Load();
    Table("[Main]\nCount=1\n1=2820\n[2820]\nNV Base=1\n");
    Load();
    EXPECT_EQ(Clocks(), GpuClocks{});
    EXPECT_FALSE(machine.files.Exists(kPlainPath));
}

TEST_F(ClockConfigurationTest, a_negative_count_deletes_the_file_and_zeroes_the_values) {
    Table(kOneDevice);
    Load();
    Table("[Main]\nCount=-3\n1=25A0\n");
    Load();
    EXPECT_EQ(Clocks(), GpuClocks{});
    EXPECT_FALSE(machine.files.Exists(kPlainPath));
}

TEST_F(ClockConfigurationTest, no_enciphered_file_leaves_the_values_and_logs_0_mhz) {
    Table(kOneDevice);
    Load();
    machine.files.Delete(kEncipheredPath);
    machine.encrypt.Change([](auto& answers) { answers.PlainText = "[Main]\nCount=1\n1=25A0\n"; });
    machine.host.logs.clear();
    Load();
    EXPECT_EQ(Clocks(), loaded);
    EXPECT_EQ(machine.encrypt.Calls().size(), 1u);
    const auto logs = machine.Logs();
    ASSERT_GE(logs.size(), 2u);
    EXPECT_EQ(logs[logs.size() - 2], "6 GetGPUBaseFrequency - 0MHz");
    EXPECT_EQ(logs.back(), "6 GetGPUBaseFrequency End.");
}

TEST_F(ClockConfigurationTest, a_helper_that_writes_no_plain_file_leaves_the_values) {
    machine.files.Put(kEncipheredPath, "enciphered");
    Load();
    EXPECT_EQ(machine.encrypt.Calls().size(), 1u);
    EXPECT_EQ(Clocks(), GpuClocks{});
    EXPECT_TRUE(machine.host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(ClockConfigurationTest, a_helper_without_decrypt_aes_is_not_called) {
    Table(kOneDevice);
    machine.encrypt.Change([](auto& answers) { answers.HasDecryptAES = false; });
    Load();
    EXPECT_TRUE(machine.encrypt.Calls().empty());
    EXPECT_EQ(Clocks(), GpuClocks{});
    EXPECT_TRUE(machine.host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(ClockConfigurationTest, a_helper_that_does_not_load_is_not_called) {
    Table(kOneDevice);
    machine.encrypt.Change([](auto& answers) { answers.Loads = false; });
    Load();
    EXPECT_TRUE(machine.encrypt.Calls().empty());
    EXPECT_TRUE(machine.host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(ClockConfigurationTest, the_helper_is_loaded_on_every_call_and_a_bound_entry_stays) {
    Table(kOneDevice);
    Load();
    machine.encrypt.Change([](auto& answers) { answers.Loads = false; });
    Load();
    EXPECT_EQ(machine.encrypt.Loads(), 2);
    EXPECT_EQ(machine.encrypt.Calls().size(), 2u);
    EXPECT_EQ(Clocks(), loaded);
}

TEST_F(ClockConfigurationTest, no_common_app_data_folder_zeroes_the_values) {
    Table(kOneDevice);
    Load();
    machine.files.SetFolders({.CommonAppData = std::nullopt});
    machine.host.logs.clear();
    Load();
    EXPECT_EQ(Clocks(), GpuClocks{});
    EXPECT_THAT(machine.Logs(),
                ElementsAre("6 GetGPUBaseFrequency In.", "6 GetGPUBaseFrequency End."));
}

TEST_F(ClockConfigurationTest, a_failed_model_name_query_forms_the_paths_without_a_model) {
    machine.queryAnswers.clear();
    Load();
    EXPECT_TRUE(machine.host.Logged(6, "ModelName = "));
    EXPECT_TRUE(machine.host.Logged(6, "encInFilename = C:\\ProgramData\\Velmor\\QUILLON "
                                       "Config\\Data\\Quillon_Config.VgaOc..enc"));
}

TEST_F(ClockConfigurationTest, a_path_too_long_for_its_buffer_finds_no_file) {
    machine.queryAnswers["Query.ModelName"] = [](ValueSet& answer) {
        answer.SetString("ModelName", std::u16string(300, u'M'));
    };
    Load();
    EXPECT_TRUE(machine.host.Logged(6, "encInFilename = "));
    EXPECT_TRUE(machine.host.Logged(6, "GetGPUBaseFrequency - 0MHz"));
}

TEST_F(ClockConfigurationTest, a_later_entry_for_the_device_within_the_bound_overrides) {
    // Count 1, but the match sets the bound to its memory overclock (3), so rows 2 and 3 are read.
    Table("[Main]\nCount=1\n1=25A0\n2=2820\n3=25A0\n"
          "[25A0]\nNV Base=1200\nVRAM OC=3\n[2820]\nNV Base=999\n");
    Load();
    EXPECT_EQ(Clocks().Base, 1200u);
    EXPECT_EQ(Clocks().MemoryOverclock, 3u);
    const auto lines = machine.host.LinesAt(6);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "NV Base Frequency - 1200MHz"), 2);
}

TEST_F(ClockConfigurationTest, rows_past_the_bound_are_not_read) {
    Table("[Main]\nCount=1\n1=25A0\n2=25A0\n[25A0]\nNV Base=1200\nVRAM OC=1\n");
    const int before = machine.profiles.Reads();
    Load();
    // Count, row 1 and its six values; row 2 lies past the bound of 1.
    EXPECT_EQ(machine.profiles.Reads() - before, 8);
}

TEST_F(ClockConfigurationTest, a_huge_count_reads_only_the_rows_the_file_lists) {
    Table("[Main]\nCount=9999999\n1=2820\n7=25A0\n[25A0]\nNV Base=1200\nVRAM OC=9999999\n");
    const int before = machine.profiles.Reads();
    Load();
    EXPECT_EQ(Clocks().Base, 1200u);
    // Count, rows 1 and 7, and the six values of the match.
    EXPECT_EQ(machine.profiles.Reads() - before, 9);
}

TEST_F(ClockConfigurationTest, rows_are_visited_in_order_whatever_the_file_order) {
    Table("[Main]\nCount=3\n3=25A0\n1=25A0\n[25A0]\nNV Base=1200\nVRAM OC=0\n");
    Load();
    // The match at row 1 sets the bound to 0, so row 3 is never reached.
    const auto lines = machine.host.LinesAt(6);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "NV Base Frequency - 1200MHz"), 1);
}

TEST_F(ClockConfigurationTest, a_row_written_otherwise_than_as_a_plain_number_is_not_a_row) {
    Table("[Main]\nCount=2\n01=25A0\n+2=25A0\n[25A0]\nNV Base=1200\n");
    Load();
    EXPECT_EQ(Clocks(), GpuClocks{});
}

TEST_F(ClockConfigurationTest, an_id_equal_to_the_default_text_matches_unlisted_rows) {
    Table("[Main]\nCount=1\n[0]\nNV Base=700\nVRAM OC=0\n");
    Load(u"0");
    EXPECT_EQ(Clocks().Base, 700u);
}

TEST_F(ClockConfigurationTest, the_device_id_is_compared_with_its_case) {
    Table("[Main]\nCount=1\n1=25a0\n[25a0]\nNV Base=1200\n");
    Load();
    EXPECT_EQ(Clocks(), GpuClocks{});
}

TEST_F(ClockConfigurationTest, values_are_read_as_at_most_seven_characters) {
    Table("[Main]\nCount=1\n1=25A0\n[25A0]\nNV Base=123456789\nVRAM OC=1\n");
    Load();
    EXPECT_EQ(Clocks().Base, 1234567u);
}

TEST(WideTextToIntTest, reads_like_wtoi) {
    EXPECT_EQ(gpu::WideTextToInt(u"1800"), 1800);
    EXPECT_EQ(gpu::WideTextToInt(u"  -42x"), -42);
    EXPECT_EQ(gpu::WideTextToInt(u"+7"), 7);
    EXPECT_EQ(gpu::WideTextToInt(u"abc"), 0);
    EXPECT_EQ(gpu::WideTextToInt(u""), 0);
    EXPECT_EQ(gpu::WideTextToInt(u"99999999999"), 2147483647);
    EXPECT_EQ(gpu::WideTextToInt(u"-99999999999"), -2147483647 - 1);
}

} // namespace
