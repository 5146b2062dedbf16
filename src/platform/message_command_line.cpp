#include "platform/message_command_line.h"

#include <string>

namespace platform {
namespace {

std::u16string Widen(const std::string& ascii) {
    return std::u16string(ascii.begin(), ascii.end());
}

// Keeps at most capacity - 1 characters, as a bounded print into a buffer of that size does.
std::u16string Bounded(std::u16string text, std::size_t capacity) {
    if (text.size() >= capacity) {
        text.resize(capacity - 1);
    }
    return text;
}

std::u16string KindArgument(int32_t kind) {
    return u"-T:\"" + Widen(std::to_string(kind)) + u"\"";
}

std::u16string TextPart(const std::u16string& text) {
    const std::u16string opening = u" -L:\"";
    const std::size_t room = kTextPartCapacity - 1 - opening.size() - 1;
    std::u16string kept = text.substr(0, room);
    // A cut may end on a backslash, which would escape the closing quote.
    while (!kept.empty() && kept.back() == u'\\') {
        kept.pop_back();
    }
    return opening + kept + u"\"";
}

std::u16string CommandLine(const std::u16string& programPath, const std::u16string& arguments) {
    return Bounded(u"\"" + programPath + u"\" " + Bounded(arguments, kArgumentsCapacity),
                   kCommandLineCapacity);
}

} // namespace

bool IsQuotableText(const std::u16string& text) {
    return text.find_first_of(std::u16string(u"\"\0", 2)) == std::u16string::npos &&
           (text.empty() || text.back() != u'\\');
}

std::optional<std::u16string> ShowMessageCommandLine(const std::u16string& programPath,
                                                     int32_t kind, const std::u16string& text) {
    if (!IsQuotableText(text)) {
        return std::nullopt;
    }
    std::u16string arguments = KindArgument(kind);
    if (!text.empty()) {
        arguments += TextPart(text);
    }
    return CommandLine(programPath, arguments);
}

std::u16string CloseMessageCommandLine(const std::u16string& programPath, int32_t kind) {
    return CommandLine(programPath, KindArgument(kind) + u" -Q");
}

} // namespace platform
