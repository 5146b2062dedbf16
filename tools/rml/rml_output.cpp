#include "rml/rml_output.h"

#include "common/tool_text.h"

#include <cmath>
#include <cstdio>
#include <optional>
#include <ostream>
#include <vector>

namespace {

constexpr std::string_view kUsage =
    "usage: rml header FILE   print the log's header\n"
    "       rml csv FILE      print the records as CSV\n"
    "       rml json FILE     print the header and records as JSON\n";

constexpr std::string_view kTimeColumn = "Time (s)";

std::string JsonNumber(double value) {
    return std::isfinite(value) ? ShortestNumber(value) : "null";
}

std::string Hex(uint32_t id) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", id);
    return text;
}

} // namespace

std::string ItemName(uint32_t id) {
    const std::string_view name = RecordItemName(id);
    return name.empty() ? Hex(id) : std::string(name);
}

std::string ItemColumnName(uint32_t id) {
    const std::string_view unit = RecordItemUnit(id);
    return unit.empty() ? ItemName(id) : ItemName(id) + " (" + std::string(unit) + ")";
}

double RecordSeconds(const RmlLog& log, std::size_t index) {
    // One rounding only, in the division, so record i reads as the decimal i × interval / 1000.
    return static_cast<double>(static_cast<int64_t>(index) * log.intervalMs) / 1000.0;
}

std::string CsvField(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        return std::string(text);
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + "\"";
}

std::string FormatRmlHeader(const RmlLog& log) {
    std::string text = "version: " + std::to_string(log.version) + "\n" +
                       "interval: " + std::to_string(log.intervalMs) + " ms\n" +
                       "records: " + std::to_string(log.records.size()) + "\n" +
                       "items: " + std::to_string(log.items.size()) + "\n";
    for (const RecordItemInfo& item : log.items) {
        text += "  " + Hex(item.id) + " " + ItemName(item.id) + ": maximum " +
                ShortestNumber(item.maximum) + ", minimum " + ShortestNumber(item.minimum) + "\n";
    }
    return text;
}

std::string FormatRmlCsv(const RmlLog& log) {
    std::string text(kTimeColumn);
    for (const RecordItemInfo& item : log.items) {
        text += "," + CsvField(ItemColumnName(item.id));
    }
    text += "\n";
    for (std::size_t r = 0; r < log.records.size(); ++r) {
        text += ShortestNumber(RecordSeconds(log, r));
        for (const double value : log.records[r]) {
            text += "," + ShortestNumber(value);
        }
        text += "\n";
    }
    return text;
}

std::string FormatRmlJson(const RmlLog& log) {
    std::string text = "{\n  \"version\": " + std::to_string(log.version) +
                       ",\n  \"intervalMs\": " + std::to_string(log.intervalMs) +
                       ",\n  \"timeUnit\": \"s\",\n  \"items\": [";
    for (std::size_t i = 0; i < log.items.size(); ++i) {
        const RecordItemInfo& item = log.items[i];
        const std::string_view unit = RecordItemUnit(item.id);
        text += std::string(i == 0 ? "" : ",") + "\n    {\"id\": \"" + Hex(item.id) +
                "\", \"name\": \"" + ItemName(item.id) +
                "\", \"unit\": " + (unit.empty() ? "null" : "\"" + std::string(unit) + "\"") +
                ", \"maximum\": " + JsonNumber(item.maximum) +
                ", \"minimum\": " + JsonNumber(item.minimum) + "}";
    }
    text += "\n  ],\n  \"records\": [";
    for (std::size_t r = 0; r < log.records.size(); ++r) {
        text += std::string(r == 0 ? "" : ",") +
                "\n    {\"time\": " + JsonNumber(RecordSeconds(log, r));
        for (std::size_t i = 0; i < log.items.size(); ++i) {
            text += ", \"" + ItemName(log.items[i].id) + "\": " + JsonNumber(log.records[r][i]);
        }
        text += "}";
    }
    text += log.records.empty() ? "]\n}\n" : "\n  ]\n}\n";
    return text;
}

int RunRml(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    using Format = std::string (*)(const RmlLog&);
    const std::string_view command = args.empty() ? std::string_view() : args[0];
    const Format format = command == "header" ? FormatRmlHeader
                          : command == "csv"  ? FormatRmlCsv
                          : command == "json" ? FormatRmlJson
                                              : nullptr;
    if (format == nullptr || args.size() != 2) {
        err << kUsage;
        return 2;
    }
    const std::string path(args[1]);
    const std::optional<std::vector<uint8_t>> bytes = ReadFileBytes(path);
    if (!bytes) {
        err << "rml: cannot read " << path << "\n";
        return 1;
    }
    const RmlParseResult parsed = ParseRmlLog(*bytes);
    if (!parsed.log) {
        err << "rml: " << path << ": " << parsed.error << "\n";
        return 1;
    }
    out << format(*parsed.log);
    return 0;
}
