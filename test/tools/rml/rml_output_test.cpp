#include "common/child_process.h"
#include "common/tool_text.h"
#include "fake_time_kernel_objects.h"
#include "recorder_probe.h"
#include "recording/monitor_recorder.h"
#include "rml/rml_output.h"
#include "rml/rml_plot.h"
#include "sample_rml_log.h"
#include "sim/fake_clock.h"
#include "sim/fake_ui_processes.h"
#include "sim/memory_log_files.h"
#include "sim/native_kernel_objects.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Spliced into the expected texts; UTF-8 whatever the compiler's charset.
#define CELSIUS                                                                                    \
    "\xC2\xB0"                                                                                     \
    "C"

RmlLog Sample() {
    RmlParseResult parsed = ParseRmlLog(SampleRmlLog());
    EXPECT_TRUE(parsed.log) << parsed.error;
    return parsed.log.value_or(RmlLog{});
}

struct ToolRun {
    int exitCode;
    std::string out;
    std::string err;
};

ToolRun RunTool(std::vector<std::string_view> args,
                std::string_view searchPath = ProcessSearchPath()) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = RunRml(args, out, err, searchPath);
    return {exitCode, out.str(), err.str()};
}

// Seconds as the decimal text of a count of milliseconds, worked out in integers.
std::string SecondsText(int64_t milliseconds) {
    const std::string whole = std::to_string(milliseconds / 1000);
    std::string fraction = std::to_string(1000 + milliseconds % 1000).substr(1);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return fraction.empty() ? whole : whole + "." + fraction;
}

