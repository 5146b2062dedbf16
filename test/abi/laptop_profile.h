#pragma once
// What a laptop profile of profiles/ says the machine is, and from it what MonitorPlugin.dll must
// answer on that machine under Wine. Every expected value is worked out from the profile's files
// (its scenario, fan acoustic table and GPU clock table) the way the plug-in reads them; only the
// memory clock comes from the machine itself (WMI), because Wine answers it.
#include "host/test_host.h"
#include "host_core/host_profile.h"
#include "scenario_file.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace abi_test {

class LaptopProfile {
public:
    explicit LaptopProfile(const std::string& name);

    const std::string& Name() const { return m_name; }
    // The folder where the profile was placed beside a copy of MonitorPlugin.dll.
    std::wstring PluginFolder() const;
    const orvex_host::HostProfile& Host() const { return m_host; }
    // What the host answers the plug-in's query for name ("ProductLine", "ModelName", ...).
    test_host::Tree QueryAnswer(const std::wstring& name) const;

    int32_t CpuVendor() const;
    bool HasFanTable() const { return m_fanTable.has_value(); }

    // Answers to commands 1 and 2; command 1 as after a command 2 (which loads the GPU clocks).
    test_host::Tree Snapshot(uint32_t memoryClock) const;
    test_host::Tree DeviceInformation() const;
    // The maxima of command 17's record items, in item order.
    std::array<double, 10> RecordMaxima() const;
    // A recorded round: the ten items the sampler takes from commands 1 and 3.
    std::array<double, 10> RecordedRound() const;

    // A value of the helper library's section.
    int64_t Helper(const std::string& key, int64_t otherwise) const;
    // Firmware readings through the helper library, as the plug-in accepts them.
    uint32_t CpuFanRpm() const;
    uint32_t GpuFanRpm() const;

private:
    double HelperDouble(const std::string& key) const;
    int64_t Adapter(const std::string& key) const;
    int64_t Sdk(const std::string& key, int64_t otherwise) const;
    double Xtu(const std::string& key) const;
    std::optional<uint32_t> Dsts(uint32_t device) const;
    std::optional<uint16_t> FirmwareReading(uint32_t device) const;
    bool AdapterReadable() const;
    double FanLevel(const char* fan, uint32_t rpm) const;
    void AddCpuKeys(test_host::Tree& answer, uint32_t memoryClock) const;
    void AddGpuKeys(test_host::Tree& answer) const;
    std::array<int32_t, 6> GpuClocks() const;
    // Core 0's clock, temperature and usage as command 1 answers them.
    std::array<double, 3> CoreReadings() const;

    std::string m_name;
    standin::Scenario m_machine;
    std::optional<standin::Scenario> m_fanTable;
    std::optional<standin::Scenario> m_clockTable;
    orvex_host::HostProfile m_host;
};

} // namespace abi_test
