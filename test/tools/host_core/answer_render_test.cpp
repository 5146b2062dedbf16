#include "host_core/answer_render.h"

#include <cmath>
#include <gtest/gtest.h>

namespace orvex_host {
namespace {

#define CELSIUS                                                                                    \
    "\xC2\xB0"                                                                                     \
    "C"

Tree MonitorAnswer() {
    return Tree{
        {"Command", Value::Int32(1)},
        {"Core0", Value::Map(Tree{{"ProcessorFrequency", Value::Int32(3200)},
                                  {"Temprature", Value::Int32(61)},
                                  {"Usage", Value::Double(12.5)}})},
        {"CPUFanSpeed", Value::Int32(2400)},
        {"GPUState", Value::Wide(L"1")},
        {"MaxCPUTemprature", Value::Int32(100)},
    };
}

TEST(AnswerTable, lists_keys_in_order_with_values_and_units_and_nested_maps_indented) {
    EXPECT_EQ(RenderTable("Snapshot", MonitorAnswer()), "Snapshot\n"
                                                        "--------\n"
                                                        "CPUFanSpeed           2400 rpm\n"
                                                        "Command               1\n"
                                                        "Core0\n"
                                                        "  ProcessorFrequency  3200 MHz\n"
                                                        "  Temprature          61   " CELSIUS "\n"
                                                        "  Usage               12.5 %\n"
                                                        "GPUState              1\n"
                                                        "MaxCPUTemprature      100  " CELSIUS "\n");
}

TEST(AnswerTable, adapter_keys_carry_the_adapter_units) {
    const Tree answer{{"Adapter1", Value::Map(Tree{{"MemoryFrequency", Value::Int32(7000)},
                                                   {"Voltage", Value::Double(850)}})}};
    EXPECT_EQ(RenderTable("", answer), "Adapter1\n"
                                       "  MemoryFrequency  7000 MHz\n"
                                       "  Voltage          850  mV\n");
}

TEST(AnswerValues, every_kind_has_its_text) {
    EXPECT_EQ(ValueText(Value::Boolean(true)), "true");
    EXPECT_EQ(ValueText(Value::Int32(-5)), "-5");
    EXPECT_EQ(ValueText(Value::UInt32(4000000000u)), "4000000000");
    EXPECT_EQ(ValueText(Value::Int64(static_cast<uint64_t>(-2))), "-2");
    EXPECT_EQ(ValueText(Value::Double(0.1)), "0.1");
    EXPECT_EQ(ValueText(Value::Block(std::vector<uint8_t>(80))), "80 bytes");
    EXPECT_EQ(ValueText(Value::Raw(9, {1, 2})), "");
}

TEST(AnswerValues, a_wide_string_with_its_terminator_prints_without_it) {
    const std::wstring counted(L"Intel(R) Core(TM) i7\0", 21);
    EXPECT_EQ(ValueText(Value::Wide(counted)), "Intel(R) Core(TM) i7");
}

TEST(AnswerValues, wide_text_becomes_utf8) {
    EXPECT_EQ(Utf8(L"55\u00B0C \u20AC"), "55\xC2\xB0"
                                         "C \xE2\x82\xAC");
    EXPECT_EQ(ValueText(Value::Wide(L"\U0001F600")), "\xF0\x9F\x98\x80");
}

TEST(AnswerJson, nests_maps_and_writes_each_kind) {
    EXPECT_EQ(RenderJson(MonitorAnswer()),
              "{\"CPUFanSpeed\": 2400, \"Command\": 1, \"Core0\": {\"ProcessorFrequency\": 3200, "
              "\"Temprature\": 61, \"Usage\": 12.5}, \"GPUState\": \"1\", "
              "\"MaxCPUTemprature\": 100}");
}

TEST(AnswerJson, nan_and_infinity_are_null_and_blocks_give_their_size) {
    const Tree answer{{"Max", Value::Double(std::nan(""))},
                      {"Page", Value::Block(std::vector<uint8_t>(3))},
                      {"Top", Value::Double(INFINITY)},
                      {"Yes", Value::Boolean(false)},
                      {"Odd", Value::Raw(9, {})}};
    EXPECT_EQ(RenderJson(answer),
              "{\"Max\": null, \"Odd\": null, \"Page\": {\"bytes\": 3}, \"Top\": null, "
              "\"Yes\": false}");
}

TEST(AnswerJson, strings_escape_quotes_backslashes_and_control_characters) {
    EXPECT_EQ(JsonString("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\u000A\\u0001\"");
    EXPECT_EQ(RenderJson(Tree{{"Name", Value::Wide(L"15\" \\ \u00B0")}}),
              "{\"Name\": \"15\\\" \\\\ \xC2\xB0\"}");
}

TEST(AnswerJson, an_empty_answer_is_an_empty_object) {
    EXPECT_EQ(RenderJson(Tree{}), "{}");
}

} // namespace
} // namespace orvex_host
