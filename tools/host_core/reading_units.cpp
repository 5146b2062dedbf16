#include "host_core/reading_units.h"

#include <array>
#include <cctype>
#include <utility>

namespace orvex_host {
namespace {

constexpr std::string_view kCelsius = "\xC2\xB0"
                                      "C";

// Readings of commands 1 and 3. Sizes of memory and disk are in whatever the maker's helper
// library measures them in, so their gauges carry no unit suffix and no scaling.
constexpr std::array kReadings = {
    Reading{"ProcessorFrequency", "Core", "MHz", "orvex_cpu_frequency_hertz",
            "Processor clock of the CPU core.", 1e6},
    Reading{"Temprature", "Core", kCelsius, "orvex_cpu_temperature_celsius",
            "Temperature of the CPU core.", 1.0},
    Reading{"Usage", "Core", "%", "orvex_cpu_usage_ratio", "Utilisation of the CPU core.", 0.01},
    Reading{"Voltage", "Core", "mV", "orvex_cpu_voltage_volts", "Voltage of the CPU core.", 0.001},
    Reading{"CPUMemoryFrequency", "", "MHz", "orvex_cpu_memory_frequency_hertz", "Memory clock.",
            1e6},
    Reading{"CPUFanSpeed", "", "rpm", "orvex_cpu_fan_speed_rpm", "Speed of the CPU fan.", 1.0},
    Reading{"CPUFanAcoustic", "", "dB", "orvex_cpu_fan_acoustic_decibels",
            "Sound pressure level of the CPU fan at its speed.", 1.0},
    Reading{"ProcessorFrequency", "Adapter", "MHz", "orvex_gpu_frequency_hertz",
            "Processor clock of the graphics adapter.", 1e6},
    Reading{"MemoryFrequency", "Adapter", "MHz", "orvex_gpu_memory_frequency_hertz",
            "Memory clock of the graphics adapter.", 1e6},
    Reading{"Temprature", "Adapter", kCelsius, "orvex_gpu_temperature_celsius",
            "Temperature of the graphics adapter.", 1.0},
    Reading{"Usage", "Adapter", "%", "orvex_gpu_usage_ratio",
            "Utilisation of the graphics adapter.", 0.01},
    Reading{"Voltage", "Adapter", "mV", "orvex_gpu_voltage_volts",
            "Voltage of the graphics adapter.", 0.001},
    Reading{"GPUFanSpeed", "", "rpm", "orvex_gpu_fan_speed_rpm", "Speed of the GPU fan.", 1.0},
    Reading{"GPUFanAcoustic", "", "dB", "orvex_gpu_fan_acoustic_decibels",
            "Sound pressure level of the GPU fan at its speed.", 1.0},
    Reading{"EGPUFanSpeed", "", "rpm", "orvex_egpu_fan_speed_rpm",
            "Speed of the external GPU dock's fan.", 1.0},
    Reading{"GPUTGP", "", "W", "orvex_gpu_total_graphics_power_watts",
            "Total graphics power the firmware reports.", 1.0},
    Reading{"TotalMemorySize", "", "", "orvex_memory_total",
            "Total memory, in the maker helper library's unit.", 1.0},
    Reading{"AvailableMemorySize", "", "", "orvex_memory_available",
            "Available memory, in the maker helper library's unit.", 1.0},
    Reading{"TotalDiskSize", "", "", "orvex_disk_total",
            "Total disk size, in the maker helper library's unit.", 1.0},
    Reading{"AvailableDiskSize", "", "", "orvex_disk_available",
            "Available disk size, in the maker helper library's unit.", 1.0},
    Reading{"DiskActiveTimeCounter", "", "%", "orvex_disk_active_time_ratio",
            "Share of time the disks were busy.", 0.01},
    Reading{"DiskReadSpeedCounter", "", "kB/s", "orvex_disk_read_bytes_per_second",
            "Bytes read from the disks per second.", 1000.0},
    Reading{"DiskWriteSpeedCounter", "", "kB/s", "orvex_disk_write_bytes_per_second",
            "Bytes written to the disks per second.", 1000.0},
};

// Gauge maxima the user interface scales its dials with: shown with their unit, not exported.
constexpr std::array<std::pair<std::string_view, std::string_view>, 14> kMaximumUnits = {{
    {"MaxCPUProcessorFreq", "MHz"},
    {"MaxCPUMemoryFreq", "MHz"},
    {"MaxCPUVoltage", "mV"},
    {"MaxCPUTemprature", kCelsius},
    {"MaxCPUUsage", "%"},
    {"MaxCPUFanSpeed", "rpm"},
    {"MaxGPUProcessorFreq", "MHz"},
    {"MaxGPUMemoryFreq", "MHz"},
    {"MaxGPUVoltage", "mV"},
    {"MaxGPUTemprature", kCelsius},
    {"MaxGPUUsage", "%"},
    {"MaxGPUFanSpeed", "rpm"},
    {"DiskActiveTimeMax", "%"},
    {"EGPUFanAcoustic", "dB"},
}};

} // namespace

const Reading* FindReading(std::string_view node, std::string_view key) {
    for (const Reading& reading : kReadings) {
        if (reading.node == node && reading.key == key) {
            return &reading;
        }
    }
    return nullptr;
}

std::string_view UnitOf(std::string_view node, std::string_view key) {
    if (const Reading* reading = FindReading(node, key)) {
        return reading->unit;
    }
    for (const auto& [name, unit] : kMaximumUnits) {
        if (node.empty() && name == key) {
            return unit;
        }
    }
    return {};
}

std::pair<std::string_view, std::string_view> SplitIndexedNode(std::string_view name) {
    size_t digits = name.size();
    while (digits > 0 && std::isdigit(static_cast<unsigned char>(name[digits - 1])) != 0) {
        --digits;
    }
    return {name.substr(0, digits), name.substr(digits)};
}

} // namespace orvex_host
