#include "fanacoustic/fanacoustic_tool.h"
#include "fanacoustic/tree_crypto.h"
#include "gpu/fan_acoustic.h"
#include "gpu/fan_acoustic_key.h"
#include "sample_table_levels.h"
#include "sim/memory_files.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace {

struct ToolRun {
    int exitCode;
    std::string out;
    std::string err;
};

ToolRun RunTool(std::vector<std::string_view> args) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = RunFanAcoustic(args, out, err, TreeCrypto());
    return {exitCode, out.str(), err.str()};
}

// A folder of its own in the temporary folder, removed with everything in it at the end.
class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(std::filesystem::temp_directory_path() /
                ("fanacoustic_tool_test_" +
                 std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()))) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    std::string Put(const std::string& name, std::string_view text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return Path(name);
    }
    std::string Path(const std::string& name) const { return (path_ / name).string(); }
    std::vector<uint8_t> Bytes(const std::string& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    void PutBytes(const std::string& name, const std::vector<uint8_t>& bytes) const {
        std::ofstream(path_ / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }

private:
    std::filesystem::path path_;
};

constexpr std::string_view kTable = "[CPU]\n1000 = 20\n3000 = 40\n[GPU]\n0 = 5\n2000 = 25\n";

TEST(FanAcousticToolTest, help_goes_to_standard_output_and_exits_0) {
    const ToolRun run = RunTool({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.starts_with("usage: fanacoustic write TABLE FILE")) << run.out;
    EXPECT_EQ(run.err, "");
}

TEST(FanAcousticToolTest, a_wrong_command_line_shows_the_usage_on_standard_error_and_exits_2) {
    for (const auto& args : std::vector<std::vector<std::string_view>>{{},
                                                                       {"write", "a"},
                                                                       {"print"},
                                                                       {"print", "--xml", "a"},
                                                                       {"read", "a"},
                                                                       {"--help", "x"}}) {
        const ToolRun run = RunTool(args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.err.starts_with("usage: fanacoustic")) << run.err;
        EXPECT_EQ(run.out, "");
    }
}

TEST(FanAcousticToolTest, a_written_file_prints_back_as_the_curves_the_plugin_reads) {
    const TemporaryFolder folder;
    const ToolRun write =
        RunTool({"write", folder.Put("table.ini", kTable), folder.Path("table.cfg")});
    ASSERT_EQ(write.exitCode, 0) << write.err;
    EXPECT_EQ(write.out, "");
    const ToolRun print = RunTool({"print", folder.Path("table.cfg")});
    EXPECT_EQ(print.exitCode, 0) << print.err;
    EXPECT_EQ(print.out, "; fan acoustic table: rpm = level, linear between points\n"
                         "[CPU]\n0 = 0\n1000 = 20\n3000 = 40\n"
                         "[GPU]\n0 = 5\n2000 = 25\n");
    const ToolRun json = RunTool({"print", "--json", folder.Path("table.cfg")});
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_TRUE(json.out.starts_with("{\n  \"CPU\": [\n    {\"rpm\": 0, \"level\": 0},"))
        << json.out;
}

TEST(FanAcousticToolTest, the_file_starts_with_the_vector_and_version_1) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"write", folder.Put("t.ini", kTable), folder.Path("t.cfg")}).exitCode, 0);
    const std::vector<uint8_t> file = folder.Bytes("t.cfg");
    ASSERT_GE(file.size(), 17u + 16u);
    EXPECT_TRUE(
        std::equal(gpu::kFanAcousticVector.begin(), gpu::kFanAcousticVector.end(), file.begin()));
    EXPECT_EQ(file[16], 1);
    EXPECT_EQ((file.size() - 17) % 16, 0u);
}

TEST(FanAcousticToolTest, printed_output_of_either_form_writes_the_same_file_again) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"write", folder.Put("t.ini", kTable), folder.Path("a.cfg")}).exitCode, 0);
    const std::string ini = RunTool({"print", folder.Path("a.cfg")}).out;
    const std::string json = RunTool({"print", "--json", folder.Path("a.cfg")}).out;
    ASSERT_EQ(RunTool({"write", folder.Put("b.ini", ini), folder.Path("b.cfg")}).exitCode, 0);
    ASSERT_EQ(RunTool({"write", folder.Put("c.json", json), folder.Path("c.cfg")}).exitCode, 0);
    EXPECT_EQ(folder.Bytes("b.cfg"), folder.Bytes("c.cfg"));
    EXPECT_EQ(RunTool({"print", folder.Path("c.cfg")}).out, ini);
}

