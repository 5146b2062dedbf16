#include "storage_machine.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using sim::FakePhysicalDrives;
using storage::NVMeDrive;
using Strings = std::vector<std::string>;

class NVMeDriveTest : public ::testing::Test {
protected:
    StorageMachine machine;
};

TEST_F(NVMeDriveTest, count_0_finds_no_drives_and_sends_no_control_calls) {
    machine.physical.SetDiskEnum({0, 0});
    machine.physical.SetDrive(0, FakePhysicalDrives::NvmeDrive(0, 1));
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_TRUE(machine.nvme.Drives().empty());
    EXPECT_EQ(machine.physical.OpenCount(), 0u);
    EXPECT_EQ(machine.physical.QueryCount(), 0u);
    EXPECT_EQ(machine.Logs(), Strings{"6 Success get Disk Enum Count: 0"});
}

TEST_F(NVMeDriveTest, missing_count_finds_no_drives_and_logs_no_count) {
    machine.physical.SetDiskEnum({0, std::nullopt});
    machine.physical.SetDrive(0, FakePhysicalDrives::NvmeDrive(0, 1));
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_TRUE(machine.nvme.Drives().empty());
    EXPECT_EQ(machine.physical.OpenCount(), 0u);
    EXPECT_EQ(machine.physical.QueryCount(), 0u);
    EXPECT_TRUE(machine.Logs().empty());
}

TEST_F(NVMeDriveTest, disk_enum_key_that_cannot_be_opened_logs_the_error_and_finds_nothing) {
    machine.physical.SetDiskEnum({2, 3});
    machine.physical.SetDrive(0, FakePhysicalDrives::NvmeDrive(0, 1));
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_TRUE(machine.nvme.Drives().empty());
    EXPECT_EQ(machine.physical.OpenCount(), 0u);
    EXPECT_EQ(machine.Logs(), Strings{"6 Failed to Open Disk Enum: 2"});
}

TEST_F(NVMeDriveTest, keeps_nvme_drives_in_drive_order_and_skips_the_others_silently) {
    machine.physical.SetDiskEnum({0, 4});
    machine.physical.SetDrive(0, FakePhysicalDrives::SataDrive());
    machine.physical.SetDrive(1, FakePhysicalDrives::NvmeDrive(0, 11));
    machine.physical.SetDrive(2, {false, {}, {}}); // does not open
    machine.physical.SetDrive(3, FakePhysicalDrives::NvmeDrive(0x10, 33));
    machine.nvme.EnumerateNVMeDrives();
    ASSERT_EQ(machine.nvme.Drives().size(), 2u);
    EXPECT_EQ(machine.Logs(),
              (Strings{"6 Success get Disk Enum Count: 4", "6 PhysicalDrive1 is NVMe Drive",
                       "6 PhysicalDrive3 is NVMe Drive"}));
    std::u16string health;
    std::u16string units;
    for (NVMeDrive& drive : machine.nvme.Drives()) {
        ASSERT_TRUE(drive.GetHealthString(health, units));
    }
    EXPECT_EQ(health, u"0x00,0x10");
    EXPECT_EQ(units, u"11,33");
}

TEST_F(NVMeDriveTest, a_drive_at_or_above_the_count_is_never_examined) {
    machine.physical.SetDiskEnum({0, 1});
    machine.physical.SetDrive(0, FakePhysicalDrives::NvmeDrive(0, 1));
    machine.physical.SetDrive(1, FakePhysicalDrives::NvmeDrive(0, 2));
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_EQ(machine.nvme.Drives().size(), 1u);
    EXPECT_EQ(machine.physical.OpenCount(), 1u);
}

TEST_F(NVMeDriveTest, a_drive_that_is_not_nvme_is_closed_at_once) {
    machine.physical.SetDiskEnum({0, 2});
    machine.physical.SetDrive(0, FakePhysicalDrives::SataDrive());
    machine.physical.SetDrive(1, FakePhysicalDrives::NvmeDrive(0, 1));
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_EQ(machine.physical.OpenCount(), 2u);
    EXPECT_EQ(machine.physical.LiveCount(), 1);
}

