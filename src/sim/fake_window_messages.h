#pragma once

#include "ports/window_messages.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace sim {

// Window messages of a simulated desktop: each new name gets the next number from 0xC000, as the
// system numbers registered messages.
class FakeWindowMessages final : public ports::WindowMessages {
public:
    static constexpr uint32_t kFirstMessage = 0xC000;

    uint32_t Register(const std::u16string& name) override {
        std::lock_guard lock(mutex_);
        const auto [entry, added] =
            messages_.try_emplace(name, kFirstMessage + static_cast<uint32_t>(messages_.size()));
        return entry->second;
    }

private:
    std::mutex mutex_;
    std::map<std::u16string, uint32_t> messages_;
};

} // namespace sim
