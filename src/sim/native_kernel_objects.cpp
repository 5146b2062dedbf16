#include "sim/native_kernel_objects.h"

#include "sim/native_critical_section.h"
#include "sim/native_event.h"
#include "sim/native_thread.h"

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

namespace sim {

std::unique_ptr<ports::Event> NativeKernelObjects::NewEvent(bool manualReset, bool initiallySet,
                                                            const std::u16string& name) {
    const auto mode = manualReset ? SignalState::Reset::Manual : SignalState::Reset::Auto;
    return ports::MadeOrNull([&] {
        auto state = name.empty() ? std::make_shared<SignalState>(mode, initiallySet)
                                  : OpenNamedEvent(name, mode, initiallySet);
        return std::make_unique<NativeEvent>(std::move(state));
    });
}

ports::OpenedEvent NativeKernelObjects::OpenExistingEvent(const std::u16string& name) {
    auto state = name.empty() ? nullptr : FindNamedEvent(name);
    if (!state) {
        return {nullptr, true};
    }
    return {ports::MadeOrNull([&] { return std::make_unique<NativeEvent>(std::move(state)); })};
}

std::unique_ptr<ports::Thread> NativeKernelObjects::StartThread(std::function<uint32_t()> body) {
    if (!body) {
        return nullptr;
    }
    return ports::MadeOrNull([&] { return std::make_unique<NativeThread>(std::move(body)); });
}

std::unique_ptr<ports::CriticalSection> NativeKernelObjects::NewCriticalSection() {
    return ports::MadeOrNull([] { return std::make_unique<NativeCriticalSection>(); });
}

ports::WaitOutcome NativeKernelObjects::WaitAny(std::span<ports::Waitable* const> objects,
                                                uint32_t timeoutMs) {
    constexpr ports::WaitOutcome failed{ports::WaitStatus::Failed};
    if (objects.empty() || objects.size() > ports::kMaxWaitObjects) {
        return failed;
    }
    std::array<std::shared_ptr<SignalState>, ports::kMaxWaitObjects> states;
    for (std::size_t index = 0; index < objects.size(); ++index) {
        const auto* native = dynamic_cast<const NativeWaitable*>(objects[index]);
        if (native == nullptr) {
            return failed;
        }
        states[index] = native->State();
    }
    try {
        return SignalState::WaitAny(std::span(states.data(), objects.size()), timeoutMs);
    } catch (...) {
        return failed;
    }
}

void NativeKernelObjects::Sleep(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// Numbered on first use, since std::thread::id has no integer form and its hash may collide.
uint64_t NativeKernelObjects::CurrentThreadId() {
    static std::atomic<uint64_t> next{1};
    thread_local const uint64_t id = next.fetch_add(1, std::memory_order_relaxed);
    return id;
}

} // namespace sim
