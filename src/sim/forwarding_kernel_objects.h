#pragma once

#include "ports/kernel_objects.h"

namespace sim {

// Kernel objects that pass every call on to other kernel objects. A test double derives from it
// and overrides only what it changes: the waits that move a fake clock, the creations that fail,
// the sleeps that are only recorded.
class ForwardingKernelObjects : public ports::KernelObjects {
public:
    explicit ForwardingKernelObjects(ports::KernelObjects& real) : real_(real) {}

    std::unique_ptr<ports::Event> NewEvent(bool manualReset, bool initiallySet,
                                           const std::u16string& name = {}) override {
        return real_.NewEvent(manualReset, initiallySet, name);
    }
    ports::OpenedEvent OpenExistingEvent(const std::u16string& name) override {
        return real_.OpenExistingEvent(name);
    }
    std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()> body) override {
        return real_.StartThread(std::move(body));
    }
    std::unique_ptr<ports::CriticalSection> NewCriticalSection() override {
        return real_.NewCriticalSection();
    }
    ports::WaitOutcome WaitAny(std::span<ports::Waitable* const> objects,
                               uint32_t timeoutMs) override {
        return real_.WaitAny(objects, timeoutMs);
    }
    void Sleep(uint32_t milliseconds) override { real_.Sleep(milliseconds); }
    uint64_t CurrentThreadId() override { return real_.CurrentThreadId(); }

protected:
    ports::KernelObjects& real_;
};

} // namespace sim
