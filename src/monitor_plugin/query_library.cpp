// The module's one export: the host's way in.
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "win32/process_heap.h"

#include <new>

namespace {

// The host frees the answers it receives on the process heap; it lives as long as the module.
win32::ProcessHeap g_processHeap;

} // namespace

// The plug-in with a reference count of 1, or null when it cannot be made.
extern "C" __declspec(dllexport) IOrvexPlugin* QueryLibrary(uint32_t hostMode) {
    try {
        return new (std::nothrow) COrvexMonitorPlugin(hostMode, g_processHeap);
    } catch (...) {
        return nullptr;
    }
}
