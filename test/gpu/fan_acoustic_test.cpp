#include "fan_acoustic_support.h"
#include "fanacoustic/tree_crypto.h"
#include "gpu/fan_acoustic.h"
#include "gpu/fan_acoustic_key.h"
#include "plugin_frame/value_set.h"
#include "sim/memory_files.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

using gpu::FanAcoustic;
using gpu::FanPoint;
using VelmorValueSet::ValueSet;

const std::u16string kModel = u"GX550";
const std::u16string kPath =
    u"C:\\ProgramData\\\\Velmor\\\\Quillon Config\\\\Data\\\\Quillon_Config.FanAcoustic.GX550.cfg";

std::vector<uint8_t> Encrypted(std::span<const uint8_t> plaintext) {
    const auto cipher = TreeCrypto().NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector);
    const auto ciphertext = cipher->Encrypt(plaintext);
    EXPECT_TRUE(ciphertext.has_value());
    return ciphertext.value_or(std::vector<uint8_t>{});
}

std::vector<uint8_t> FileOf(std::span<const uint8_t> plaintext) {
    return gpu::FanAcousticFile(gpu::kFanAcousticVector, Encrypted(plaintext));
}

std::vector<uint8_t> FileOf(const ValueSet& set) {
    return FileOf(test::BodyOf(set));
}

std::vector<uint8_t> FileOf(std::vector<FanPoint> cpu, std::vector<FanPoint> gpu) {
    return FileOf(gpu::WriteFanPoints(cpu, gpu));
}

// The CPU fan: 0 -> 0.0 built in, 1000 -> 20.0, 2000 -> 30.0, 4000 -> 50.0. The GPU fan: 1500 ->
// 25.0, 3000 -> 40.0.
std::vector<uint8_t> SampleFile() {
    return FileOf({{1000, 20.0}, {2000, 30.0}, {4000, 50.0}}, {{1500, 25.0}, {3000, 40.0}});
}

class FanAcousticTest : public ::testing::Test {
protected:
    // Loads the bytes as the model's file.
    bool LoadFile(std::vector<uint8_t> bytes) {
        files.Put(kPath, std::move(bytes));
        return table.Load(kModel) == 1;
    }

    double Level(int32_t fan, int32_t rpm) {
        double level = 0.0;
        EXPECT_EQ(table.Lookup(fan, rpm, level), 1);
        return level;
    }

    sim::MemoryFiles files;
    FanAcoustic table{TreeCrypto(), files, files};
};

constexpr int32_t kCpu = 0;
constexpr int32_t kGpu = 1;

TEST_F(FanAcousticTest, the_models_file_in_the_program_data_folder_is_loaded) {
    files.Put(u"C:\\ProgramData\\\\Velmor\\\\Quillon Config\\\\Data\\\\"
              u"Quillon_Config.FanAcoustic.GX550.cfg",
              SampleFile());
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_EQ(table.Load(u"GX550"), 1);
    EXPECT_TRUE(table.IsLoaded());
    EXPECT_DOUBLE_EQ(Level(kCpu, 1000), 20.0);
    EXPECT_DOUBLE_EQ(Level(kGpu, 3000), 40.0);
}

TEST_F(FanAcousticTest, the_path_follows_the_program_data_folder_the_system_gives) {
    files.SetFolders({.ProgramData = u"D:\\Data"});
    files.Put(u"D:\\Data\\\\Velmor\\\\Quillon Config\\\\Data\\\\Quillon_Config.FanAcoustic.X.cfg",
              SampleFile());
    EXPECT_EQ(table.Load(u"X"), 1);
}

TEST_F(FanAcousticTest, another_models_file_is_not_read) {
    files.Put(kPath, SampleFile());
    EXPECT_EQ(table.Load(u"GX551"), 0);
}

