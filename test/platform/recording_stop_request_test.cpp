#include "platform/recording_stop_request.h"

#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(RecordingStopRequest, UnboundRequestDoesNothing) {
    platform::RecordingStopRequest request;
    request();
}

TEST(RecordingStopRequest, BoundHandlerRunsOnEveryRequestUntilUnbound) {
    platform::RecordingStopRequest request;
    int calls = 0;
    request.Bind([&] { ++calls; });
    request();
    request();
    request.Unbind();
    request();
    EXPECT_EQ(calls, 2);
}

TEST(RecordingStopRequest, UnbindWaitsForTheCallInProgress) {
    platform::RecordingStopRequest request;
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    bool finished = false;
    request.Bind([&] {
        entered.set_value();
        released.wait();
        finished = true;
    });
    std::thread watcher([&] { request(); });
    entered.get_future().wait();
    std::thread releaser([&] { release.set_value(); });
    request.Unbind();
    EXPECT_TRUE(finished);
    watcher.join();
    releaser.join();
}

} // namespace
