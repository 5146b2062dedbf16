#pragma once

#include "ports/event.h"
#include "ports/waitable.h"

#include <cstdint>
#include <memory>

namespace ports {

// The calling thread acting as the user of the user interface's process. Destroying it reverts
// the thread to the service's own identity if Revert has not.
class UserImpersonation {
public:
    virtual ~UserImpersonation() = default;
    // Back to the service's own identity; false when the system refused.
    virtual bool Revert() = 0;
};

// The user interface's process, held open while it records: signalled once the process has ended.
class UiProcess : public Waitable {
public:
    // Gives the process its own handle to event, with the same access, so the user interface can
    // wait on it. Returns that handle's value inside the process, or 0 on failure.
    virtual uint64_t ShareEvent(Event& event) = 0;
    // Makes the calling thread act as the process's user, so that what it does next is limited to
    // that user's rights. Only a process of the active console session whose user is that
    // session's user qualifies; null for any other, or when acting as the user failed.
    virtual std::unique_ptr<UserImpersonation> ImpersonateConsoleUser() = 0;
};

class UiProcesses {
public:
    virtual ~UiProcesses() = default;
    // Opens the process with the rights to wait for its end and to give it handles; null when no
    // such process can be opened.
    virtual std::unique_ptr<UiProcess> Open(uint32_t processId) = 0;
};

} // namespace ports
