#include "win32/unique_handle.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using win32::UniqueFileHandle;
using win32::UniqueHandle;
using win32::UniqueModule;

HANDLE NewEventHandle() {
    return ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

bool IsOpen(HANDLE handle) {
    DWORD flags = 0;
    return ::GetHandleInformation(handle, &flags) != FALSE;
}

TEST(UniqueHandle, default_holds_the_empty_value_of_its_kind) {
    EXPECT_EQ(UniqueHandle().get(), nullptr);
    EXPECT_FALSE(UniqueHandle());
    EXPECT_EQ(UniqueFileHandle().get(), INVALID_HANDLE_VALUE);
    EXPECT_FALSE(UniqueFileHandle());
}

TEST(UniqueHandle, destruction_closes_the_handle) {
    const HANDLE raw = NewEventHandle();
    ASSERT_TRUE(IsOpen(raw));
    { UniqueHandle owner(raw); }
    EXPECT_FALSE(IsOpen(raw));
}

TEST(UniqueHandle, reset_closes_the_old_handle_and_holds_the_new_one) {
    const HANDLE first = NewEventHandle();
    const HANDLE second = NewEventHandle();
    UniqueHandle owner(first);
    owner.reset(second);
    EXPECT_FALSE(IsOpen(first));
    EXPECT_EQ(owner.get(), second);
    owner.reset();
    EXPECT_FALSE(IsOpen(second));
    EXPECT_FALSE(owner);
}

TEST(UniqueHandle, release_hands_the_handle_over_open) {
    const HANDLE raw = NewEventHandle();
    UniqueHandle owner(raw);
    EXPECT_EQ(owner.release(), raw);
    EXPECT_FALSE(owner);
    EXPECT_TRUE(IsOpen(raw));
    ::CloseHandle(raw);
}

TEST(UniqueHandle, move_transfers_ownership_and_closes_what_the_target_held) {
    const HANDLE kept = NewEventHandle();
    const HANDLE replaced = NewEventHandle();
    UniqueHandle source(kept);
    UniqueHandle target(replaced);
    target = std::move(source);
    EXPECT_FALSE(source); // NOLINT(bugprone-use-after-move): moved-from is empty by contract
    EXPECT_EQ(target.get(), kept);
    EXPECT_FALSE(IsOpen(replaced));
    UniqueHandle constructed(std::move(target));
    EXPECT_EQ(constructed.get(), kept);
    EXPECT_TRUE(IsOpen(kept));
}

TEST(UniqueHandle, put_closes_the_held_handle_and_takes_a_new_one) {
    const HANDLE original = NewEventHandle();
    UniqueHandle owner(NewEventHandle());
    const HANDLE before = owner.get();
    HANDLE* const slot = owner.put();
    EXPECT_FALSE(IsOpen(before)); // checked now: Windows may hand the value out again below
    EXPECT_FALSE(owner);
    ASSERT_TRUE(::DuplicateHandle(::GetCurrentProcess(), original, ::GetCurrentProcess(), slot, 0,
                                  FALSE, DUPLICATE_SAME_ACCESS));
    EXPECT_TRUE(owner);
    EXPECT_TRUE(IsOpen(owner.get()));
    ::CloseHandle(original);
}

TEST(UniqueFileHandle, failed_open_is_empty_and_a_real_file_is_held) {
    UniqueFileHandle missing(::CreateFileW(L"C:\\no such folder\\no such file", GENERIC_READ, 0,
                                           nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(missing);

    wchar_t folder[MAX_PATH];
    wchar_t path[MAX_PATH];
    ASSERT_NE(::GetTempPathW(MAX_PATH, folder), 0u);
    ASSERT_NE(::GetTempFileNameW(folder, L"uh", 0, path), 0u);
    UniqueFileHandle file(::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                        FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    ASSERT_TRUE(file);
    const HANDLE raw = file.get();
    file.reset();
    EXPECT_FALSE(IsOpen(raw));
    EXPECT_EQ(::GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES); // closed, so deleted
}

TEST(UniqueModule, holds_a_loaded_module_until_reset) {
    UniqueModule module(::LoadLibraryW(L"kernel32.dll"));
    ASSERT_TRUE(module);
    EXPECT_NE(::GetProcAddress(module.get(), "CreateEventW"), nullptr);
    module.reset();
    EXPECT_FALSE(module);
}

} // namespace
