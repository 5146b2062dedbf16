#pragma once

// Every maker library the plug-in binds at run time: its file, beside the plug-in, and the exported
// names it resolves. The C++ classes are resolved by their MSVC-decorated names and called as free
// functions with the object first, which on x64 is the same call as a member call. Adapters name
// their entries from here only, so the whole contract with the maker's files can be read in one
// place.
namespace win32::maker {

namespace helper {
inline constexpr wchar_t kFile[] = L"NativeCorvaneHelper.dll";
inline constexpr char kGetCPUVendor[] = "GetCPUVendor";
inline constexpr char kCheckXTUImagePath[] = "CheckXTUImagePath";
inline constexpr char kHasBeenUsed[] = "HasBeenUsed";
inline constexpr char kStartUsed[] = "StartUsed";
inline constexpr char kStartXTUService[] = "StartXTUService";
inline constexpr char kIsXTUServiceRunning[] = "IsXTUServiceRunning";
inline constexpr char kGetProcessorNameString[] = "GetProcessorNameString";
inline constexpr char kRetriveSystemInfo[] = "RetriveSystemInfo";
inline constexpr char kOneWmiMethodInt[] = "One_WMIMethod_INT";
} // namespace helper

namespace adapters {
inline constexpr wchar_t kFile[] = L"GPUControlLibrary.dll";
inline constexpr char kGet[] = "?Get@DisplayAdapterController@@SAPEAV1@XZ";
inline constexpr char kInitialize[] = "?Initialize@DisplayAdapterController@@QEAAJPEAXP6AX0@Z@Z";
inline constexpr char kUninitialize[] = "?Uninitialize@DisplayAdapterController@@QEAAJPEAX@Z";
inline constexpr char kRefresh[] = "?Refresh@DisplayAdapterController@@QEAAJK@Z";
inline constexpr char kCreateDevice[] =
    "?CreateDevice@DisplayAdapterController@@QEAAJPEAPEAVIDisplayAdapterDevice@@@Z";
inline constexpr char kDestroyDevice[] =
    "?DestroyDevice@DisplayAdapterController@@QEAAJPEAPEAVIDisplayAdapterDevice@@@Z";
} // namespace adapters

namespace dock {
inline constexpr wchar_t kFile[] = L"ExternalGPUConfigHelper.dll";
inline constexpr char kGet[] = "?Get@CDockingController@@SAPEAV1@XZ";
inline constexpr char kInitialize[] = "?Initialize@CDockingController@@QEAAJPEAXP6AX0@Z@Z";
inline constexpr char kUninitialize[] = "?Uninitialize@CDockingController@@QEAAJPEAX@Z";
inline constexpr char kGetEGPUID[] = "?GetEGPUID@CDockingController@@QEAAJPEAU_EGC_GPUID@@@Z";
inline constexpr char kGetEGPUConfig[] =
    "?GetEGPUConfig@CDockingController@@QEAAJPEAPEAU_EGC_BASEINFO@@PEAGPEAK@Z";
inline constexpr char kGetFanSpeed[] = "?GetFanSpeed@CDockingController@@QEAAJPEAK0@Z";
} // namespace dock

namespace xtu {
inline constexpr wchar_t kFile[] = L"XTUWrapperForNativeCode.dll";
inline constexpr char kConstructor[] = "??0XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAA@XZ";
inline constexpr char kDestructor[] = "??1XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAA@XZ";
inline constexpr char kInitialize[] =
    "?Initialize@XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAA_NXZ";
inline constexpr char kStartMonitor[] =
    "?StartMonitor@XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAAXXZ";
inline constexpr char kIsMonitorRunning[] =
    "?IsMonitorRunning@XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAA_NXZ";
inline constexpr char kGetMonitorValue[] =
    "?GetMonitorValue@XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAANI@Z";
inline constexpr char kStopMonitor[] =
    "?StopMonitor@XTUWrapperForNativeCode@XTUWrapperLibrary@@QEAAXXZ";
} // namespace xtu

namespace io {
inline constexpr wchar_t kFile[] = L"VelmorIO3_64.dll";
inline constexpr char kOpen[] = "VELMORIO_OPEN_WO_MSG";
inline constexpr char kReadMsr[] = "VELMORIO_ReadMSR";
inline constexpr char kClose[] = "VELMORIO_Close";
} // namespace io

namespace encrypt {
inline constexpr wchar_t kFile[] = L"VelmorEncryptHelper.dll";
inline constexpr char kDecryptAES[] = "DecryptAES";
} // namespace encrypt

// The AMD SDK builds differ in file (chosen by the plug-in) but share their entries.
namespace amd_sdk {
inline constexpr char kInit[] = "AMDSDK_Init";
inline constexpr char kUninit[] = "AMDSDK_Uninit";
inline constexpr char kNumberOfPhysicalCpu[] = "NumberOFPhysicalCPU";
inline constexpr char kGetMemoryFrequency[] = "GetMemoryFrequency";
inline constexpr char kGetCPUStatus[] = "GetCPUStatus";
} // namespace amd_sdk

} // namespace win32::maker
