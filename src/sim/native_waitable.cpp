#include "sim/native_waitable.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace sim {
namespace {

// One lock for all signal states and waits: a wait looks at several states at once and a signal
// satisfies waiters of other states' lists, so finer locks would only add ordering rules.
std::mutex& WaitLock() {
    static std::mutex lock;
    return lock;
}

} // namespace

struct SignalState::Waiter {
    std::span<const std::shared_ptr<SignalState>> states;
    std::optional<std::size_t> winner;
    std::condition_variable wake;
};

void SignalState::Signal() {
    std::lock_guard lock(WaitLock());
    signalled_ = true;
    while (signalled_ && !waiters_.empty()) {
        Release(*waiters_.front());
    }
}

void SignalState::Unsignal() {
    std::lock_guard lock(WaitLock());
    signalled_ = false;
}

// The waiter found nothing signalled when it began and has been released by nobody since, so this
// state is its lowest signalled one.
void SignalState::Release(Waiter& waiter) {
    const auto first = std::find_if(waiter.states.begin(), waiter.states.end(),
                                    [this](const auto& state) { return state.get() == this; });
    waiter.winner = static_cast<std::size_t>(first - waiter.states.begin());
    Withdraw(waiter);
    Take();
    waiter.wake.notify_one();
}

void SignalState::Take() {
    if (mode_ == Reset::Auto) {
        signalled_ = false;
    }
}

void SignalState::Withdraw(Waiter& waiter) {
    for (const auto& state : waiter.states) {
        std::erase(state->waiters_, &waiter);
    }
}

ports::WaitOutcome SignalState::WaitAny(std::span<const std::shared_ptr<SignalState>> states,
                                        uint32_t timeoutMs) {
    std::unique_lock lock(WaitLock());
    for (std::size_t index = 0; index < states.size(); ++index) {
        if (states[index]->signalled_) {
            states[index]->Take();
            return {ports::WaitStatus::Signalled, index};
        }
    }
    if (timeoutMs == 0) {
        return {ports::WaitStatus::TimedOut};
    }

    // Withdraws the waiter however the wait ends (a signal has already withdrawn it).
    struct Registration {
        Waiter& waiter;
        ~Registration() { Withdraw(waiter); }
    };
    Waiter waiter{states, {}, {}};
    const Registration registration{waiter};
    for (const auto& state : states) {
        state->waiters_.push_back(&waiter);
    }

    const auto released = [&waiter] { return waiter.winner.has_value(); };
    if (timeoutMs == ports::kInfinite) {
        waiter.wake.wait(lock, released);
    } else if (!waiter.wake.wait_for(lock, std::chrono::milliseconds(timeoutMs), released)) {
        return {ports::WaitStatus::TimedOut};
    }
    return {ports::WaitStatus::Signalled, *waiter.winner};
}

} // namespace sim
