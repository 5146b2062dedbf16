#include "cpu/cpu_initialized_event.h"

namespace cpu {

std::unique_ptr<ports::Event> OpenCPUInitializedEvent(ports::KernelObjects& kernel) {
    static const std::u16string kName = u"CPUInitializedEvent";
    auto opened = kernel.OpenExistingEvent(kName);
    if (opened.Handle || !opened.NotFound) {
        return std::move(opened.Handle);
    }
    return kernel.NewEvent(true, false, kName);
}

} // namespace cpu
