#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ports {

// A process started in the interactive user's session. Its handle is closed when the object goes;
// that neither waits for nor ends the process.
class SessionProcess {
public:
    virtual ~SessionProcess() = default;
    // Waits up to timeoutMs (kInfinite: without limit) for the process to end; true once it has.
    virtual bool WaitForExit(uint32_t timeoutMs) = 0;
    // The exit code of an ended process; empty when it cannot be read.
    virtual std::optional<uint32_t> ExitCode() = 0;
    // Ends the process with the given exit code.
    virtual void Terminate(uint32_t exitCode) = 0;
    virtual uint32_t Id() const = 0;
};

// Starts programs as the user logged on at the console, from a service in session 0.
class UserSession {
public:
    virtual ~UserSession() = default;
    // Starts the command line in the active console session as its user, without a window; null
    // when nobody is logged on at the console or the process cannot be created.
    virtual std::unique_ptr<SessionProcess> Launch(const std::u16string& commandLine) = 0;
    // Full path of "QUILLON Message.exe" in the plug-in's own folder.
    virtual std::u16string MessageProgramPath() = 0;
};

} // namespace ports
