#include "fake_time_kernel_objects.h"
#include "recorder_probe.h"
#include "recording/monitor_recorder.h"
#include "rml/rml_output.h"
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

ToolRun RunTool(std::vector<std::string_view> args) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = RunRml(args, out, err);
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
