#include "host_core/prometheus.h"

#include <gtest/gtest.h>

namespace orvex_host {
namespace {

size_t Count(const std::string& text, std::string_view part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Prometheus, each_gauge_has_help_and_type_then_its_sample_in_base_units) {
    const Tree monitor{
        {"Command", Value::Int32(1)},
        {"Core0", Value::Map(Tree{{"ProcessorFrequency", Value::Int32(3200)},
                                  {"Temprature", Value::Int32(61)},
                                  {"Usage", Value::Double(12.5)},
                                  {"Voltage", Value::Double(1050)}})},
        {"CPUFanSpeed", Value::Int32(2400)},
    };
    EXPECT_EQ(RenderPrometheus(monitor, Tree{}),
              "# HELP orvex_cpu_fan_speed_rpm Speed of the CPU fan.\n"
              "# TYPE orvex_cpu_fan_speed_rpm gauge\n"
              "orvex_cpu_fan_speed_rpm 2400\n"
              "# HELP orvex_cpu_frequency_hertz Processor clock of the CPU core.\n"
              "# TYPE orvex_cpu_frequency_hertz gauge\n"
              "orvex_cpu_frequency_hertz{core=\"0\"} 3.2e+09\n"
              "# HELP orvex_cpu_temperature_celsius Temperature of the CPU core.\n"
              "# TYPE orvex_cpu_temperature_celsius gauge\n"
              "orvex_cpu_temperature_celsius{core=\"0\"} 61\n"
              "# HELP orvex_cpu_usage_ratio Utilisation of the CPU core.\n"
              "# TYPE orvex_cpu_usage_ratio gauge\n"
              "orvex_cpu_usage_ratio{core=\"0\"} 0.125\n"
              "# HELP orvex_cpu_voltage_volts Voltage of the CPU core.\n"
              "# TYPE orvex_cpu_voltage_volts gauge\n"
              "orvex_cpu_voltage_volts{core=\"0\"} 1.05\n");
}

TEST(Prometheus, adapters_are_labels_of_one_gauge_with_one_help) {
    const Tree monitor{
        {"Adapter0", Value::Map(Tree{{"Temprature", Value::Int32(50)}})},
        {"Adapter1", Value::Map(Tree{{"Temprature", Value::Int32(70)}})},
    };
    const std::string text = RenderPrometheus(monitor, Tree{});
    EXPECT_EQ(Count(text, "# HELP orvex_gpu_temperature_celsius"), 1u);
    EXPECT_EQ(Count(text, "# TYPE orvex_gpu_temperature_celsius gauge"), 1u);
    EXPECT_NE(text.find("orvex_gpu_temperature_celsius{adapter=\"0\"} 50\n"
                        "orvex_gpu_temperature_celsius{adapter=\"1\"} 70\n"),
              std::string::npos)
        << text;
}

TEST(Prometheus, disk_rates_become_bytes_per_second_and_activity_a_ratio) {
    const Tree disk{{"DiskActiveTimeCounter", Value::Double(25)},
                    {"DiskActiveTimeMax", Value::Double(100)},
                    {"DiskReadSpeedCounter", Value::Double(12)},
                    {"DiskWriteSpeedCounter", Value::Double(0)},
                    {"Result", Value::Int64(0x20)},
                    {"Status", Value::Int64(0)}};
    const std::string text = RenderPrometheus(Tree{}, disk);
    EXPECT_NE(text.find("\norvex_disk_active_time_ratio 0.25\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\norvex_disk_read_bytes_per_second 12000\n"), std::string::npos);
    EXPECT_NE(text.find("\norvex_disk_write_bytes_per_second 0\n"), std::string::npos);
    EXPECT_EQ(text.find("Result"), std::string::npos);
    EXPECT_EQ(text.find("max"), std::string::npos);
    EXPECT_EQ(Count(text, "# TYPE"), 3u);
}

TEST(Prometheus, sizes_in_the_helpers_unit_carry_no_unit_suffix_and_are_not_scaled) {
    const Tree monitor{{"AvailableMemorySize", Value::Double(8123.5)},
                       {"TotalMemorySize", Value::Double(16384)}};
    const std::string text = RenderPrometheus(monitor, Tree{});
    EXPECT_NE(text.find("\norvex_memory_available 8123.5\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\norvex_memory_total 16384\n"), std::string::npos);
}

TEST(Prometheus, keys_that_are_not_readings_and_mistyped_readings_are_left_out) {
    const Tree monitor{{"CPUFanSpeed", Value::Wide(L"fast")},
                       {"GPUFullName", Value::Wide(L"GPU")},
                       {"MaxCPUFanSpeed", Value::Int32(5500)},
                       {"GPUTGP", Value::Int32(80)}};
    EXPECT_EQ(RenderPrometheus(monitor, Tree{}),
              "# HELP orvex_gpu_total_graphics_power_watts Total graphics power the firmware "
              "reports.\n"
              "# TYPE orvex_gpu_total_graphics_power_watts gauge\n"
              "orvex_gpu_total_graphics_power_watts 80\n");
}

TEST(Prometheus, metric_names_are_snake_case_with_the_program_prefix) {
    const Tree monitor{
        {"Adapter0", Value::Map(Tree{{"MemoryFrequency", Value::Int32(1)},
                                     {"ProcessorFrequency", Value::Int32(1)},
                                     {"Usage", Value::Double(1)},
                                     {"Voltage", Value::Double(1)}})},
        {"CPUFanAcoustic", Value::Double(30)},
        {"CPUMemoryFrequency", Value::Int32(1)},
        {"EGPUFanSpeed", Value::Int32(1)},
        {"GPUFanAcoustic", Value::Double(30)},
        {"GPUFanSpeed", Value::Int32(1)},
        {"AvailableDiskSize", Value::Double(1)},
        {"TotalDiskSize", Value::Double(1)},
    };
    const std::string text = RenderPrometheus(monitor, Tree{});
    EXPECT_EQ(Count(text, "# TYPE"), 11u) << text;
    for (size_t at = text.find("# TYPE "); at != std::string::npos;
         at = text.find("# TYPE ", at + 1)) {
        const std::string name = text.substr(at + 7, text.find(' ', at + 7) - at - 7);
        EXPECT_EQ(name.rfind("orvex_", 0), 0u) << name;
        EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos) << name;
    }
}

TEST(Prometheus, empty_answers_give_an_empty_exposition) {
    EXPECT_EQ(RenderPrometheus(Tree{}, Tree{}), "");
}

} // namespace
} // namespace orvex_host
