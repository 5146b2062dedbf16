#pragma once

#include "ports/message_programs.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

// Records every call to the message programs, in order, as text: "start 2 C:\log.rml",
// "stop 1", "enable 1 0". A start answers whether the kind was enabled.
class FakeMessagePrograms final : public ports::MessagePrograms {
public:
    bool Start(int32_t kind, const std::u16string& text) override {
        std::lock_guard lock(mutex_);
        calls_.push_back("start " + std::to_string(kind) +
                         (text.empty() ? std::string() : " " + Narrow(text)));
        return Enabled(kind);
    }
    void Stop(int32_t kind) override {
        std::lock_guard lock(mutex_);
        calls_.push_back("stop " + std::to_string(kind));
    }
    void SetEnabled(int32_t kind, int32_t enabled) override {
        std::lock_guard lock(mutex_);
        calls_.push_back("enable " + std::to_string(kind) + " " + std::to_string(enabled));
        if (kind >= 0 && static_cast<std::size_t>(kind) < enabled_.size()) {
            enabled_[static_cast<std::size_t>(kind)] = enabled != 0;
        }
    }

    std::vector<std::string> Calls() const {
        std::lock_guard lock(mutex_);
        return calls_;
    }
    void Clear() {
        std::lock_guard lock(mutex_);
        calls_.clear();
    }

private:
    bool Enabled(int32_t kind) const {
        return kind >= 0 && static_cast<std::size_t>(kind) < enabled_.size() &&
               enabled_[static_cast<std::size_t>(kind)];
    }
    // Test paths are ASCII.
    static std::string Narrow(const std::u16string& text) {
        std::string narrow;
        for (const char16_t unit : text) {
            narrow.push_back(static_cast<char>(unit));
        }
        return narrow;
    }

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    std::vector<bool> enabled_ = std::vector<bool>(3, false);
};

} // namespace sim
