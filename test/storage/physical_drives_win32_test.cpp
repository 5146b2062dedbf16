#include "disk_enum_key.h"
#include "process_handles.h"
#include "storage/nvme_health_query.h"
#include "storage_machine.h"
#include "win32/win32_physical_drives.h"
#include "win32/win32_system_messages.h"

#include <gtest/gtest.h>

namespace {

using Strings = std::vector<std::string>;

// The system's error code for a key that is not there.
constexpr int32_t kFileNotFound = 2;

class PhysicalDrivesWin32Test : public ::testing::Test {
protected:
    DiskEnumKey restore;
    win32::Win32PhysicalDrives drives;
};

TEST_F(PhysicalDrivesWin32Test, a_missing_disk_enum_key_gives_the_open_error) {
    DiskEnumKey::Remove();
    const auto diskEnum = drives.ReadDiskEnum();
    EXPECT_EQ(diskEnum.OpenError, kFileNotFound);
    EXPECT_FALSE(diskEnum.Count);
}

TEST_F(PhysicalDrivesWin32Test, the_dword_count_is_read) {
    ASSERT_TRUE(DiskEnumKey::SetCount(3));
    const auto diskEnum = drives.ReadDiskEnum();
    EXPECT_EQ(diskEnum.OpenError, 0);
    EXPECT_EQ(diskEnum.Count, 3u);
}

TEST_F(PhysicalDrivesWin32Test, a_count_that_is_not_a_dword_is_missing) {
    DiskEnumKey::Remove();
    ASSERT_TRUE(DiskEnumKey::SetCountText(u"3"));
    EXPECT_FALSE(drives.ReadDiskEnum().Count);
    ASSERT_TRUE(DiskEnumKey::SetCountQword(3));
    EXPECT_FALSE(drives.ReadDiskEnum().Count);
}

TEST_F(PhysicalDrivesWin32Test, a_drive_that_does_not_exist_does_not_open) {
    EXPECT_EQ(drives.Open(250), nullptr);
    EXPECT_EQ(drives.Open(0x80000000u), nullptr);
}

TEST_F(PhysicalDrivesWin32Test, drive_0_opens_but_is_not_an_nvme_drive) {
    EXPECT_NE(drives.Open(0), nullptr);
    EXPECT_EQ(storage::NVMeDrive::IsNVMe(drives, 0), nullptr);
}

TEST_F(PhysicalDrivesWin32Test, the_health_query_on_drive_0_is_refused_or_unreadable) {
    storage::NVMeDrive drive(drives.Open(0));
    int32_t code = 77;
    uint32_t counter = 88;
    EXPECT_FALSE(drive.ReadHealthLog(&code, &counter));
    EXPECT_EQ(code, 77);
    EXPECT_EQ(counter, 88u);
}

TEST_F(PhysicalDrivesWin32Test, a_query_into_no_room_fails_without_writing) {
    auto drive = drives.Open(0);
    ASSERT_NE(drive, nullptr);
    const std::array<uint8_t, storage::device_query::kQuerySize> query{};
    EXPECT_FALSE(drive->QueryProperty(query, {}));
    EXPECT_FALSE(drive->QueryProperty({}, {}));
}

TEST_F(PhysicalDrivesWin32Test, enumeration_on_the_prefix_finds_no_nvme_drive) {
    ASSERT_TRUE(DiskEnumKey::SetCount(2));
    StorageMachine machine;
    storage::NVMeDrives nvme(*machine.plugin, drives);
    nvme.EnumerateNVMeDrives();
    EXPECT_TRUE(nvme.Drives().empty());
    EXPECT_EQ(machine.Logs(), Strings{"6 Success get Disk Enum Count: 2"});
}

TEST_F(PhysicalDrivesWin32Test, an_open_drive_holds_a_handle_until_it_goes) {
    drives.Open(0); // the system's own first-use handles are opened here
    const uintptr_t free = NextHandleValue();
    auto drive = drives.Open(0);
    ASSERT_NE(drive, nullptr);
    EXPECT_NE(NextHandleValue(), free);
    drive.reset();
    EXPECT_EQ(NextHandleValue(), free);
}

TEST_F(PhysicalDrivesWin32Test, enumerating_and_reading_leave_no_handle_behind) {
    ASSERT_TRUE(DiskEnumKey::SetCount(3));
    StorageMachine machine;
    storage::NVMeDrives nvme(*machine.plugin, drives);
    nvme.EnumerateNVMeDrives(); // the system's own first-use handles are opened here
    const uintptr_t free = NextHandleValue();
    for (int round = 0; round < 5; ++round) {
        nvme.EnumerateNVMeDrives();
        std::u16string health;
        std::u16string units;
        storage::NVMeDrive(drives.Open(0)).GetHealthString(health, units);
        nvme.Close();
    }
    EXPECT_EQ(NextHandleValue(), free);
}

TEST_F(PhysicalDrivesWin32Test, enumeration_without_the_key_logs_the_error) {
    DiskEnumKey::Remove();
    StorageMachine machine;
    storage::NVMeDrives nvme(*machine.plugin, drives);
    nvme.EnumerateNVMeDrives();
    EXPECT_EQ(machine.Logs(), Strings{"6 Failed to Open Disk Enum: 2"});
}

TEST(SystemMessagesWin32, known_codes_have_the_system_text_and_others_the_hex_code) {
    win32::Win32SystemMessages messages;
    const std::u16string success = messages.Text(0);
    EXPECT_FALSE(success.empty());
    EXPECT_NE(success.substr(0, 2), u"0x");
    EXPECT_EQ(messages.Text(static_cast<int32_t>(0xA0800005u)), u"0xA0800005");
    EXPECT_EQ(messages.Text(static_cast<int32_t>(0xA0802001u)), u"0xA0802001");
}

} // namespace
