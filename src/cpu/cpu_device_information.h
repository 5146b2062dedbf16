#pragma once

#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"
#include "ports/helper_library.h"

#include <cstdint>

namespace cpu {

// Answers which processor the machine has: "CPUVendor", the vendor code the plug-in read at
// initialisation, and "CPUFullName", the helper library's processor name (empty when it gives
// none), written with its terminator counted. Logs through the plug-in's host sink.
void GetCPUDeviceInformation(BaseOrvexPlugin& plugin, ports::HelperLibrary& helper,
                             int32_t cpuVendor, VelmorValueSet::ValueSet& answer);

} // namespace cpu
