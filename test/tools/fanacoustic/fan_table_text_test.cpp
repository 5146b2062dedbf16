#include "fanacoustic/fan_table_text.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using gpu::FanCurve;

std::vector<std::pair<int32_t, double>> Pairs(const std::vector<gpu::FanPoint>& points) {
    std::vector<std::pair<int32_t, double>> pairs;
    for (const auto& point : points) {
        pairs.emplace_back(point.Rpm, point.Level);
    }
    return pairs;
}

using PairList = std::vector<std::pair<int32_t, double>>;

TEST(FanTableIniTest, sections_name_the_fan_and_lines_are_points_in_their_order) {
    const FanTableParse parsed = ParseFanTableIni("; levels of the GX550\r\n"
                                                  "[CPU]\r\n"
                                                  "2000 = 30.5\r\n"
                                                  "  1000=20  \r\n"
                                                  "# the GPU fan\n"
                                                  "\n"
                                                  "[ gpu ]\n"
                                                  "-5 = 1e1\n"
                                                  "[CPU]\n"
                                                  "2000 = 31");
    ASSERT_TRUE(parsed.Table) << parsed.Error;
    EXPECT_EQ(Pairs(parsed.Table->Cpu), (PairList{{2000, 30.5}, {1000, 20.0}, {2000, 31.0}}));
    EXPECT_EQ(Pairs(parsed.Table->Gpu), (PairList{{-5, 10.0}}));
}

TEST(FanTableIniTest, an_empty_text_is_a_table_without_points) {
    const FanTableParse parsed = ParseFanTableIni("");
    ASSERT_TRUE(parsed.Table);
    EXPECT_TRUE(parsed.Table->Cpu.empty());
    EXPECT_TRUE(parsed.Table->Gpu.empty());
}

TEST(FanTableIniTest, a_bad_line_is_named_by_its_number) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"1000 = 20\n", "line 1: a point before [CPU] or [GPU]"},
        {"[CPU]\n[FAN]\n", "line 2: expected the section [CPU] or [GPU]"},
        {"[CPU\n", "line 1: expected the section [CPU] or [GPU]"},
        {"[CPU]\n\n1000\n",
         "line 3: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n1000 = \n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n1000.5 = 3\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n2147483648 = 3\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n+5 = 3\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n5 = nan\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n5 = inf\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n5 = 1e999\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
        {"[CPU]\n5 = 3 dB\n",
         "line 2: expected \"rpm = level\" (a 32-bit integer and a finite number)"},
    };
    for (const auto& [text, error] : cases) {
        const FanTableParse parsed = ParseFanTableIni(text);
        EXPECT_FALSE(parsed.Table) << text;
        EXPECT_EQ(parsed.Error, error) << text;
    }
}

TEST(FanTableJsonTest, fans_hold_lists_of_points_in_their_order) {
    const FanTableParse parsed = ParseFanTableJson(R"( {
        "GPU": [{"level": 25, "rpm": 1500}],
        "CPU": [{"rpm": 2000, "level": 30.5}, {"rpm": 1000, "level": 2e1},
                {"rpm": -7, "level": -0.25}, {"rpm": 1e3, "level": 1}]
    } )");
    ASSERT_TRUE(parsed.Table) << parsed.Error;
    EXPECT_EQ(Pairs(parsed.Table->Cpu),
              (PairList{{2000, 30.5}, {1000, 20.0}, {-7, -0.25}, {1000, 1.0}}));
    EXPECT_EQ(Pairs(parsed.Table->Gpu), (PairList{{1500, 25.0}}));
}

TEST(FanTableJsonTest, an_empty_object_or_empty_lists_have_no_points) {
    for (const std::string_view text : {"{}", R"({"CPU": [], "GPU": []})"}) {
        const FanTableParse parsed = ParseFanTableJson(text);
        ASSERT_TRUE(parsed.Table) << text;
        EXPECT_TRUE(parsed.Table->Cpu.empty());
        EXPECT_TRUE(parsed.Table->Gpu.empty());
    }
}

