#include "sim/fake_display_adapters.h"

namespace sim {

// A device answering from the adapter as it was when the device was created.
class FakeDisplayAdapters::Device final : public ports::DisplayAdapterDevice {
public:
    Device(const Adapter& adapter, std::atomic<int>& destroyed)
        : adapter_(adapter), destroyed_(destroyed) {}
    ~Device() override { ++destroyed_; }

    uint32_t GetVendor() override { return adapter_.Vendor; }
    uint32_t GetType() override { return adapter_.Type; }
    ports::LibraryCode GetDeviceID(ports::GPUDeviceID& id) override {
        id = adapter_.Id;
        return adapter_.IdCode;
    }
    ports::LibraryCode GetBasicInfo(ports::GPUBasicInfo& info) override {
        info = adapter_.Basic;
        return adapter_.BasicCode;
    }
    ports::LibraryCode GetMaxInfo(ports::GPUMaxInfo& info) override {
        info = adapter_.Max;
        return adapter_.MaxCode;
    }
    ports::LibraryCode GetCurrentInfo(ports::GPUCurrentInfo& info) override {
        info = adapter_.Current;
        return adapter_.CurrentCode;
    }
    ports::LibraryCode GetFanSpeed(uint32_t& rpm) override {
        rpm = adapter_.FanRpm;
        return adapter_.FanCode;
    }

private:
    Adapter adapter_;
    std::atomic<int>& destroyed_;
};

std::optional<ports::LibraryCode> FakeDisplayAdapters::Initialize(void* owner,
                                                                  ChangeCallback callback) {
    std::lock_guard lock(mutex_);
    if (!answers_.Device) {
        return std::nullopt;
    }
    owner_ = owner;
    callback_ = callback;
    return answers_.InitializeCode;
}

std::optional<ports::LibraryCode> FakeDisplayAdapters::Uninitialize(void* owner) {
    std::lock_guard lock(mutex_);
    if (!answers_.Device) {
        return std::nullopt;
    }
    if (owner_ == owner) {
        owner_ = nullptr;
        callback_ = nullptr;
    }
    return 0;
}

std::optional<ports::LibraryCode> FakeDisplayAdapters::Refresh(uint32_t) {
    std::lock_guard lock(mutex_);
    if (!answers_.Device) {
        return std::nullopt;
    }
    ++refreshes_;
    return 0;
}

std::optional<ports::CreatedDevice> FakeDisplayAdapters::CreateDevice() {
    std::lock_guard lock(mutex_);
    if (!answers_.Device) {
        return std::nullopt;
    }
    ports::CreatedDevice created{answers_.CreateCode, nullptr};
    if (ports::Succeeded(created.Code)) {
        ++created_;
        created.Device = std::make_unique<Device>(*answers_.Device, destroyed_);
    }
    return created;
}

} // namespace sim
