#include "rml/rml_output.h"
#include "sample_rml_log.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

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

TEST(RmlOutput, csv_has_one_column_per_item_and_one_row_per_record) {
    EXPECT_EQ(FormatRmlCsv(Sample()),
              "CPU frequency,CPU temperature,CPU usage,GPU frequency,GPU temperature,GPU usage,"
              "Used memory,Disk active time,Disk read speed,Disk write speed\n"
              "2400,55,12.5,1500,60,3,8123,1.5,0,4096\n"
              "3300,71,88,1800,65,97,9000,100,12.25,0\n"
              "800,42,0.1,0,0,0,7000.5,0,0,0\n");
}

TEST(RmlOutput, json_carries_header_items_and_records_with_nan_as_null) {
    EXPECT_EQ(FormatRmlJson(Sample()), R"({
  "version": 1,
  "intervalMs": 500,
  "items": [
    {"id": "0x00010000", "name": "CPU frequency", "maximum": 6000, "minimum": 0},
    {"id": "0x00010001", "name": "CPU temperature", "maximum": 100, "minimum": 0},
    {"id": "0x00010002", "name": "CPU usage", "maximum": 100, "minimum": 0},
    {"id": "0x00020000", "name": "GPU frequency", "maximum": 2100, "minimum": 0},
    {"id": "0x00020001", "name": "GPU temperature", "maximum": 87, "minimum": 0},
    {"id": "0x00020002", "name": "GPU usage", "maximum": 100, "minimum": 0},
    {"id": "0x00040000", "name": "Used memory", "maximum": 16384, "minimum": 0},
    {"id": "0x00080000", "name": "Disk active time", "maximum": 100, "minimum": 0},
    {"id": "0x00080001", "name": "Disk read speed", "maximum": null, "minimum": 0},
    {"id": "0x00080002", "name": "Disk write speed", "maximum": null, "minimum": 0}
  ],
  "records": [
    {"CPU frequency": 2400, "CPU temperature": 55, "CPU usage": 12.5, "GPU frequency": 1500, "GPU temperature": 60, "GPU usage": 3, "Used memory": 8123, "Disk active time": 1.5, "Disk read speed": 0, "Disk write speed": 4096},
    {"CPU frequency": 3300, "CPU temperature": 71, "CPU usage": 88, "GPU frequency": 1800, "GPU temperature": 65, "GPU usage": 97, "Used memory": 9000, "Disk active time": 100, "Disk read speed": 12.25, "Disk write speed": 0},
    {"CPU frequency": 800, "CPU temperature": 42, "CPU usage": 0.1, "GPU frequency": 0, "GPU temperature": 0, "GPU usage": 0, "Used memory": 7000.5, "Disk active time": 0, "Disk read speed": 0, "Disk write speed": 0}
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

TEST(RmlOutput, unknown_item_is_named_by_its_identifier) {
    EXPECT_EQ(ItemColumnName(0x30000), "0x00030000");
    EXPECT_EQ(ItemColumnName(0x40000), "Used memory");
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
