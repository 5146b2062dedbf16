#pragma once

#include "ports/critical_section.h"
#include "ports/event.h"
#include "ports/thread.h"
#include "ports/waitable.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace ports {

// An existing named event, or why it could not be opened.
struct OpenedEvent {
    std::unique_ptr<Event> Handle;
    bool NotFound = false; // no event has the name (ERROR_FILE_NOT_FOUND); false for other failures
};

// Makes and waits on the kernel objects the plug-in's workers use. Factory functions return null
// on failure.
class KernelObjects {
public:
    virtual ~KernelObjects() = default;

    // An empty name makes an unnamed event. Asking for a name that already exists opens that event
    // (its reset mode and state stay as they are), as CreateEventW does.
    virtual std::unique_ptr<Event> NewEvent(bool manualReset, bool initiallySet,
                                            const std::u16string& name = {}) = 0;
    // Opens the existing event `name` with full access (EVENT_ALL_ACCESS); never creates one.
    virtual OpenedEvent OpenExistingEvent(const std::u16string& name) = 0;
    virtual std::unique_ptr<Thread> StartThread(std::function<uint32_t()> body) = 0;
    virtual std::unique_ptr<CriticalSection> NewCriticalSection() = 0;

    // Waits until any of the objects is signalled, with WaitForMultipleObjects(bWaitAll = FALSE)
    // semantics: the lowest signalled index wins, and only the winning auto-reset event is
    // consumed. No objects, too many objects or a foreign object make the wait fail.
    virtual WaitOutcome WaitAny(std::span<Waitable* const> objects, uint32_t timeoutMs) = 0;
    WaitOutcome Wait(Waitable& object, uint32_t timeoutMs) {
        Waitable* const one[] = {&object};
        return WaitAny(one, timeoutMs);
    }

    virtual void Sleep(uint32_t milliseconds) = 0;

    // The calling thread's identifier; no two running threads share one.
    virtual uint64_t CurrentThreadId() = 0;
};

// The most objects one wait takes (MAXIMUM_WAIT_OBJECTS).
inline constexpr std::size_t kMaxWaitObjects = 64;

// For implementations: runs `make`, turning an exception (out of memory, no thread) into null.
template <typename Make>
auto MadeOrNull(Make&& make) noexcept -> decltype(make()) {
    try {
        return make();
    } catch (...) {
        return nullptr;
    }
}

} // namespace ports
