#pragma once

#include "ports/kernel_objects.h"

namespace sim {

// Kernel objects made of standard threads, mutexes and condition variables, with the semantics of
// their Windows counterparts. Objects are process-wide, as handles are: a named event is shared by
// every NativeKernelObjects, and any of them can wait on any native object (sim::NativeWaitable).
class NativeKernelObjects final : public ports::KernelObjects {
public:
    std::unique_ptr<ports::Event> NewEvent(bool manualReset, bool initiallySet,
                                           const std::u16string& name = {}) override;
    ports::OpenedEvent OpenExistingEvent(const std::u16string& name) override;
    std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()> body) override;
    std::unique_ptr<ports::CriticalSection> NewCriticalSection() override;
    ports::WaitOutcome WaitAny(std::span<ports::Waitable* const> objects,
                               uint32_t timeoutMs) override;
    void Sleep(uint32_t milliseconds) override;
    uint64_t CurrentThreadId() override;
};

} // namespace sim
