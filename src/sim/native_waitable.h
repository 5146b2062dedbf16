#pragma once

#include "ports/waitable.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace sim {

// The signal state behind one native kernel object; several handles may share one (a named event
// opened twice). Every signal state and every native wait share one process-wide lock, so Signal()
// hands the object to exactly the waiters it can release, in the order they began to wait: all of
// them for a manual-reset object, the first one for an auto-reset object.
class SignalState {
public:
    enum class Reset { Manual, Auto };

    SignalState(Reset mode, bool signalled) : mode_(mode), signalled_(signalled) {}
    SignalState(const SignalState&) = delete;
    SignalState& operator=(const SignalState&) = delete;

    void Signal();
    void Unsignal();

    // Waits until one of the states is signalled (WaitForMultipleObjects with bWaitAll = FALSE):
    // the lowest signalled index wins and only the winner is consumed, if it is auto-reset.
    // The caller has checked the count (1 to ports::kMaxWaitObjects).
    static ports::WaitOutcome WaitAny(std::span<const std::shared_ptr<SignalState>> states,
                                      uint32_t timeoutMs);

private:
    struct Waiter;

    void Release(Waiter& waiter);
    void Take();
    static void Withdraw(Waiter& waiter);

    const Reset mode_;
    bool signalled_;
    std::vector<Waiter*> waiters_; // in the order they began to wait
};

// Base of every object that sim::NativeKernelObjects can wait on; anything else makes the wait
// fail. A new native waitable derives from its port (or ports::Waitable) and from this, and calls
// Signal() when it should release its waiters. A fake process that ends, for instance:
//
//     class FakeProcess final : public ports::Waitable, public sim::NativeWaitable {
//     public:
//         void End() { Signal(); } // stays signalled, as an ended process does
//     };
//
// Waits hold the signal state, not the object, so destroying the object during a wait is safe.
class NativeWaitable {
public:
    NativeWaitable(const NativeWaitable&) = delete;
    NativeWaitable& operator=(const NativeWaitable&) = delete;
    virtual ~NativeWaitable() { alive_.fetch_sub(1); }

    const std::shared_ptr<SignalState>& State() const { return state_; }
    // How many native waitables (events, threads, process handles, …) exist in the process: what
    // a Windows process would count as its open handles to kernel objects.
    static std::size_t Alive() { return alive_.load(); }

protected:
    explicit NativeWaitable(SignalState::Reset mode = SignalState::Reset::Manual,
                            bool signalled = false)
        : state_(std::make_shared<SignalState>(mode, signalled)) {
        alive_.fetch_add(1);
    }
    explicit NativeWaitable(std::shared_ptr<SignalState> shared) : state_(std::move(shared)) {
        alive_.fetch_add(1);
    }

    void Signal() { state_->Signal(); }
    void Unsignal() { state_->Unsignal(); }

private:
    std::shared_ptr<SignalState> state_;
    inline static std::atomic<std::size_t> alive_{0};
};

} // namespace sim
