#include "recording/log_path.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

// Lower-case ASCII letters and '\' for '/': both slashes separate components for the system.
std::u16string Folded(const std::u16string& path) {
    std::u16string folded(path);
    for (char16_t& unit : folded) {
        if (unit >= u'A' && unit <= u'Z') {
            unit = static_cast<char16_t>(unit - u'A' + u'a');
        } else if (unit == u'/') {
            unit = u'\\';
        }
    }
    return folded;
}

bool StartsWith(std::u16string_view text, std::u16string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// "\\.\", "\\?\" and "\??\" lead into the device namespace; "\\." and "\\?" alone as well.
bool IsDeviceNamespace(std::u16string_view folded) {
    for (const std::u16string_view prefix : {u"\\\\.\\", u"\\\\?\\", u"\\??\\"}) {
        if (StartsWith(folded, prefix)) {
            return true;
        }
    }
    return folded == u"\\\\." || folded == u"\\\\?";
}

// A component that the system takes as a device whatever folder it stands in: the name before
// its first dot, blanks and colon.
bool IsReservedName(std::u16string_view component) {
    const std::size_t end = component.find_first_of(u". :");
    const std::u16string_view stem = component.substr(0, end);
    static constexpr std::array<std::u16string_view, 6> kNames = {u"con", u"prn",    u"aux",
                                                                  u"nul", u"conin$", u"conout$"};
    if (std::find(kNames.begin(), kNames.end(), stem) != kNames.end()) {
        return true;
    }
    return stem.size() == 4 && (StartsWith(stem, u"com") || StartsWith(stem, u"lpt")) &&
           ((stem[3] >= u'0' && stem[3] <= u'9') || stem[3] == u'\u00b9' || stem[3] == u'\u00b2' ||
            stem[3] == u'\u00b3');
}

bool HasReservedComponent(std::u16string_view folded) {
    std::size_t start = 0;
    while (start <= folded.size()) {
        const std::size_t end = std::min(folded.find(u'\\', start), folded.size());
        if (IsReservedName(folded.substr(start, end - start))) {
            return true;
        }
        start = end + 1;
    }
    return false;
}

} // namespace

bool IsLogFilePath(const std::u16string& path) {
    if (path.empty() || path.find(u'\0') != std::u16string::npos) {
        return false;
    }
    const std::u16string folded = Folded(path);
    return !IsDeviceNamespace(folded) && folded.find(u"globalroot") == std::u16string::npos &&
           !HasReservedComponent(folded);
}
