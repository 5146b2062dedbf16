#pragma once

#include "ports/event.h"
#include "ports/waitable.h"

#include <cstdint>
#include <memory>

namespace ports {

// The user interface's process, held open while it records: signalled once the process has ended.
class UiProcess : public Waitable {
public:
    // Gives the process its own handle to event, with the same access, so the user interface can
    // wait on it. Returns that handle's value inside the process, or 0 on failure.
    virtual uint64_t ShareEvent(Event& event) = 0;
};

class UiProcesses {
public:
    virtual ~UiProcesses() = default;
    // Opens the process with the rights to wait for its end and to give it handles; null when no
    // such process can be opened.
    virtual std::unique_ptr<UiProcess> Open(uint32_t processId) = 0;
};

} // namespace ports
