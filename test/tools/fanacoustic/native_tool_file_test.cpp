// The tool's own file (written by the fanacoustic executable before this test runs) read by the
// plug-in's table on the native cipher.
#include "fanacoustic/tree_crypto.h"
#include "sample_table_levels.h"
#include "sim/memory_files.h"

#include <fstream>
#include <iterator>

namespace {

std::vector<uint8_t> ReadFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(FanAcousticToolFileTest, the_tools_file_gives_the_sample_tables_levels) {
    for (const char* written : {"sample_from_ini.cfg", "sample_from_json.cfg"}) {
        sim::MemoryFiles files;
        files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", u"GX550"), ReadFile(written));
        gpu::FanAcoustic table(TreeCrypto(), files, files);
        ASSERT_EQ(table.Load(u"GX550"), 1) << written;
        ExpectSampleTableLevels(table);
    }
}

} // namespace
