#include "cpu/cpu_initialized_event.h"

namespace cpu {

namespace {

// A constant rather than a function's static: the C++ run-time's guard lock for a static would
// outlive every unload of the module (two handles each time under Wine).
constexpr char16_t kName[] = u"CPUInitializedEvent";

} // namespace

std::unique_ptr<ports::Event> OpenCPUInitializedEvent(ports::KernelObjects& kernel) {
    auto opened = kernel.OpenExistingEvent(kName);
    if (opened.Handle || !opened.NotFound) {
        return std::move(opened.Handle);
    }
    return kernel.NewEvent(true, false, kName);
}

} // namespace cpu
