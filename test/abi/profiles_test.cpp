// MonitorPlugin.dll under Wine on the laptop profiles of profiles/ (an Intel laptop, an AMD laptop,
// a machine of neither vendor), loaded from a folder where the stand-ins play the profile: every
// command's answer with exactly the keys, kinds and values the profile's files make, and the log
// lines of Initialize and of a request with their levels.
#include "data_updates.h"
#include "host_core/answer_render.h"
#include "laptop_profile.h"
#include "win32/win32_wmi.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <windows.h>

namespace abi_test {
namespace {

using test_host::Exchange;
using test_host::LogLine;
using test_host::Tree;
using test_host::Value;

using namespace std::chrono_literals;

constexpr GUID kPluginType = {
    0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}};
constexpr int32_t kTrace = 6;
constexpr int32_t kProgress = 4;
constexpr uint64_t kRecordMaximumNan = 0xFFF8000000000000;

std::string Text(const Tree& tree) {
    return orvex_host::RenderJson(tree);
}

// The memory clock Wine's WMI reports, which the CPU info reader answers.
uint32_t MemoryClock() {
    win32::Win32Wmi wmi;
    ports::WmiValues values;
    if (wmi.QueryWmiValue(u"SELECT ConfiguredClockSpeed FROM Win32_PhysicalMemory", values) != 0 ||
        values.size() != 1) {
        return 0;
    }
    return values.begin()->second;
}

// True when expected appears in lines in this order, other lines between allowed.
bool InOrder(const std::vector<LogLine>& lines, const std::vector<LogLine>& expected) {
    size_t next = 0;
    for (const LogLine& line : lines) {
        if (next < expected.size() && line.level == expected[next].level &&
            line.text == expected[next].text) {
            ++next;
        }
    }
    return next == expected.size();
}

std::string Listing(const std::vector<LogLine>& lines) {
    std::string text;
    for (const LogLine& line : lines) {
        text += std::to_string(line.level) + " " + orvex_host::Utf8(line.text) + "\n";
    }
    return text;
}

class ProfileTest : public ::testing::TestWithParam<const char*> {
protected:
    ProfileTest() : laptop(GetParam()), host(laptop.PluginFolder(), L"MonitorPlugin.dll", 0) {}

    void SetUp() override {
        ASSERT_NE(host.Plugin(), nullptr) << "MonitorPlugin.dll did not load";
        // Made (and cleared, should another process of the session still hold it signalled)
        // before Initialize, so the tuning utility's thread cannot signal it before the test
        // holds it.
        cpuInitialized = CreateEventW(nullptr, TRUE, FALSE, L"CPUInitializedEvent");
        ASSERT_NE(cpuInitialized, nullptr);
        ResetEvent(cpuInitialized);
        for (const wchar_t* query : {L"ProductLine", L"ModelName", L"SubBrand", L"UWPInfo"}) {
            host.AddReply(
                {kPluginType, std::wstring(L"Query.") + query, 0, laptop.QueryAnswer(query)});
        }
        ASSERT_TRUE(host.InstallAll());
        ASSERT_EQ(host.Table().Initialize(host.Plugin()), 0);
    }
    void TearDown() override {
        host.Table().Uninitialize(host.Plugin());
        CloseHandle(cpuInitialized);
    }

    Exchange Send(const Tree& request) {
        const Exchange exchange = host.SendRequest(request);
        EXPECT_EQ(exchange.result, 0);
        return exchange;
    }
    Tree Answer(const Tree& request) { return Send(request).AnswerTree().value_or(Tree{}); }
    void ExpectAnswer(const Tree& request, const Tree& expected) {
        const Exchange exchange = Send(request);
        EXPECT_EQ(exchange.answer, test_host::Encode(expected))
            << "answer:   " << Text(exchange.AnswerTree().value_or(Tree{}))
            << "\nexpected: " << Text(expected);
    }

    // On an Intel machine the tuning utility gets ready on its own thread after Initialize;
    // until then command 1 answers the placeholder CPU set.
    void WaitForTuningUtility() {
        if (laptop.CpuVendor() != 1) {
            return;
        }
        ASSERT_EQ(WaitForSingleObject(cpuInitialized, 30000), WAIT_OBJECT_0)
            << "the tuning utility never got ready";
    }

