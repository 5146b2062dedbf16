// The module's one export: the host's way in, and the one place the plug-in's ports are filled
// with their Windows implementations.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "monitor_plugin/pending_ports.h"
#include "win32/process_heap.h"
#include "win32/win32_amd_sdk.h"
#include "win32/win32_clock.h"
#include "win32/win32_code_signatures.h"
#include "win32/win32_cpuid.h"
#include "win32/win32_crypto.h"
#include "win32/win32_display_adapters.h"
#include "win32/win32_docking_controller.h"
#include "win32/win32_encrypt_helper.h"
#include "win32/win32_files.h"
#include "win32/win32_firmware_devices.h"
#include "win32/win32_helper_library.h"
#include "win32/win32_io_libraries.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_log_files.h"
#include "win32/win32_machine_registry.h"
#include "win32/win32_performance_counters.h"
#include "win32/win32_profile_strings.h"
#include "win32/win32_shared_events.h"
#include "win32/win32_system_devices.h"
#include "win32/win32_ui_processes.h"
#include "win32/win32_window_messages.h"
#include "win32/win32_wmi.h"
#include "win32/win32_xtu_library.h"

#include <memory>

namespace {

// The machine as Windows shows it, made for each plug-in and kept alive by it: the maker
// libraries are bound when it is made, which must not happen while the module itself loads.
struct WindowsMachine {
    win32::ProcessHeap heap; // the host frees the answers it receives on the process heap
    win32::Win32KernelObjects kernel;
    win32::Win32Clock clock;
    win32::Win32UiProcesses uiProcesses;
    win32::Win32LogFiles logFiles;
    win32::Win32HelperLibrary helper;
    win32::Win32Files files;
    win32::Win32Folders folders;
    win32::Win32Crypto crypto;
    win32::Win32DisplayAdapters adapters;
    win32::Win32DockingController dock;
    win32::Win32EncryptHelper encryptHelper;
    win32::Win32ProfileStrings profileStrings;
    win32::Win32PerformanceCounters counters;
    win32::Win32Wmi wmi;
    win32::Win32IoLibraries ioLibraries;
    win32::Win32CodeSignatures codeSignatures;
    win32::Win32XtuLibrary xtu;
    win32::Win32AmdSdkLibraries amdSdk;
    win32::Win32Cpuid cpuid;
    win32::Win32SystemDevices systemDevices;
    win32::Win32MachineRegistry machineRegistry;
    win32::Win32FirmwareDevices firmware;
    win32::Win32SharedEvents sharedEvents;
    win32::Win32WindowMessages windowMessages;
    NoMessagePrograms messagePrograms;
};

PluginPorts PortsOf(const std::shared_ptr<WindowsMachine>& machine) {
    WindowsMachine& m = *machine;
    return {
        .heap = m.heap,
        .kernel = m.kernel,
        .clock = m.clock,
        .uiProcesses = m.uiProcesses,
        .logFiles = m.logFiles,
        .helper = m.helper,
        .files = m.files,
        .folders = m.folders,
        .crypto = m.crypto,
        .adapters = m.adapters,
        .dock = m.dock,
        .encryptHelper = m.encryptHelper,
        .profileStrings = m.profileStrings,
        .counters = m.counters,
        .wmi = m.wmi,
        .ioLibraries = m.ioLibraries,
        .codeSignatures = m.codeSignatures,
        .xtu = m.xtu,
        .amdSdk = m.amdSdk,
        .cpuid = m.cpuid,
        .systemDevices = m.systemDevices,
        .machineRegistry = m.machineRegistry,
        .firmware = m.firmware,
        .sharedEvents = m.sharedEvents,
        .windowMessages = m.windowMessages,
        .messagePrograms = m.messagePrograms,
        .xtuDelays = {},
        .owner = machine,
    };
}

} // namespace

// The plug-in with a reference count of 1, or null when it cannot be made.
extern "C" __declspec(dllexport) IOrvexPlugin* QueryLibrary(uint32_t hostMode) {
    try {
        return new COrvexMonitorPlugin(hostMode, PortsOf(std::make_shared<WindowsMachine>()));
    } catch (...) {
        return nullptr;
    }
}
