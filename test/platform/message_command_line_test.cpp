#include "platform/message_command_line.h"

#include <gtest/gtest.h>
#include <string>

namespace {

const std::u16string kPath = u"C:\\Plugins\\QUILLON Message.exe";

TEST(MessageCommandLine, ShowWithoutTextHasOnlyTheKind) {
    EXPECT_EQ(platform::ShowMessageCommandLine(kPath, 1, u""),
              u"\"C:\\Plugins\\QUILLON Message.exe\" -T:\"1\"");
}

TEST(MessageCommandLine, ShowWithTextAddsTheQuotedLArgument) {
    EXPECT_EQ(platform::ShowMessageCommandLine(kPath, 2, u"C:\\Logs\\a b.rml"),
              u"\"C:\\Plugins\\QUILLON Message.exe\" -T:\"2\" -L:\"C:\\Logs\\a b.rml\"");
}

TEST(MessageCommandLine, NegativeKindIsPrintedAsSigned) {
    EXPECT_EQ(platform::ShowMessageCommandLine(kPath, -3, u""),
              u"\"C:\\Plugins\\QUILLON Message.exe\" -T:\"-3\"");
}

TEST(MessageCommandLine, CloseAddsQ) {
    EXPECT_EQ(platform::CloseMessageCommandLine(kPath, 2),
              u"\"C:\\Plugins\\QUILLON Message.exe\" -T:\"2\" -Q");
}

TEST(MessageCommandLine, TextWithADoubleQuoteIsRefused) {
    EXPECT_FALSE(platform::ShowMessageCommandLine(kPath, 2, u"a\" -Q").has_value());
    EXPECT_FALSE(platform::ShowMessageCommandLine(kPath, 2, u"\"").has_value());
}

TEST(MessageCommandLine, TextEndingInABackslashIsRefused) {
    EXPECT_FALSE(platform::ShowMessageCommandLine(kPath, 2, u"C:\\Logs\\").has_value());
}

TEST(MessageCommandLine, TextWithANullIsRefused) {
    EXPECT_FALSE(
        platform::ShowMessageCommandLine(kPath, 2, std::u16string(u"a\0\" -Q", 6)).has_value());
}

TEST(MessageCommandLine, QuotableTextsAreThoseThatStayOneArgument) {
    EXPECT_TRUE(platform::IsQuotableText(u""));
    EXPECT_TRUE(platform::IsQuotableText(u"C:\\Logs\\a.rml"));
    EXPECT_TRUE(platform::IsQuotableText(u"\\\\server\\share\\a 'b'.rml"));
    EXPECT_FALSE(platform::IsQuotableText(u"a\"b"));
    EXPECT_FALSE(platform::IsQuotableText(u"\\"));
}

TEST(MessageCommandLine, LongTextIsShortenedSoItsPartFitsWithItsClosingQuote) {
    const auto line = platform::ShowMessageCommandLine(kPath, 2, std::u16string(1000, u'x'));
    ASSERT_TRUE(line.has_value());
    const std::u16string prefix = u"\"C:\\Plugins\\QUILLON Message.exe\" -T:\"2\"";
    ASSERT_EQ(line->substr(0, prefix.size()), prefix);
    const std::u16string textPart = line->substr(prefix.size());
    EXPECT_EQ(textPart.size(), platform::kTextPartCapacity - 1);
    EXPECT_EQ(textPart, u" -L:\"" + std::u16string(313, u'x') + u"\"");
}

TEST(MessageCommandLine, ShorteningNeverLeavesABackslashBeforeTheClosingQuote) {
    const std::u16string text = std::u16string(311, u'x') + u"\\\\yyyy";
    const auto line = platform::ShowMessageCommandLine(kPath, 2, text);
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->substr(line->size() - 3), u"xx\"");
}

TEST(MessageCommandLine, LongProgramPathIsCutToTheLineCapacity) {
    const auto line =
        platform::ShowMessageCommandLine(std::u16string(3000, u'p'), 2, u"C:\\Logs\\a.rml");
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->size(), platform::kCommandLineCapacity - 1);
    EXPECT_EQ(line->find(u'"', 1), std::u16string::npos);
}

} // namespace
