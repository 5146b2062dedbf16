#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace ports {

// What calling an SDK entry gave. The entry is looked up by name at every call; when the module
// lacks it, Found is false and LookupError holds the system error of the failed lookup.
struct SdkAnswer {
    bool Found = false;
    int32_t Result = 0;
    uint32_t LookupError = 0;
};

// A loaded build of AMD's Ryzen SDK. Destroying it frees the library.
class AmdSdkModule {
public:
    virtual ~AmdSdkModule() = default;

    virtual SdkAnswer AMDSDK_Init() = 0;
    virtual SdkAnswer AMDSDK_Uninit() = 0;
    virtual SdkAnswer NumberOFPhysicalCPU() = 0;
    // megahertz starts as the caller set it and holds what the SDK wrote.
    virtual SdkAnswer GetMemoryFrequency(uint32_t& megahertz) = 0;
    // Fills the status block for coreCount cores.
    virtual SdkAnswer GetCPUStatus(uint32_t coreCount, std::span<uint8_t> statusBlock) = 0;
};

// The module, or the system error of loading it.
struct LoadedAmdSdk {
    std::unique_ptr<AmdSdkModule> Module;
    uint32_t Error = 0;
};

// Loads an SDK build by its path relative to the plug-in's folder, so that the library's own
// dependencies are found beside it (and in System32, nowhere else).
class AmdSdkLibraries {
public:
    virtual ~AmdSdkLibraries() = default;

    virtual LoadedAmdSdk Load(const std::u16string& relativePath) = 0;
};

} // namespace ports
