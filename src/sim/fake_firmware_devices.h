#pragma once

#include "ports/firmware_device.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

// The firmware device of a simulated laptop: present or not, with the paths opened and the
// devices still open counted. Every open device has a handle of its own.
class FakeFirmwareDevices final : public ports::FirmwareDevices {
public:
    explicit FakeFirmwareDevices(bool present = true) : present_(present) {}

    void SetPresent(bool present) { present_ = present; }
    std::vector<std::u16string> OpenedPaths() const {
        std::lock_guard lock(mutex_);
        return opened_;
    }
    int OpenDevices() const { return *openDevices_; }

    std::unique_ptr<ports::FirmwareDevice> Open(const std::u16string& path) override {
        {
            std::lock_guard lock(mutex_);
            opened_.push_back(path);
        }
        if (!present_) {
            return nullptr;
        }
        return std::make_unique<Device>(openDevices_);
    }

private:
    class Device final : public ports::FirmwareDevice {
    public:
        explicit Device(std::shared_ptr<std::atomic<int>> open) : open_(std::move(open)) {
            ++*open_;
        }
        ~Device() override { --*open_; }
        ports::AcpiDeviceHandle Handle() const override { return const_cast<Device*>(this); }

    private:
        std::shared_ptr<std::atomic<int>> open_;
    };

    std::atomic<bool> present_;
    mutable std::mutex mutex_;
    std::vector<std::u16string> opened_;
    std::shared_ptr<std::atomic<int>> openDevices_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace sim
