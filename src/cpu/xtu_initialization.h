#pragma once

#include "cpu/amd_cpu_monitor.h"
#include "cpu/intel_cpu_monitor.h"

#include <cstdint>

namespace cpu {

// The body of the XTU initialisation thread, started once when the plug-in initialises: on an
// Intel machine (vendor 1) it makes the XTU wrapper ready, on an AMD machine (vendor 2) it
// prepares the AMD status block. Returns 0.
uint32_t DoXTUInitialize(int32_t vendor, IntelCpuMonitor& intel, AmdCpuMonitor& amd);

} // namespace cpu
