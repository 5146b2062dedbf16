#include "sim/fault_plan.h"

namespace sim {

void FaultPlan::FailEvery(std::string operation) {
    FailCall(std::move(operation), 0);
}

void FaultPlan::FailCall(std::string operation, std::size_t nth) {
    std::lock_guard lock(mutex_);
    target_ = std::move(operation);
    nth_ = nth;
    targetCalls_ = 0;
}

void FaultPlan::FailNothing() {
    FailCall({}, 0);
}

bool FaultPlan::Fails(std::string_view operation) {
    std::lock_guard lock(mutex_);
    const auto [entry, added] = calls_.try_emplace(std::string(operation), 0);
    if (added) {
        seen_.push_back(entry->first);
    }
    ++entry->second;
    if (target_.empty() || operation != target_) {
        return false;
    }
    ++targetCalls_;
    const bool fails = nth_ == 0 || targetCalls_ == nth_;
    failed_ += fails ? 1 : 0;
    return fails;
}

std::vector<std::string> FaultPlan::Operations() const {
    std::lock_guard lock(mutex_);
    return seen_;
}

std::size_t FaultPlan::Failed() const {
    std::lock_guard lock(mutex_);
    return failed_;
}

} // namespace sim