TEST_F(FanAcousticTest, an_empty_model_name_loads_nothing) {
    files.Put(u"C:\\ProgramData\\\\Velmor\\\\Quillon Config\\\\Data\\\\Quillon_Config.FanAcoustic."
              u".cfg",
              SampleFile());
    EXPECT_EQ(table.Load(u""), 0);
    EXPECT_FALSE(table.IsLoaded());
}

TEST_F(FanAcousticTest, without_a_program_data_folder_nothing_is_loaded) {
    files.Put(kPath, SampleFile());
    files.SetFolders({.ProgramData = std::nullopt});
    EXPECT_EQ(table.Load(kModel), 0);
}

TEST_F(FanAcousticTest, a_missing_file_loads_nothing) {
    EXPECT_EQ(table.Load(kModel), 0);
    EXPECT_FALSE(table.IsLoaded());
}

TEST_F(FanAcousticTest, a_file_that_cannot_be_read_loads_nothing) {
    files.Put(kPath, SampleFile());
    files.FailReads(kPath);
    EXPECT_EQ(table.Load(kModel), 0);
}

TEST_F(FanAcousticTest, rpm_0_yields_0_without_a_point_at_0) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    EXPECT_EQ(Level(kCpu, 0), 0.0);
    EXPECT_EQ(Level(kGpu, 0), 0.0);
}

TEST_F(FanAcousticTest, a_point_at_0_rpm_replaces_the_built_in_zero_point) {
    ASSERT_TRUE(LoadFile(FileOf({{0, 12.5}, {1000, 22.5}}, {{0, 3.0}})));
    EXPECT_EQ(Level(kCpu, 0), 12.5);
    EXPECT_EQ(Level(kCpu, 500), 17.5);
    EXPECT_EQ(Level(kGpu, 0), 3.0);
    EXPECT_EQ(Level(kGpu, 10), 3.0);
}

TEST_F(FanAcousticTest, a_speed_on_a_point_yields_its_level) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    EXPECT_EQ(Level(kCpu, 2000), 30.0);
    EXPECT_EQ(Level(kGpu, 1500), 25.0);
}

TEST_F(FanAcousticTest, halfway_between_two_points_yields_their_mean) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    EXPECT_EQ(Level(kCpu, 1500), 25.0);
    EXPECT_EQ(Level(kCpu, 3000), 40.0);
    EXPECT_EQ(Level(kCpu, 500), 10.0);
    EXPECT_EQ(Level(kGpu, 2250), 32.5);
}

TEST_F(FanAcousticTest, between_two_points_the_level_is_linear_in_the_speed) {
    ASSERT_TRUE(LoadFile(FileOf({{1000, 20.0}, {4000, 50.0}}, {})));
    EXPECT_DOUBLE_EQ(Level(kCpu, 1001), 20.01);
    EXPECT_DOUBLE_EQ(Level(kCpu, 3999), 49.99);
    // l1 + (rpm - r1) * (l2 - l1) / (r2 - r1), in that order of operations.
    ASSERT_TRUE(LoadFile(FileOf({{3, 0.1}, {10, 0.7}}, {})));
    EXPECT_EQ(Level(kCpu, 5), 0.1 + 2.0 * (0.7 - 0.1) / 7.0);
}

TEST_F(FanAcousticTest, above_the_highest_point_yields_the_highest_level) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    EXPECT_EQ(Level(kCpu, 4001), 50.0);
    EXPECT_EQ(Level(kCpu, std::numeric_limits<int32_t>::max()), 50.0);
    EXPECT_EQ(Level(kGpu, 9000), 40.0);
}

TEST_F(FanAcousticTest, points_below_0_rpm_do_not_take_part_in_a_lookup) {
    ASSERT_TRUE(LoadFile(FileOf({{-1000, 90.0}, {1000, 20.0}}, {})));
    EXPECT_EQ(Level(kCpu, 0), 0.0);
    EXPECT_EQ(Level(kCpu, 500), 10.0);
}

TEST_F(FanAcousticTest, points_may_be_stored_in_any_order) {
    ASSERT_TRUE(LoadFile(FileOf({{4000, 50.0}, {1000, 20.0}, {2000, 30.0}}, {})));
    EXPECT_EQ(Level(kCpu, 1500), 25.0);
    EXPECT_EQ(Level(kCpu, 3000), 40.0);
}

