#pragma once
// Native kernel objects on virtual time, for the workers' long periods: a timed wait ends by its
// time-out only when the test moves the fake clock up to its deadline, never by real time. Waits
// of 0 and without time-out are the real ones.
#include "ports/kernel_objects.h"
#include "sim/fake_clock.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <vector>

class VirtualTimeKernel final : public ports::KernelObjects {
public:
    VirtualTimeKernel(ports::KernelObjects& real, sim::FakeClock& clock)
        : real_(real), clock_(clock) {}

    std::unique_ptr<ports::Event> NewEvent(bool manualReset, bool initiallySet,
                                           const std::u16string& name = {}) override {
        return real_.NewEvent(manualReset, initiallySet, name);
    }
    ports::OpenedEvent OpenExistingEvent(const std::u16string& name) override {
        return real_.OpenExistingEvent(name);
    }
    std::unique_ptr<ports::Thread> StartThread(std::function<uint32_t()> body) override {
        return real_.StartThread(std::move(body));
    }
    std::unique_ptr<ports::CriticalSection> NewCriticalSection() override {
        return real_.NewCriticalSection();
    }
    void Sleep(uint32_t milliseconds) override { real_.Sleep(milliseconds); }
    uint64_t CurrentThreadId() override { return real_.CurrentThreadId(); }

    ports::WaitOutcome WaitAny(std::span<ports::Waitable* const> objects,
                               uint32_t timeoutMs) override {
        if (timeoutMs == 0 || timeoutMs == ports::kInfinite ||
            objects.size() >= ports::kMaxWaitObjects) {
            return real_.WaitAny(objects, timeoutMs);
        }
        const std::shared_ptr<ports::Event> expired = real_.NewEvent(true, false);
        std::list<Waiter>::iterator waiter;
        {
            std::lock_guard lock(mutex_);
            waiter = waiters_.insert(
                waiters_.end(), {clock_.ProcessMilliseconds() + timeoutMs, timeoutMs, expired});
        }
        changed_.notify_all();
        std::vector<ports::Waitable*> all(objects.begin(), objects.end());
        all.push_back(expired.get());
        ports::WaitOutcome outcome = real_.WaitAny(all, ports::kInfinite);
        {
            std::lock_guard lock(mutex_);
            waiters_.erase(waiter);
        }
        if (outcome.Signalled(objects.size())) {
            outcome = {ports::WaitStatus::TimedOut, 0};
        }
        return outcome;
    }

    // Waits (at most a minute of real time) for a pending wait of `timeoutMs`, then moves the
    // clock to its deadline, which ends it and every wait due by then. False when none came.
    bool Expire(uint32_t timeoutMs) {
        std::unique_lock lock(mutex_);
        const auto pending = [&] {
            return std::find_if(waiters_.begin(), waiters_.end(), [&](const Waiter& waiter) {
                return waiter.timeoutMs == timeoutMs &&
                       waiter.deadline > clock_.ProcessMilliseconds();
            });
        };
        if (!changed_.wait_for(lock, std::chrono::minutes(1),
                               [&] { return pending() != waiters_.end(); })) {
            return false;
        }
        const int64_t now = pending()->deadline;
        clock_.SetProcessMilliseconds(now);
        for (const Waiter& waiter : waiters_) {
            if (waiter.deadline <= now) {
                waiter.expired->Set();
            }
        }
        return true;
    }

    // Waits (at most a minute of real time) until a wait of `timeoutMs` is pending.
    bool AwaitWait(uint32_t timeoutMs) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::minutes(1), [&] {
            return std::any_of(waiters_.begin(), waiters_.end(), [&](const Waiter& waiter) {
                return waiter.timeoutMs == timeoutMs &&
                       waiter.deadline > clock_.ProcessMilliseconds();
            });
        });
    }

private:
    struct Waiter {
        int64_t deadline;
        uint32_t timeoutMs;
        std::shared_ptr<ports::Event> expired;
    };

    ports::KernelObjects& real_;
    sim::FakeClock& clock_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::list<Waiter> waiters_;
};
