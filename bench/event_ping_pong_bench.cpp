// Round trips between two threads: the native auto-reset events (one process-wide wait lock,
// per-waiter condition variables) against a bare mutex and condition variable.
#include "sim/native_kernel_objects.h"

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

using ports::kInfinite;

void NativeEventPingPong(benchmark::State& state) {
    sim::NativeKernelObjects kernel;
    auto ping = kernel.NewEvent(false, false);
    auto pong = kernel.NewEvent(false, false);
    auto stop = kernel.NewEvent(true, false);
    auto partner = kernel.StartThread([&] {
        ports::Waitable* const objects[] = {ping.get(), stop.get()};
        while (kernel.WaitAny(objects, kInfinite).Signalled(0)) {
            pong->Set();
        }
        return 0u;
    });
    for (auto _ : state) {
        ping->Set();
        kernel.Wait(*pong, kInfinite);
    }
    stop->Set();
    kernel.Wait(*partner, kInfinite);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(NativeEventPingPong)->UseRealTime();

// The same exchange written directly on the standard primitives.
void StdConditionVariablePingPong(benchmark::State& state) {
    std::mutex mutex;
    std::condition_variable changed;
    enum class Turn { Main, Partner, Stop } turn = Turn::Main;
    std::thread partner([&] {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [&] { return turn != Turn::Main; });
            if (turn == Turn::Stop) {
                return;
            }
            turn = Turn::Main;
            changed.notify_all();
        }
    });
    for (auto _ : state) {
        std::unique_lock lock(mutex);
        turn = Turn::Partner;
        changed.notify_all();
        changed.wait(lock, [&] { return turn == Turn::Main; });
    }
    {
        std::lock_guard lock(mutex);
        turn = Turn::Stop;
    }
    changed.notify_all();
    partner.join();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(StdConditionVariablePingPong)->UseRealTime();

} // namespace
