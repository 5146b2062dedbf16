#pragma once

#include "ports/waitable.h"

#include <cstdint>
#include <optional>

namespace ports {

// A running thread; signalled once its body has returned. Destroying the object only lets go of
// the thread (as closing a thread handle does): it neither waits for nor stops it.
class Thread : public Waitable {
public:
    // The body's return value once the thread has ended; empty while it runs.
    virtual std::optional<uint32_t> ExitCode() const = 0;
};

} // namespace ports
