#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// Buffer sizes of the message program's command line, each counting its terminating null: the
// whole line, the argument part and the text part (` -L:"..."`).
inline constexpr std::size_t kCommandLineCapacity = 2048;
inline constexpr std::size_t kArgumentsCapacity = 780;
inline constexpr std::size_t kTextPartCapacity = 320;

// Whether text can stand between the double quotes of -L:"..." as one argument. A double quote
// would end the argument early and let the rest of the text add arguments of its own; a trailing
// backslash would escape the closing quote; a null would cut the line. Such texts are refused,
// not escaped: the texts passed are file paths, which never contain a double quote.
bool IsQuotableText(const std::u16string& text);

// `"path" -T:"kind"`, followed by ` -L:"text"` when text is not empty. A long text is shortened
// so that its part, closing quote included, fits kTextPartCapacity; empty when the text is not
// quotable.
std::optional<std::u16string> ShowMessageCommandLine(const std::u16string& programPath,
                                                     int32_t kind, const std::u16string& text);

// `"path" -T:"kind" -Q`: asks the running message program of the kind to close.
std::u16string CloseMessageCommandLine(const std::u16string& programPath, int32_t kind);

} // namespace platform