TEST_F(FanAcousticTest, a_later_point_with_the_same_rpm_replaces_an_earlier_one) {
    ASSERT_TRUE(LoadFile(FileOf({{1000, 20.0}, {1000, 60.0}}, {})));
    EXPECT_EQ(Level(kCpu, 1000), 60.0);
    EXPECT_EQ(Level(kCpu, 500), 30.0);
}

TEST_F(FanAcousticTest, fan_0_reads_the_cpu_table_and_every_other_fan_the_gpu_table) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    EXPECT_EQ(Level(0, 1000), 20.0);
    EXPECT_EQ(Level(1, 1000), 1000 * 25.0 / 1500);
    EXPECT_EQ(Level(7, 3000), 40.0);
    EXPECT_EQ(Level(-1, 3000), 40.0);
}

TEST_F(FanAcousticTest, a_negative_rpm_answers_0_and_leaves_the_level_untouched) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    double level = 42.0;
    EXPECT_EQ(table.Lookup(kCpu, -1, level), 0);
    EXPECT_EQ(table.Lookup(kGpu, std::numeric_limits<int32_t>::min(), level), 0);
    EXPECT_EQ(level, 42.0);
}

TEST_F(FanAcousticTest, an_unloaded_table_answers_0_and_leaves_the_level_untouched) {
    double level = 42.0;
    EXPECT_EQ(table.Lookup(kCpu, 1000, level), 0);
    EXPECT_EQ(table.Lookup(kGpu, 0, level), 0);
    EXPECT_EQ(level, 42.0);
}

TEST_F(FanAcousticTest, without_a_cpu_count_the_cpu_table_holds_only_the_zero_point) {
    ValueSet body;
    body.SetInt32("CPU.RPM0", 1000);
    body.SetDouble("CPU.SPL0", 20.0);
    body.SetInt32("GPU.Count", 1);
    body.SetInt32("GPU.RPM0", 1000);
    body.SetDouble("GPU.SPL0", 20.0);
    ASSERT_TRUE(LoadFile(FileOf(body)));
    EXPECT_EQ(Level(kCpu, 0), 0.0);
    EXPECT_EQ(Level(kCpu, 1000), 0.0);
    EXPECT_EQ(Level(kCpu, 5000), 0.0);
    EXPECT_EQ(Level(kGpu, 1000), 20.0);
}

TEST_F(FanAcousticTest, a_cpu_count_that_is_not_a_32_bit_integer_counts_no_points) {
    for (const auto store : std::initializer_list<void (*)(ValueSet&)>{
             [](ValueSet& body) { body.SetDouble("CPU.Count", 1.0); },
             [](ValueSet& body) { body.SetUInt32("CPU.Count", 1); },
             [](ValueSet& body) { body.SetUInt64("CPU.Count", 1); },
             [](ValueSet& body) { body.SetString("CPU.Count", u"1"); },
             [](ValueSet& body) { body.SetInt32("CPU.Count", -1); },
         }) {
        ValueSet body;
        store(body);
        body.SetInt32("CPU.RPM0", 1000);
        body.SetDouble("CPU.SPL0", 20.0);
        ASSERT_TRUE(LoadFile(FileOf(body)));
        EXPECT_EQ(Level(kCpu, 1000), 0.0);
    }
}

TEST_F(FanAcousticTest,
       a_count_above_the_stored_points_adds_zero_points_that_replace_a_point_at_0) {
    ValueSet body;
    body.SetInt32("CPU.Count", 2);
    body.SetInt32("CPU.RPM0", 0);
    body.SetDouble("CPU.SPL0", 9.0);
    body.SetInt32("CPU.RPM1", 1000);
    body.SetDouble("CPU.SPL1", 20.0);
    ASSERT_TRUE(LoadFile(FileOf(body)));
    EXPECT_EQ(Level(kCpu, 0), 9.0);

    body.SetInt32("CPU.Count", 3);
    ASSERT_TRUE(LoadFile(FileOf(body)));
    EXPECT_EQ(Level(kCpu, 0), 0.0);
    EXPECT_EQ(Level(kCpu, 500), 10.0);
    EXPECT_EQ(Level(kCpu, 1000), 20.0);
}

