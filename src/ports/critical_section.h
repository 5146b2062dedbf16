#pragma once

namespace ports {

// A recursive lock, as a Windows critical section is. Meets BasicLockable, so std::lock_guard and
// std::scoped_lock take it.
class CriticalSection {
public:
    virtual ~CriticalSection() = default;
    virtual void lock() = 0;
    virtual void unlock() = 0;

protected:
    CriticalSection() = default;
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
};

} // namespace ports