// A file in the temporary folder, removed again at the end of the test.
class TemporaryFile {
public:
    TemporaryFile(const std::string& name, const std::vector<uint8_t>& bytes)
        : path_(std::filesystem::temp_directory_path() / name) {
        std::ofstream file(path_, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    std::string Path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

} // namespace

TEST(RmlOutput, csv_has_a_time_column_then_one_column_per_item_with_its_unit) {
    EXPECT_EQ(FormatRmlCsv(Sample()),
              "Time (s),CPU frequency (MHz),CPU temperature (" CELSIUS "),CPU usage (%),"
              "GPU frequency (MHz),GPU temperature (" CELSIUS "),GPU usage (%),Used memory,"
              "Disk active time (%),Disk read speed (kB/s),Disk write speed (kB/s)\n"
              "0,2400,55,12.5,1500,60,3,8123,1.5,0,4096\n"
              "0.5,3300,71,88,1800,65,97,9000,100,12.25,0\n"
              "1,800,42,0.1,0,0,0,7000.5,0,0,0\n");
}

TEST(RmlOutput, json_carries_header_items_units_and_timed_records_with_nan_as_null) {
    EXPECT_EQ(FormatRmlJson(Sample()), R"({
  "version": 1,
  "intervalMs": 500,
  "timeUnit": "s",
  "items": [
    {"id": "0x00010000", "name": "CPU frequency", "unit": "MHz", "maximum": 6000, "minimum": 0},
    {"id": "0x00010001", "name": "CPU temperature", "unit": ")" CELSIUS
                                       R"(", "maximum": 100, "minimum": 0},
    {"id": "0x00010002", "name": "CPU usage", "unit": "%", "maximum": 100, "minimum": 0},
    {"id": "0x00020000", "name": "GPU frequency", "unit": "MHz", "maximum": 2100, "minimum": 0},
    {"id": "0x00020001", "name": "GPU temperature", "unit": ")" CELSIUS
                                       R"(", "maximum": 87, "minimum": 0},
    {"id": "0x00020002", "name": "GPU usage", "unit": "%", "maximum": 100, "minimum": 0},
    {"id": "0x00040000", "name": "Used memory", "unit": null, "maximum": 16384, "minimum": 0},
    {"id": "0x00080000", "name": "Disk active time", "unit": "%", "maximum": 100, "minimum": 0},
    {"id": "0x00080001", "name": "Disk read speed", "unit": "kB/s", "maximum": null, "minimum": 0},
    {"id": "0x00080002", "name": "Disk write speed", "unit": "kB/s", "maximum": null, "minimum": 0}
  ],
  "records": [
    {"time": 0, "CPU frequency": 2400, "CPU temperature": 55, "CPU usage": 12.5, "GPU frequency": 1500, "GPU temperature": 60, "GPU usage": 3, "Used memory": 8123, "Disk active time": 1.5, "Disk read speed": 0, "Disk write speed": 4096},
    {"time": 0.5, "CPU frequency": 3300, "CPU temperature": 71, "CPU usage": 88, "GPU frequency": 1800, "GPU temperature": 65, "GPU usage": 97, "Used memory": 9000, "Disk active time": 100, "Disk read speed": 12.25, "Disk write speed": 0},
    {"time": 1, "CPU frequency": 800, "CPU temperature": 42, "CPU usage": 0.1, "GPU frequency": 0, "GPU temperature": 0, "GPU usage": 0, "Used memory": 7000.5, "Disk active time": 0, "Disk read speed": 0, "Disk write speed": 0}
  ]
}
)");
}

TEST(RmlOutput, json_of_a_log_without_records_has_an_empty_list) {
    RmlLog log = Sample();
    log.records.clear();
    const std::string json = FormatRmlJson(log);
    EXPECT_NE(json.find("\"records\": []\n}\n"), std::string::npos) << json;
}

TEST(RmlOutput, header_lists_fields_and_items) {
    EXPECT_EQ(FormatRmlHeader(Sample()), "version: 1\n"
                                         "interval: 500 ms\n"
                                         "records: 3\n"
                                         "items: 10\n"
                                         "  0x00010000 CPU frequency: maximum 6000, minimum 0\n"
                                         "  0x00010001 CPU temperature: maximum 100, minimum 0\n"
                                         "  0x00010002 CPU usage: maximum 100, minimum 0\n"
                                         "  0x00020000 GPU frequency: maximum 2100, minimum 0\n"
                                         "  0x00020001 GPU temperature: maximum 87, minimum 0\n"
                                         "  0x00020002 GPU usage: maximum 100, minimum 0\n"
                                         "  0x00040000 Used memory: maximum 16384, minimum 0\n"
                                         "  0x00080000 Disk active time: maximum 100, minimum 0\n"
                                         "  0x00080001 Disk read speed: maximum nan, minimum 0\n"
                                         "  0x00080002 Disk write speed: maximum nan, minimum 0\n");
}

TEST(RmlOutput, csv_of_a_log_the_recorder_wrote_times_record_i_at_i_intervals) {
    constexpr uint32_t kUiPid = 12;
    constexpr int32_t kIntervalMs = 100;
    const std::u16string path = u"C:\\Logs\\timed.rml";
    sim::NativeKernelObjects native;
    sim::FakeClock clock;
    FakeTimeKernelObjects kernel(native, clock); // the intervals pass on the fake clock at once
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles logFiles(native);
    uiProcesses.Launch(kUiPid);
    RecorderProbe probe;
    const auto items = RecorderProbe::Items();
    auto recorder = MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles});
    ASSERT_NE(recorder->Start(kUiPid, 600, kIntervalMs, items.data(), &RecorderProbe::Sampling,
                              &RecorderProbe::Round, &probe),
              0);
    ASSERT_TRUE(recorder->StartLogging(path, nullptr, &RecorderProbe::LogFinished));
    ASSERT_TRUE(probe.TakeSamples(130));
    recorder->StopLogging();
    probe.Open();
    recorder.reset();

    const RmlParseResult parsed = ParseRmlLog(logFiles.Contents(path));
    ASSERT_TRUE(parsed.log) << parsed.error;
    ASSERT_EQ(parsed.log->records.size(), 130u);
    std::istringstream csv(FormatRmlCsv(*parsed.log));
    std::string line;
    std::getline(csv, line);
    EXPECT_EQ(line.substr(0, line.find(',')), "Time (s)");
    int64_t record = 0;
    for (; std::getline(csv, line); ++record) {
        EXPECT_EQ(line.substr(0, line.find(',')), SecondsText(record * kIntervalMs))
            << "record " << record;
    }
    EXPECT_EQ(record, 130);
}

TEST(RmlOutput, unknown_item_is_named_by_its_identifier_without_a_unit) {
    EXPECT_EQ(ItemName(0x30000), "0x00030000");
    EXPECT_EQ(ItemColumnName(0x30000), "0x00030000");
    EXPECT_EQ(ItemColumnName(0x40000), "Used memory");
    EXPECT_EQ(ItemColumnName(0x80001), "Disk read speed (kB/s)");
}