TEST_F(FanAcousticTest, a_stored_point_after_a_missing_one_wins_at_0_rpm) {
    ValueSet body;
    body.SetInt32("CPU.Count", 3);
    body.SetInt32("CPU.RPM2", 0);
    body.SetDouble("CPU.SPL2", 9.0);
    ASSERT_TRUE(LoadFile(FileOf(body)));
    EXPECT_EQ(Level(kCpu, 0), 9.0);
}

TEST_F(FanAcousticTest, a_point_without_a_level_is_silent_and_one_without_an_rpm_sits_at_0) {
    ValueSet body;
    body.SetInt32("CPU.Count", 2);
    body.SetInt32("CPU.RPM0", 1000);
    body.SetDouble("CPU.SPL1", 7.0);
    body.SetInt32("GPU.Count", 1);
    body.SetUInt32("GPU.RPM0", 1000); // not a signed integer: rpm 0
    body.SetInt32("GPU.SPL0", 5);     // not a double: level 0.0
    ASSERT_TRUE(LoadFile(FileOf(body)));
    EXPECT_EQ(Level(kCpu, 1000), 0.0);
    EXPECT_EQ(Level(kCpu, 0), 7.0);
    EXPECT_EQ(Level(kGpu, 0), 0.0);
    EXPECT_EQ(Level(kGpu, 1000), 0.0);
}

TEST_F(FanAcousticTest, a_huge_count_loads_the_stored_points_and_zero_points) {
    ValueSet body;
    body.SetInt32("CPU.Count", std::numeric_limits<int32_t>::max());
    body.SetInt32("CPU.RPM0", 0);
    body.SetDouble("CPU.SPL0", 9.0);
    body.SetInt32("CPU.RPM5", 2000);
    body.SetDouble("CPU.SPL5", 40.0);
    body.SetInt32("GPU.Count", std::numeric_limits<int32_t>::max());
    ASSERT_TRUE(LoadFile(FileOf(body)));
    EXPECT_EQ(Level(kCpu, 0), 0.0);
    EXPECT_EQ(Level(kCpu, 1000), 20.0);
    EXPECT_EQ(Level(kGpu, 1000), 0.0);
}

TEST_F(FanAcousticTest, an_empty_body_loads_tables_of_the_zero_point_only) {
    ASSERT_TRUE(LoadFile(FileOf(std::vector<uint8_t>{})));
    EXPECT_EQ(Level(kCpu, 1000), 0.0);
    EXPECT_EQ(Level(kGpu, 1000), 0.0);
}

TEST_F(FanAcousticTest, a_header_vector_other_than_the_built_in_one_is_refused) {
    std::vector<uint8_t> file = SampleFile();
    file[15] ^= 0x01;
    EXPECT_FALSE(LoadFile(file));
    EXPECT_FALSE(table.IsLoaded());
}

TEST_F(FanAcousticTest, a_version_other_than_1_is_refused) {
    for (const int version : {0, 2, 0xFF}) {
        std::vector<uint8_t> file = SampleFile();
        file[16] = static_cast<uint8_t>(version);
        EXPECT_FALSE(LoadFile(file)) << version;
    }
}

TEST_F(FanAcousticTest, bad_padding_is_refused) {
    std::vector<uint8_t> file = SampleFile();
    ASSERT_GE(file.size(), gpu::kFanAcousticHeaderSize + 32);
    // The last byte of the next-to-last block flips the last plaintext byte, the padding length,
    // to a value above 16.
    file[file.size() - 17] ^= 0x20;
    EXPECT_FALSE(LoadFile(file));
}

