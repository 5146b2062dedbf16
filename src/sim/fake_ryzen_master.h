#pragma once

#include "ports/cpuid.h"
#include "ports/machine_registry.h"
#include "ports/system_devices.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// A processor whose CPUID answers what the test set, leaf by leaf (0 in every register otherwise).
class FakeCpuid final : public ports::Cpuid {
public:
    std::map<uint32_t, ports::CpuidRegisters> Leaves;

    ports::CpuidRegisters Read(uint32_t leaf) override {
        const auto found = Leaves.find(leaf);
        return found == Leaves.end() ? ports::CpuidRegisters{} : found->second;
    }
};

// The System-class devices of a simulated laptop: each with its hardware ids and driver key
// (nullopt when the key cannot be read).
class FakeSystemDevices final : public ports::SystemDevices {
public:
    struct Device {
        std::vector<std::u16string> HardwareIds;
        std::optional<std::u16string> DriverKey;
    };
    std::vector<Device> Devices;
    int Searches = 0;

    std::optional<std::u16string> FindDriverKey(std::u16string_view hardwareIdPart) override {
        ++Searches;
        for (const auto& device : Devices) {
            for (const auto& id : device.HardwareIds) {
                if (id.find(hardwareIdPart) != std::u16string::npos) {
                    return device.DriverKey.value_or(u"");
                }
            }
        }
        return std::nullopt;
    }
};

// String values under HKEY_LOCAL_MACHINE, by (key path, value name).
class MemoryRegistry final : public ports::MachineRegistry {
public:
    std::map<std::pair<std::u16string, std::u16string>, std::u16string> Strings;

    std::optional<std::u16string> ReadString(const std::u16string& path,
                                             const std::u16string& name) override {
        const auto found = Strings.find({path, name});
        if (found == Strings.end()) {
            return std::nullopt;
        }
        return found->second;
    }
};

} // namespace sim
