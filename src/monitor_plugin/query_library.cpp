// The module's one export: the host's way in, and the one place the plug-in's ports are filled
// with their Windows implementations.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "monitor_plugin/pending_ports.h"
#include "win32/process_heap.h"
#include "win32/win32_clock.h"
#include "win32/win32_crypto.h"
#include "win32/win32_display_adapters.h"
#include "win32/win32_docking_controller.h"
#include "win32/win32_encrypt_helper.h"
#include "win32/win32_files.h"
#include "win32/win32_firmware_devices.h"
#include "win32/win32_helper_library.h"
#include "win32/win32_kernel_objects.h"
#include "win32/win32_log_files.h"
#include "win32/win32_profile_strings.h"
#include "win32/win32_shared_events.h"
#include "win32/win32_ui_processes.h"
#include "win32/win32_window_messages.h"

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
    win32::Win32FirmwareDevices firmware;
    win32::Win32SharedEvents sharedEvents;
    win32::Win32WindowMessages windowMessages;
    NoMessagePrograms messagePrograms;
};

PluginPorts PortsOf(const std::shared_ptr<WindowsMachine>& machine) {
    WindowsMachine& m = *machine;
    return {m.heap,           m.kernel,          m.clock,          m.uiProcesses, m.logFiles,
            m.helper,         m.files,           m.folders,        m.crypto,      m.adapters,
            m.dock,           m.encryptHelper,   m.profileStrings, m.firmware,    m.sharedEvents,
            m.windowMessages, m.messagePrograms, machine};
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
