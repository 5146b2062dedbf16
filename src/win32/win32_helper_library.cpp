#include "win32/win32_helper_library.h"

#include "win32/maker_exports.h"
#include "win32/plugin_module.h"
#include "win32/wide.h"

#include <algorithm>
#include <limits>

namespace win32 {

namespace names = maker::helper;

Win32HelperLibrary::Win32HelperLibrary() {
    LoadedLibrary loaded = LoadBesidePlugin(names::kFile);
    m_module = std::move(loaded.Module);
    m_loadError = loaded.Error;
    const HMODULE module = m_module.get();
    m_getCpuVendor = Resolve<NoArguments>(module, names::kGetCPUVendor);
    m_checkXtuImagePath = Resolve<CheckXtuImagePathFn>(module, names::kCheckXTUImagePath);
    m_hasBeenUsed = Resolve<NoArguments>(module, names::kHasBeenUsed);
    m_startUsed = Resolve<NoArguments>(module, names::kStartUsed);
    m_startXtuService = Resolve<StartXtuServiceFn>(module, names::kStartXTUService);
    m_isXtuServiceRunning = Resolve<NoArguments>(module, names::kIsXTUServiceRunning);
    m_getProcessorNameString =
        Resolve<GetProcessorNameStringFn>(module, names::kGetProcessorNameString);
    m_retriveSystemInfo = Resolve<RetriveSystemInfoFn>(module, names::kRetriveSystemInfo);
    m_oneWmiMethodInt = Resolve<OneWmiMethodIntFn>(module, names::kOneWmiMethodInt);
}

std::optional<int32_t> Win32HelperLibrary::Call(NoArguments entry) {
    if (entry == nullptr) {
        return std::nullopt;
    }
    return entry();
}

std::optional<int32_t> Win32HelperLibrary::GetCPUVendor() {
    return Call(m_getCpuVendor);
}

std::optional<ports::XtuImagePathCheck> Win32HelperLibrary::CheckXTUImagePath() {
    if (m_checkXtuImagePath == nullptr) {
        return std::nullopt;
    }
    ports::XtuImagePathCheck check;
    check.Result = m_checkXtuImagePath(&check.IsChanged, &check.Type);
    return check;
}

std::optional<int32_t> Win32HelperLibrary::HasBeenUsed() {
    return Call(m_hasBeenUsed);
}

std::optional<int32_t> Win32HelperLibrary::StartUsed() {
    return Call(m_startUsed);
}

std::optional<int32_t> Win32HelperLibrary::StartXTUService(void* plugin) {
    if (m_startXtuService == nullptr) {
        return std::nullopt;
    }
    return m_startXtuService(plugin);
}

std::optional<int32_t> Win32HelperLibrary::IsXTUServiceRunning() {
    return Call(m_isXtuServiceRunning);
}

std::optional<int32_t> Win32HelperLibrary::GetProcessorNameString(std::span<char16_t> buffer) {
    if (m_getProcessorNameString == nullptr) {
        return std::nullopt;
    }
    const auto capacity = static_cast<uint32_t>(
        std::min<std::size_t>(buffer.size(), std::numeric_limits<uint32_t>::max()));
    return m_getProcessorNameString(AsWide(buffer.data()), capacity);
}

std::optional<ports::SystemSizes> Win32HelperLibrary::RetriveSystemInfo() {
    if (m_retriveSystemInfo == nullptr) {
        return std::nullopt;
    }
    ports::SystemSizes sizes;
    sizes.Result = m_retriveSystemInfo(&sizes.TotalDisk, &sizes.AvailableDisk, &sizes.TotalMemory,
                                       &sizes.AvailableMemory);
    return sizes;
}

std::optional<ports::FirmwareReply>
Win32HelperLibrary::One_WMIMethod_INT(ports::AcpiDeviceHandle device, uint32_t method,
                                      uint32_t deviceId) {
    if (m_oneWmiMethodInt == nullptr) {
        return std::nullopt;
    }
    ports::FirmwareReply reply;
    reply.Returned = m_oneWmiMethodInt(device, method, deviceId, &reply.Result);
    return reply;
}

} // namespace win32
