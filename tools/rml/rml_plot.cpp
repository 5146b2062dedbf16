#include "rml/rml_plot.h"

#include "rml/rml_output.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr int kPanelColumns = 2;
constexpr int kPanelWidth = 640;
constexpr int kPanelHeight = 300;

std::string Lowercase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string Terminal(ChartFormat format, int rows) {
    const std::string size = " size " + std::to_string(kPanelColumns * kPanelWidth) + "," +
                             std::to_string(rows * kPanelHeight + 60);
    return format == ChartFormat::Png ? "set terminal pngcairo enhanced font 'Sans,9'" + size
                                      : "set terminal svg enhanced font 'Sans,9'" + size;
}

// An item without a unit of its own ("Used memory") labels its axis with its name.
std::string AxisLabel(uint32_t id) {
    const std::string_view unit = RecordItemUnit(id);
    return unit.empty() ? ItemName(id) : std::string(unit);
}

} // namespace

std::optional<ChartFormat> ChartFormatOf(std::string_view outputPath) {
    const std::string lower = Lowercase(outputPath);
    const auto endsWith = [&lower](std::string_view suffix) {
        return lower.size() > suffix.size() &&
               lower.compare(lower.size() - suffix.size(), suffix.size(), suffix) == 0;
    };
    if (endsWith(".png")) {
        return ChartFormat::Png;
    }
    if (endsWith(".svg")) {
        return ChartFormat::Svg;
    }
    return std::nullopt;
}

std::string GnuplotString(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string GnuplotChartScript(const RmlLog& log, std::string_view logName,
                               const std::string& outputPath, ChartFormat format) {
    const int items = static_cast<int>(log.items.size());
    const int rows = std::max(1, (items + kPanelColumns - 1) / kPanelColumns);
    const std::string title =
        std::string(logName) + " - interval " + std::to_string(log.intervalMs) + " ms";
    // The data block holds the CSV minus its header row; gnuplot reads "nan" as no value.
    const std::string csv = FormatRmlCsv(log);
    std::string script = "set encoding utf8\n" + Terminal(format, rows) + "\n" + "set output " +
                         GnuplotString(outputPath) + "\n" + "set datafile separator ','\n" +
                         "$records << EOD\n" + csv.substr(csv.find('\n') + 1) + "EOD\n" +
                         "set multiplot layout " + std::to_string(rows) + "," +
                         std::to_string(kPanelColumns) + " title " + GnuplotString(title) +
                         " noenhanced\n" + "set xlabel 'Time (s)'\nset grid\nunset key\n";
    for (int i = 0; i < items; ++i) {
        const uint32_t id = log.items[static_cast<size_t>(i)].id;
        script += "set title " + GnuplotString(ItemName(id)) + " noenhanced\n" + "set ylabel " +
                  GnuplotString(AxisLabel(id)) + " noenhanced\n" +
                  "plot $records using 1:" + std::to_string(i + 2) +
                  " with linespoints linewidth 1.5 pointtype 7 pointsize 0.3\n";
    }
    return script + "unset multiplot\nset output\n";
}
