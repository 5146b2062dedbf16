#include "gpu_machine.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace gpu_test;
using gpu::GpuInformation;
using ::testing::ElementsAre;

class BaseInformationTest : public ::testing::Test {
protected:
    ValueSet Base() {
        ValueSet answer;
        machine.gpu.GetBaseInformation(answer);
        return answer;
    }
    void ProductLineRavik() {
        machine.gpu.SetProductLine(1);
        machine.gpu.SetAcpiDevice(&acpiDevice);
    }
    void DockAnswers(ports::LibraryCode idCode, ports::GPUDeviceID id,
                     ports::LibraryCode configCode, std::optional<ports::GPUDeviceID> first) {
        machine.dock.Change([&](auto& answers) {
            answers.Id = {idCode, id};
            answers.Config = {configCode, first};
        });
    }

    GpuMachine machine;
    int acpiDevice = 0;
    const ports::GPUDeviceID adapterId{0x25A010DE, 0x12345678};
};

TEST_F(BaseInformationTest, writes_model_sub_brand_ui_version_and_support_flags_in_order) {
    machine.gpu.SetProductLine(3);
    machine.adapters.Change([](auto& answers) { answers.Device->FanRpm = 2300; });
    const ValueSet answer = Base();
    EXPECT_THAT(KeysOf(answer), ElementsAre(std::pair{"IsSupportEGPUFan", Kind::Int32},
                                            std::pair{"IsSupportFanAcoustic", Kind::Int32},
                                            std::pair{"IsSupportGPUFan", Kind::Int32},
                                            std::pair{"ModelName", Kind::WideString},
                                            std::pair{"SubBrand", Kind::Int32},
                                            std::pair{"UIVersion", Kind::Int32}));
    EXPECT_EQ(answer.GetString("ModelName"), u"Raider GE78 HX");
    EXPECT_EQ(answer.GetInt32("SubBrand"), 1);
    EXPECT_EQ(answer.GetInt32("UIVersion"), 2);
    EXPECT_EQ(answer.GetInt32("IsSupportGPUFan"), 1);
    EXPECT_EQ(answer.GetInt32("IsSupportFanAcoustic"), 0);
    EXPECT_EQ(answer.GetInt32("IsSupportEGPUFan"), 0);
    EXPECT_THAT(machine.Logs(), ElementsAre("6 GetBaseInformation : Begin",
                                            "4 GetFanSpeed:0x00000000, FanSpeed 2300",
                                            "6 GetBaseInformation : End"));
    EXPECT_EQ(machine.adapters.Created(), 1);
    EXPECT_EQ(machine.adapters.Destroyed(), 1);
}

TEST_F(BaseInformationTest, model_name_is_the_marketing_name_as_received_whatever_its_kind) {
    machine.queryAnswers["Query.ModelName"] = [](ValueSet& answer) {
        answer.SetUInt32("MarketingName", 78);
    };
    const ValueSet answer = Base();
    ASSERT_NE(answer.Find("ModelName"), nullptr);
    EXPECT_EQ(answer.Find("ModelName")->GetKind(), Kind::UInt32);
    EXPECT_EQ(answer.GetUInt32("ModelName"), 78u);
}

TEST_F(BaseInformationTest, failed_queries_leave_model_name_and_sub_brand_out_and_ui_version_1) {
    machine.queryAnswers.clear();
    const ValueSet answer = Base();
    EXPECT_FALSE(answer.Contains("ModelName"));
    EXPECT_FALSE(answer.Contains("SubBrand"));
    EXPECT_EQ(answer.GetInt32("UIVersion"), 1);
}

TEST_F(BaseInformationTest, sub_brand_not_an_int32_gives_sub_brand_0_and_ui_version_1) {
    machine.queryAnswers["Query.SubBrand"] = [](ValueSet& answer) {
        answer.SetUInt32("SubBrand", 1);
    };
    const ValueSet answer = Base();
    EXPECT_EQ(answer.Find("SubBrand")->GetKind(), Kind::Int32);
    EXPECT_EQ(answer.GetInt32("SubBrand"), 0);
    EXPECT_EQ(answer.GetInt32("UIVersion"), 1);
}

TEST_F(BaseInformationTest, sub_brand_other_than_1_gives_ui_version_1) {
    machine.queryAnswers["Query.SubBrand"] = [](ValueSet& answer) {
        answer.SetInt32("SubBrand", 2);
    };
    const ValueSet answer = Base();
    EXPECT_EQ(answer.GetInt32("SubBrand"), 2);
    EXPECT_EQ(answer.GetInt32("UIVersion"), 1);
}

