#pragma once

#include "ports/event.h"
#include "ports/kernel_objects.h"

#include <memory>

// Serialises starting and stopping a recording. Whoever stops a recording holds this lock while it
// waits for the recording's sampling thread to end; that thread may want the lock too (to end its
// recording once the user interface has gone, or from a callback), so it must be able to give up
// waiting as soon as it is told to stop. The lock is therefore an auto-reset event, which a thread
// can wait for together with its stop event, rather than a critical section. It is not recursive.
class SessionLock {
public:
    // `free` is an auto-reset event, signalled while nobody holds the lock.
    SessionLock(ports::KernelObjects& kernel, std::unique_ptr<ports::Event> free);

    bool Acquire();
    // Acquires the lock unless `stop` is signalled, before or while waiting.
    bool AcquireUnless(ports::Waitable& stop);
    void Release();

private:
    ports::KernelObjects& kernel_;
    std::unique_ptr<ports::Event> free_;
};
