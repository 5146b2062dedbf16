#include "sim/native_shared_events.h"

#include "sim/native_event.h"

namespace sim {

ports::SharedEvent NativeSharedEvents::Create(const std::u16string& name) {
    {
        std::lock_guard lock(mutex_);
        const auto failing = failingCreates_.find(name);
        if (failing != failingCreates_.end()) {
            return {nullptr, failing->second};
        }
    }
    return {std::make_unique<NativeEvent>(OpenNamedEvent(name, SignalState::Reset::Manual, false)),
            0};
}

ports::SharedEvent NativeSharedEvents::Open(const std::u16string& name) {
    auto state = FindNamedEvent(name);
    if (state == nullptr) {
        return {nullptr, ports::kErrorNotFound};
    }
    return {std::make_unique<NativeEvent>(std::move(state)), 0};
}

void NativeSharedEvents::FailCreate(const std::u16string& name, uint32_t error) {
    std::lock_guard lock(mutex_);
    failingCreates_[name] = error;
}

} // namespace sim
