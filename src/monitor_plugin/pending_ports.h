#pragma once

// Ports of the module whose Windows implementations are not part of it yet: the maker's helper
// library, as if it were missing from the plug-in's folder, and message programs that never
// start. The module's entry point uses them until the real ones arrive.
#include "ports/helper_library.h"
#include "ports/message_programs.h"

class MissingHelperLibrary final : public ports::HelperLibrary {
public:
    std::optional<int32_t> GetCPUVendor() override { return std::nullopt; }
    std::optional<ports::XtuImagePathCheck> CheckXTUImagePath() override { return std::nullopt; }
    std::optional<int32_t> HasBeenUsed() override { return std::nullopt; }
    std::optional<int32_t> StartUsed() override { return std::nullopt; }
    std::optional<int32_t> StartXTUService(void*) override { return std::nullopt; }
    std::optional<int32_t> IsXTUServiceRunning() override { return std::nullopt; }
    std::optional<int32_t> GetProcessorNameString(std::span<char16_t>) override {
        return std::nullopt;
    }
    std::optional<ports::SystemSizes> RetriveSystemInfo() override { return std::nullopt; }
    std::optional<ports::FirmwareReply> One_WMIMethod_INT(ports::AcpiDeviceHandle, uint32_t,
                                                          uint32_t) override {
        return std::nullopt;
    }
};

class NoMessagePrograms final : public ports::MessagePrograms {
public:
    bool Start(int32_t, const std::u16string&) override { return false; }
    void Stop(int32_t) override {}
    void SetEnabled(int32_t, int32_t) override {}
};