TEST_F(NVMeDriveTest, close_closes_every_drive) {
    machine.Drives({FakePhysicalDrives::NvmeDrive(0, 1), FakePhysicalDrives::NvmeDrive(0, 2)});
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_EQ(machine.physical.LiveCount(), 2);
    machine.nvme.Close();
    EXPECT_TRUE(machine.nvme.Drives().empty());
    EXPECT_EQ(machine.physical.LiveCount(), 0);
}

TEST_F(NVMeDriveTest, enumerating_again_replaces_the_drives_and_closes_the_old_ones) {
    machine.Drives({FakePhysicalDrives::NvmeDrive(0, 1)});
    machine.nvme.EnumerateNVMeDrives();
    machine.nvme.EnumerateNVMeDrives();
    EXPECT_EQ(machine.nvme.Drives().size(), 1u);
    EXPECT_EQ(machine.physical.LiveCount(), 1);
}

TEST_F(NVMeDriveTest, is_nvme_sends_the_12_byte_device_property_query) {
    machine.Drives({FakePhysicalDrives::NvmeDrive(0, 1)});
    EXPECT_NE(NVMeDrive::IsNVMe(machine.physical, 0), nullptr);
    ASSERT_EQ(machine.physical.Queries().size(), 1u);
    EXPECT_EQ(machine.physical.Queries()[0], std::vector<uint8_t>(12, 0));
}

TEST_F(NVMeDriveTest, is_nvme_only_for_bus_type_17) {
    for (const uint32_t bus : {0u, 11u, 16u, 18u, 17u + 256u}) {
        machine.physical.SetDrive(0, {true, FakePhysicalDrives::DeviceDescriptorWithBus(bus), {}});
        EXPECT_EQ(NVMeDrive::IsNVMe(machine.physical, 0), nullptr) << bus;
    }
    EXPECT_EQ(machine.physical.LiveCount(), 0);
}

TEST_F(NVMeDriveTest, is_nvme_refuses_a_failed_query_or_an_answer_too_short_for_the_bus_type) {
    auto descriptor = FakePhysicalDrives::DeviceDescriptorWithBus(17);
    descriptor.Returned = std::nullopt;
    machine.physical.SetDrive(0, {true, descriptor, {}});
    EXPECT_EQ(NVMeDrive::IsNVMe(machine.physical, 0), nullptr);
    descriptor.Returned = 31;
    machine.physical.SetDrive(0, {true, descriptor, {}});
    EXPECT_EQ(NVMeDrive::IsNVMe(machine.physical, 0), nullptr);
    descriptor.Returned = 32;
    machine.physical.SetDrive(0, {true, descriptor, {}});
    EXPECT_NE(NVMeDrive::IsNVMe(machine.physical, 0), nullptr);
}

TEST_F(NVMeDriveTest, is_nvme_of_a_drive_that_does_not_open_gives_nothing) {
    EXPECT_EQ(NVMeDrive::IsNVMe(machine.physical, 5), nullptr);
    EXPECT_EQ(machine.physical.QueryCount(), 0u);
}

class HealthLogTest : public NVMeDriveTest {
protected:
    NVMeDrive& DriveAnswering(FakePhysicalDrives::Answer answer) {
        machine.Drives({{true, FakePhysicalDrives::DeviceDescriptorWithBus(17), answer}});
        machine.nvme.EnumerateNVMeDrives();
        return machine.nvme.Drives().at(0);
    }
    NVMeDrive& DriveWith(uint8_t warning, uint64_t counter) {
        return DriveAnswering(FakePhysicalDrives::HealthAnswer(warning, counter));
    }
    // The health text of a drive whose page has this critical-warning byte.
    std::u16string HealthTextOf(uint8_t warning) {
        std::u16string health;
        std::u16string units;
        EXPECT_TRUE(DriveWith(warning, 1).GetHealthString(health, units));
        return health;
    }
};

