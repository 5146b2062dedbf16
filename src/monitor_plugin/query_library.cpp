// The module's one export: the host's way in.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "win32/windows_machine.h"

// The plug-in with a reference count of 1, or null when it cannot be made.
extern "C" __declspec(dllexport) IOrvexPlugin* QueryLibrary(uint32_t hostMode) {
    try {
        return new COrvexMonitorPlugin(hostMode, win32::NewWindowsMachine());
    } catch (...) {
        return nullptr;
    }
}
