#pragma once

#include "ports/kernel_objects.h"

#include <memory>

namespace cpu {

// The named event "CPUInitializedEvent", set once the XTU wrapper is initialised: the existing one
// opened with full access, or a new manual-reset one, not signalled, when none exists yet; null
// on any other failure.
std::unique_ptr<ports::Event> OpenCPUInitializedEvent(ports::KernelObjects& kernel);

} // namespace cpu
