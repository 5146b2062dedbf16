#include "host/test_host.h"

#include <gtest/gtest.h>

namespace test_host {
namespace {

using namespace std::chrono_literals;

constexpr GUID kRelayTarget{0x5A5A0001, 0x0002, 0x0003, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr GUID kOtherTarget{0x5A5A0009, 0x0002, 0x0003, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr const wchar_t* kStandIn = L"StandInPlugin.dll";

class HostWithStandIn : public ::testing::Test {
protected:
    HostWithStandIn() : host(WindowsFolder(STAND_IN_DIR), kStandIn, 0) {}

    int LiveObjects() const {
        auto count = reinterpret_cast<int (*)()>(host.Module().Export("StandInLiveObjects"));
        return count == nullptr ? -1 : count();
    }

    TestHost host;
};

TEST(HostLoading, a_unix_folder_becomes_a_drive_z_path) {
    EXPECT_EQ(WindowsFolder("/work/build/x"), L"Z:\\work\\build\\x");
    EXPECT_EQ(WindowsFolder("C:/a/b"), L"C:\\a\\b");
}

TEST(HostLoading, a_missing_library_gives_no_plugin) {
    TestHost host(WindowsFolder(STAND_IN_DIR), L"NoSuchPlugin.dll", 0);
    EXPECT_EQ(host.Module().Handle(), nullptr);
    EXPECT_EQ(host.Plugin(), nullptr);
}

TEST(HostLoading, a_library_without_the_export_gives_no_plugin) {
    // The host's own test program is a module without QueryLibrary.
    wchar_t self[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring path(self, length);
    const size_t slash = path.rfind(L'\\');
    TestHost host(path.substr(0, slash), path.substr(slash + 1).c_str(), 0);
    EXPECT_NE(host.Module().Handle(), nullptr);
    EXPECT_EQ(host.Plugin(), nullptr);
}

TEST(HostLoading, the_plugin_is_released_before_its_library_unloads) {
    {
        TestHost host(WindowsFolder(STAND_IN_DIR), kStandIn, 0);
        ASSERT_NE(host.Plugin(), nullptr);
        ASSERT_NE(GetModuleHandleW(kStandIn), nullptr);
    }
    EXPECT_EQ(GetModuleHandleW(kStandIn), nullptr);
}

TEST_F(HostWithStandIn, releasing_the_only_reference_destroys_the_plugin) {
    ASSERT_NE(host.Plugin(), nullptr);
    EXPECT_EQ(LiveObjects(), 1);
    EXPECT_EQ(host.Reference().Release(), 0u);
    EXPECT_EQ(LiveObjects(), 0);
    EXPECT_EQ(host.Plugin(), nullptr);
}

TEST_F(HostWithStandIn, text_is_read_with_the_two_call_protocol) {
    EXPECT_EQ(ReadText(host.Plugin(), host.Table().GetName), L"Stand-in");
}

TEST_F(HostWithStandIn, the_three_host_callbacks_install) {
    EXPECT_EQ(host.InstallLogSink(), 0);
    EXPECT_EQ(host.InstallRequestSender(), 0);
    EXPECT_EQ(host.InstallNotificationSender(), 0);
    EXPECT_EQ(host.InstallEventCallbacks(), static_cast<abi::Result>(0x80004002));
    EXPECT_EQ(host.EventHandler(), nullptr);
}

TEST_F(HostWithStandIn, log_lines_arrive_with_level_and_wide_arguments_formatted) {
    ASSERT_EQ(host.InstallLogSink(), 0);
    host.SendRequest({{"Cmd", Value::Wide(L"Ping")}});
    const auto logs = host.Logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(logs[0].level, 6);
    EXPECT_EQ(logs[0].text, L"Relay request, 17 bytes");
    EXPECT_TRUE(host.WaitForLog(L"Relay request, 17 bytes", 0ms));
}

TEST_F(HostWithStandIn, a_request_is_answered_from_the_reply_table) {
    ASSERT_EQ(host.InstallRequestSender(), 0);
    host.AddReply({kOtherTarget, L"Ping", 7, {{"Wrong", Value::Int32(1)}}});
    host.AddReply({kRelayTarget, L"Other", 8, {{"Wrong", Value::Int32(2)}}});
    host.AddReply({kRelayTarget, L"Ping", 5, {{"Pong", Value::Int32(42)}}});

    const Exchange exchange = host.SendRequest({{"Cmd", Value::Wide(L"Ping")}});

    EXPECT_EQ(exchange.result, 5);
    ASSERT_TRUE(exchange.answerPresent);
    EXPECT_TRUE(exchange.answerOnProcessHeap);
    const auto answer = exchange.AnswerTree();
    ASSERT_TRUE(answer.has_value());
    ASSERT_NE(answer->Find("Pong"), nullptr);
    EXPECT_EQ(answer->Find("Pong")->AsInt32(), 42);
    EXPECT_EQ(answer->Entries().size(), 1u);
}

TEST_F(HostWithStandIn, each_request_is_recorded_with_target_header_and_body) {
    ASSERT_EQ(host.InstallRequestSender(), 0);
    const Tree body{{"Cmd", Value::Wide(L"Ping")}, {"N", Value::UInt32(3)}};
    host.SendRequest(body);

    const auto requests = host.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_TRUE(IsEqualGUID(requests[0].target, kRelayTarget));
    std::vector<uint8_t> header(32, 0);
    header[0] = 0xE1;
    EXPECT_EQ(requests[0].message.header, header);
    EXPECT_EQ(requests[0].message.body, Encode(body));
}

TEST_F(HostWithStandIn, an_unmatched_request_gets_no_answer) {
    ASSERT_EQ(host.InstallRequestSender(), 0);
    const Exchange exchange = host.SendRequest({{"Cmd", Value::Wide(L"Nobody")}});
    EXPECT_EQ(exchange.result, kUnansweredRequest);
    EXPECT_FALSE(exchange.answerPresent);
    EXPECT_TRUE(exchange.answer.empty());
}

TEST_F(HostWithStandIn, a_reply_with_an_empty_answer_hands_over_no_buffer) {
    ASSERT_EQ(host.InstallRequestSender(), 0);
    host.AddReply({kRelayTarget, L"Ping", 0, {}});
    const Exchange exchange = host.SendRequest({{"Cmd", Value::Wide(L"Ping")}});
    EXPECT_EQ(exchange.result, 0);
    EXPECT_FALSE(exchange.answerPresent);
}

TEST_F(HostWithStandIn, notifications_are_recorded_with_header_and_body) {
    ASSERT_EQ(host.InstallNotificationSender(), 0);
    const Tree body{{"E", Value::Int32(1)}};
    EXPECT_EQ(host.SendNotification(0x37, body).result, 0);

    ASSERT_TRUE(host.WaitForNotifications(1, 0ms));
    const auto notifications = host.Notifications();
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].header, OutgoingNotificationHeader(0x37));
    EXPECT_EQ(notifications[0].body, Encode(body));
}

TEST_F(HostWithStandIn, waiting_for_what_never_comes_ends_at_the_time_out) {
    EXPECT_FALSE(host.WaitForNotifications(1, 20ms));
    EXPECT_FALSE(host.WaitForRequests(1, 20ms));
    EXPECT_FALSE(host.WaitForLog(L"never", 20ms));
}

TEST(HostHeaders, an_outgoing_request_header_carries_roles_marker_and_target) {
    constexpr GUID kTypeId{
        0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}};
    const std::vector<uint8_t> expected = {0xE1, 4,    2,    2,    0,    0,    0,    0,
                                           0,    0,    0,    0,    0,    0,    0,    0,
                                           0x9C, 0xAA, 0x96, 0xEA, 0xAD, 0x93, 0xB9, 0x4B,
                                           0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7};
    EXPECT_EQ(OutgoingRequestHeader(4, 2, kTypeId), expected);
}

TEST(HostHeaders, an_outgoing_notification_header_carries_its_code_in_byte_2) {
    std::vector<uint8_t> expected(32, 0);
    expected[0] = 0xE4;
    expected[2] = 9;
    EXPECT_EQ(OutgoingNotificationHeader(9), expected);
}

TEST(HostHeap, only_blocks_of_the_process_heap_count_as_answers) {
    void* shared = HeapAlloc(GetProcessHeap(), 0, 16);
    HANDLE privateHeap = HeapCreate(0, 0, 0);
    void* other = HeapAlloc(privateHeap, 0, 16);
    EXPECT_TRUE(OnProcessHeap(shared));
    EXPECT_FALSE(OnProcessHeap(other));
    EXPECT_FALSE(OnProcessHeap(nullptr));
    HeapFree(GetProcessHeap(), 0, shared);
    HeapDestroy(privateHeap);
}

TEST_F(HostWithStandIn, a_message_is_header_then_body) {
    const uint8_t body[] = {1, 2};
    const auto bytes = MessageBytes(0xE4, 9, body);
    ASSERT_EQ(bytes.size(), 34u);
    EXPECT_EQ(bytes[0], 0xE4);
    EXPECT_EQ(bytes[1], 9);
    EXPECT_EQ(bytes[32], 1);
    EXPECT_EQ(bytes[33], 2);
}

} // namespace
} // namespace test_host
