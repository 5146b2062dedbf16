#include "sim/memory_profile_strings.h"

#include <algorithm>
#include <optional>
#include <string>

namespace sim {

namespace {

bool IsBlank(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\r';
}

std::u16string_view Trimmed(std::u16string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

char16_t Folded(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

bool SameName(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return Folded(x) == Folded(y); });
}

std::u16string_view Unquoted(std::u16string_view value) {
    if (value.size() >= 2 && value.front() == value.back() &&
        (value.front() == u'"' || value.front() == u'\'')) {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

// Calls visit(name, value) for each "name=value" line of every section named section, in file
// order, until it returns true.
template <typename Visit>
void VisitSection(const std::u16string& text, std::u16string_view section, Visit&& visit) {
    bool inSection = false;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(u'\n', start);
        if (end == std::u16string::npos) {
            end = text.size();
        }
        const std::u16string_view line =
            Trimmed(std::u16string_view(text).substr(start, end - start));
        start = end + 1;
        if (!line.empty() && line.front() == u'[') {
            const std::size_t close = line.find(u']');
            inSection = close != std::u16string_view::npos &&
                        SameName(Trimmed(line.substr(1, close - 1)), Trimmed(section));
            continue;
        }
        const std::size_t equals = line.find(u'=');
        if (inSection && equals != std::u16string_view::npos &&
            visit(Trimmed(line.substr(0, equals)), Unquoted(Trimmed(line.substr(equals + 1))))) {
            return;
        }
    }
}

std::optional<std::u16string> FileText(MemoryFiles& files, const std::u16string& path) {
    const auto bytes = files.Contents(path);
    if (!bytes) {
        return std::nullopt;
    }
    return std::u16string(bytes->begin(), bytes->end());
}

} // namespace

std::u16string MemoryProfileStrings::Read(const std::u16string& path, std::u16string_view section,
                                          std::u16string_view key, std::u16string_view defaultText,
                                          std::size_t capacity) {
    ++reads_;
    if (capacity == 0) {
        return {};
    }
    std::u16string result(defaultText);
    if (const auto text = FileText(files_, path)) {
        VisitSection(*text, section, [&](std::u16string_view name, std::u16string_view value) {
            if (!SameName(name, Trimmed(key))) {
                return false;
            }
            result = value;
            return true;
        });
    }
    result.resize(std::min(result.size(), capacity - 1));
    return result;
}

std::vector<std::u16string> MemoryProfileStrings::KeyNames(const std::u16string& path,
                                                           std::u16string_view section) {
    std::vector<std::u16string> names;
    if (const auto text = FileText(files_, path)) {
        VisitSection(*text, section, [&](std::u16string_view name, std::u16string_view) {
            names.emplace_back(name);
            return false;
        });
    }
    return names;
}

} // namespace sim
