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
    FakeUiProcesses::User user = FakeUiProcesses::User::ConsoleUser;
};

thread_local uint32_t impersonatedOnThisThread = 0;

} // namespace

struct FakeUiProcesses::Table {
    mutable std::mutex lock;
    std::map<uint32_t, Process> processes;
    bool failSharing = false;
    int impersonations = 0;
    int reverts = 0;
};

class FakeUiProcesses::Impersonation final : public ports::UserImpersonation {
public:
    Impersonation(std::shared_ptr<Table> table, bool revertFails)
        : table_(std::move(table)), revertFails_(revertFails) {}
    // The thread acts as itself again either way, so no later test inherits the identity.
    ~Impersonation() override { impersonatedOnThisThread = 0; }

    bool Revert() override {
        if (revertFails_) {
            return false;
        }
        if (impersonatedOnThisThread != 0) {
            impersonatedOnThisThread = 0;
            std::lock_guard guard(table_->lock);
            ++table_->reverts;
        }
        return true;
    }

private:
    std::shared_ptr<Table> table_;
    bool revertFails_;
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

    std::unique_ptr<ports::UserImpersonation> ImpersonateConsoleUser() override {
        User user = User::ConsoleUser;
        {
            std::lock_guard guard(table_->lock);
            user = table_->processes.at(processId_).user;
            if (user != User::ConsoleUser && user != User::RevertFails) {
                return nullptr;
            }
            ++table_->impersonations;
        }
        impersonatedOnThisThread = processId_;
        return std::make_unique<Impersonation>(table_, user == User::RevertFails);
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

void FakeUiProcesses::SetUser(uint32_t processId, User user) {
    std::lock_guard guard(table_->lock);
    table_->processes.at(processId).user = user;
}

uint32_t FakeUiProcesses::ImpersonatedOnThisThread() {
    return impersonatedOnThisThread;
}

int FakeUiProcesses::Impersonations() const {
    std::lock_guard guard(table_->lock);
    return table_->impersonations;
}

int FakeUiProcesses::Reverts() const {
    std::lock_guard guard(table_->lock);
    return table_->reverts;
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
