#include "host/process_handles.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace test_host {
namespace {

TEST(HostProcessHandles, a_new_handle_counts_and_a_closed_one_no_longer) {
    const auto before = OpenHandleCount();
    ASSERT_TRUE(before.has_value());
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(OpenHandleCount(), *before + 1);
    CloseHandle(event);
    EXPECT_EQ(OpenHandleCount(), before);
}

} // namespace
} // namespace test_host
