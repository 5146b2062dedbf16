#pragma once

#include "ports/event.h"

#include <cstdint>
#include <memory>
#include <string>

namespace ports {

// An event reached by its global name, and the system error when it could not be.
struct SharedEvent {
    std::unique_ptr<Event> event; // null on failure
    uint32_t error = 0;           // the system error of the failure; 0 on success
};

// Events that the service instance and the user-session instances of the plug-in share by a
// "Global\" name. They can be waited on with the KernelObjects of the same machine.
class SharedEvents {
public:
    virtual ~SharedEvents() = default;
    // A manual-reset event, initially clear, whose null access list lets every process open it;
    // an event of that name that already exists is opened instead.
    virtual SharedEvent Create(const std::u16string& name) = 0;
    // Opens the existing event with full access; fails (error 2, not found) when there is none.
    virtual SharedEvent Open(const std::u16string& name) = 0;
};

// The system error for a name that no object carries (ERROR_FILE_NOT_FOUND).
inline constexpr uint32_t kErrorNotFound = 2;

} // namespace ports
