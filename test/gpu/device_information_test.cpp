#include "gpu_machine.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace gpu_test;
using ::testing::ElementsAre;

class DeviceInformationTest : public ::testing::Test {
protected:
    DeviceInformationTest() {
        machine.adapters.Change([](auto& answers) {
            ports::GPUBasicInfo& basic = answers.Device->Basic;
            basic.Vendor = 1;
            basic.EmptyFlags = 0x10;
            const std::u16string name = u"NVIDIA GeForce RTX 4090 Laptop GPU";
            std::copy(name.begin(), name.end(), basic.FullName);
            basic.MemorySize = 16384;
            basic.BusWidth = 256;
        });
    }

    ValueSet Device() {
        ValueSet answer;
        machine.gpu.GetGPUDeviceInformation(answer);
        return answer;
    }

    GpuMachine machine;
};

TEST_F(DeviceInformationTest, writes_the_six_keys_with_their_kinds) {
    const ValueSet answer = Device();
    EXPECT_THAT(KeysOf(answer), ElementsAre(std::pair{"EmptyFlags", Kind::UInt32},
                                            std::pair{"GPUBandWidth", Kind::Int32},
                                            std::pair{"GPUBusWidth", Kind::Int32},
                                            std::pair{"GPUFullName", Kind::WideString},
                                            std::pair{"GPUMemorySize", Kind::Int32},
                                            std::pair{"GPUVendor", Kind::Int32}));
    EXPECT_EQ(answer.GetUInt32("EmptyFlags"), 0x10u);
    EXPECT_EQ(answer.GetInt32("GPUBandWidth"), 256);
    EXPECT_EQ(answer.GetInt32("GPUBusWidth"), 256);
    EXPECT_EQ(answer.GetInt32("GPUMemorySize"), 16384);
    EXPECT_EQ(answer.GetInt32("GPUVendor"), 1);
    EXPECT_EQ(answer.GetString("GPUFullName"), u"NVIDIA GeForce RTX 4090 Laptop GPU");
    // The name goes out with its terminator counted.
    EXPECT_EQ(answer.Find("GPUFullName")->Length(), 35u * 2);
    EXPECT_EQ(machine.adapters.Destroyed(), 1);
}

TEST_F(DeviceInformationTest, logs_the_device_id_text_and_the_basic_information) {
    Device();
    const auto logs = machine.Logs();
    EXPECT_EQ(logs.front(), "6 GetGPUDeviceInformation : Begin");
    EXPECT_EQ(logs.back(), "6 GetGPUDeviceInformation : End");
    EXPECT_EQ(logs.at(1), "6 GPUDeviceIDStr - 25A0");
    EXPECT_EQ(logs.at(logs.size() - 2),
              "6 <basicInfo>:0x00000000, EmptyFlags 0x00000010, FullName NVIDIA GeForce RTX "
              "4090 Laptop GPU, Vendor 1, MemorySize 16384, BusWidth/BandWidth 256");
}

TEST_F(DeviceInformationTest, device_id_text_is_four_capital_hex_digits_of_the_high_word) {
    machine.adapters.Change([](auto& answers) { answers.Device->Id.Word0 = 0x00AB10DE; });
    Device();
    EXPECT_TRUE(machine.host.Logged(6, "GPUDeviceIDStr - 00AB"));
}

TEST_F(DeviceInformationTest, loads_the_clock_table_for_the_device_id_text) {
    machine.files.Put(kEncipheredPath, "x");
    Device();
    ASSERT_EQ(machine.encrypt.Calls().size(), 1u);
    EXPECT_TRUE(machine.host.Logged(6, "GetGPUBaseFrequency In."));
}

TEST_F(DeviceInformationTest, a_failed_basic_info_still_writes_the_zeroed_fields) {
    machine.adapters.Change([](auto& answers) {
        answers.Device->BasicCode = static_cast<ports::LibraryCode>(0x80004005u);
        answers.Device->Basic = ports::GPUBasicInfo{};
    });
    const ValueSet answer = Device();
    EXPECT_EQ(answer.Count(), 6u);
    EXPECT_EQ(answer.GetUInt32("EmptyFlags"), 0u);
    EXPECT_EQ(answer.GetString("GPUFullName"), u"");
    EXPECT_TRUE(machine.host.Logged(6, "<basicInfo>:0x80004005, EmptyFlags 0x00000000, FullName , "
                                       "Vendor 0, MemorySize 0, BusWidth/BandWidth 0"));
}

TEST_F(DeviceInformationTest, an_unterminated_full_name_is_cut_at_255_characters) {
    machine.adapters.Change([](auto& answers) {
        std::fill(std::begin(answers.Device->Basic.FullName),
                  std::end(answers.Device->Basic.FullName), u'N');
    });
    EXPECT_EQ(Device().GetString("GPUFullName"), std::u16string(255, u'N'));
}

TEST_F(DeviceInformationTest, adapter_of_another_type_gives_only_empty_flags_7) {
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 2; });
    const ValueSet answer = Device();
    EXPECT_THAT(KeysOf(answer), ElementsAre(std::pair{"EmptyFlags", Kind::UInt32}));
    EXPECT_EQ(answer.GetUInt32("EmptyFlags"), 7u);
    EXPECT_TRUE(machine.encrypt.Calls().empty());
    EXPECT_EQ(machine.adapters.Destroyed(), 1);
}

TEST_F(DeviceInformationTest, failed_create_device_gives_empty_flags_7_and_logs_the_code) {
    machine.adapters.Change(
        [](auto& answers) { answers.CreateCode = static_cast<ports::LibraryCode>(0x8007001Fu); });
    const ValueSet answer = Device();
    EXPECT_EQ(answer.GetUInt32("EmptyFlags"), 7u);
    EXPECT_THAT(machine.Logs(),
                ElementsAre("6 GetGPUDeviceInformation : Begin", "3 CreateDevice Failed:0x8007001F",
                            "6 GetGPUDeviceInformation : End"));
}

TEST_F(DeviceInformationTest, missing_adapter_library_gives_empty_flags_7) {
    machine.adapters.Change([](auto& answers) { answers.Device.reset(); });
    EXPECT_EQ(Device().GetUInt32("EmptyFlags"), 7u);
}

TEST_F(DeviceInformationTest, empty_flags_already_in_the_answer_is_kept) {
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 0; });
    ValueSet answer;
    answer.SetUInt32("EmptyFlags", 3);
    machine.gpu.GetGPUDeviceInformation(answer);
    EXPECT_EQ(answer.GetUInt32("EmptyFlags"), 3u);
}

} // namespace
