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

std::optional<std::u16string> FindValue(const std::u16string& text, std::u16string_view section,
                                        std::u16string_view key) {
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
        if (!inSection || equals == std::u16string_view::npos ||
            !SameName(Trimmed(line.substr(0, equals)), Trimmed(key))) {
            continue;
        }
        std::u16string_view value = Trimmed(line.substr(equals + 1));
        if (value.size() >= 2 && value.front() == value.back() &&
            (value.front() == u'"' || value.front() == u'\'')) {
            value = value.substr(1, value.size() - 2);
        }
        return std::u16string(value);
    }
    return std::nullopt;
}

} // namespace

std::u16string MemoryProfileStrings::Read(const std::u16string& path, std::u16string_view section,
                                          std::u16string_view key, std::u16string_view defaultText,
                                          std::size_t capacity) {
    ++reads_;
    if (capacity == 0) {
        return {};
    }
    std::optional<std::u16string> value;
    if (const auto bytes = files_.Contents(path)) {
        value = FindValue(std::u16string(bytes->begin(), bytes->end()), section, key);
    }
    std::u16string result = value ? *value : std::u16string(defaultText);
    result.resize(std::min(result.size(), capacity - 1));
    return result;
}

} // namespace sim
