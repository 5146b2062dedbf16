#pragma once

#include "cpu/amd_cpu_monitor.h"
#include "cpu/cpu_readings.h"
#include "cpu/fan_acoustic_lookup.h"
#include "plugin_frame/value_set.h"
#include "sim/fake_amd_sdk.h"
#include "sim/fake_ryzen_master.h"
#include "sim/forwarding_kernel_objects.h"
#include "sim/memory_files.h"
#include "sim/native_kernel_objects.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// The CPU info reader as the builders see it, answering what the test set.
class FakeCpuReadings final : public cpu::CpuReadings {
public:
    double Frequency = 2400.0;
    double Utilization = 35.0;
    uint16_t Temperature = 45;
    double Voltage = 950.0;
    bool VoltageSupported = true;
    uint32_t MemoryClock = 4800;
    int CollectCalls = 0;

    bool CollectQueryData() override {
        ++CollectCalls;
        return true;
    }
    double GetFrequency() override { return Frequency; }
    double GetUtilization() override { return Utilization; }
    uint16_t GetTemperature() override { return Temperature; }
    double GetVoltage() override { return Voltage; }
    bool IsVoltageSupported(bool) override { return VoltageSupported; }
    uint32_t GetMemoryClockSpeed() override { return MemoryClock; }
};

// The fan acoustic table: loaded or not, answering one level and remembering what it was asked.
class FakeFanAcoustic final : public cpu::FanAcousticLookup {
public:
    bool Loaded = false;
    double Level = 0.0;
    std::vector<std::pair<int32_t, int32_t>> Lookups; // (fan, rpm)

    bool IsLoaded() const override { return Loaded; }
    int32_t Lookup(int32_t fan, int32_t rpm, double& level) override {
        Lookups.emplace_back(fan, rpm);
        level = Level;
        return 1;
    }
};

// The AMD side of a simulated laptop, as the AMD monitor reaches it.
struct AmdMachine {
    cpu::AmdCpuMonitorPorts Ports(BaseOrvexPlugin& plugin, cpu::SignatureCheck isVelmorSigned) {
        return {plugin,  sdk,      cpuid,
                devices, registry, files,
                files,   acoustic, std::move(isVelmorSigned)};
    }
    static bool Signed(const std::u16string&) { return true; }

    sim::FakeAmdSdk sdk;
    sim::FakeCpuid cpuid;
    sim::FakeSystemDevices devices;
    sim::MemoryRegistry registry;
    sim::MemoryFiles files;
    FakeFanAcoustic acoustic;
};

// Native kernel objects whose Sleep only records how long it was asked to sleep.
class SleepRecordingKernel final : public sim::ForwardingKernelObjects {
public:
    SleepRecordingKernel() : ForwardingKernelObjects(native_) {}

    void Sleep(uint32_t milliseconds) override {
        std::lock_guard lock(mutex_);
        sleeps_.push_back(milliseconds);
    }

    std::vector<uint32_t> Sleeps() const {
        std::lock_guard lock(mutex_);
        return sleeps_;
    }

private:
    sim::NativeKernelObjects native_;
    mutable std::mutex mutex_;
    std::vector<uint32_t> sleeps_;
};

// The keys of a value set in their order.
inline std::vector<std::string> KeysOf(const VelmorValueSet::ValueSet& set) {
    std::vector<std::string> keys;
    for (const auto& entry : set) {
        keys.emplace_back(std::string_view(entry.key));
    }
    return keys;
}

// The answer's "Core0" map; an empty one (and a failed expectation) when it is missing.
inline const VelmorValueSet::ValueSet& Core0Of(const VelmorValueSet::ValueSet& answer) {
    static const VelmorValueSet::ValueSet empty;
    const VelmorValueSet::ValueSet* core = answer.FindMap("Core0");
    EXPECT_NE(core, nullptr);
    return core != nullptr ? *core : empty;
}

inline VelmorValueSet::Kind KindOf(const VelmorValueSet::ValueSet& set, std::string_view key) {
    const auto* value = set.Find(key);
    return value == nullptr ? VelmorValueSet::Kind::None : value->GetKind();
}
