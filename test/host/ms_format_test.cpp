#include "host_win32/ms_format.h"

#include <gtest/gtest.h>

namespace orvex_host {
namespace {

TEST(HostMsFormat, percent_s_in_a_wide_format_takes_a_wide_string) {
    EXPECT_EQ(FormatMsArgs(L"ProcessRequest, Cmd:%s", L"GetInfo"), L"ProcessRequest, Cmd:GetInfo");
}

TEST(HostMsFormat, capital_s_in_a_wide_format_takes_a_narrow_string) {
    EXPECT_EQ(FormatMsArgs(L"(%S)", "narrow"), L"(narrow)");
}

TEST(HostMsFormat, integers_and_codes_format_as_the_host_does) {
    EXPECT_EQ(FormatMsArgs(L"Command %d 0x%08X", -3, 0xA0800010u), L"Command -3 0xA0800010");
}

TEST(HostMsFormat, a_text_longer_than_the_first_buffer_is_kept_whole) {
    const std::wstring long_text(5000, L'x');
    EXPECT_EQ(FormatMsArgs(L"<%s>", long_text.c_str()), L"<" + long_text + L">");
}

TEST(HostMsFormat, no_format_gives_an_empty_text) {
    EXPECT_EQ(FormatMsArgs(nullptr), L"");
}

} // namespace
} // namespace orvex_host
