#pragma once

#include "ports/helper_library.h"
#include "win32/unique_handle.h"

namespace win32 {

// The maker's helper library (NativeCorvaneHelper.dll), loaded by full path from the plug-in's
// folder and bound by its exported names. A missing library or entry answers nullopt. The module
// is freed with the object.
class Win32HelperLibrary final : public ports::HelperLibrary {
public:
    Win32HelperLibrary();

    // The system's error when the library could not be loaded, 0 when it was.
    DWORD LoadError() const { return m_loadError; }

    std::optional<int32_t> GetCPUVendor() override;
    std::optional<ports::XtuImagePathCheck> CheckXTUImagePath() override;
    std::optional<int32_t> HasBeenUsed() override;
    std::optional<int32_t> StartUsed() override;
    std::optional<int32_t> StartXTUService(void* plugin) override;
    std::optional<int32_t> IsXTUServiceRunning() override;
    std::optional<int32_t> GetProcessorNameString(std::span<char16_t> buffer) override;
    std::optional<ports::SystemSizes> RetriveSystemInfo() override;
    std::optional<ports::FirmwareReply>
    One_WMIMethod_INT(ports::AcpiDeviceHandle device, uint32_t method, uint32_t deviceId) override;

private:
    using NoArguments = int32_t (*)();
    using CheckXtuImagePathFn = int32_t (*)(int32_t*, int32_t*);
    using StartXtuServiceFn = int32_t (*)(void*);
    using GetProcessorNameStringFn = int32_t (*)(wchar_t*, uint32_t);
    using RetriveSystemInfoFn = int32_t (*)(double*, double*, double*, double*);
    using OneWmiMethodIntFn = int32_t (*)(HANDLE, uint32_t, uint32_t, uint32_t*);

    static std::optional<int32_t> Call(NoArguments entry);

    UniqueModule m_module;
    DWORD m_loadError = ERROR_SUCCESS;
    NoArguments m_getCpuVendor = nullptr;
    CheckXtuImagePathFn m_checkXtuImagePath = nullptr;
    NoArguments m_hasBeenUsed = nullptr;
    NoArguments m_startUsed = nullptr;
    StartXtuServiceFn m_startXtuService = nullptr;
    NoArguments m_isXtuServiceRunning = nullptr;
    GetProcessorNameStringFn m_getProcessorNameString = nullptr;
    RetriveSystemInfoFn m_retriveSystemInfo = nullptr;
    OneWmiMethodIntFn m_oneWmiMethodInt = nullptr;
};

} // namespace win32
