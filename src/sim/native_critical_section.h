#pragma once

#include "ports/critical_section.h"

#include <atomic>
#include <cstddef>
#include <mutex>

namespace sim {

class NativeCriticalSection final : public ports::CriticalSection {
public:
    NativeCriticalSection() { alive_.fetch_add(1); }
    ~NativeCriticalSection() override { alive_.fetch_sub(1); }
    NativeCriticalSection(const NativeCriticalSection&) = delete;
    NativeCriticalSection& operator=(const NativeCriticalSection&) = delete;

    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }

    // How many exist in the process, as load and unload cycles count them.
    static std::size_t Alive() { return alive_.load(); }

private:
    std::recursive_mutex mutex_;
    inline static std::atomic<std::size_t> alive_{0};
};

} // namespace sim
