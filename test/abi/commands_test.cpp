// The command table of MonitorPlugin.dll through the host's byte messages under Wine: answers as
// bytes, and a whole recording with its "DataUpdatedEvent" requests, pages and a real log file.
#include "data_updates.h"
#include "monitor_plugin_test.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace abi_test {
namespace {

using test_host::Exchange;
using test_host::Tree;
using test_host::Value;

using namespace std::chrono_literals;

class CommandsTest : public MonitorPluginTest {
protected:
    void SetUp() override {
        MonitorPluginTest::SetUp();
        ASSERT_TRUE(host.InstallAll());
        ASSERT_EQ(Table().Initialize(Plugin()), 0);
    }
    void TearDown() override { Table().Uninitialize(Plugin()); }

    Tree Answer(const Tree& request) {
        const Exchange exchange = host.SendRequest(request);
        EXPECT_EQ(exchange.result, 0);
        EXPECT_TRUE(!exchange.answerPresent || exchange.answerOnProcessHeap);
        return exchange.AnswerTree().value_or(Tree{});
    }
};

// No maker library beside the module: no vendor, no name, every GPU item empty.
TEST_F(CommandsTest, command_2_on_a_machine_without_maker_libraries) {
    const Tree answer = Answer({{"Command", Value::Int32(2)}});
    EXPECT_EQ(IntOf(answer, "Command"), 2);
    EXPECT_EQ(IntOf(answer, "CPUVendor"), 0);
    ASSERT_NE(answer.Find("CPUFullName"), nullptr);
    EXPECT_EQ(answer.Find("CPUFullName")->AsWide(), std::wstring(1, L'\0')); // terminator only
    ASSERT_NE(answer.Find("EmptyFlags"), nullptr);
    EXPECT_EQ(answer.Find("EmptyFlags")->AsUInt32(), 7u);
    EXPECT_EQ(IntOf(answer, "UIVersion"), 1);
}

TEST_F(CommandsTest, command_65_answers_a_boolean_and_no_echo) {
    const Exchange exchange = host.SendRequest({{"Command", Value::Int32(65)}});
    EXPECT_EQ(exchange.answer, test_host::Encode({{"IsSupportVoltage", Value::Boolean(true)}}));
}

TEST_F(CommandsTest, command_1_without_a_vendor_answers_no_cpu_keys_and_the_sizes) {
    const Tree answer = Answer({{"Command", Value::Int32(1)}});
    for (const auto& [key, value] : answer.Entries()) {
        EXPECT_EQ(key.find("CPU"), std::string::npos) << key;
    }
    for (const char* key :
         {"AvailableDiskSize", "AvailableMemorySize", "TotalDiskSize", "TotalMemorySize"}) {
        ASSERT_NE(answer.Find(key), nullptr) << key;
        EXPECT_TRUE(answer.Find(key)->Is(test_host::Kind::Double)) << key;
    }
    EXPECT_EQ(IntOf(answer, "Command"), 1);
    EXPECT_EQ(IntOf(answer, "GPUTGP"), 0);
}

class RecordingFlowTest : public CommandsTest {
protected:
    Tree Start(int32_t capacity, int32_t interval) {
        return Answer({{"Command", Value::Int32(17)},
                       {"UIPid", Value::UInt32(GetCurrentProcessId())},
                       {"Capacity", Value::Int32(capacity)},
                       {"Interval", Value::Int32(interval)}});
    }
    static int32_t SerialOf(const Tree& started) {
        return IntOf(*started.Find("Record")->AsMap(), "RecordSN");
    }
    Tree Read(int32_t serial, int32_t round, int32_t count) {
        return Answer({{"Command", Value::Int32(18)},
                       {"RecordSN", Value::Int32(serial)},
                       {"Round", Value::Int32(round)},
                       {"Count", Value::Int32(count)}});
    }
    Tree Recording(int32_t command, int32_t serial) {
        return Answer({{"Command", Value::Int32(command)}, {"RecordSN", Value::Int32(serial)}});
    }