TEST_F(BaseInformationTest, vendor_other_than_1_gives_ui_version_1) {
    machine.adapters.Change([](auto& answers) { answers.Device->Vendor = 2; });
    EXPECT_EQ(Base().GetInt32("UIVersion"), 1);
}

TEST_F(BaseInformationTest, failed_create_device_logs_its_code_and_gives_ui_version_1) {
    machine.adapters.Change(
        [](auto& answers) { answers.CreateCode = static_cast<ports::LibraryCode>(0x80004005u); });
    const ValueSet answer = Base();
    EXPECT_EQ(answer.GetInt32("UIVersion"), 1);
    EXPECT_EQ(answer.GetInt32("IsSupportGPUFan"), 0);
    EXPECT_TRUE(machine.host.Logged(3, "CreateDevice Failed:0x80004005"));
    EXPECT_EQ(machine.adapters.Destroyed(), 0);
}

TEST_F(BaseInformationTest, missing_adapter_library_gives_ui_version_1_and_no_support) {
    machine.adapters.Change([](auto& answers) { answers.Device.reset(); });
    machine.dock.Change([](auto& answers) { answers.Missing = true; });
    const ValueSet answer = Base();
    EXPECT_EQ(answer.GetInt32("UIVersion"), 1);
    EXPECT_EQ(answer.GetInt32("IsSupportGPUFan"), 0);
    EXPECT_EQ(answer.GetInt32("IsSupportFanAcoustic"), 0);
    EXPECT_EQ(answer.GetInt32("IsSupportEGPUFan"), 0);
    EXPECT_THAT(machine.Logs(),
                ElementsAre("6 GetBaseInformation : Begin", "6 GetBaseInformation : End"));
}

TEST_F(BaseInformationTest, failing_adapter_fan_read_leaves_fan_support_off) {
    machine.gpu.SetProductLine(0);
    machine.adapters.Change([](auto& answers) {
        answers.Device->FanCode = static_cast<ports::LibraryCode>(0x80070005u);
        answers.Device->FanRpm = 1200;
    });
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 0);
    EXPECT_TRUE(machine.host.Logged(4, "GetFanSpeed:0x80070005, FanSpeed 1200"));
}

TEST_F(BaseInformationTest, adapter_of_another_type_reads_no_fan) {
    machine.gpu.SetProductLine(0);
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 2; });
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 0);
    EXPECT_TRUE(machine.host.LinesAt(4).empty());
}

TEST_F(BaseInformationTest, adapter_of_another_type_supports_the_fan_when_the_bios_reports_it) {
    ProductLineRavik();
    machine.adapters.Change([](auto& answers) { answers.Device->Type = 2; });
    machine.Firmware(0x17);
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 1);
    EXPECT_EQ(machine.dock.Initializes(), 0);
}

TEST_F(BaseInformationTest, dsts_status_0xfffffffe_means_no_gpu_fan) {
    ProductLineRavik();
    machine.Firmware(0xFFFFFFFE);
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 0);
    EXPECT_EQ(machine.helper.FirmwareCalls(), std::vector<uint32_t>{0x00110014});
}

TEST_F(BaseInformationTest, any_other_dsts_status_even_zero_turns_gpu_fan_support_on) {
    ProductLineRavik();
    machine.Firmware(0);
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 1);
    machine.Firmware(0xFFFFFFFF);
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 1);
}

TEST_F(BaseInformationTest, a_failed_bios_call_leaves_gpu_fan_support_off) {
    ProductLineRavik();
    machine.Firmware(0x17, 0);
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 0);
    machine.helper.Change([](auto& answers) { answers.FirmwareMissing = true; });
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 0);
}

TEST_F(BaseInformationTest, without_the_bios_method_object_the_firmware_is_not_asked) {
    machine.gpu.SetProductLine(1);
    machine.Firmware(0x17);
    EXPECT_EQ(Base().GetInt32("IsSupportGPUFan"), 0);
    EXPECT_TRUE(machine.helper.FirmwareCalls().empty());
}

TEST_F(BaseInformationTest, other_product_lines_never_ask_the_firmware_or_the_dock) {
    machine.gpu.SetProductLine(2);
    machine.gpu.SetAcpiDevice(&acpiDevice);
    machine.Firmware(0x17);
    Base();
    EXPECT_TRUE(machine.helper.FirmwareCalls().empty());
    EXPECT_EQ(machine.dock.Initializes(), 0);
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuNotProbed);
}

TEST_F(BaseInformationTest, fan_acoustic_support_follows_the_loaded_table) {
    machine.LoadFanTable({{1000, 20.0}}, {{1500, 25.0}});
    EXPECT_EQ(Base().GetInt32("IsSupportFanAcoustic"), 1);
}

