// The module's one export: the host's way in, and the one place the plug-in's ports are filled
// with their Windows implementations.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "monitor_plugin/pending_ports.h"
#include "win32/process_heap.h"
#include "win32/win32_clock.h"
#include "win32/win32_crypto.h"
#include "win32/win32_files.h"
#include "win32/win32_firmware_devices.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_log_files.h"
#include "win32/win32_shared_events.h"
#include "win32/win32_ui_processes.h"
#include "win32/win32_window_messages.h"

#include <new>

namespace {

// The machine as Windows shows it. The ports keep no state of their own, so every plug-in the
// host makes from this module shares them; they live as long as the module.
struct WindowsMachine {
    win32::ProcessHeap heap; // the host frees the answers it receives on the process heap
    win32::Win32KernelObjects kernel;
    win32::Win32Clock clock;
    win32::Win32UiProcesses uiProcesses;
    win32::Win32LogFiles logFiles;
    MissingHelperLibrary helper;
    win32::Win32Files files;
    win32::Win32Folders folders;
    win32::Win32Crypto crypto;
    win32::Win32FirmwareDevices firmware;
    win32::Win32SharedEvents sharedEvents;
    win32::Win32WindowMessages windowMessages;
    NoMessagePrograms messagePrograms;

    PluginPorts Ports() {
        return {heap,    kernel, clock,    uiProcesses,  logFiles,       helper,         files,
                folders, crypto, firmware, sharedEvents, windowMessages, messagePrograms};
    }
};

WindowsMachine g_machine;

} // namespace

// The plug-in with a reference count of 1, or null when it cannot be made.
extern "C" __declspec(dllexport) IOrvexPlugin* QueryLibrary(uint32_t hostMode) {
    try {
        return new COrvexMonitorPlugin(hostMode, g_machine.Ports());
    } catch (...) {
        return nullptr;
    }
}
