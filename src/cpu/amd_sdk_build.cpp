#include "cpu/amd_sdk_build.h"

#include <algorithm>

namespace cpu {
namespace {

constexpr char16_t kDriverHardwareId[] = u"AMDRMDRIVER";
constexpr char16_t kDriverClassKey[] = u"SYSTEM\\CurrentControlSet\\Control\\Class\\";
constexpr char16_t kDriverVersionValue[] = u"DriverVersion";
// The version buffer holds 260 characters with its terminator.
constexpr std::size_t kVersionCapacity = 259;
constexpr char16_t kFirstVersionOfBuild16[] = u"1.6.0.0";

char16_t FoldCase(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

} // namespace

RyzenMasterDriver GetRyzenMasterDriverVersion(ports::SystemDevices& devices,
                                              ports::MachineRegistry& registry) {
    RyzenMasterDriver driver;
    const auto driverKey = devices.FindDriverKey(kDriverHardwareId);
    if (!driverKey) {
        return driver;
    }
    driver.Found = true;
    if (auto version = registry.ReadString(kDriverClassKey + *driverKey, kDriverVersionValue)) {
        version->resize(std::min(version->size(), kVersionCapacity));
        driver.Version = std::move(*version);
    }
    return driver;
}

bool IsOldRyzenPart(ports::Cpuid& cpuid) {
    const ports::CpuidRegisters registers = cpuid.Read(0x80000001);
    const bool packageType0 = (registers.Ebx >> 28) == 0;
    return packageType0 && (registers.Eax == 0x00810F80 || registers.Eax == 0x00810F81);
}

bool TextLessIgnoringCase(std::u16string_view a, std::u16string_view b) {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](char16_t x, char16_t y) { return FoldCase(x) < FoldCase(y); });
}

AmdSdkBuild ChooseAmdSdkBuild(int32_t productLine, bool oldPart, ports::SystemDevices& devices,
                              ports::MachineRegistry& registry) {
    if (productLine != 2 && productLine != 32 && oldPart) {
        return kRyzenSdk13;
    }
    const RyzenMasterDriver driver = GetRyzenMasterDriverVersion(devices, registry);
    if (driver.Found && TextLessIgnoringCase(driver.Version, kFirstVersionOfBuild16)) {
        return kRyzenSdk15;
    }
    return kRyzenSdk16;
}

} // namespace cpu
