#pragma once

#include "ports/cpuid.h"
#include "ports/machine_registry.h"
#include "ports/system_devices.h"

#include <cstdint>
#include <string>

namespace cpu {

// A build of AMD's Ryzen SDK: its file, relative to the plug-in's folder, and the line that
// announces it.
struct AmdSdkBuild {
    const char16_t* File;
    const char16_t* LogLine;
};
inline constexpr AmdSdkBuild kRyzenSdk13{u"AMDCPULibrary.dll", u"Use old 1.3 RyzenSDK"};
inline constexpr AmdSdkBuild kRyzenSdk15{u"AMDCPULibraryDT\\AMDCPULibraryDT.dll",
                                         u"Use new 1.5 RyzenSDK"};
inline constexpr AmdSdkBuild kRyzenSdk16{u"AMDCPULibrary_1.6_DT\\AMDCPULibrary_1.6_DT.dll",
                                         u"Use new 1.6 RyzenSDK"};

// The installed Ryzen Master driver: Found when a System device's hardware id names it, and its
// version text ("0" when there is none or it cannot be read), at most 259 characters.
struct RyzenMasterDriver {
    bool Found = false;
    std::u16string Version = u"0";
};
RyzenMasterDriver GetRyzenMasterDriverVersion(ports::SystemDevices& devices,
                                              ports::MachineRegistry& registry);

// An old part: CPUID leaf 0x80000001 gives package type 0 (EBX bits 31..28) and EAX 0x00810F80
// or 0x00810F81.
bool IsOldRyzenPart(ports::Cpuid& cpuid);

// a < b, comparing character by character with ASCII letters folded to lower case, as _wcsicmp
// does in the "C" locale; so "1.10.0.0" sorts before "1.6.0.0".
bool TextLessIgnoringCase(std::u16string_view a, std::u16string_view b);

// The build to load: 1.3 for an old part outside product lines 2 and 32; otherwise 1.5 when a
// Ryzen Master driver older than "1.6.0.0" (as text) is installed, 1.6 in every other case. The
// driver is only looked for when the 1.3 build is not chosen.
AmdSdkBuild ChooseAmdSdkBuild(int32_t productLine, bool oldPart, ports::SystemDevices& devices,
                              ports::MachineRegistry& registry);

} // namespace cpu
