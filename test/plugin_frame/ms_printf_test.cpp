#include "ms_printf.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

TEST(MsPrintf, s_takes_wide_text_and_hs_narrow_text) {
    EXPECT_EQ(ToUtf8(FormatMs(u"(%s)%s|%hs|%S", u"src", u"text", "narrow", "upper")),
              "(src)text|narrow|upper");
}

TEST(MsPrintf, integers_follow_flags_width_and_microsoft_lengths) {
    EXPECT_EQ(ToUtf8(FormatMs(u"%d %u 0x%08X %x %5d|%-4d|", -3, 7u, 0xBEEFu, 255u, 42, 1)),
              "-3 7 0x0000BEEF ff    42|1   |");
    EXPECT_EQ(ToUtf8(FormatMs(u"%ld %lu %I64d %lld %I64u", -5, 6u, int64_t{-1} << 40, int64_t{9},
                              uint64_t{1} << 63)),
              "-5 6 -1099511627776 9 9223372036854775808");
}

TEST(MsPrintf, doubles_chars_percent_and_null_text) {
    EXPECT_EQ(
        ToUtf8(FormatMs(u"%.2f %c%% %s", 3.14159, u'Z', static_cast<const char16_t*>(nullptr))),
        "3.14 Z% (null)");
}

TEST(MsPrintf, star_width_and_precision_come_from_the_arguments) {
    EXPECT_EQ(ToUtf8(FormatMs(u"[%*d][%.*s]", 4, 7, 2, u"abcdef")), "[   7][ab]");
}

TEST(MsPrintf, utf16_surrogates_become_one_utf8_character) {
    EXPECT_EQ(ToUtf8(u"\u00e9\U0001F600"), "\xC3\xA9\xF0\x9F\x98\x80");
}

TEST(MsPrintfInto, a_buffer_gets_the_same_text_terminated) {
    char16_t buffer[64];
    const std::size_t length =
        FormatMsInto(buffer, 64, u"(%s)%-6s|%5.1f|%hs|%c", u"src", u"ab", 2.5, "narrow", u'Z');
    EXPECT_EQ(std::u16string(buffer), u"(src)ab    |  2.5|narrow|Z");
    EXPECT_EQ(length, std::u16string(buffer).size());
}

TEST(MsPrintfInto, what_does_not_fit_is_cut_and_the_text_still_terminated) {
    char16_t buffer[8] = {u'x', u'x', u'x', u'x', u'x', u'x', u'x', u'x'};
    EXPECT_EQ(FormatMsInto(buffer, 8, u"Temperature:%d", 1110), 7u);
    EXPECT_EQ(std::u16string(buffer), u"Tempera");
    char16_t one[1] = {u'x'};
    EXPECT_EQ(FormatMsInto(one, 1, u"%s", u"text"), 0u);
    EXPECT_EQ(one[0], u'\0');
}

} // namespace
