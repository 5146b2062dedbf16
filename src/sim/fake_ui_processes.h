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

    // Handles to the process that are still open.
    int OpenHandles(uint32_t processId) const;
    // The events shared with the process, in the order they were shared.
    std::vector<ports::Event*> SharedEvents(uint32_t processId) const;

private:
    class Handle;
    struct Table;
    std::shared_ptr<Table> table_;
};

} // namespace sim