TEST(RmlOutput, csv_fields_with_commas_quotes_or_line_breaks_are_quoted) {
    EXPECT_EQ(CsvField("CPU usage (%)"), "CPU usage (%)");
    EXPECT_EQ(CsvField("a,b"), "\"a,b\"");
    EXPECT_EQ(CsvField("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(CsvField("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(CsvField("cr\r"), "\"cr\r\"");
}

TEST(RmlOutput, time_of_a_record_is_exactly_its_index_times_the_interval) {
    RmlLog log = Sample();
    log.intervalMs = 100;
    EXPECT_EQ(RecordSeconds(log, 3), 0.3); // not 0.1 + 0.1 + 0.1
    log.intervalMs = 3'600'000;
    EXPECT_EQ(RecordSeconds(log, 1'000'000), 3.6e9); // no 32-bit overflow
}

TEST(RmlOutput, tool_prints_csv_of_a_log_file) {
    const TemporaryFile log("rml_output_test_sample.rml", SampleRmlLog());
    const ToolRun run = RunTool({"csv", log.Path()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, FormatRmlCsv(Sample()));
    EXPECT_EQ(run.err, "");
}

TEST(RmlOutput, tool_without_a_known_command_and_one_file_prints_usage_and_exits_2) {
    for (const auto& args : std::vector<std::vector<std::string_view>>{
             {}, {"csv"}, {"xml", "log.rml"}, {"csv", "a.rml", "b.rml"}}) {
        const ToolRun run = RunTool(args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind("usage: rml header FILE", 0), 0u) << run.err;
    }
}

TEST(RmlOutput, tool_on_a_missing_file_exits_1) {
    const ToolRun run = RunTool({"header", "no_such_recording.rml"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "rml: cannot read no_such_recording.rml\n");
}

TEST(RmlOutput, tool_on_a_foreign_file_says_what_is_wrong_and_exits_1) {
    std::vector<uint8_t> bytes = SampleRmlLog();
    bytes[0] = 'X';
    const TemporaryFile foreign("rml_output_test_foreign.rml", bytes);
    const ToolRun run = RunTool({"json", foreign.Path()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "rml: " + foreign.Path() +
                           ": not a recording log: the file does not start with \"_RML\"\n");
}

namespace {

size_t Count(const std::string& text, std::string_view part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

uint32_t BigEndian32(const std::vector<uint8_t>& bytes, size_t at) {
    return static_cast<uint32_t>(bytes[at]) << 24 | static_cast<uint32_t>(bytes[at + 1]) << 16 |
           static_cast<uint32_t>(bytes[at + 2]) << 8 | bytes[at + 3];
}

// The charts are drawn by the real gnuplot, which the project's setup installs on the build
// machine; a Windows build run under Wine has none on its PATH.
bool GnuplotAvailable() {
#if defined(_WIN32)
    return false;
#else
    return true;
#endif
}

std::string ReadText(const std::filesystem::path& path) {
    const std::optional<std::vector<uint8_t>> bytes = ReadFileBytes(path.string());
    return bytes ? std::string(bytes->begin(), bytes->end()) : std::string();
}

} // namespace

TEST(RmlPlot, chart_format_follows_the_extension_in_any_case) {
    EXPECT_EQ(ChartFormatOf("chart.png"), ChartFormat::Png);
    EXPECT_EQ(ChartFormatOf("out/Chart.SVG"), ChartFormat::Svg);
    EXPECT_EQ(ChartFormatOf("chart.pdf"), std::nullopt);
    EXPECT_EQ(ChartFormatOf(".png"), std::nullopt);
    EXPECT_EQ(ChartFormatOf("png"), std::nullopt);
}

TEST(RmlPlot, gnuplot_strings_double_inner_quotes) {
    EXPECT_EQ(GnuplotString("plain.rml"), "'plain.rml'");
    EXPECT_EQ(GnuplotString("it's'; system 'rm"), "'it''s''; system ''rm'");
}

TEST(RmlPlot, script_draws_one_panel_per_item_with_its_unit_under_a_titled_layout) {
    const std::string script =
        GnuplotChartScript(Sample(), "run.rml", "/tmp/chart.png", ChartFormat::Png);
    EXPECT_NE(script.find("set terminal pngcairo"), std::string::npos);
    EXPECT_NE(script.find("set output '/tmp/chart.png'\n"), std::string::npos);
    EXPECT_NE(script.find("set multiplot layout 5,2 title 'run.rml - interval 500 ms'"),
              std::string::npos);
    EXPECT_EQ(Count(script, "\nplot $records using 1:"), 10u);
    EXPECT_NE(script.find("plot $records using 1:11 "), std::string::npos);
    EXPECT_NE(script.find("set ylabel 'MHz'"), std::string::npos);
    EXPECT_NE(script.find("set ylabel '" CELSIUS "'"), std::string::npos);
    EXPECT_NE(script.find("set ylabel 'kB/s'"), std::string::npos);
    EXPECT_NE(script.find("set title 'Used memory' noenhanced\nset ylabel 'Used memory'"),
              std::string::npos);
    EXPECT_NE(script.find("set xlabel 'Time (s)'"), std::string::npos);
}

TEST(RmlPlot, script_data_block_holds_one_row_per_record_with_its_time) {
    const std::string script =
        GnuplotChartScript(Sample(), "run.rml", "chart.svg", ChartFormat::Svg);
    EXPECT_NE(script.find("set terminal svg"), std::string::npos);
    EXPECT_NE(script.find("$records << EOD\n"
                          "0,2400,55,12.5,1500,60,3,8123,1.5,0,4096\n"
                          "0.5,3300,71,88,1800,65,97,9000,100,12.25,0\n"
                          "1,800,42,0.1,0,0,0,7000.5,0,0,0\n"
                          "EOD\n"),
              std::string::npos)
        << script;
}

TEST(RmlPlot, png_chart_is_a_png_image_of_the_whole_layout) {
    if (!GnuplotAvailable()) {
        GTEST_SKIP() << "no gnuplot in this tree";
    }
    const TemporaryFile log("rml_plot_test.rml", SampleRmlLog());
    const std::filesystem::path chart = std::filesystem::temp_directory_path() / "rml_plot.png";
    const ToolRun run = RunTool({"plot", log.Path(), "--out", chart.string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::optional<std::vector<uint8_t>> png = ReadFileBytes(chart.string());
    std::filesystem::remove(chart);
    ASSERT_TRUE(png);
    ASSERT_GT(png->size(), 24u);
    const std::vector<uint8_t> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    EXPECT_TRUE(std::equal(signature.begin(), signature.end(), png->begin()));
    EXPECT_EQ(std::string(png->begin() + 12, png->begin() + 16), "IHDR");
    EXPECT_EQ(BigEndian32(*png, 16), 1280u); // two panels of 640
    EXPECT_EQ(BigEndian32(*png, 20), 1560u); // five rows of 300 and the title
    EXPECT_GT(png->size(), 10'000u);         // drawn, not blank
}

TEST(RmlPlot, svg_chart_is_a_whole_svg_document_naming_every_panel) {
    if (!GnuplotAvailable()) {
        GTEST_SKIP() << "no gnuplot in this tree";
    }
    const TemporaryFile log("rml_plot_test_svg.rml", SampleRmlLog());
    const std::filesystem::path chart = std::filesystem::temp_directory_path() / "rml_plot.svg";
    const ToolRun run = RunTool({"plot", log.Path(), "--out", chart.string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string svg = ReadText(chart);
    std::filesystem::remove(chart);
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_NE(svg.find("<svg"), std::string::npos);
    EXPECT_NE(svg.find("</svg>"), std::string::npos);
    EXPECT_EQ(Count(svg, "<svg"), Count(svg, "</svg>"));
    EXPECT_NE(svg.find("rml_plot_test_svg.rml - interval 500 ms"), std::string::npos);
    for (const char* panel :
         {"CPU frequency", "CPU temperature", "CPU usage", "GPU frequency", "GPU temperature",
          "GPU usage", "Used memory", "Disk active time", "Disk read speed", "Disk write speed"}) {
        EXPECT_NE(svg.find(panel), std::string::npos) << panel;
    }
}

TEST(RmlPlot, without_gnuplot_the_tool_fails_with_1_and_says_so) {
    const TemporaryFile log("rml_plot_test_nognuplot.rml", SampleRmlLog());
    const std::filesystem::path empty = std::filesystem::temp_directory_path() / "rml_no_tools";
    std::filesystem::create_directories(empty);
    const ToolRun run = RunTool({"plot", log.Path(), "--out", "never.png"}, empty.string());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "rml: gnuplot is not installed (no gnuplot on the PATH); install "
                       "gnuplot-nox\n");
    EXPECT_FALSE(std::filesystem::exists("never.png"));
}

TEST(RmlPlot, a_chart_of_another_format_is_a_wrong_command_line) {
    const ToolRun run = RunTool({"plot", "any.rml", "--out", "chart.pdf"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "rml: the chart must be a .png or .svg file: chart.pdf\n");
}

TEST(RmlPlot, plot_without_out_is_a_wrong_command_line) {
    EXPECT_EQ(RunTool({"plot", "any.rml"}).exitCode, 2);
    EXPECT_EQ(RunTool({"plot", "any.rml", "--to", "c.png"}).exitCode, 2);
}

TEST(RmlPlot, a_log_without_records_has_nothing_to_plot) {
    std::vector<uint8_t> bytes = SampleRmlLog();
    bytes.resize(kRmlHeaderBytes);
    const TemporaryFile log("rml_plot_test_empty.rml", bytes);
    const ToolRun run = RunTool({"plot", log.Path(), "--out", "never.png"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("no records to plot"), std::string::npos) << run.err;
}

TEST(RmlPlot, an_unreadable_log_fails_with_1) {
    const ToolRun run = RunTool({"plot", "/nonexistent/run.rml", "--out", "never.png"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "rml: cannot read /nonexistent/run.rml\n");
}

TEST(RmlTool, help_prints_the_usage_on_standard_output_and_succeeds) {
    const ToolRun run = RunTool({"plot", "--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("rml plot FILE --out CHART.png"), std::string::npos);
    EXPECT_TRUE(run.err.empty());
}