// The plug-in's table reads the tool's file and gives the table's levels.
TEST(FanAcousticToolTest, the_plugin_reads_the_levels_of_a_written_table) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"write", folder.Put("t.ini", kTable), folder.Path("t.cfg")}).exitCode, 0);
    sim::MemoryFiles files;
    files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", u"GX550"), folder.Bytes("t.cfg"));
    gpu::FanAcoustic table(TreeCrypto(), files, files);
    ASSERT_EQ(table.Load(u"GX550"), 1);
    const auto level = [&](int32_t fan, int32_t rpm) { return LevelAt(table, fan, rpm); };
    EXPECT_EQ(level(0, 0), 0.0);
    EXPECT_EQ(level(0, 500), 10.0);
    EXPECT_EQ(level(0, 2000), 30.0);
    EXPECT_EQ(level(0, 9000), 40.0);
    EXPECT_EQ(level(1, 0), 5.0);
    EXPECT_EQ(level(1, 1000), 15.0);
    EXPECT_EQ(level(1, 2500), 25.0);
}

TEST(FanAcousticToolTest, a_table_that_cannot_be_read_or_parsed_fails_with_the_reason) {
    const TemporaryFolder folder;
    ToolRun run = RunTool({"write", folder.Path("missing.ini"), folder.Path("t.cfg")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "fanacoustic: cannot read " + folder.Path("missing.ini") + "\n");
    run = RunTool({"write", folder.Put("bad.ini", "[CPU]\n1000 = loud\n"), folder.Path("t.cfg")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "fanacoustic: " + folder.Path("bad.ini") +
                           ": line 2: expected \"rpm = level\" (a 32-bit integer and a finite "
                           "number)\n");
    EXPECT_FALSE(std::filesystem::exists(folder.Path("t.cfg")));
}

TEST(FanAcousticToolTest, a_file_that_cannot_be_written_fails) {
    const TemporaryFolder folder;
    const ToolRun run =
        RunTool({"write", folder.Put("t.ini", kTable), folder.Path("no/such/folder/t.cfg")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "fanacoustic: cannot write " + folder.Path("no/such/folder/t.cfg") + "\n");
}

TEST(FanAcousticToolTest, files_the_plugin_refuses_are_refused_with_the_reason) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"write", folder.Put("t.ini", kTable), folder.Path("t.cfg")}).exitCode, 0);
    const std::vector<uint8_t> good = folder.Bytes("t.cfg");

    std::vector<uint8_t> version = good;
    version[16] = 2;
    std::vector<uint8_t> cut = good;
    cut.pop_back();
    std::vector<uint8_t> garbled =
        gpu::FanAcousticFile(gpu::kFanAcousticVector,
                             *TreeCrypto()
                                  .NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector)
                                  ->Encrypt(std::vector<uint8_t>{3, 'C', 'P', 'U', 6, 0, 0, 0, 0}));
    const std::pair<std::vector<uint8_t>, std::string> cases[] = {
        {version, "not a fan acoustic file (its header is not this key's vector and version 1)"},
        {{good.begin(), good.begin() + 10},
         "not a fan acoustic file (its header is not this key's vector and version 1)"},
        {cut, "does not decipher (cut short, another key or bad padding)"},
        {garbled, "deciphers to something that is not a value set"},
    };
    for (const auto& [bytes, reason] : cases) {
        folder.PutBytes("bad.cfg", bytes);
        const ToolRun run = RunTool({"print", folder.Path("bad.cfg")});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, "fanacoustic: " + folder.Path("bad.cfg") + ": " + reason + "\n");
        EXPECT_EQ(run.out, "");
    }
    const ToolRun missing = RunTool({"print", folder.Path("none.cfg")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "fanacoustic: cannot read " + folder.Path("none.cfg") + "\n");
}

} // namespace
