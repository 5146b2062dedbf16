#include "win32/win32_amd_sdk.h"

#include "win32/maker_exports.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <new>

namespace win32 {
namespace {

namespace names = maker::amd_sdk;

using NoArgument = int32_t (*)();
using GetMemoryFrequencyEntry = int32_t (*)(uint32_t* megahertz);
using GetCPUStatusEntry = int32_t (*)(uint32_t coreCount, void* statusBlock);

class Win32AmdSdkModule final : public ports::AmdSdkModule {
public:
    explicit Win32AmdSdkModule(UniqueModule module) : module_(std::move(module)) {}

    ports::SdkAnswer AMDSDK_Init() override { return CallNoArgument(names::kInit); }
    ports::SdkAnswer AMDSDK_Uninit() override { return CallNoArgument(names::kUninit); }
    ports::SdkAnswer NumberOFPhysicalCPU() override {
        return CallNoArgument(names::kNumberOfPhysicalCpu);
    }
    ports::SdkAnswer GetMemoryFrequency(uint32_t& megahertz) override {
        return Call<GetMemoryFrequencyEntry>(names::kGetMemoryFrequency, &megahertz);
    }
    ports::SdkAnswer GetCPUStatus(uint32_t coreCount, std::span<uint8_t> statusBlock) override {
        return Call<GetCPUStatusEntry>(names::kGetCPUStatus, coreCount, statusBlock.data());
    }

private:
    ports::SdkAnswer CallNoArgument(const char* name) { return Call<NoArgument>(name); }

    template <typename Entry, typename... Args>
    ports::SdkAnswer Call(const char* name, Args... args) {
        const auto entry = Resolve<Entry>(module_.get(), name);
        if (entry == nullptr) {
            return {false, 0, ::GetLastError()};
        }
        return {true, entry(args...), 0};
    }

    UniqueModule module_;
};

} // namespace

ports::LoadedAmdSdk Win32AmdSdkLibraries::Load(const std::u16string& relativePath) {
    LoadedLibrary library = LoadBesidePlugin(AsWide(relativePath));
    if (!library.Module) {
        return {nullptr, library.Error};
    }
    ports::LoadedAmdSdk loaded;
    loaded.Module.reset(new (std::nothrow) Win32AmdSdkModule(std::move(library.Module)));
    loaded.Error = loaded.Module ? 0u : static_cast<uint32_t>(ERROR_OUTOFMEMORY);
    return loaded;
}

} // namespace win32
