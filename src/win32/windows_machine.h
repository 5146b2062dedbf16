#pragma once

#include "monitor_plugin/plugin_ports.h"

namespace win32 {

// The plug-in's composition root filled with the Windows implementations: a machine made for one
// plug-in, which keeps it alive through the ports' owner. The maker libraries are bound here, so
// it must not be made while the module itself loads.
PluginPorts NewWindowsMachine();

} // namespace win32
