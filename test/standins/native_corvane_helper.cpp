// Stand-in for the maker's NativeCorvaneHelper.dll. Keys of its [NativeCorvaneHelper] section
// (defaults in brackets):
//   GetCPUVendor [1], HasBeenUsed [1], StartUsed [1], StartXTUService [0],
//   IsXTUServiceRunning [1], CheckXTUImagePath [1] with CheckXTUImagePath.IsChanged [0] and
//   CheckXTUImagePath.Type [0], ProcessorName [empty] and GetProcessorNameString [1],
//   RetriveSystemInfo [1] with TotalDisk, AvailableDisk, TotalMemory, AvailableMemory [0.0],
//   One_WMIMethod_INT [1] and DSTS.0xXXXXXXXX, the firmware's result for a device id written as
//   eight upper-case hexadecimal digits [0xFFFFFFFE, no such device].
#include "stand_in.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

constexpr char kSection[] = "NativeCorvaneHelper";

std::string Hex(uint64_t value, int digits) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(value));
    return text;
}

int32_t Answer(const char* name, int64_t otherwise) {
    const standin::StandIn scenario(kSection);
    scenario.Record(name);
    return static_cast<int32_t>(scenario.Integer(name, otherwise));
}

} // namespace

extern "C" {

__declspec(dllexport) int32_t GetCPUVendor() {
    return Answer("GetCPUVendor", 1);
}

__declspec(dllexport) int32_t HasBeenUsed() {
    return Answer("HasBeenUsed", 1);
}

__declspec(dllexport) int32_t StartUsed() {
    return Answer("StartUsed", 1);
}

__declspec(dllexport) int32_t IsXTUServiceRunning() {
    return Answer("IsXTUServiceRunning", 1);
}

__declspec(dllexport) int32_t StartXTUService(void* plugin) {
    const standin::StandIn scenario(kSection);
    scenario.Record("StartXTUService plugin=" + Hex(reinterpret_cast<uintptr_t>(plugin), 16));
    return static_cast<int32_t>(scenario.Integer("StartXTUService", 0));
}

__declspec(dllexport) int32_t CheckXTUImagePath(int32_t* isChanged, int32_t* type) {
    const standin::StandIn scenario(kSection);
    scenario.Record("CheckXTUImagePath");
    *isChanged = static_cast<int32_t>(scenario.Integer("CheckXTUImagePath.IsChanged", 0));
    *type = static_cast<int32_t>(scenario.Integer("CheckXTUImagePath.Type", 0));
    return static_cast<int32_t>(scenario.Integer("CheckXTUImagePath", 1));
}

__declspec(dllexport) int32_t GetProcessorNameString(wchar_t* buffer, uint32_t capacity) {
    const standin::StandIn scenario(kSection);
    scenario.Record("GetProcessorNameString capacity=" + std::to_string(capacity));
    if (capacity > 0) {
        const std::wstring name = scenario.Wide("ProcessorName", L"");
        const std::size_t count = std::min<std::size_t>(name.size(), capacity - 1);
        std::copy_n(name.begin(), count, buffer);
        buffer[count] = L'\0';
    }
    return static_cast<int32_t>(scenario.Integer("GetProcessorNameString", 1));
}

__declspec(dllexport) int32_t RetriveSystemInfo(double* totalDisk, double* availableDisk,
                                                double* totalMemory, double* availableMemory) {
    const standin::StandIn scenario(kSection);
    scenario.Record("RetriveSystemInfo");
    *totalDisk = scenario.Double("TotalDisk", 0.0);
    *availableDisk = scenario.Double("AvailableDisk", 0.0);
    *totalMemory = scenario.Double("TotalMemory", 0.0);
    *availableMemory = scenario.Double("AvailableMemory", 0.0);
    return static_cast<int32_t>(scenario.Integer("RetriveSystemInfo", 1));
}

__declspec(dllexport) int32_t
    One_WMIMethod_INT(HANDLE device, uint32_t method, uint32_t deviceId, uint32_t* result) {
    const standin::StandIn scenario(kSection);
    scenario.Record("One_WMIMethod_INT device=" + Hex(reinterpret_cast<uintptr_t>(device), 16) +
                    " method=" + Hex(method, 8) + " id=" + Hex(deviceId, 8));
    *result = static_cast<uint32_t>(scenario.Integer("DSTS." + Hex(deviceId, 8), 0xFFFFFFFE));
    return static_cast<int32_t>(scenario.Integer("One_WMIMethod_INT", 1));
}

} // extern "C"
