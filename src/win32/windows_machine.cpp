#include "win32/windows_machine.h"

#include "platform/message_program_launcher.h"
#include "platform/recording_stop_request.h"
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
#include "win32/win32_physical_drives.h"
#include "win32/win32_profile_strings.h"
#include "win32/win32_registry_keys.h"
#include "win32/win32_shared_events.h"
#include "win32/win32_system_devices.h"
#include "win32/win32_system_messages.h"
#include "win32/win32_ui_processes.h"
#include "win32/win32_user_session.h"
#include "win32/win32_window_messages.h"
#include "win32/win32_wmi.h"
#include "win32/win32_xtu_library.h"

#include <memory>

namespace win32 {
namespace {

// The machine as Windows shows it, made for each plug-in and kept alive by it: the maker
// libraries are bound when it is made, which must not happen while the module itself loads.
struct WindowsMachine {
    ProcessHeap heap; // the host frees the answers it receives on the process heap
    Win32KernelObjects kernel;
    Win32Clock clock;
    Win32UiProcesses uiProcesses;
    Win32LogFiles logFiles;
    Win32HelperLibrary helper;
    Win32Files files;
    Win32Folders folders;
    Win32Crypto crypto;
    Win32DisplayAdapters adapters;
    Win32DockingController dock;
    Win32EncryptHelper encryptHelper;
    Win32ProfileStrings profileStrings;
    Win32PerformanceCounters counters;
    Win32Wmi wmi;
    Win32IoLibraries ioLibraries;
    Win32CodeSignatures codeSignatures;
    Win32XtuLibrary xtu;
    Win32AmdSdkLibraries amdSdk;
    Win32Cpuid cpuid;
    Win32SystemDevices systemDevices;
    Win32MachineRegistry machineRegistry;
    Win32RegistryKeys registryKeys;
    Win32FirmwareDevices firmware;
    Win32SharedEvents sharedEvents;
    Win32WindowMessages windowMessages;
    Win32PhysicalDrives physicalDrives;
    Win32SystemMessages systemMessages;
    Win32UserSession userSession;
    platform::RecordingStopRequest recordingStopRequest;
    // After the kernel objects and the stop request it uses; it goes first and closes the
    // programs still running.
    platform::MessageProgramLauncher messagePrograms{userSession, kernel,
                                                     [this] { recordingStopRequest(); }};
};

} // namespace

PluginPorts NewWindowsMachine() {
    const auto machine = std::make_shared<WindowsMachine>();
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
        .registryKeys = m.registryKeys,
        .firmware = m.firmware,
        .sharedEvents = m.sharedEvents,
        .windowMessages = m.windowMessages,
        .messagePrograms = m.messagePrograms,
        .physicalDrives = m.physicalDrives,
        .systemMessages = m.systemMessages,
        .recordingStopRequest = m.recordingStopRequest,
        .xtuDelays = {},
        .workerTimeouts = {},
        .owner = machine,
    };
}

} // namespace win32
