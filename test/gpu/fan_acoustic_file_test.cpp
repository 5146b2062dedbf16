#include "fan_acoustic_support.h"
#include "gpu/fan_acoustic_file.h"
#include "plugin_frame/value_set.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using gpu::FanPoint;
using VelmorValueSet::ValueSet;

TEST(FanKeysTest, indices_are_plain_decimal_after_the_fan_and_the_field) {
    EXPECT_EQ(gpu::kCpuFanKeys.Count(), "CPU.Count");
    EXPECT_EQ(gpu::kCpuFanKeys.Rpm(0), "CPU.RPM0");
    EXPECT_EQ(gpu::kCpuFanKeys.Level(10), "CPU.SPL10");
    EXPECT_EQ(gpu::kGpuFanKeys.Count(), "GPU.Count");
    EXPECT_EQ(gpu::kGpuFanKeys.Rpm(1), "GPU.RPM1");
    EXPECT_EQ(gpu::kGpuFanKeys.Level(123), "GPU.SPL123");
}

TEST(FanAcousticFileTest, the_header_is_the_vector_and_version_1) {
    const std::vector<uint8_t> vector(16, 0xAB);
    const std::vector<uint8_t> ciphertext{1, 2, 3};
    const std::vector<uint8_t> file = gpu::FanAcousticFile(vector, ciphertext);
    ASSERT_EQ(file.size(), 20u);
    EXPECT_EQ(file[15], 0xAB);
    EXPECT_EQ(file[16], 1);
    const auto read = gpu::FanAcousticCiphertext(file, vector);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(std::vector<uint8_t>(read->begin(), read->end()), ciphertext);
}

TEST(FanAcousticFileTest, a_header_alone_has_an_empty_ciphertext_and_less_is_no_file) {
    const std::vector<uint8_t> vector(16, 0xAB);
    std::vector<uint8_t> file = gpu::FanAcousticFile(vector, {});
    EXPECT_TRUE(gpu::FanAcousticCiphertext(file, vector)->empty());
    file.pop_back();
    EXPECT_EQ(gpu::FanAcousticCiphertext(file, vector), std::nullopt);
}

TEST(FanCurvesTest, written_points_read_back_in_both_curves_with_the_zero_point) {
    const std::vector<FanPoint> cpu{{1000, 20.0}, {2000, 30.5}};
    const std::vector<FanPoint> gpu{{0, 4.0}, {3000, 41.0}};
    const auto curves = gpu::ReadFanCurves(gpu::WriteFanPoints(cpu, gpu));
    ASSERT_TRUE(curves.has_value());
    EXPECT_EQ(curves->Cpu, (gpu::FanCurve{{0, 0.0}, {1000, 20.0}, {2000, 30.5}}));
    EXPECT_EQ(curves->Gpu, (gpu::FanCurve{{0, 4.0}, {3000, 41.0}}));
}

TEST(FanCurvesTest, written_points_use_the_file_keys_and_kinds) {
    const std::vector<FanPoint> cpu{{1000, 20.0}};
    const std::vector<uint8_t> body = gpu::WriteFanPoints(cpu, {});
    ValueSet set;
    ASSERT_TRUE(set.Read(body.data(), static_cast<uint32_t>(body.size())));
    EXPECT_EQ(set.Count(), 4u);
    EXPECT_EQ(set.Find("CPU.Count")->GetKind(), VelmorValueSet::Kind::Int32);
    EXPECT_EQ(set.GetInt32("CPU.Count"), 1);
    EXPECT_EQ(set.Find("CPU.RPM0")->GetKind(), VelmorValueSet::Kind::Int32);
    EXPECT_EQ(set.GetInt32("CPU.RPM0"), 1000);
    EXPECT_EQ(set.Find("CPU.SPL0")->GetKind(), VelmorValueSet::Kind::Double);
    EXPECT_EQ(set.GetDouble("CPU.SPL0"), 20.0);
    EXPECT_EQ(set.GetInt32("GPU.Count"), 0);
    EXPECT_TRUE(set.Contains("GPU.Count"));
}

TEST(FanCurvesTest, a_body_that_does_not_read_gives_no_curves) {
    const std::vector<uint8_t> body{3, 'C', 'P', 'U', 8, 0, 0, 0, 0};
    EXPECT_EQ(gpu::ReadFanCurves(body), std::nullopt);
}

TEST(FanCurvesTest, an_index_with_a_leading_zero_or_sign_is_not_a_point) {
    ValueSet set;
    set.SetInt32("CPU.Count", 2);
    set.SetInt32("CPU.RPM01", 1000);
    set.SetInt32("CPU.RPM+1", 1000);
    set.SetInt32("CPU.RPM1", 500);
    set.SetDouble("CPU.SPL1", 5.0);
    set.SetDouble("CPU.SPL00", 6.0);
    const auto curves = gpu::ReadFanCurves(test::BodyOf(set));
    ASSERT_TRUE(curves.has_value());
    EXPECT_EQ(curves->Cpu, (gpu::FanCurve{{0, 0.0}, {500, 5.0}}));
}

// Bodies of a few indices with any mix of present, missing and mistyped keys and counts below,
// at and above the stored indices: the reader gives what reading every index gives.
TEST(FanCurvesTest, the_reader_agrees_with_reading_every_index_up_to_the_count) {
    std::mt19937 random(54);
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const int32_t rpms[] = {0, 0, 500, 1000, -300, 1000};
    for (int round = 0; round < 3000; ++round) {
        ValueSet set;
        for (const auto& keys : {gpu::kCpuFanKeys, gpu::kGpuFanKeys}) {
            if (pick(8) != 0) {
                set.SetInt32(keys.Count(), pick(12) - 2);
            }
            for (int32_t index = 0; index < 10; ++index) {
                switch (pick(4)) {
                case 0:
                    set.SetInt32(keys.Rpm(index), rpms[pick(6)]);
                    break;
                case 1:
                    set.SetDouble(keys.Rpm(index), 700.0);
                    break;
                default:
                    break;
                }
                switch (pick(4)) {
                case 0:
                    set.SetDouble(keys.Level(index), pick(100) / 4.0);
                    break;
                case 1:
                    set.SetInt32(keys.Level(index), 9);
                    break;
                default:
                    break;
                }
            }
        }
        const auto curves = gpu::ReadFanCurves(test::BodyOf(set));
        ASSERT_TRUE(curves.has_value());
        ASSERT_TRUE(test::SameCurve(curves->Cpu, test::ReferenceFanCurve(set, gpu::kCpuFanKeys)))
            << round;
        ASSERT_TRUE(test::SameCurve(curves->Gpu, test::ReferenceFanCurve(set, gpu::kGpuFanKeys)))
            << round;
    }
}

} // namespace
