#include "recording/session_lock.h"

SessionLock::SessionLock(ports::KernelObjects& kernel, std::unique_ptr<ports::Event> free)
    : kernel_(kernel), free_(std::move(free)) {}

bool SessionLock::Acquire() {
    return kernel_.Wait(*free_, ports::kInfinite).Signalled(0);
}

bool SessionLock::AcquireUnless(ports::Waitable& stop) {
    // The lowest signalled index wins, so a stop that is already signalled keeps the lock free.
    ports::Waitable* const objects[] = {&stop, free_.get()};
    return kernel_.WaitAny(objects, ports::kInfinite).Signalled(1);
}

void SessionLock::Release() {
    free_->Set();
}
