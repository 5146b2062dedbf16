#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace platform {

// The message launcher's way back into the plug-in: the launcher is made with the machine's ports,
// before the plug-in exists, and calls this when the user asks (kind-1 exit code 1) to stop the
// recording. The plug-in binds its handler once it can stop its recorder and unbinds it before the
// recorder goes; unbinding waits for a call in progress, so it must not run while holding a lock
// the handler takes.
class RecordingStopRequest {
public:
    void Bind(std::function<void()> handler) {
        std::lock_guard lock(mutex_);
        handler_ = std::move(handler);
    }
    void Unbind() { Bind(nullptr); }

    // Runs the bound handler; nothing when none is bound.
    void operator()() {
        std::lock_guard lock(mutex_);
        if (handler_) {
            handler_();
        }
    }

private:
    std::mutex mutex_;
    std::function<void()> handler_;
};

} // namespace platform
