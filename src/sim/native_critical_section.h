#pragma once

#include "ports/critical_section.h"

#include <mutex>

namespace sim {

class NativeCriticalSection final : public ports::CriticalSection {
public:
    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

} // namespace sim