    LaptopProfile laptop;
    test_host::TestHost host;
    HANDLE cpuInitialized = nullptr;
};

TEST_P(ProfileTest, initialize_logs_its_steps_with_their_levels) {
    const bool intel = laptop.CpuVendor() == 1;
    std::vector<LogLine> expected = {
        {kTrace, L"Initialize : Begin Plugin Version "},
        {kTrace, L"CPU Vendor ID : " + std::to_wstring(laptop.CpuVendor())},
        {kProgress, L"ProductLine - " + std::to_wstring(laptop.Host().productLine)},
        {kProgress, L"Create CPUInforReader."},
        {kTrace, L"Initialize : m_fnRegisterDeviceNotificationParam 0x0004E000"},
        {kTrace, L"Monitor Plugin  Initialize : End"}};
    if (intel) {
        const auto value = [&](const char* key, int64_t otherwise) {
            return std::to_wstring(laptop.Helper(key, otherwise));
        };
        expected.insert(expected.begin() + 2,
                        {kProgress, L"CheckXTUImagePath result: " + value("CheckXTUImagePath", 1) +
                                        L", isChanged: " + value("CheckXTUImagePath.IsChanged", 0) +
                                        L", type: " + value("CheckXTUImagePath.Type", 0)});
    }
    const auto logs = host.Logs();
    EXPECT_TRUE(InOrder(logs, expected)) << Listing(logs);
    EXPECT_EQ(std::count_if(logs.begin(), logs.end(),
                            [](const LogLine& line) {
                                return line.text.rfind(L"CheckXTUImagePath", 0) == 0;
                            }),
              intel ? 1 : 0)
        << Listing(logs);
    for (const LogLine& line : logs) {
        // Every event and registration of the machine was made.
        for (const wchar_t* failure : {L"GetCPUInitializedEventHandle failed",
                                       L"Failed to create m_hFirstUserSessionStartEvent",
                                       L"Create m_hPowerResumeEvent failed"}) {
            EXPECT_EQ(line.text.rfind(failure, 0), std::wstring::npos)
                << orvex_host::Utf8(line.text);
        }
    }
}

TEST_P(ProfileTest, command_2_answers_the_machines_device_information) {
    ExpectAnswer({{"Command", Value::Int32(2)}}, laptop.DeviceInformation());
}

TEST_P(ProfileTest, command_1_answers_the_profiles_readings) {
    WaitForTuningUtility();
    Send({{"Command", Value::Int32(2)}}); // reads the GPU clock table
    ExpectAnswer({{"Command", Value::Int32(1)}}, laptop.Snapshot(MemoryClock()));
}

TEST_P(ProfileTest, command_1_logs_its_steps_with_their_levels) {
    WaitForTuningUtility();
    const size_t before = host.Logs().size();
    Send({{"Command", Value::Int32(1)}});
    const auto all = host.Logs();
    const std::vector<LogLine> logs(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    const std::vector<LogLine> expected = {
        {kTrace, L"ProcessRequest : Begin"},
        {kTrace, L"Initial XTU : " + std::to_wstring(laptop.CpuVendor() == 1 ? 1 : 0)},
        {kTrace, L"Monitor Plugin - Command 1 "},
        {kTrace, L"Monitor Plugin - Use Has Been Used : 1 "},
        {kTrace, L"Monitor Plugin - Start XTU Service Is Finish! "},
        {kTrace, L"Monitor Plugin - GetCPUMonitorInformation Is Finish! CPU Fan Speed " +
                     std::to_wstring(laptop.CpuFanRpm())},
        {kTrace, L"Monitor Plugin - GetGPUMonitorInformation Is Finish! "},
        {kTrace, L"ProcessRequest : End"}};
    EXPECT_TRUE(InOrder(logs, expected)) << Listing(logs);
}

// Wine has no "\PhysicalDisk(_Total)" counters: the query opens, no counter is added (silently),
// and collecting has no data, so only "Result" 0x10 and the collect's status are answered.
TEST_P(ProfileTest, command_3_without_disk_counters_answers_the_collect_failure) {
    constexpr auto kNoData = static_cast<int32_t>(0x800007D5); // PDH_NO_DATA
    const Tree expected{{"Result", Value::Int64(0x10)},
                        {"Status", Value::Int64(static_cast<uint64_t>(int64_t{kNoData}))}};
    ExpectAnswer({{"Command", Value::Int32(3)}}, expected);
    ExpectAnswer({{"Command", Value::Int32(3)}}, expected);
}

TEST_P(ProfileTest, commands_16_and_65_and_every_unknown_number) {
    ExpectAnswer({{"Command", Value::Int32(16)}},
                 {{"Command", Value::Int32(16)}, {"Phase", Value::Int32(2)}});
    ExpectAnswer({{"Command", Value::Int32(65)}}, {{"IsSupportVoltage", Value::Boolean(true)}});
    for (const int32_t command : {0, 4, 15, 23, 64, 66, 255, -1}) {
        ExpectAnswer({{"Command", Value::Int32(command)}}, {{"Command", Value::Int32(255)}});
    }
    ExpectAnswer({{"Command", Value::Wide(L"1")}}, {{"Command", Value::Int32(255)}});
}

class ProfileRecordingTest : public ProfileTest {
protected:
    Tree Start() {
        return Answer({{"Command", Value::Int32(17)},
                       {"UIPid", Value::UInt32(GetCurrentProcessId())},
                       {"Capacity", Value::Int32(600)},
                       {"Interval", Value::Int32(1000)}});
    }
    void TearDown() override {
        Send({{"Command", Value::Int32(22)}});
        ProfileTest::TearDown();
    }
};

TEST_P(ProfileRecordingTest, command_17_describes_the_ten_items_with_the_machines_maxima) {
    const Tree started = Start();
    ASSERT_NE(started.Find("Record"), nullptr) << Text(started);
    const int32_t serial = IntOf(*started.Find("Record")->AsMap(), "RecordSN");
    EXPECT_GT(serial, 0);

    const uint32_t ids[] = {0x10000, 0x10001, 0x10002, 0x20000, 0x20001,
                            0x20002, 0x40000, 0x80000, 0x80001, 0x80002};
    const auto maxima = laptop.RecordMaxima();
    Tree record{{"RecordItemCount", Value::Int32(10)}, {"RecordSN", Value::Int32(serial)}};
    for (size_t i = 0; i < 10; ++i) {
        Value maximum = Value::Double(maxima[i]);
        if (i >= 8) {
            maximum = Value::Raw(7, std::vector<uint8_t>(8));
            std::memcpy(maximum.payload.data(), &kRecordMaximumNan, 8);
        }
        record.Set("RecordItem[" + std::to_string(i) + "]",
                   Value::Map({{"ID", Value::Int32(static_cast<int32_t>(ids[i]))},
                               {"Max", maximum},
                               {"Min", Value::Double(0.0)}}));
    }
    const Tree expected{{"Command", Value::Int32(17)},
                        {"Record", Value::Map(std::move(record))},
                        {"Result", Value::Int32(0)}};
    EXPECT_EQ(test_host::Encode(started), test_host::Encode(expected))
        << "answer:   " << Text(started) << "\nexpected: " << Text(expected);
}

TEST_P(ProfileRecordingTest, a_recorded_round_holds_the_profiles_readings) {
    WaitForTuningUtility();
    const Tree started = Start();
    ASSERT_EQ(IntOf(started, "Result"), 0) << Text(started);
    const int32_t serial = IntOf(*started.Find("Record")->AsMap(), "RecordSN");
    ASSERT_TRUE(WaitForRound(host, 0));

    const Tree pages = Answer({{"Command", Value::Int32(18)},
                               {"RecordSN", Value::Int32(serial)},
                               {"Round", Value::Int32(0)},
                               {"Count", Value::Int32(1)}});
    ASSERT_EQ(IntOf(pages, "Result"), 0) << Text(pages);
    const Value* page = pages.Find("RecordDataPages")->AsMap()->Find("RecordDataPage[0]");
    ASSERT_NE(page, nullptr);
    ASSERT_EQ(page->payload.size(), 80u);
    std::array<double, 10> recorded{};
    std::memcpy(recorded.data(), page->payload.data(), 80);
    const auto expected = laptop.RecordedRound();
    for (size_t i = 0; i < recorded.size(); ++i) {
        EXPECT_EQ(recorded[i], expected[i]) << "item " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Laptops, ProfileTest,
                         ::testing::Values("intel-laptop", "amd-laptop", "no-vendor"));
INSTANTIATE_TEST_SUITE_P(Laptops, ProfileRecordingTest,
                         ::testing::Values("intel-laptop", "amd-laptop", "no-vendor"));

// Notifications from other components, on the Intel laptop: kind 4 refreshes the adapters on a
// display change and takes in the AMD GPU values, kind 2 carries the AMD update signal; a known
// role under the wrong kind does nothing.
class NotificationTest : public ProfileTest {};

TEST_P(NotificationTest, a_display_change_of_kind_4_refreshes_the_adapter_list) {
    const standin::ScenarioFolder stand_ins{std::filesystem::path(laptop.PluginFolder())};
    const auto refreshes = stand_ins.Calls("GPUControlLibrary").size();
    const Exchange exchange =
        host.SendNotification(4, {{"RequestRole", Value::Wide(L"WindowMessageDeviceChangeEvent")}});
    EXPECT_EQ(exchange.result, 0);
    EXPECT_FALSE(exchange.answerPresent);
    const auto calls = stand_ins.Calls("GPUControlLibrary");
    ASSERT_EQ(calls.size(), refreshes + 1);
    EXPECT_EQ(calls.back(), "AdaptersRefresh");
    EXPECT_TRUE(InOrder(host.Logs(), {{kTrace, L"ReceiveNotification - Begin \n"},
                                      {kProgress, L"WindowMessageDeviceChangeEvent\n"},
                                      {kTrace, L"ReceiveNotification - End \n"}}))
        << Listing(host.Logs());
}

TEST_P(NotificationTest, a_display_change_of_kind_2_is_ignored) {
    const standin::ScenarioFolder stand_ins{std::filesystem::path(laptop.PluginFolder())};
    const auto calls = stand_ins.Calls("GPUControlLibrary").size();
    const size_t before = host.Logs().size();
    EXPECT_EQ(
        host.SendNotification(2, {{"RequestRole", Value::Wide(L"WindowMessageDeviceChangeEvent")}})
            .result,
        0);
    EXPECT_EQ(stand_ins.Calls("GPUControlLibrary").size(), calls);
    const auto all = host.Logs();
    const std::vector<LogLine> logs(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    EXPECT_TRUE(InOrder(logs, {{kTrace, L"ReceiveNotification - Begin \n"},
                               {kTrace, L"ReceiveNotification - End \n"}}))
        << Listing(logs);
    for (const LogLine& line : logs) {
        EXPECT_NE(line.text, L"WindowMessageDeviceChangeEvent\n");
    }
}

TEST_P(NotificationTest, amd_monitor_values_of_kind_4_and_the_update_signal_of_kind_2) {
    EXPECT_EQ(host.SendNotification(4, {{"RequestRole", Value::Wide(L"AMDMonitorNotify")},
                                        {"Command", Value::Int32(1)},
                                        {"GPUTemp", Value::Int32(55)},
                                        {"GPUState", Value::Wide(L"1")}})
                  .result,
              0);
    EXPECT_EQ(host.SendNotification(2, {{"RequestRole", Value::Wide(L"AMDUpdateNotify")}}).result,
              0);
    EXPECT_EQ(host.SendNotification(2, {{"RequestRole", Value::Wide(L"AMDUpdateNotify")}}).result,
              0);
    EXPECT_TRUE(InOrder(host.Logs(), {{kTrace, L"ReceiveNotification - Begin \n"},
                                      {kTrace, L"AMDMonitorNotify Command : 1 \n"},
                                      {kTrace, L"Get Monitor Information \n"},
                                      {kTrace, L"ReceiveNotification - End \n"},
                                      {kTrace, L"ReceiveNotification - Begin \n"},
                                      {kTrace, L"ReceiveNotification - End \n"},
                                      {kTrace, L"ReceiveNotification - Begin \n"},
                                      {kTrace, L"ReceiveNotification - End \n"}}))
        << Listing(host.Logs());
    // The plug-in goes on serving.
    ExpectAnswer({{"Command", Value::Int32(16)}},
                 {{"Command", Value::Int32(16)}, {"Phase", Value::Int32(2)}});
}

INSTANTIATE_TEST_SUITE_P(Laptops, NotificationTest, ::testing::Values("intel-laptop"));

} // namespace
} // namespace abi_test