TEST_F(HealthLogTest, read_health_log_sends_the_4144_byte_log_page_query) {
    int32_t code = 0;
    uint32_t counter = 0;
    ASSERT_TRUE(DriveWith(0, 1).ReadHealthLog(&code, &counter));
    const auto query = machine.physical.Queries().back();
    ASSERT_EQ(query.size(), 4144u);
    const std::vector<uint8_t> head{50, 0, 0, 0, 0, 0, 0, 0, 3,  0, 0, 0, 2, 0, 0, 0,
                                    2,  0, 0, 0, 0, 0, 0, 0, 40, 0, 0, 0, 0, 2, 0, 0};
    EXPECT_EQ(std::vector<uint8_t>(query.begin(), query.begin() + 32), head);
    EXPECT_EQ(std::vector<uint8_t>(query.begin() + 32, query.end()),
              std::vector<uint8_t>(4144 - 32, 0));
}

TEST_F(HealthLogTest, warning_0x05_gives_0x04) {
    EXPECT_EQ(HealthTextOf(0x05), u"0x04");
}

TEST_F(HealthLogTest, warning_0x21_gives_not_0x1f) {
    EXPECT_EQ(HealthTextOf(0x21), u"~0x1f");
}

TEST_F(HealthLogTest, warning_0x10_gives_0x10) {
    EXPECT_EQ(HealthTextOf(0x10), u"0x10");
}

TEST_F(HealthLogTest, counter_0x1_0000_0005_is_reported_as_5) {
    int32_t code = -1;
    uint32_t counter = 0;
    ASSERT_TRUE(DriveWith(0, 0x1'0000'0005ull).ReadHealthLog(&code, &counter));
    EXPECT_EQ(code, 0);
    EXPECT_EQ(counter, 5u);
}

TEST_F(HealthLogTest, counter_0x8000_0000_is_written_as_minus_2147483648) {
    std::u16string health;
    std::u16string units;
    ASSERT_TRUE(DriveWith(0, 0x8000'0000ull).GetHealthString(health, units));
    EXPECT_EQ(units, u"-2147483648");
}

TEST_F(HealthLogTest, version_40_is_unreadable_and_leaves_the_outputs_untouched) {
    auto answer = FakePhysicalDrives::HealthAnswer(0x10, 99);
    answer.Bytes[0] = 40;
    NVMeDrive& drive = DriveAnswering(answer);
    int32_t code = 123;
    uint32_t counter = 456;
    EXPECT_FALSE(drive.ReadHealthLog(&code, &counter));
    EXPECT_EQ(code, 123);
    EXPECT_EQ(counter, 456u);
    std::u16string health = u"0x00";
    std::u16string units = u"7";
    EXPECT_FALSE(drive.GetHealthString(health, units));
    EXPECT_EQ(health, u"0x00");
    EXPECT_EQ(units, u"7");
}

TEST_F(HealthLogTest, a_failed_query_is_unreadable) {
    FakePhysicalDrives::Answer failed = FakePhysicalDrives::HealthAnswer(0, 1);
    failed.Returned = std::nullopt;
    int32_t code = 0;
    uint32_t counter = 0;
    EXPECT_FALSE(DriveAnswering(failed).ReadHealthLog(&code, &counter));
}

TEST_F(HealthLogTest, get_health_string_appends_after_a_comma_when_the_texts_are_not_empty) {
    std::u16string health = u"0x00";
    std::u16string units = u"123456";
    ASSERT_TRUE(DriveWith(0, 98765).GetHealthString(health, units));
    EXPECT_EQ(health, u"0x00,0x00");
    EXPECT_EQ(units, u"123456,98765");
}

TEST_F(HealthLogTest, two_workers_read_the_same_drive_at_once_each_with_its_own_block) {
    NVMeDrive& drive = DriveWith(0x08, 42);
    auto readMany = [&drive](std::u16string& health, std::u16string& units) {
        for (int i = 0; i < 50; ++i) {
            health.clear();
            units.clear();
            if (!drive.GetHealthString(health, units)) {
                return;
            }
        }
    };
    std::u16string health[2];
    std::u16string units[2];
    std::thread other(readMany, std::ref(health[1]), std::ref(units[1]));
    readMany(health[0], units[0]);
    other.join();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(health[i], u"0x08");
        EXPECT_EQ(units[i], u"42");
    }
}

} // namespace
