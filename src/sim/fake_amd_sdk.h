#pragma once

#include "ports/amd_sdk.h"
#include "sim/scripted_library.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct AmdSdkAnswers {
    // Files that load, by their path relative to the plug-in's folder.
    std::vector<std::u16string> Files;
    std::optional<int32_t> Init = 0;
    std::optional<int32_t> Uninit = 0;
    std::optional<int32_t> PhysicalCores = 8;
    std::optional<uint32_t> MemoryFrequency = 0;
    // GetCPUStatus's result; nullopt when the build lacks it.
    std::optional<int32_t> Status = 0;
    std::vector<uint8_t> StatusImage;
};
struct AmdSdkCalls {
    std::vector<std::u16string> Loads;
    int Freed = 0;
    int Init = 0;
    int Uninit = 0;
    std::vector<uint32_t> StatusCoreCounts;
    // The block as the SDK found it at its last GetCPUStatus.
    std::vector<uint8_t> BlockSeen;
};

// The AMD SDK builds of a simulated laptop. Each entry answers what the test set; an empty
// optional is an entry the build lacks. The status the SDK reports is a byte image copied into the
// caller's block.
class FakeAmdSdk final : public ports::AmdSdkLibraries,
                         public ScriptedLibrary<AmdSdkAnswers, AmdSdkCalls> {
public:
    // ERROR_PROC_NOT_FOUND and ERROR_MOD_NOT_FOUND, as the system reports them.
    static constexpr uint32_t kEntryMissing = 127;
    static constexpr uint32_t kFileMissing = 126;

    ports::LoadedAmdSdk Load(const std::u16string& relativePath) override {
        std::lock_guard lock(state_->mutex);
        state_->calls.Loads.push_back(relativePath);
        const auto& files = state_->answers.Files;
        if (std::find(files.begin(), files.end(), relativePath) == files.end()) {
            return {nullptr, kFileMissing};
        }
        return {std::make_unique<Module>(state_)};
    }

private:
    class Module final : public ports::AmdSdkModule {
    public:
        explicit Module(std::shared_ptr<State> state) : state_(std::move(state)) {}
        ~Module() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.Freed;
        }
        ports::SdkAnswer AMDSDK_Init() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.Init;
            return Answer(state_->answers.Init);
        }
        ports::SdkAnswer AMDSDK_Uninit() override {
            std::lock_guard lock(state_->mutex);
            ++state_->calls.Uninit;
            return Answer(state_->answers.Uninit);
        }
        ports::SdkAnswer NumberOFPhysicalCPU() override {
            std::lock_guard lock(state_->mutex);
            return Answer(state_->answers.PhysicalCores);
        }
        ports::SdkAnswer GetMemoryFrequency(uint32_t& megahertz) override {
            std::lock_guard lock(state_->mutex);
            if (!state_->answers.MemoryFrequency) {
                return Answer(std::nullopt);
            }
            megahertz = *state_->answers.MemoryFrequency;
            return Answer(0);
        }
        ports::SdkAnswer GetCPUStatus(uint32_t coreCount, std::span<uint8_t> block) override {
            std::lock_guard lock(state_->mutex);
            if (!state_->answers.Status) {
                return Answer(std::nullopt);
            }
            state_->calls.StatusCoreCounts.push_back(coreCount);
            state_->calls.BlockSeen.assign(block.begin(), block.end());
            const auto& image = state_->answers.StatusImage;
            std::copy_n(image.begin(), std::min(image.size(), block.size()), block.begin());
            return Answer(state_->answers.Status);
        }

    private:
        static ports::SdkAnswer Answer(std::optional<int32_t> result) {
            if (!result) {
                return {false, 0, kEntryMissing};
            }
            return {true, *result, 0};
        }

        std::shared_ptr<State> state_;
    };
};

} // namespace sim