    std::vector<Tree> DataUpdates() { return abi_test::DataUpdates(host); }
    bool WaitForRound(int32_t round) { return abi_test::WaitForRound(host, round); }
    static std::wstring TempFile(const wchar_t* name) {
        std::wstring folder(MAX_PATH, L'\0');
        folder.resize(GetTempPathW(MAX_PATH, folder.data()));
        return folder + name;
    }
};

TEST_F(RecordingFlowTest, a_whole_recording_from_start_to_end) {
    const Tree started = Start(600, 5);
    ASSERT_EQ(IntOf(started, "Result"), 0);
    const int32_t serial = SerialOf(started);
    EXPECT_GT(serial, 0);
    EXPECT_EQ(IntOf(*started.Find("Record")->AsMap(), "RecordItemCount"), 10);

    ASSERT_TRUE(WaitForRound(2));
    const auto updates = DataUpdates();
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(IntOf(updates[i], "Round"), static_cast<int32_t>(i));
        EXPECT_EQ(IntOf(updates[i], "RecordSN"), serial);
    }

    const Tree pages = Read(serial, 2, 3);
    ASSERT_EQ(IntOf(pages, "Result"), 0);
    const Tree* data = pages.Find("RecordDataPages")->AsMap();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(IntOf(*data, "RecordDataPageCount"), 1);
    EXPECT_EQ(data->Find("RecordDataPage[0]")->payload.size(), 240u);

    const std::wstring log = TempFile(L"monitor_plugin_abi_recording.rml");
    DeleteFileW(log.c_str());
    const Tree logging = Answer({{"Command", Value::Int32(19)},
                                 {"RecordSN", Value::Int32(serial)},
                                 {"Path", Value::Wide(log)}});
    ASSERT_EQ(IntOf(logging, "Result"), 0);
    ASSERT_NE(logging.Find("StopLoggingEvent"), nullptr);
    // The recorder gave this process a handle to the stop-logging event, not yet signalled.
    const auto event = reinterpret_cast<HANDLE>(
        static_cast<uintptr_t>(logging.Find("StopLoggingEvent")->AsInt64().value()));
    EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));

    EXPECT_EQ(IntOf(Recording(20, serial), "Result"), 0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    CloseHandle(event);
    std::ifstream file(std::filesystem::path(log), std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    ASSERT_GE(bytes.size(), 256u);
    EXPECT_EQ(std::string(bytes.data(), 4), "_RML");
    EXPECT_EQ((bytes.size() - 256) % 80, 0u);
    file.close();
    DeleteFileW(log.c_str());

    const Tree ended = Recording(22, 0);
    EXPECT_EQ(IntOf(ended, "Command"), 22);
    EXPECT_EQ(IntOf(ended, "Result"), 0);
    for (const int32_t command : {18, 19, 20, 21}) {
        EXPECT_EQ(IntOf(Recording(command, serial), "Result"), -2) << command;
    }
}

TEST_F(RecordingFlowTest, reading_1200_and_1201_records_pages_them_with_the_remainder_last) {
    const Tree started = Start(1201, 1);
    ASSERT_EQ(IntOf(started, "Result"), 0);
    const int32_t serial = SerialOf(started);
    ASSERT_TRUE(WaitForRound(1200));

    const Tree exact = Read(serial, 1199, 1200);
    const Tree* two = exact.Find("RecordDataPages")->AsMap();
    EXPECT_EQ(IntOf(*two, "RecordDataSectionCount"), 600);
    EXPECT_EQ(IntOf(*two, "RecordDataPageCount"), 2);
    EXPECT_EQ(two->Find("RecordDataPage[0]")->payload.size(), 48000u);
    EXPECT_EQ(two->Find("RecordDataPage[1]")->payload.size(), 0u);

    const Tree more = Read(serial, 1200, 1201);
    const Tree* three = more.Find("RecordDataPages")->AsMap();
    EXPECT_EQ(IntOf(*three, "RecordDataPageCount"), 3);
    EXPECT_EQ(three->Find("RecordDataPage[2]")->payload.size(), 80u);
    Recording(22, 0);
}

TEST_F(RecordingFlowTest, a_stale_serial_answers_minus_3_and_a_failed_start_then_18_minus_4) {
    const Tree started = Start(600, 1000);
    ASSERT_EQ(IntOf(started, "Result"), 0);
    EXPECT_EQ(IntOf(Recording(21, SerialOf(started) - 1), "Result"), -3);
    EXPECT_EQ(IntOf(Start(600, 0), "Result"), -1);
    EXPECT_EQ(IntOf(Read(0, 0, 1), "Result"), -4);
    Recording(22, 0);
}

} // namespace
} // namespace abi_test
