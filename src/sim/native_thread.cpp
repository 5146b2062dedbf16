#include "sim/native_thread.h"

#include <thread>

namespace sim {

NativeThread::NativeThread(std::function<uint32_t()> body)
    : thread_([body = std::move(body), state = State(), outcome = outcome_]() mutable {
          outcome->exitCode = ports::RunThreadBody(std::move(body));
          outcome->ended.store(true, std::memory_order_release);
          state->Signal();
      }) {}

NativeThread::~NativeThread() {
    if (outcome_->ended.load(std::memory_order_acquire) &&
        thread_.get_id() != std::this_thread::get_id()) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

std::optional<uint32_t> NativeThread::ExitCode() const {
    if (!outcome_->ended.load(std::memory_order_acquire)) {
        return std::nullopt;
    }
    return outcome_->exitCode;
}

} // namespace sim
