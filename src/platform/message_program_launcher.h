#pragma once

#include "ports/kernel_objects.h"
#include "ports/message_programs.h"
#include "ports/user_session.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace platform {

// How long a message program has to obey the close command before it is terminated.
inline constexpr uint32_t kMessageCloseGraceMs = 2000;

// The message helper table: starts "QUILLON Message.exe" in the user's session once per enabling
// of a kind, watches it on a thread of its own, and closes it on request. Exit code 1 of the kind-1
// program is the user's request to stop the recording, passed on through stopRecording (called on
// the watcher thread). Nothing here is logged.
class MessageProgramLauncher final : public ports::MessagePrograms {
public:
    using StopRecording = std::function<void()>;

    MessageProgramLauncher(ports::UserSession& session, ports::KernelObjects& kernel,
                           StopRecording stopRecording,
                           uint32_t closeGraceMs = kMessageCloseGraceMs);
    // Stops every program still watched, so no watcher outlives the table.
    ~MessageProgramLauncher() override;
    MessageProgramLauncher(const MessageProgramLauncher&) = delete;
    MessageProgramLauncher& operator=(const MessageProgramLauncher&) = delete;

    bool Start(int32_t kind, const std::u16string& text) override;
    void Stop(int32_t kind) override;
    void SetEnabled(int32_t kind, int32_t enabled) override;

    // The running program's process ID, 0 when none was started since the last start attempt.
    uint32_t ProcessId(int32_t kind);

private:
    struct Entry {
        int32_t enabled = 0;
        int32_t stopping = 0; // 1 while a stop is in progress
        std::unique_ptr<ports::Thread> watcher;
        std::shared_ptr<ports::SessionProcess> process;
        uint32_t processId = 0;
    };

    void StartWatcher(int32_t kind, Entry& entry);
    uint32_t Watch(int32_t kind, const std::shared_ptr<ports::SessionProcess>& process);
    void CloseProgram(int32_t kind);
    void Release(Entry& entry, bool onItsWatcher);
    bool OnWatcherOf(int32_t kind);

    ports::UserSession& session_;
    ports::KernelObjects& kernel_;
    const StopRecording stopRecording_;
    const uint32_t closeGraceMs_;
    // Guards the table and the running watchers; no wait happens while it is held.
    std::mutex mutex_;
    std::map<int32_t, Entry> table_;
    // The running watcher threads by thread identifier and the kind each serves, so that a stop
    // a watcher causes does not wait for itself. Not a thread_local: under MinGW that is kept by
    // the run-time's thread keys, whose record of a host thread that asks is never closed when
    // the module is unloaded (a thread handle, an event and two semaphores each time).
    struct Watcher {
        uint64_t threadId;
        int32_t kind;
    };
    std::vector<Watcher> watchers_;
    // Watchers that stopped their own program: they may still be returning through
    // stopRecording, so the destructor waits for them.
    std::vector<std::unique_ptr<ports::Thread>> finishing_;
};

} // namespace platform
