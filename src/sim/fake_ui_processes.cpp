#include "sim/fake_ui_processes.h"

#include "sim/native_waitable.h"

#include <map>
#include <mutex>

namespace sim {

namespace {

struct Process {
    std::shared_ptr<SignalState> ended =
        std::make_shared<SignalState>(SignalState::Reset::Manual, false);
    bool hasEnded = false;
    int openHandles = 0;
    std::vector<ports::Event*> sharedEvents;
};

} // namespace

struct FakeUiProcesses::Table {
    mutable std::mutex lock;
    std::map<uint32_t, Process> processes;
    bool failSharing = false;
};

class FakeUiProcesses::Handle final : public ports::UiProcess, public NativeWaitable {
public:
    Handle(std::shared_ptr<Table> table, uint32_t processId, Process& process)
        : NativeWaitable(process.ended), table_(std::move(table)), processId_(processId) {}

    ~Handle() override {
        std::lock_guard guard(table_->lock);
        --table_->processes.at(processId_).openHandles;
    }

    uint64_t ShareEvent(ports::Event& event) override {
        std::lock_guard guard(table_->lock);
        if (table_->failSharing) {
            return 0;
        }
        auto& shared = table_->processes.at(processId_).sharedEvents;
        shared.push_back(&event);
        return 0x1000 + 4 * shared.size(); // looks like a handle value
    }

private:
    std::shared_ptr<Table> table_;
    uint32_t processId_;
};

FakeUiProcesses::FakeUiProcesses() : table_(std::make_shared<Table>()) {}
FakeUiProcesses::~FakeUiProcesses() = default;

std::unique_ptr<ports::UiProcess> FakeUiProcesses::Open(uint32_t processId) {
    std::lock_guard guard(table_->lock);
    auto found = table_->processes.find(processId);
    if (found == table_->processes.end() || found->second.hasEnded) {
        return nullptr;
    }
    ++found->second.openHandles;
    return std::make_unique<Handle>(table_, processId, found->second);
}

void FakeUiProcesses::Launch(uint32_t processId) {
    std::lock_guard guard(table_->lock);
    table_->processes[processId] = Process{};
}

void FakeUiProcesses::End(uint32_t processId) {
    std::lock_guard guard(table_->lock);
    Process& process = table_->processes.at(processId);
    process.hasEnded = true;
    process.ended->Signal();
}

void FakeUiProcesses::FailSharing(bool fail) {
    std::lock_guard guard(table_->lock);
    table_->failSharing = fail;
}

int FakeUiProcesses::OpenHandles(uint32_t processId) const {
    std::lock_guard guard(table_->lock);
    auto found = table_->processes.find(processId);
    return found == table_->processes.end() ? 0 : found->second.openHandles;
}

std::vector<ports::Event*> FakeUiProcesses::SharedEvents(uint32_t processId) const {
    std::lock_guard guard(table_->lock);
    auto found = table_->processes.find(processId);
    return found == table_->processes.end() ? std::vector<ports::Event*>{}
                                            : found->second.sharedEvents;
}

} // namespace sim
