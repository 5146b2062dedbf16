#include "cpu/cpu_device_information.h"
#include "fake_host.h"
#include "plugin_frame/orvex_value.h"
#include "sim/fake_helper_library.h"
#include "test_plugin.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

class CpuDeviceInformationTest : public ::testing::Test {
protected:
    CpuDeviceInformationTest() : plugin(new TestPlugin(0, host.Heap())) { host.Install(*plugin); }

    FakeHost host;
    PluginRef plugin;
    sim::FakeHelperLibrary helper{sim::FakeHelperLibrary::IntelLaptop()};
    ValueSet answer;
};

std::vector<uint8_t> Utf16Bytes(std::u16string_view text) {
    std::vector<uint8_t> bytes;
    for (const char16_t c : text) {
        bytes.push_back(static_cast<uint8_t>(c & 0xFF));
        bytes.push_back(static_cast<uint8_t>(c >> 8));
    }
    return bytes;
}

TEST_F(CpuDeviceInformationTest, answers_the_vendor_and_the_name_with_its_terminator_counted) {
    cpu::GetCPUDeviceInformation(*plugin, helper, 1, answer);
    const auto* vendor = answer.Find("CPUVendor");
    ASSERT_NE(vendor, nullptr);
    EXPECT_EQ(vendor->GetKind(), Kind::Int32);
    EXPECT_EQ(vendor->AsInt32(), 1);
    const auto* name = answer.Find("CPUFullName");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->GetKind(), Kind::WideString);
    const std::u16string expected = u"Intel(R) Core(TM) i7-12700H";
    EXPECT_EQ(name->Length(), 2 * expected.size() + 2);
    const auto payload = name->Payload();
    EXPECT_EQ(std::vector<uint8_t>(payload.begin(), payload.end()),
              Utf16Bytes(std::u16string(expected) + u'\0'));
}

TEST_F(CpuDeviceInformationTest, a_vendor_code_of_0_is_answered_with_the_name) {
    cpu::GetCPUDeviceInformation(*plugin, helper, 0, answer);
    EXPECT_EQ(answer.Find("CPUVendor")->AsInt32(), 0);
    EXPECT_EQ(answer.GetString("CPUFullName"), u"Intel(R) Core(TM) i7-12700H");
}

TEST_F(CpuDeviceInformationTest, other_vendor_codes_pass_through_unchanged) {
    cpu::GetCPUDeviceInformation(*plugin, helper, 7, answer);
    EXPECT_EQ(answer.Find("CPUVendor")->AsInt32(), 7);
}

TEST_F(CpuDeviceInformationTest, an_empty_name_is_a_wide_string_of_length_2) {
    helper.Change([](auto& answers) { answers.ProcessorName = u""; });
    cpu::GetCPUDeviceInformation(*plugin, helper, 2, answer);
    const auto* name = answer.Find("CPUFullName");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->GetKind(), Kind::WideString);
    EXPECT_EQ(name->Length(), 2u);
}

TEST_F(CpuDeviceInformationTest, a_missing_library_gives_an_empty_name) {
    helper.Set({});
    cpu::GetCPUDeviceInformation(*plugin, helper, 0, answer);
    EXPECT_EQ(answer.Find("CPUFullName")->Length(), 2u);
}

TEST_F(CpuDeviceInformationTest, a_name_filling_the_whole_buffer_is_cut_to_259_characters) {
    helper.Change([](auto& answers) { answers.ProcessorName = std::u16string(300, u'x'); });
    cpu::GetCPUDeviceInformation(*plugin, helper, 1, answer);
    EXPECT_EQ(answer.GetString("CPUFullName"), std::u16string(259, u'x'));
}

TEST_F(CpuDeviceInformationTest, logs_begin_and_end_at_trace_level) {
    cpu::GetCPUDeviceInformation(*plugin, helper, 1, answer);
    EXPECT_EQ(host.LinesAt(6), (std::vector<std::string>{"GetCPUDeviceInformation : Begin",
                                                         "GetCPUDeviceInformation : End"}));
}

} // namespace
