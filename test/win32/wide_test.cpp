#include "win32/wide.h"

#include <cwchar>
#include <gtest/gtest.h>

namespace {

TEST(Wide, utf16_text_reads_as_the_same_wide_text) {
    const std::u16string text = u"Global\\Ereignis \u00fc\u20ac";
    EXPECT_EQ(std::wcscmp(win32::AsWide(text), L"Global\\Ereignis \u00fc\u20ac"), 0);
    EXPECT_EQ(static_cast<const void*>(win32::AsWide(text)),
              static_cast<const void*>(text.c_str()));
}

TEST(Wide, wide_buffer_filled_by_windows_reads_as_utf16) {
    wchar_t buffer[] = L"Temprature";
    EXPECT_EQ(std::u16string(win32::AsUtf16(buffer)), u"Temprature");
    win32::AsUtf16(buffer)[0] = u't';
    EXPECT_EQ(buffer[0], L't');
}

} // namespace
