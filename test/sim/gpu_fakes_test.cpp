#include "sim/fake_display_adapters.h"
#include "sim/fake_encrypt_helper.h"
#include "sim/memory_files.h"
#include "sim/memory_profile_strings.h"

#include <gtest/gtest.h>

namespace {

const std::u16string kIni = u"C:\\ProgramData\\table.ini";

class MemoryProfileStringsTest : public ::testing::Test {
protected:
    std::u16string Read(std::u16string_view section, std::u16string_view key,
                        std::size_t capacity = 8) {
        return profiles.Read(kIni, section, key, u"0", capacity);
    }

    sim::MemoryFiles files;
    sim::MemoryProfileStrings profiles{files};
};

TEST_F(MemoryProfileStringsTest, finds_a_key_of_a_section_without_regard_to_case_or_blanks) {
    files.Put(kIni, "[Other]\nCount=9\r\n[ main ]\r\n  count =  12 \r\n");
    EXPECT_EQ(Read(u"Main", u"Count"), u"12");
    EXPECT_EQ(Read(u"MAIN", u"COUNT"), u"12");
    EXPECT_EQ(Read(u"Other", u"Count"), u"9");
}

TEST_F(MemoryProfileStringsTest, a_missing_file_section_or_key_gives_the_default) {
    EXPECT_EQ(Read(u"Main", u"Count"), u"0");
    files.Put(kIni, "[Main]\nCount=3\n");
    EXPECT_EQ(Read(u"Side", u"Count"), u"0");
    EXPECT_EQ(Read(u"Main", u"1"), u"0");
}

TEST_F(MemoryProfileStringsTest, values_are_cut_to_the_buffer_and_unquoted) {
    files.Put(kIni, "[Main]\nLong=123456789\nQuoted=\"25A0\"\nEmpty=\n");
    EXPECT_EQ(Read(u"Main", u"Long"), u"1234567");
    EXPECT_EQ(Read(u"Main", u"Long", 1), u"");
    EXPECT_EQ(Read(u"Main", u"Quoted"), u"25A0");
    EXPECT_EQ(Read(u"Main", u"Empty"), u"");
}

TEST_F(MemoryProfileStringsTest, the_first_occurrence_of_a_key_counts) {
    files.Put(kIni, "[Main]\n1=25A0\n1=2820\n");
    EXPECT_EQ(Read(u"Main", u"1"), u"25A0");
}

TEST_F(MemoryProfileStringsTest, key_names_are_listed_in_file_order) {
    files.Put(kIni, "[Main]\n 2 = a\n1=b\n[Other]\nx=1\n[MAIN]\n3=c\n");
    EXPECT_EQ(profiles.KeyNames(kIni, u"main"), (std::vector<std::u16string>{u"2", u"1", u"3"}));
    EXPECT_TRUE(profiles.KeyNames(kIni, u"None").empty());
    EXPECT_TRUE(profiles.KeyNames(u"missing.ini", u"Main").empty());
}

TEST(FakeEncryptHelperTest, decrypt_aes_writes_the_set_plain_text_to_the_plain_path) {
    sim::MemoryFiles files;
    sim::FakeEncryptHelper helper(files);
    helper.Change([](auto& answers) { answers.PlainText = "[Main]"; });
    const auto entry = helper.Load();
    ASSERT_TRUE(entry.has_value());
    ASSERT_NE(*entry, nullptr);
    EXPECT_EQ((**entry)(u"a.enc", u"a.ini"), 1);
    EXPECT_EQ(files.Contents(u"a.ini"), (std::vector<uint8_t>{'[', 'M', 'a', 'i', 'n', ']'}));
    helper.Change([](auto& answers) { answers.HasDecryptAES = false; });
    EXPECT_EQ(helper.Load(), std::optional<ports::DecryptAesEntry*>(nullptr));
    helper.Change([](auto& answers) { answers.Loads = false; });
    EXPECT_EQ(helper.Load(), std::nullopt);
}

TEST(FakeDisplayAdaptersTest, a_created_device_answers_the_adapter_and_is_counted_back) {
    sim::FakeDisplayAdapters adapters;
    adapters.Change([](auto& answers) { answers.Device->Vendor = 7; });
    auto created = adapters.CreateDevice();
    ASSERT_TRUE(created && created->Device);
    EXPECT_EQ(created->Device->GetVendor(), 7u);
    created.reset();
    EXPECT_EQ(adapters.Created(), 1);
    EXPECT_EQ(adapters.Destroyed(), 1);
    adapters.Change([](auto& answers) { answers.CreateCode = -1; });
    EXPECT_EQ(adapters.CreateDevice()->Device, nullptr);
    adapters.Change([](auto& answers) { answers.Device.reset(); });
    EXPECT_EQ(adapters.CreateDevice(), std::nullopt);
}

} // namespace
