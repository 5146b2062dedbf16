#pragma once

#include "ports/display_adapters.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

namespace sim {

// The graphics-adapter library of a simulated laptop. Its adapter answers what the test set; the
// test changes the answers between calls, and every device handed out and given back is counted.
class FakeDisplayAdapters final : public ports::DisplayAdapterController {
public:
    struct Adapter {
        uint32_t Vendor = 1;
        uint32_t Type = 1;
        ports::GPUDeviceID Id{0x25A010DE, 0x12345678};
        ports::LibraryCode IdCode = 0;
        ports::GPUBasicInfo Basic;
        ports::LibraryCode BasicCode = 0;
        ports::GPUMaxInfo Max;
        ports::LibraryCode MaxCode = 0;
        ports::GPUCurrentInfo Current;
        ports::LibraryCode CurrentCode = 0;
        uint32_t FanRpm = 0;
        ports::LibraryCode FanCode = 0;
    };
    struct Answers {
        // nullopt: the library lacks the entries (a missing library).
        std::optional<Adapter> Device = Adapter{};
        ports::LibraryCode CreateCode = 0;
        ports::LibraryCode InitializeCode = 0;
    };

    FakeDisplayAdapters() = default;
    explicit FakeDisplayAdapters(Answers answers) : answers_(std::move(answers)) {}

    template <typename Edit>
    void Change(Edit&& change) {
        std::lock_guard lock(mutex_);
        change(answers_);
    }

    int Created() const { return created_; }
    int Destroyed() const { return destroyed_; }
    int Refreshes() const { return refreshes_; }
    void* InitializedOwner() const { return owner_; }
    ChangeCallback InitializedCallback() const { return callback_; }

    std::optional<ports::LibraryCode> Initialize(void* owner, ChangeCallback callback) override;
    std::optional<ports::LibraryCode> Uninitialize(void* owner) override;
    std::optional<ports::LibraryCode> Refresh(uint32_t flags) override;
    std::optional<ports::CreatedDevice> CreateDevice() override;

private:
    class Device;

    std::mutex mutex_;
    Answers answers_;
    std::atomic<int> created_{0};
    std::atomic<int> destroyed_{0};
    std::atomic<int> refreshes_{0};
    std::atomic<void*> owner_{nullptr};
    std::atomic<ChangeCallback> callback_{nullptr};
};

} // namespace sim
