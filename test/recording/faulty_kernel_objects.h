#pragma once

#include "sim/forwarding_kernel_objects.h"

#include <atomic>

// Native kernel objects whose creation a test can make fail, kind by kind.
class FaultyKernelObjects final : public sim::ForwardingKernelObjects {
public:
    explicit FaultyKernelObjects(ports::KernelObjects& real) : ForwardingKernelObjects(real) {}

    std::atomic<bool> failUnnamedEvents{false};
    std::atomic<bool> failNamedEvents{false};
    std::atomic<bool> failThreads{false};
    std::atomic<bool> failCriticalSections{false};

    std::unique_ptr<ports::Event> NewEvent(bool manualReset, bool initiallySet,
                                           const std::u16string& name = {}) override {
        if (name.empty() ? failUnnamedEvents.load() : failNamedEvents.load()) {
            return nullptr;
        }
        return real_.NewEvent(manualReset, initiallySet, name);
    }
    ports::OpenedEvent OpenExistingEvent(const std::u16string& name) override {
        if (failNamedEvents) {
            return {};
        }
        return real_.OpenExistingEvent(name);
    }
    std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()> body) override {
        return failThreads ? nullptr : real_.StartThread(std::move(body));
    }
    std::unique_ptr<ports::CriticalSection> NewCriticalSection() override {
        return failCriticalSections ? nullptr : real_.NewCriticalSection();
    }
};
