#include "sim/native_kernel_objects.h"
#include "win32/handle_waitable.h"
#include "win32/wide.h"
#include "win32/win32_kernel_objects.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using ports::kInfinite;
using ports::Waitable;
using ports::WaitStatus;

std::u16string UniqueName(const std::u16string& prefix) {
    const auto number = std::to_string(std::random_device{}());
    return prefix + u"MonitorPluginWin32Test." + std::u16string(number.begin(), number.end());
}

HANDLE HandleOf(ports::Waitable& object) {
    return dynamic_cast<win32::HandleWaitable&>(object).Handle();
}

struct Dacl {
    bool present = false;
    bool isNull = false;
};

Dacl DaclOf(HANDLE object) {
    DWORD size = 0;
    ::GetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<BYTE> descriptor(size);
    Dacl dacl;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* acl = nullptr;
    if (size == 0 ||
        !::GetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION, descriptor.data(), size,
                                   &size) ||
        !::GetSecurityDescriptorDacl(descriptor.data(), &present, &acl, &defaulted)) {
        ADD_FAILURE() << "no security descriptor, error " << ::GetLastError();
        return dacl;
    }
    dacl.present = present != FALSE;
    dacl.isNull = acl == nullptr;
    return dacl;
}

class Win32KernelObjectsTest : public ::testing::Test {
protected:
    win32::Win32KernelObjects kernel;
};

TEST_F(Win32KernelObjectsTest, global_event_is_open_to_everyone_through_a_null_dacl) {
    auto event = kernel.NewEvent(true, false, UniqueName(u"Global\\"));
    ASSERT_NE(event, nullptr);
    const auto dacl = DaclOf(HandleOf(*event));
    EXPECT_TRUE(dacl.present);
    EXPECT_TRUE(dacl.isNull);
}

TEST_F(Win32KernelObjectsTest, local_event_keeps_the_default_security) {
    auto event = kernel.NewEvent(true, false, UniqueName(u""));
    ASSERT_NE(event, nullptr);
    const auto dacl = DaclOf(HandleOf(*event));
    EXPECT_FALSE(dacl.present && dacl.isNull);
}

TEST_F(Win32KernelObjectsTest, event_name_reaches_windows_as_given) {
    const auto name = UniqueName(u"Global\\");
    auto event = kernel.NewEvent(false, false, name);
    win32::UniqueHandle opened(::OpenEventW(EVENT_MODIFY_STATE, FALSE, win32::AsWide(name)));
    ASSERT_TRUE(opened);
    ASSERT_TRUE(::SetEvent(opened.get()));
    EXPECT_TRUE(kernel.Wait(*event, 0).Signalled(0));
}

TEST_F(Win32KernelObjectsTest, thread_returning_still_active_reports_it_once_ended) {
    auto thread = kernel.StartThread([] { return static_cast<uint32_t>(STILL_ACTIVE); });
    ASSERT_TRUE(kernel.Wait(*thread, kInfinite).Signalled(0));
    EXPECT_EQ(thread->ExitCode(), static_cast<uint32_t>(STILL_ACTIVE));
}

TEST_F(Win32KernelObjectsTest, native_object_in_a_windows_wait_fails) {
    sim::NativeKernelObjects native;
    auto nativeEvent = native.NewEvent(true, true);
    auto windowsEvent = kernel.NewEvent(true, true);
    Waitable* const objects[] = {windowsEvent.get(), nativeEvent.get()};
    EXPECT_EQ(kernel.WaitAny(objects, 0).status, WaitStatus::Failed);
    EXPECT_EQ(native.WaitAny(objects, 0).status, WaitStatus::Failed);
}

} // namespace