TEST_F(BaseInformationTest, dock_reporting_the_adapter_id_marks_an_external_gpu) {
    ProductLineRavik();
    DockAnswers(0, adapterId, 0, std::nullopt);
    const ValueSet answer = Base();
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuDocked);
    EXPECT_EQ(answer.GetInt32("IsSupportEGPUFan"), 1);
    EXPECT_THAT(machine.host.LinesAt(1), ElementsAre("EGPU detected for EGPU ID"));
    EXPECT_EQ(machine.dock.Initializes(), 1);
    EXPECT_EQ(machine.dock.Uninitializes(), 1);
    EXPECT_EQ(machine.dock.LastOwner(),
              static_cast<void*>(static_cast<BaseOrvexPlugin*>(machine.plugin.plugin)));
}

TEST_F(BaseInformationTest, both_dock_probes_run_even_when_the_first_matched) {
    ProductLineRavik();
    DockAnswers(0, adapterId, 0, adapterId);
    Base();
    EXPECT_THAT(machine.host.LinesAt(1),
                ElementsAre("EGPU detected for EGPU ID", "EGPU detected for EGPU Config"));
    EXPECT_EQ(machine.dock.ConfigReads(), 1);
}

TEST_F(BaseInformationTest, dock_config_alone_marks_an_external_gpu) {
    ProductLineRavik();
    DockAnswers(static_cast<ports::LibraryCode>(0x80004005u), adapterId, 1, adapterId);
    Base();
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuDocked);
    EXPECT_THAT(machine.host.LinesAt(1), ElementsAre("EGPU detected for EGPU Config"));
}

TEST_F(BaseInformationTest, dock_with_another_gpu_or_failing_calls_leaves_the_state_at_1) {
    ProductLineRavik();
    DockAnswers(0, {0x25A010DE, 0x1}, static_cast<ports::LibraryCode>(0x80004005u), adapterId);
    const ValueSet answer = Base();
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuAbsent);
    EXPECT_EQ(answer.GetInt32("IsSupportEGPUFan"), 0);
    EXPECT_TRUE(machine.host.LinesAt(1).empty());
    EXPECT_EQ(machine.dock.Uninitializes(), 1);
}

TEST_F(BaseInformationTest, dock_without_records_leaves_the_state_at_1) {
    ProductLineRavik();
    DockAnswers(0, {}, 0, std::nullopt);
    Base();
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuAbsent);
}

TEST_F(BaseInformationTest, the_dock_is_probed_once_until_a_device_change) {
    ProductLineRavik();
    DockAnswers(0, adapterId, 0, std::nullopt);
    Base();
    DockAnswers(0, {}, 0, std::nullopt);
    EXPECT_EQ(Base().GetInt32("IsSupportEGPUFan"), 1);
    EXPECT_EQ(machine.dock.Initializes(), 1);
    EXPECT_EQ(machine.dock.IdReads(), 1);
    machine.gpu.ResetEGPUState();
    EXPECT_EQ(Base().GetInt32("IsSupportEGPUFan"), 0);
    EXPECT_EQ(machine.dock.Initializes(), 2);
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuAbsent);
}

TEST_F(BaseInformationTest, a_missing_dock_library_leaves_the_state_at_1) {
    ProductLineRavik();
    machine.dock.Change([](auto& answers) { answers.Missing = true; });
    Base();
    EXPECT_EQ(machine.gpu.EGPUState(), GpuInformation::kEgpuAbsent);
}

TEST_F(BaseInformationTest, egpu_fan_support_needs_product_line_1) {
    ProductLineRavik();
    DockAnswers(0, adapterId, 0, std::nullopt);
    Base();
    machine.gpu.SetProductLine(2);
    EXPECT_EQ(Base().GetInt32("IsSupportEGPUFan"), 0);
}

TEST_F(BaseInformationTest, device_changes_on_another_thread_only_make_the_dock_probed_again) {
    ProductLineRavik();
    DockAnswers(0, adapterId, 0, std::nullopt);
    std::atomic<bool> done{false};
    std::thread changes([&] {
        while (!done) {
            machine.gpu.ResetEGPUState();
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 200; ++i) {
        Base();
    }
    done = true;
    changes.join();
    EXPECT_GE(machine.dock.Initializes(), 1);
    EXPECT_EQ(machine.dock.Initializes(), machine.dock.Uninitializes());
    machine.gpu.ResetEGPUState();
    EXPECT_EQ(Base().GetInt32("IsSupportEGPUFan"), 1);
}

} // namespace
