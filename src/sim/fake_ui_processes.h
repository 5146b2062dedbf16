#pragma once

#include "ports/ui_process.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace sim {

// A process table that tests script: they launch and end processes by id, and see how many
// handles to each are open and which events were shared with it. Handles are native waitables.
class FakeUiProcesses final : public ports::UiProcesses {
public:
    FakeUiProcesses();
    ~FakeUiProcesses() override;

    // Opening fails for an id that was never launched or has ended.
    std::unique_ptr<ports::UiProcess> Open(uint32_t processId) override;

    void Launch(uint32_t processId);
    // Ends the process: every handle to it becomes signalled.
    void End(uint32_t processId);
    // Makes ShareEvent fail (answer 0) from now on, or work again.
    void FailSharing(bool fail);

    // What acting as a process's user finds; a launched process is its console user's.
    enum class User {
        ConsoleUser,        // in the active console session, as that session's user
        OtherSession,       // in another session than the active console's
        OtherUser,          // in the console session, as another user than the session's
        UnreadableToken,    // its token cannot be opened or read
        ImpersonationFails, // the system refuses to act as its user
        RevertFails,        // acting as its user works, returning from it is refused
    };
    void SetUser(uint32_t processId, User user);
    // The process whose user the calling thread acts as now; 0 when it acts as itself.
    static uint32_t ImpersonatedOnThisThread();
    // How many times acting as a user began, and how many of those were reverted.
    int Impersonations() const;
    int Reverts() const;

    // Handles to the process that are still open.
    int OpenHandles(uint32_t processId) const;
    // The events shared with the process, in the order they were shared.
    std::vector<ports::Event*> SharedEvents(uint32_t processId) const;

private:
    class Handle;
    class Impersonation;
    struct Table;
    std::shared_ptr<Table> table_;
};

} // namespace sim
