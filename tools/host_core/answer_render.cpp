#include "host_core/answer_render.h"

#include "host_core/reading_units.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace orvex_host {
namespace {

std::string Shortest(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return {text, result.ptr};
}

void AppendUtf8(std::string& out, uint32_t point) {
    if (point < 0x80) {
        out += static_cast<char>(point);
    } else if (point < 0x800) {
        out += static_cast<char>(0xC0 | point >> 6);
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        out += static_cast<char>(0xE0 | point >> 12);
        out += static_cast<char>(0x80 | (point >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | point >> 18);
        out += static_cast<char>(0x80 | (point >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (point >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    }
}

struct Row {
    std::string key;
    std::string value;
    std::string unit;
};

void CollectRows(const Tree& tree, std::string_view node, int depth, std::vector<Row>& rows) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    for (const auto& [key, value] : tree.Entries()) {
        if (const Tree* child = value.AsMap()) {
            rows.push_back({indent + key, "", ""});
            CollectRows(*child, SplitIndexedNode(key).first, depth + 1, rows);
        } else {
            rows.push_back({indent + key, ValueText(value), std::string(UnitOf(node, key))});
        }
    }
}

// Columns on a console line up by characters, not by UTF-8 bytes ("°C").
size_t Width(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string Aligned(const std::vector<Row>& rows) {
    size_t keyWidth = 0;
    size_t valueWidth = 0;
    for (const Row& row : rows) {
        keyWidth = std::max(keyWidth, Width(row.key));
        valueWidth = std::max(valueWidth, Width(row.value));
    }
    std::string text;
    for (const Row& row : rows) {
        std::string line = row.key + std::string(keyWidth - Width(row.key) + 2, ' ') + row.value;
        if (!row.unit.empty()) {
            line += std::string(valueWidth - Width(row.value) + 1, ' ') + row.unit;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string JsonValue(const Value& value) {
    if (const Tree* child = value.AsMap()) {
        return RenderJson(*child);
    }
    if (value.Is(Kind::Wide)) {
        return JsonString(ValueText(value));
    }
    if (value.Is(Kind::Block)) {
        return "{\"bytes\": " + std::to_string(value.payload.size()) + "}";
    }
    if (const std::optional<double> number = value.AsDouble()) {
        return std::isfinite(*number) ? Shortest(*number) : "null";
    }
    const std::string text = ValueText(value);
    return text.empty() ? "null" : text;
}

} // namespace

std::string Utf8(std::wstring_view text) {
    std::string out;
    for (size_t i = 0; i < text.size() && text[i] != L'\0'; ++i) {
        auto point = static_cast<uint32_t>(text[i]);
        const bool highSurrogate = point >= 0xD800 && point < 0xDC00 && i + 1 < text.size();
        if (highSurrogate && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
            point =
                0x10000 + ((point - 0xD800) << 10) + (static_cast<uint32_t>(text[++i]) - 0xDC00);
        }
        AppendUtf8(out, point);
    }
    return out;
}

std::string ValueText(const Value& value) {
    if (const auto flag = value.AsBoolean()) {
        return *flag ? "true" : "false";
    }
    if (const auto number = value.AsInt32()) {
        return std::to_string(*number);
    }
    if (const auto number = value.AsUInt32()) {
        return std::to_string(*number);
    }
    if (const auto number = value.AsInt64()) {
        return std::to_string(static_cast<int64_t>(*number));
    }
    if (const auto number = value.AsDouble()) {
        return Shortest(*number);
    }
    if (const auto text = value.AsWide()) {
        return Utf8(*text);
    }
    if (value.Is(Kind::Block)) {
        return std::to_string(value.payload.size()) + " bytes";
    }
    return {};
}

std::string RenderTable(const std::string& title, const Tree& answer) {
    std::vector<Row> rows;
    CollectRows(answer, "", 0, rows);
    const std::string heading =
        title.empty() ? std::string() : title + "\n" + std::string(title.size(), '-') + "\n";
    return heading + Aligned(rows);
}

std::string RenderPairs(const std::vector<std::pair<std::string, std::string>>& rows) {
    std::vector<Row> aligned;
    for (const auto& [label, text] : rows) {
        aligned.push_back({label, text, ""});
    }
    return Aligned(aligned);
}

std::string JsonString(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned>(c));
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string RenderJson(const Tree& answer) {
    std::string out = "{";
    bool first = true;
    for (const auto& [key, value] : answer.Entries()) {
        out += (first ? "" : ", ") + JsonString(key) + ": " + JsonValue(value);
        first = false;
    }
    return out + "}";
}

} // namespace orvex_host
