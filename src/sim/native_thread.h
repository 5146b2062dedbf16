#pragma once

#include "ports/thread.h"
#include "sim/native_waitable.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace sim {

// A body running on a std::thread. The thread holds the signal state and the exit code with this
// handle, so either may go first: destroying the handle, on any thread, only lets go. A handle
// destroyed after its body has returned joins the thread (it is only leaving), so a process that
// waited for its threads holds none of them afterwards; one destroyed earlier, or on the thread
// itself, detaches it.
class NativeThread final : public ports::Thread, public NativeWaitable {
public:
    // Throws std::system_error when no thread can be started.
    explicit NativeThread(std::function<uint32_t()> body);
    ~NativeThread() override;

    std::optional<uint32_t> ExitCode() const override;

private:
    struct Outcome {
        std::atomic<bool> ended{false};
        uint32_t exitCode = 0; // written before `ended`
    };

    std::shared_ptr<Outcome> outcome_ = std::make_shared<Outcome>();
    std::thread thread_;
};

} // namespace sim
