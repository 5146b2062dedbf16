#pragma once

#include "ports/helper_library.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// The maker's helper library of a simulated laptop. Each field is what the library answers; an
// empty optional is an entry the library lacks (a missing library is every field empty). Tests
// change the answers between calls; every call is counted.
class FakeHelperLibrary final : public ports::HelperLibrary {
public:
    struct Answers {
        std::optional<int32_t> CpuVendor;
        std::optional<ports::XtuImagePathCheck> XtuImagePath;
        std::optional<int32_t> HasBeenUsed;
        std::optional<int32_t> StartUsed;
        std::optional<int32_t> StartXtuService;
        std::optional<int32_t> IsXtuServiceRunning;
        // The processor name the library writes (cut to the caller's capacity, terminated), and
        // GetProcessorNameString's result; no name means the entry is missing.
        std::optional<std::u16string> ProcessorName;
        int32_t ProcessorNameResult = 1;
        std::optional<ports::SystemSizes> SystemSizes;
        // Firmware replies by device id; an id that is not here answers {1, kFirmwareNoDevice}.
        // FirmwareMissing makes One_WMIMethod_INT itself absent.
        std::map<uint32_t, ports::FirmwareReply> Firmware;
        bool FirmwareMissing = false;
    };

    // The laptop a test starts from: an Intel machine whose library has every entry.
    static Answers IntelLaptop() {
        Answers answers;
        answers.CpuVendor = 1;
        answers.XtuImagePath = ports::XtuImagePathCheck{};
        answers.HasBeenUsed = 1;
        answers.StartUsed = 1;
        answers.StartXtuService = 0;
        answers.IsXtuServiceRunning = 1;
        answers.ProcessorName = u"Intel(R) Core(TM) i7-12700H";
        answers.SystemSizes = ports::SystemSizes{1, 512.0, 256.0, 16384.0, 8192.0};
        return answers;
    }

    FakeHelperLibrary() = default;
    explicit FakeHelperLibrary(Answers answers) : answers_(std::move(answers)) {}

    // Replaces the answers; safe while other threads call the library.
    void Set(Answers answers) {
        std::lock_guard lock(mutex_);
        answers_ = std::move(answers);
    }
    template <typename Edit>
    void Change(Edit&& change) {
        std::lock_guard lock(mutex_);
        change(answers_);
    }

    // Device ids of the firmware calls so far, and the device handles they were made on.
    std::vector<uint32_t> FirmwareCalls() const {
        std::lock_guard lock(mutex_);
        return firmwareCalls_;
    }
    int StartXtuServiceCalls() const { return startXtuServiceCalls_; }

    std::optional<int32_t> GetCPUVendor() override { return Read(&Answers::CpuVendor); }
    std::optional<ports::XtuImagePathCheck> CheckXTUImagePath() override {
        return Read(&Answers::XtuImagePath);
    }
    std::optional<int32_t> HasBeenUsed() override { return Read(&Answers::HasBeenUsed); }
    std::optional<int32_t> StartUsed() override { return Read(&Answers::StartUsed); }
    std::optional<int32_t> StartXTUService(void*) override {
        ++startXtuServiceCalls_;
        return Read(&Answers::StartXtuService);
    }
    std::optional<int32_t> IsXTUServiceRunning() override {
        return Read(&Answers::IsXtuServiceRunning);
    }
    std::optional<int32_t> GetProcessorNameString(std::span<char16_t> buffer) override {
        std::lock_guard lock(mutex_);
        if (!answers_.ProcessorName) {
            return std::nullopt;
        }
        if (!buffer.empty()) {
            const std::size_t n = std::min(answers_.ProcessorName->size(), buffer.size() - 1);
            std::copy_n(answers_.ProcessorName->begin(), n, buffer.begin());
            buffer[n] = u'\0';
        }
        return answers_.ProcessorNameResult;
    }
    std::optional<ports::SystemSizes> RetriveSystemInfo() override {
        return Read(&Answers::SystemSizes);
    }
    std::optional<ports::FirmwareReply> One_WMIMethod_INT(ports::AcpiDeviceHandle, uint32_t,
                                                          uint32_t deviceId) override {
        std::lock_guard lock(mutex_);
        if (answers_.FirmwareMissing) {
            return std::nullopt;
        }
        firmwareCalls_.push_back(deviceId);
        const auto found = answers_.Firmware.find(deviceId);
        if (found == answers_.Firmware.end()) {
            return ports::FirmwareReply{1, ports::kFirmwareNoDevice};
        }
        return found->second;
    }

private:
    template <typename T>
    T Read(T Answers::*field) const {
        std::lock_guard lock(mutex_);
        return answers_.*field;
    }

    mutable std::mutex mutex_;
    Answers answers_;
    std::vector<uint32_t> firmwareCalls_;
    std::atomic<int> startXtuServiceCalls_{0};
};

} // namespace sim
