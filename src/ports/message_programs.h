#pragma once

#include <cstdint>
#include <string>

namespace ports {

// The message program ("QUILLON Message.exe") that tells the user in their session about the
// monitor recording, one instance per message kind. Kind 1 says a recording is running, kind 2
// that its log file is ready.
class MessagePrograms {
public:
    virtual ~MessagePrograms() = default;
    // Starts the kind's program with the optional text (a log file path) when the kind is
    // enabled and not running; true when it runs afterwards.
    virtual bool Start(int32_t kind, const std::u16string& text) = 0;
    // Closes the kind's program and returns once it is gone.
    virtual void Stop(int32_t kind) = 0;
    // Allows (1) or forbids (0) the kind's next start.
    virtual void SetEnabled(int32_t kind, int32_t enabled) = 0;
};

// The two kinds the plug-in uses.
inline constexpr int32_t kMessageRecording = 1;
inline constexpr int32_t kMessageLogReady = 2;

} // namespace ports
