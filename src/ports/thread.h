#pragma once

#include "ports/waitable.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace ports {

// A running thread; signalled once its body has returned. Destroying the object only lets go of
// the thread (as closing a thread handle does): it neither waits for nor stops it.
class Thread : public Waitable {
public:
    // The body's return value once the thread has ended; empty while it runs.
    virtual std::optional<uint32_t> ExitCode() const = 0;
};

// Exit code of a thread whose body threw: the exception ends the thread, never the process. It is
// the code Windows gives a C++ exception that nothing caught.
inline constexpr uint32_t kThreadExceptionExitCode = 0xE06D7363;

// Runs a thread's body and destroys it before returning, so that whatever the body holds is gone
// by the time the thread is signalled. No exception leaves it.
inline uint32_t RunThreadBody(std::function<uint32_t()> body) noexcept {
    try {
        return body();
    } catch (...) {
        return kThreadExceptionExitCode;
    }
}

} // namespace ports
