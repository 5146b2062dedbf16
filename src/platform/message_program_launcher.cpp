#include "platform/message_program_launcher.h"

#include "platform/message_command_line.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace platform {
namespace {

// Exit code of a watched program whose exit code cannot be read (E_FAIL).
constexpr uint32_t kUnreadableExitCode = 0x80004005;
// The kind-1 program ends with this code when the user asks to stop the recording.
constexpr uint32_t kStopRecordingExitCode = 1;

} // namespace

MessageProgramLauncher::MessageProgramLauncher(ports::UserSession& session,
                                               ports::KernelObjects& kernel,
                                               StopRecording stopRecording, uint32_t closeGraceMs)
    : session_(session), kernel_(kernel), stopRecording_(std::move(stopRecording)),
      closeGraceMs_(closeGraceMs) {}

MessageProgramLauncher::~MessageProgramLauncher() {
    std::vector<int32_t> watched;
    {
        std::lock_guard lock(mutex_);
        for (const auto& [kind, entry] : table_) {
            if (entry.watcher) {
                watched.push_back(kind);
            }
        }
    }
    for (const int32_t kind : watched) {
        Stop(kind);
    }
    std::vector<std::unique_ptr<ports::Thread>> finishing;
    {
        std::lock_guard lock(mutex_);
        finishing.swap(finishing_);
    }
    for (const auto& watcher : finishing) {
        kernel_.Wait(*watcher, ports::kInfinite);
    }
}

bool MessageProgramLauncher::Start(int32_t kind, const std::u16string& text) {
    std::lock_guard lock(mutex_);
    Entry& entry = table_[kind];
    if (entry.enabled != 0 && !entry.watcher) {
        entry.processId = 0;
        const auto commandLine = ShowMessageCommandLine(session_.MessageProgramPath(), kind, text);
        std::unique_ptr<ports::SessionProcess> process =
            commandLine ? session_.Launch(*commandLine) : nullptr;
        if (process) {
            entry.processId = process->Id();
            entry.process = std::move(process);
            StartWatcher(kind, entry);
        }
    }
    return entry.watcher != nullptr;
}

void MessageProgramLauncher::StartWatcher(int32_t kind, Entry& entry) {
    entry.watcher =
        kernel_.StartThread([this, kind, process = entry.process] { return Watch(kind, process); });
    entry.enabled = entry.watcher ? 0 : 1;
    entry.stopping = 0;
}

uint32_t MessageProgramLauncher::Watch(int32_t kind,
                                       const std::shared_ptr<ports::SessionProcess>& process) {
    const uint64_t threadId = kernel_.CurrentThreadId();
    {
        std::lock_guard lock(mutex_);
        watchers_.push_back({threadId, kind});
    }
    process->WaitForExit(ports::kInfinite);
    const std::optional<uint32_t> exitCode = process->ExitCode();
    if (exitCode && kind == ports::kMessageRecording && *exitCode == kStopRecordingExitCode &&
        stopRecording_) {
        stopRecording_();
    }
    std::lock_guard lock(mutex_);
    std::erase_if(watchers_, [&](const Watcher& watcher) { return watcher.threadId == threadId; });
    return exitCode.value_or(kUnreadableExitCode);
}

void MessageProgramLauncher::Stop(int32_t kind) {
    std::shared_ptr<ports::SessionProcess> process;
    ports::Thread* watcher = nullptr;
    {
        std::lock_guard lock(mutex_);
        Entry& entry = table_[kind];
        if (entry.stopping != 0) {
            return;
        }
        entry.stopping = 1;
        process = entry.process;
        watcher = entry.watcher.get();
    }
    // Only this stop clears the watcher, and starts are refused while it is held, so the pointer
    // stays valid until the table is updated below.
    const bool onItsWatcher = OnWatcherOf(kind);
    if (watcher != nullptr) {
        CloseProgram(kind);
        if (process && !process->WaitForExit(closeGraceMs_)) {
            process->Terminate(0);
        }
        if (!onItsWatcher) {
            kernel_.Wait(*watcher, ports::kInfinite);
        }
    }
    std::lock_guard lock(mutex_);
    Entry& entry = table_[kind];
    if (watcher != nullptr) {
        Release(entry, onItsWatcher);
    }
    entry.stopping = 0;
}

void MessageProgramLauncher::Release(Entry& entry, bool onItsWatcher) {
    if (onItsWatcher) {
        std::erase_if(finishing_,
                      [](const auto& finished) { return finished->ExitCode().has_value(); });
        finishing_.push_back(std::move(entry.watcher));
    }
    entry.watcher.reset();
    entry.process.reset();
}

void MessageProgramLauncher::CloseProgram(int32_t kind) {
    const std::unique_ptr<ports::SessionProcess> closer =
        session_.Launch(CloseMessageCommandLine(session_.MessageProgramPath(), kind));
    if (closer) {
        closer->WaitForExit(ports::kInfinite);
    }
}

bool MessageProgramLauncher::OnWatcherOf(int32_t kind) {
    const uint64_t caller = kernel_.CurrentThreadId();
    std::lock_guard lock(mutex_);
    return std::any_of(watchers_.begin(), watchers_.end(), [&](const Watcher& watcher) {
        return watcher.threadId == caller && watcher.kind == kind;
    });
}

void MessageProgramLauncher::SetEnabled(int32_t kind, int32_t enabled) {
    std::lock_guard lock(mutex_);
    table_[kind].enabled = enabled;
}

uint32_t MessageProgramLauncher::ProcessId(int32_t kind) {
    std::lock_guard lock(mutex_);
    const auto found = table_.find(kind);
    return found == table_.end() ? 0 : found->second.processId;
}

} // namespace platform