TEST_F(FanAcousticTest, a_ciphertext_of_part_of_a_block_is_refused) {
    std::vector<uint8_t> file = SampleFile();
    file.pop_back();
    EXPECT_FALSE(LoadFile(file));
}

TEST_F(FanAcousticTest, a_ciphertext_cut_at_a_block_boundary_is_refused) {
    std::vector<uint8_t> file = SampleFile();
    file.resize(file.size() - 16);
    EXPECT_FALSE(LoadFile(file));
}

TEST_F(FanAcousticTest, files_shorter_than_a_header_and_a_block_are_refused) {
    const std::vector<uint8_t> whole = SampleFile();
    for (const std::size_t size : {0, 1, 7, 8, 15, 16, 17, 18, 32}) {
        EXPECT_FALSE(LoadFile({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}))
            << size;
    }
}

TEST_F(FanAcousticTest, random_bytes_are_refused) {
    std::mt19937 random(8);
    for (int round = 0; round < 50; ++round) {
        std::vector<uint8_t> file(17 + 16 * (1 + round % 4));
        for (auto& byte : file) {
            byte = static_cast<uint8_t>(random());
        }
        EXPECT_FALSE(LoadFile(file));
        // With the right header the ciphertext decrypts to noise: its padding or its body fails.
        std::copy(gpu::kFanAcousticVector.begin(), gpu::kFanAcousticVector.end(), file.begin());
        file[16] = gpu::kFanAcousticVersion;
        EXPECT_FALSE(LoadFile(file)) << round;
    }
}

TEST_F(FanAcousticTest, a_plaintext_that_is_not_a_value_set_is_refused) {
    // Kind 6 is not a kind; a length past the end; a key with no value.
    for (const std::vector<uint8_t>& plaintext : {
             std::vector<uint8_t>{3, 'C', 'P', 'U', 6, 0, 0, 0, 0},
             std::vector<uint8_t>{1, 'a', 2, 0xFF, 0xFF, 0xFF, 0x7F, 1, 2, 3, 4},
             std::vector<uint8_t>{9, 'C', 'P', 'U', '.', 'C', 'o', 'u', 'n', 't'},
         }) {
        EXPECT_FALSE(LoadFile(FileOf(plaintext)));
    }
}

TEST_F(FanAcousticTest, a_refused_file_after_a_good_one_leaves_the_table_unloaded) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    std::vector<uint8_t> file = SampleFile();
    file[16] = 2;
    EXPECT_FALSE(LoadFile(file));
    double level = 42.0;
    EXPECT_EQ(table.Lookup(kCpu, 1000, level), 0);
    EXPECT_EQ(level, 42.0);
}

TEST_F(FanAcousticTest, a_new_file_replaces_the_tables_of_the_last_one) {
    ASSERT_TRUE(LoadFile(SampleFile()));
    ASSERT_TRUE(LoadFile(FileOf({{1000, 70.0}}, {})));
    EXPECT_EQ(Level(kCpu, 2000), 70.0);
    EXPECT_EQ(Level(kGpu, 2000), 0.0);
}

// A decryptor whose set-up failed has no key and refuses every file.
class KeylessCrypto final : public ports::Crypto {
public:
    std::unique_ptr<ports::AesCipher> NewAesCipher(const ports::AesKey&,
                                                   const ports::AesVector&) override {
        return std::make_unique<Keyless>();
    }

private:
    struct Keyless final : ports::AesCipher {
        std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t>) override {
            return std::nullopt;
        }
        std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t>) override {
            return std::nullopt;
        }
    };
};

TEST(FanAcousticDecryptorTest, a_decryptor_without_a_key_leaves_the_table_unloaded) {
    sim::MemoryFiles files;
    files.Put(kPath, SampleFile());
    KeylessCrypto crypto;
    FanAcoustic table(crypto, files, files);
    EXPECT_EQ(table.Load(kModel), 0);
    EXPECT_FALSE(table.IsLoaded());
}

} // namespace