TEST(FanTableJsonTest, a_bad_table_is_refused_with_the_line_and_the_reason) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"", "line 1: expected \"{\""},
        {"[]", "line 1: expected \"{\""},
        {"{\n\"FAN\": []}", "line 2: unknown fan \"FAN\" (CPU or GPU)"},
        {"{\"cpu\": []}", "line 1: unknown fan \"cpu\" (CPU or GPU)"},
        {"{\"CPU\" []}", "line 1: expected a fan name and \":\""},
        {"{\"CPU\": {}}", "line 1: expected \"[\" and a list of points"},
        {"{\"CPU\": [{\"rpm\": 1}]}", "line 1: a point needs both rpm and level"},
        {"{\"CPU\": [{\"rpm\": 1.5, \"level\": 1}]}", "line 1: rpm is not a 32-bit integer"},
        {"{\"CPU\": [{\"rpm\": 3e9, \"level\": 1}]}", "line 1: rpm is not a 32-bit integer"},
        {"{\"CPU\": [{\"rpm\": \"1\", \"level\": 1}]}", "line 1: rpm is not a 32-bit integer"},
        {"{\"CPU\": [{\"rpm\": 1, \"level\": null}]}", "line 1: level is not a finite number"},
        {"{\"CPU\": [{\"rpm\": 1, \"level\": 1e999}]}", "line 1: level is not a finite number"},
        {"{\"CPU\": [{\"rpm\": 1, \"dB\": 1}]}", "line 1: unknown field \"dB\" (rpm or level)"},
        {"{\"CPU\": [{\"rpm\": 1, \"level\": 1},]}",
         "line 1: expected a point {\"rpm\": ..., \"level\": ...}"},
        {"{\"CPU\": [{\"rpm\": 1, \"level\": 1}}", "line 1: expected \",\" or \"]\""},
        {"{\"CPU\": []", "line 1: expected \",\" or \"}\""},
        {"{\"CPU\": []} {}", "line 1: text after the table"},
        {"{\"C\\u0050U\": []}", "line 1: expected a fan name and \":\""},
        {"{\"CPU", "line 1: expected a fan name and \":\""},
    };
    for (const auto& [text, error] : cases) {
        const FanTableParse parsed = ParseFanTableJson(text);
        EXPECT_FALSE(parsed.Table) << text;
        EXPECT_EQ(parsed.Error, error) << text;
    }
}

TEST(FanTableTest, a_text_starting_with_a_brace_is_json_and_any_other_ini) {
    EXPECT_EQ(Pairs(ParseFanTable("  \n{\"CPU\": [{\"rpm\": 1, \"level\": 2}]}").Table->Cpu),
              (PairList{{1, 2.0}}));
    EXPECT_EQ(Pairs(ParseFanTable("[CPU]\n1 = 2\n").Table->Cpu), (PairList{{1, 2.0}}));
}

TEST(FanCurvesTextTest, ini_lists_each_curve_in_rpm_order) {
    const gpu::FanCurves curves{FanCurve{{0, 0.0}, {1000, 20.5}}, FanCurve{{0, 3.0}}};
    EXPECT_EQ(FormatFanCurvesIni(curves),
              "; fan acoustic table: rpm = level, linear between points\n"
              "[CPU]\n"
              "0 = 0\n"
              "1000 = 20.5\n"
              "[GPU]\n"
              "0 = 3\n");
}

TEST(FanCurvesTextTest, json_lists_each_curve_in_rpm_order_with_nan_as_null) {
    const gpu::FanCurves curves{FanCurve{{0, 0.0}, {1000, 20.5}},
                                FanCurve{{0, std::numeric_limits<double>::quiet_NaN()}}};
    EXPECT_EQ(FormatFanCurvesJson(curves), "{\n"
                                           "  \"CPU\": [\n"
                                           "    {\"rpm\": 0, \"level\": 0},\n"
                                           "    {\"rpm\": 1000, \"level\": 20.5}\n"
                                           "  ],\n"
                                           "  \"GPU\": [\n"
                                           "    {\"rpm\": 0, \"level\": null}\n"
                                           "  ]\n"
                                           "}\n");
}

TEST(FanCurvesTextTest, both_forms_read_back_into_the_same_curves) {
    const gpu::FanCurves curves{FanCurve{{-3, 1.0 / 3}, {0, 0.1}, {1000, 20.5}, {7000, 1e-300}},
                                FanCurve{{0, 0.0}, {2147483647, -4.75}}};
    for (const std::string& text : {FormatFanCurvesIni(curves), FormatFanCurvesJson(curves)}) {
        const FanTableParse parsed = ParseFanTable(text);
        ASSERT_TRUE(parsed.Table) << parsed.Error;
        const auto back =
            gpu::ReadFanCurves(gpu::WriteFanPoints(parsed.Table->Cpu, parsed.Table->Gpu));
        ASSERT_TRUE(back);
        EXPECT_EQ(back->Cpu, curves.Cpu);
        EXPECT_EQ(back->Gpu, curves.Gpu);
    }
}

} // namespace
