#pragma once

#include "ports/kernel_objects.h"

namespace win32 {

// Kernel objects as Windows makes them: CreateEventW, CreateThread, critical sections and
// WaitForMultipleObjects. Waits accept objects made here (win32::HandleWaitable) only.
class Win32KernelObjects final : public ports::KernelObjects {
public:
    // A name beginning "Global\" makes an event any process of the user may open (null DACL).
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

} // namespace win32
