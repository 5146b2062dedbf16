// What the frame sends the host, seen by the test host's callbacks across the real boundary: a
// probe plug-in on the frame notifies, sends requests, queries, toasts and inserts rows when a
// command asks it to. Headers and bodies are compared byte for byte with what the test host's own
// codec builds; the host's answers travel on the process heap and the plug-in frees them.
#include "host/test_host.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace abi_test {
namespace {

using test_host::Exchange;
using test_host::RecordedRequest;
using test_host::RegistryForm;
using test_host::Reply;
using test_host::TestHost;
using test_host::Tree;
using test_host::Value;
using test_host::abi::Plugin;
using test_host::abi::Result;

constexpr const wchar_t* kProbeFile = L"FrameProbePlugin.dll";

constexpr Result Code(uint32_t code) {
    return static_cast<Result>(code);
}

constexpr Result kUnsupported = Code(0xA0800005);
constexpr Result kBadCommand = Code(0xA0800010);
constexpr Result kPrivacyPolicyNotRead = Code(0xA0802001);
constexpr Result kFail = Code(0x80004005);
constexpr Result kAccessDenied = Code(0x80070005);

// The plug-in type, addressee of queries, toasts and relayed requests.
constexpr GUID kPluginTypeId{
    0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}};
// The host's data store, addressee of inserted rows.
constexpr GUID kDataStoreId{
    0x65565C62, 0x0C9E, 0x4B2F, {0xA8, 0x11, 0xCB, 0xCC, 0x72, 0x9C, 0xA1, 0xCA}};
// Some other component a plug-in talks to.
constexpr GUID kPeerId{
    0x0A1B2C3D, 0x4E5F, 0x6071, {0x82, 0x93, 0xA4, 0xB5, 0xC6, 0xD7, 0xE8, 0xF9}};

constexpr wchar_t kDefaultToastLogo[] =
    L"ms-appx:///Quillon.Core/Assets/Quillon_UWP_Crop/System/velmor_corvane_system_file_ic.png";

std::wstring ProbeFolder() {
    return test_host::WindowsFolder(FRAME_PROBE_DIR);
}

std::vector<uint8_t> BytesOf(const GUID& id) {
    std::vector<uint8_t> bytes(sizeof id);
    std::memcpy(bytes.data(), &id, sizeof id);
    return bytes;
}

// A payload with one value of every kind, a nested map included.
Tree EveryKind() {
    const uint8_t block[] = {0x00, 0xFF, 0x10, 0x80};
    return {{"Wide", Value::Wide(L"Fan 2")},
            {"Int32", Value::Int32(-7)},
            {"UInt32", Value::UInt32(0xFFFFFFF0u)},
            {"Int64", Value::Int64(0x1122334455667788ull)},
            {"Double", Value::Double(36.5)},
            {"Boolean", Value::Boolean(true)},
            {"Block", Value::Block(block)},
            {"Nested", Value::Map({{"Inner", Value::Wide(L"deep")}})}};
}

// The host's answers to the probe's requests: the data store's and the "UWPInfo" query's.
Reply UwpInfo(Tree answer, Result result = 0) {
    return {kPluginTypeId, L"Query.UWPInfo", result, std::move(answer)};
}
Reply DataStore(Tree answer, Result result = 0) {
    return {kDataStoreId, L"InsertData", result, std::move(answer)};
}

// Runs in host mode 0 (the service, role 2) and in a user-session mode (role 4).
class FrameMessagingTest : public ::testing::TestWithParam<uint32_t> {
protected:
    FrameMessagingTest() : host(ProbeFolder(), kProbeFile, GetParam()) {}

    void SetUp() override {
        ASSERT_NE(host.Plugin(), nullptr) << "FrameProbePlugin.dll did not load";
        ASSERT_EQ(host.InstallLogSink(), 0);
        ASSERT_EQ(host.InstallRequestSender(), 0);
        ASSERT_EQ(host.InstallNotificationSender(), 0);
    }

    uint8_t OwnRole() const { return GetParam() == 0 ? 2 : 4; }
    uint8_t OtherRole() const { return GetParam() == 0 ? 4 : 2; }

    // A host with the probe loaded and only a log sink installed.
    std::unique_ptr<TestHost> SilentHost() const {
        auto bare = std::make_unique<TestHost>(ProbeFolder(), kProbeFile, GetParam());
        EXPECT_NE(bare->Plugin(), nullptr);
        EXPECT_EQ(bare->InstallLogSink(), 0);
        return bare;
    }

    static Exchange Command(TestHost& to, const wchar_t* command, Tree arguments) {
        arguments.Set("Cmd", Value::Wide(command));
        return to.SendRequest(arguments);
    }
    Exchange Command(const wchar_t* command, Tree arguments = {}) {
        return Command(host, command, std::move(arguments));
    }

    Exchange SendRequestTo(const GUID& target, uint8_t destination, Tree request) {
        return Command(L"SendRequest", {{"Target", Value::Block(BytesOf(target))},
                                        {"Destination", Value::UInt32(destination)},
                                        {"Request", Value::Map(std::move(request))}});
    }

    Exchange InsertRows(int32_t count, std::vector<std::wstring> names,
                        std::vector<std::wstring> values) {
        Tree nameMap;
        Tree valueMap;
        for (size_t i = 0; i < names.size(); ++i) {
            nameMap.Set(std::to_string(i), Value::Wide(names[i]));
            valueMap.Set(std::to_string(i), Value::Wide(values[i]));
        }
        return Command(L"InsertData", {{"TableName", Value::Wide(L"Temprature")},
                                       {"Count", Value::Int32(count)},
                                       {"Names", Value::Map(nameMap)},
                                       {"Values", Value::Map(valueMap)}});
    }

    // An empty row set inserted through a probe of its own, whose host answers the "UWPInfo" query
    // and the data store as given: the result and the number of requests the host saw.
    std::pair<Result, size_t> InsertWithFreshHost(const Tree& uwpInfo,
                                                  const Tree& dataStore) const {
        TestHost fresh(ProbeFolder(), kProbeFile, GetParam());
        EXPECT_EQ(fresh.InstallRequestSender(), 0);
        fresh.AddReply(UwpInfo(uwpInfo));
        fresh.AddReply(DataStore(dataStore));
        const Result result = Command(fresh, L"InsertData",
                                      {{"TableName", Value::Wide(L"T")},
                                       {"Count", Value::Int32(0)},
                                       {"Names", Value::Map({})},
                                       {"Values", Value::Map({})}})
                                  .result;
        return {result, fresh.Requests().size()};
    }

    // The one request the host saw.
    RecordedRequest OnlyRequest() const {
        const auto requests = host.Requests();
        EXPECT_EQ(requests.size(), 1u);
        return requests.empty() ? RecordedRequest{} : requests.front();
    }

    void ExpectRequest(const RecordedRequest& request, const GUID& headerTarget,
                       uint8_t destination, const GUID& passedTarget, const Tree& body) const {
        EXPECT_EQ(request.message.header,
                  test_host::OutgoingRequestHeader(OwnRole(), destination, headerTarget));
        EXPECT_EQ(RegistryForm(request.target), RegistryForm(passedTarget));
        EXPECT_EQ(request.message.body, test_host::Encode(body));
    }

    // A request of the plug-in's own role, addressed to the target itself.
    void ExpectDirectRequest(const RecordedRequest& request, const GUID& target,
                             const Tree& body) const {
        ExpectRequest(request, target, OwnRole(), target, body);
    }

    bool Logged(int32_t level, const std::wstring& text) const {
        const auto logs = host.Logs();
        return std::any_of(logs.begin(), logs.end(), [&](const test_host::LogLine& line) {
            return line.level == level && line.text == text;
        });
    }

    TestHost host;
};

// What the probe hands back from a request it sent: the host's answer and the frame's result.
void ExpectProbeAnswer(const Exchange& exchange, const Tree& response, Result result) {
    EXPECT_EQ(exchange.result, result);
    const auto answer = exchange.AnswerTree();
    ASSERT_TRUE(answer.has_value());
    const Value* got = answer->Find("Response");
    ASSERT_NE(got, nullptr);
    ASSERT_NE(got->AsMap(), nullptr);
    EXPECT_EQ(test_host::Encode(*got->AsMap()), test_host::Encode(response));
    ASSERT_NE(answer->Find("Result"), nullptr);
    EXPECT_EQ(answer->Find("Result")->AsInt32(), result);
}

// ---- Notify ----

TEST_P(FrameMessagingTest, notify_sends_type_e4_with_the_code_in_byte_2_and_the_payload_as_body) {
    const Exchange exchange =
        Command(L"Notify", {{"Code", Value::UInt32(0x5A)}, {"Payload", Value::Map(EveryKind())}});
    EXPECT_EQ(exchange.result, 0);
    const auto notifications = host.Notifications();
    ASSERT_EQ(notifications.size(), 1u);
    std::vector<uint8_t> header(32, 0);
    header[0] = 0xE4;
    header[2] = 0x5A;
    EXPECT_EQ(notifications[0].header, header);
    EXPECT_EQ(notifications[0].body, test_host::Encode(EveryKind()));
    EXPECT_TRUE(host.Requests().empty());
}

TEST_P(FrameMessagingTest, notify_with_an_empty_payload_sends_the_header_alone) {
    EXPECT_EQ(Command(L"Notify", {{"Code", Value::UInt32(0xFF)}}).result, 0);
    const auto notifications = host.Notifications();
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].header, test_host::OutgoingNotificationHeader(0xFF));
    EXPECT_TRUE(notifications[0].body.empty());
}

Result RefuseNotification(void*, Plugin*, const uint8_t*, uint32_t) {
    return kAccessDenied;
}

TEST_P(FrameMessagingTest, notify_returns_the_senders_result) {
    ASSERT_EQ(host.Table().SetNotificationSender(host.Plugin(), &RefuseNotification, nullptr), 0);
    EXPECT_EQ(Command(L"Notify", {{"Code", Value::UInt32(1)}}).result, kAccessDenied);
}

TEST_P(FrameMessagingTest,
       notify_without_a_notification_sender_returns_a0800005_and_sends_nothing) {
    const auto silent = SilentHost();
    ASSERT_EQ(silent->InstallRequestSender(), 0);
    const Exchange exchange = Command(
        *silent, L"Notify", {{"Code", Value::UInt32(3)}, {"Payload", Value::Map(EveryKind())}});
    EXPECT_EQ(exchange.result, kUnsupported);
    EXPECT_TRUE(silent->Notifications().empty());
    EXPECT_TRUE(silent->Requests().empty());
}

// ---- SendRequest ----

TEST_P(FrameMessagingTest, a_request_for_the_own_role_goes_to_the_target_as_it_is) {
    const Tree request{{"Cmd", Value::Wide(L"Ping")}, {"Payload", Value::Map(EveryKind())}};
    host.AddReply({kPeerId, L"Ping", 0, {{"Pong", Value::Int32(1)}}});
    const Exchange exchange = SendRequestTo(kPeerId, OwnRole(), request);
    ExpectDirectRequest(OnlyRequest(), kPeerId, request);
    ExpectProbeAnswer(exchange, {{"Pong", Value::Int32(1)}}, 0);
}

TEST_P(FrameMessagingTest, the_request_header_is_e1_roles_marker_2_zeros_and_the_target) {
    SendRequestTo(kPeerId, OwnRole(), {{"Cmd", Value::Wide(L"Ping")}});
    const auto header = OnlyRequest().message.header;
    ASSERT_EQ(header.size(), 32u);
    EXPECT_EQ(header[0], 0xE1);
    EXPECT_EQ(header[1], OwnRole());
    EXPECT_EQ(header[2], OwnRole());
    EXPECT_EQ(header[3], 2);
    EXPECT_EQ(std::vector<uint8_t>(header.begin() + 4, header.begin() + 16),
              std::vector<uint8_t>(12, 0));
    EXPECT_EQ(std::vector<uint8_t>(header.begin() + 16, header.end()), BytesOf(kPeerId));
}

TEST_P(FrameMessagingTest, a_request_for_the_other_role_is_relayed_through_the_plugin_type) {
    const Tree request{{"Cmd", Value::Wide(L"Ping")}, {"Payload", Value::Map(EveryKind())}};
    host.AddReply({kPeerId, L"SendRequest", 0, {{"Relayed", Value::Boolean(true)}}});
    const Exchange exchange = SendRequestTo(kPeerId, OtherRole(), request);
    const Tree relay{{"Cmd", Value::Wide(L"SendRequest")},
                     {"Request", Value::Map({{"PID", Value::Block(BytesOf(kPeerId))},
                                             {"Destination", Value::UInt32(OtherRole())},
                                             {"Request", Value::Map(request)}})}};
    // The header addresses the relay; the host is told the caller's target.
    ExpectRequest(OnlyRequest(), kPluginTypeId, OtherRole(), kPeerId, relay);
    ExpectProbeAnswer(exchange, {{"Relayed", Value::Boolean(true)}}, 0);
}

TEST_P(FrameMessagingTest, an_unknown_role_is_relayed_with_that_destination) {
    SendRequestTo(kPeerId, 7, {});
    const Tree relay{{"Cmd", Value::Wide(L"SendRequest")},
                     {"Request", Value::Map({{"PID", Value::Block(BytesOf(kPeerId))},
                                             {"Destination", Value::UInt32(7)},
                                             {"Request", Value::Map({})}})}};
    ExpectRequest(OnlyRequest(), kPluginTypeId, 7, kPeerId, relay);
}

TEST_P(FrameMessagingTest, send_request_without_a_request_sender_returns_a0800005) {
    const auto silent = SilentHost();
    ASSERT_EQ(silent->InstallNotificationSender(), 0);
    const Exchange exchange = Command(*silent, L"SendRequest",
                                      {{"Target", Value::Block(BytesOf(kPeerId))},
                                       {"Destination", Value::UInt32(OwnRole())},
                                       {"Request", Value::Map({{"Cmd", Value::Wide(L"Ping")}})}});
    ExpectProbeAnswer(exchange, {}, kUnsupported);
    EXPECT_TRUE(silent->Requests().empty());
    EXPECT_TRUE(silent->Notifications().empty());
}

TEST_P(FrameMessagingTest, the_hosts_result_and_answer_pass_through) {
    host.AddReply({kPeerId, L"Ping", kAccessDenied, {{"Reason", Value::Wide(L"locked")}}});
    const Exchange exchange = SendRequestTo(kPeerId, OwnRole(), {{"Cmd", Value::Wide(L"Ping")}});
    ExpectProbeAnswer(exchange, {{"Reason", Value::Wide(L"locked")}}, kAccessDenied);
}

TEST_P(FrameMessagingTest, an_unanswered_request_leaves_the_response_empty) {
    const Exchange exchange = SendRequestTo(kPeerId, OwnRole(), {{"Cmd", Value::Wide(L"Ping")}});
    ExpectProbeAnswer(exchange, {}, test_host::kUnansweredRequest);
}

// A host whose answer is a process-heap block of the given bytes with a size it chooses.
struct HeapAnswer {
    std::vector<uint8_t> bytes;
    uint32_t reportedSize;
    Result result;
};

Result SendHeapAnswer(void* context, Plugin*, const GUID*, const uint8_t*, uint32_t,
                      uint8_t** answer, uint32_t* answerSize) {
    const auto& reply = *static_cast<const HeapAnswer*>(context);
    *answer = static_cast<uint8_t*>(HeapAlloc(GetProcessHeap(), 0, reply.bytes.size()));
    if (*answer == nullptr) {
        *answerSize = 0;
        return kFail;
    }
    std::memcpy(*answer, reply.bytes.data(), reply.bytes.size());
    *answerSize = reply.reportedSize;
    return reply.result;
}

TEST_P(FrameMessagingTest, an_answer_of_size_0_leaves_the_response_empty) {
    const auto body = test_host::Encode({{"Ignored", Value::Int32(5)}});
    HeapAnswer reply{body, 0, 1};
    ASSERT_EQ(host.Table().SetRequestSender(host.Plugin(), &SendHeapAnswer, &reply), 0);
    ExpectProbeAnswer(SendRequestTo(kPeerId, OwnRole(), {}), {}, 1);
}

TEST_P(FrameMessagingTest, a_malformed_answer_leaves_the_response_empty) {
    // A text whose declared length runs far past the end of the answer.
    HeapAnswer reply{{3, 'K', 'e', 'y', 0x10, 0xFF, 0xFF, 0xFF, 0x7F, 'x', 0}, 11, 0};
    ASSERT_EQ(host.Table().SetRequestSender(host.Plugin(), &SendHeapAnswer, &reply), 0);
    ExpectProbeAnswer(SendRequestTo(kPeerId, OwnRole(), {}), {}, 0);
}

// Bytes in use on the process heap, where the host's answers live.
size_t ProcessHeapBytesInUse() {
    const HANDLE heap = GetProcessHeap();
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    size_t inUse = 0;
    while (HeapWalk(heap, &entry) != FALSE) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            inUse += entry.cbData;
        }
    }
    HeapUnlock(heap);
    return inUse;
}

// Many rounds with large answers: any answer the plug-in kept would show on the process heap.
void ExpectAnswersFreed(const std::function<void()>& round) {
    constexpr int kRounds = 128;
    round(); // the first round may set up what later rounds reuse
    const size_t before = ProcessHeapBytesInUse();
    for (int i = 0; i < kRounds; ++i) {
        round();
    }
    const size_t after = ProcessHeapBytesInUse();
    EXPECT_LT(after, before + 256 * 1024) << "before " << before << ", after " << after;
}

constexpr size_t kLargeAnswer = 32 * 1024;

TEST_P(FrameMessagingTest, the_plugin_frees_the_hosts_answers_on_the_process_heap) {
    const Tree answer{{"Padding", Value::Block(std::vector<uint8_t>(kLargeAnswer, 0xA5))}};
    HeapAnswer reply{test_host::Encode(answer), 0, 0};
    reply.reportedSize = static_cast<uint32_t>(reply.bytes.size());
    ASSERT_EQ(host.Table().SetRequestSender(host.Plugin(), &SendHeapAnswer, &reply), 0);
    ExpectProbeAnswer(SendRequestTo(kPeerId, OwnRole(), {}), answer, 0);
    ExpectAnswersFreed([&] { SendRequestTo(kPeerId, OwnRole(), {}); });
}

TEST_P(FrameMessagingTest, the_plugin_frees_an_answer_of_size_0) {
    HeapAnswer reply{std::vector<uint8_t>(kLargeAnswer, 0), 0, 0};
    ASSERT_EQ(host.Table().SetRequestSender(host.Plugin(), &SendHeapAnswer, &reply), 0);
    ExpectAnswersFreed([&] { SendRequestTo(kPeerId, OwnRole(), {}); });
}

// ---- Query ----

TEST_P(FrameMessagingTest, query_product_line_asks_the_plugin_type_with_an_empty_request) {
    host.AddReply(
        {kPluginTypeId, L"Query.ProductLine", 0, {{"ProductLine", Value::Wide(L"Corvane")}}});
    const Exchange exchange = Command(L"Query", {{"Name", Value::Wide(L"ProductLine")}});
    ExpectDirectRequest(OnlyRequest(), kPluginTypeId,
                        {{"Cmd", Value::Wide(L"Query.ProductLine")}, {"Request", Value::Map({})}});
    ExpectProbeAnswer(exchange, {{"ProductLine", Value::Wide(L"Corvane")}}, 0);
}

TEST_P(FrameMessagingTest, query_carries_a_copy_of_its_payload) {
    Command(L"Query", {{"Name", Value::Wide(L"ModelName")}, {"Payload", Value::Map(EveryKind())}});
    ExpectDirectRequest(
        OnlyRequest(), kPluginTypeId,
        {{"Cmd", Value::Wide(L"Query.ModelName")}, {"Request", Value::Map(EveryKind())}});
}

TEST_P(FrameMessagingTest, query_without_a_name_returns_a0800005_and_sends_nothing) {
    ExpectProbeAnswer(Command(L"Query"), {}, kUnsupported);
    EXPECT_TRUE(host.Requests().empty());
}

// ---- Toast ----

TEST_P(FrameMessagingTest, toast_short_form_sends_the_default_logo) {
    const Exchange exchange =
        Command(L"Toast", {{"Title", Value::Wide(L"Fan")}, {"Content", Value::Wide(L"Too loud")}});
    EXPECT_EQ(exchange.result, test_host::kUnansweredRequest);
    ExpectDirectRequest(OnlyRequest(), kPluginTypeId,
                        {{"Cmd", Value::Wide(L"Toast")},
                         {"Request", Value::Map({{"ToastTitle", Value::Wide(L"Fan")},
                                                 {"ToastContent", Value::Wide(L"Too loud")},
                                                 {"ToastLogo", Value::Wide(kDefaultToastLogo)}})}});
}

TEST_P(FrameMessagingTest, toast_full_form_sends_the_given_logo_and_answers_the_hosts_result) {
    host.AddReply({kPluginTypeId, L"Toast", 0, {{"Shown", Value::Boolean(true)}}});
    const Exchange exchange = Command(L"Toast", {{"Title", Value::Wide(L"T")},
                                                 {"Content", Value::Wide(L"")},
                                                 {"Logo", Value::Wide(L"ms-appx:///logo.png")}});
    EXPECT_EQ(exchange.result, 0);
    ExpectDirectRequest(
        OnlyRequest(), kPluginTypeId,
        {{"Cmd", Value::Wide(L"Toast")},
         {"Request", Value::Map({{"ToastTitle", Value::Wide(L"T")},
                                 {"ToastContent", Value::Wide(L"")},
                                 {"ToastLogo", Value::Wide(L"ms-appx:///logo.png")}})}});
}

// ---- InsertData ----

TEST_P(FrameMessagingTest, insert_data_asks_uwp_info_then_sends_the_rows_to_the_data_store) {
    host.AddReply(UwpInfo({{"PPRead", Value::Boolean(true)}}));
    host.AddReply(DataStore({{"CommandResult", Value::Boolean(true)}}));
    EXPECT_EQ(InsertRows(2, {L"CPU", L"GPU"}, {L"41", L"52"}).result, 0);
    const auto requests = host.Requests();
    ASSERT_EQ(requests.size(), 2u);
    ExpectDirectRequest(requests[0], kPluginTypeId,
                        {{"Cmd", Value::Wide(L"Query.UWPInfo")}, {"Request", Value::Map({})}});
    const Tree columns{
        {"0", Value::Map({{"Name", Value::Wide(L"CPU")}, {"Value", Value::Wide(L"41")}})},
        {"1", Value::Map({{"Name", Value::Wide(L"GPU")}, {"Value", Value::Wide(L"52")}})}};
    ExpectDirectRequest(requests[1], kDataStoreId,
                        {{"Cmd", Value::Wide(L"InsertData")},
                         {"TableName", Value::Wide(L"Temprature")},
                         {"Count", Value::Int32(2)},
                         {"Columns", Value::Map(columns)}});
}

TEST_P(FrameMessagingTest, insert_data_keys_the_columns_by_decimal_index) {
    host.AddReply(UwpInfo({{"PPRead", Value::Boolean(true)}}));
    std::vector<std::wstring> names;
    Tree columns;
    for (int i = 0; i < 12; ++i) {
        names.push_back(L"N" + std::to_wstring(i));
        columns.Set(std::to_string(i), Value::Map({{"Name", Value::Wide(names.back())},
                                                   {"Value", Value::Wide(names.back())}}));
    }
    InsertRows(12, names, names);
    const auto requests = host.Requests();
    ASSERT_EQ(requests.size(), 2u);
    const auto body = test_host::Decode(requests[1].message.body);
    ASSERT_TRUE(body.has_value());
    ASSERT_NE(body->Find("Columns"), nullptr);
    ASSERT_NE(body->Find("Columns")->AsMap(), nullptr);
    EXPECT_EQ(test_host::Encode(*body->Find("Columns")->AsMap()), test_host::Encode(columns));
}

TEST_P(FrameMessagingTest, insert_data_with_count_0_sends_empty_columns_and_count_0) {
    host.AddReply(UwpInfo({{"PPRead", Value::Boolean(true)}}));
    host.AddReply(DataStore({{"CommandResult", Value::Boolean(true)}}));
    EXPECT_EQ(InsertRows(0, {}, {}).result, 0);
    const auto requests = host.Requests();
    ASSERT_EQ(requests.size(), 2u);
    ExpectDirectRequest(requests[1], kDataStoreId,
                        {{"Cmd", Value::Wide(L"InsertData")},
                         {"TableName", Value::Wide(L"Temprature")},
                         {"Count", Value::Int32(0)},
                         {"Columns", Value::Map({})}});
}

TEST_P(FrameMessagingTest, insert_data_fails_when_the_data_store_does_not_confirm) {
    const Tree answers[] = {
        {{"CommandResult", Value::Boolean(false)}}, {}, {{"CommandResult", Value::Int32(1)}}};
    for (const Tree& answer : answers) {
        const auto [result, requests] =
            InsertWithFreshHost({{"PPRead", Value::Boolean(true)}}, answer);
        EXPECT_EQ(result, kFail);
        EXPECT_EQ(requests, 2u);
    }
}

TEST_P(FrameMessagingTest, insert_data_returns_a_failed_send_as_it_is) {
    host.AddReply(UwpInfo({{"PPRead", Value::Boolean(true)}}));
    host.AddReply(DataStore({{"CommandResult", Value::Boolean(true)}}, kAccessDenied));
    EXPECT_EQ(InsertRows(1, {L"A"}, {L"B"}).result, kAccessDenied);
}

TEST_P(FrameMessagingTest, insert_data_before_the_privacy_policy_is_read_sends_no_rows) {
    host.AddReply(UwpInfo({{"PPRead", Value::Boolean(false)}}));
    host.AddReply(DataStore({{"CommandResult", Value::Boolean(true)}}));
    EXPECT_EQ(InsertRows(1, {L"A"}, {L"B"}).result, kPrivacyPolicyNotRead);
    ExpectDirectRequest(OnlyRequest(), kPluginTypeId,
                        {{"Cmd", Value::Wide(L"Query.UWPInfo")}, {"Request", Value::Map({})}});
    EXPECT_TRUE(Logged(3, L"Insert data failed: Privacy Policy is not read yet."));
}

TEST_P(FrameMessagingTest, insert_data_takes_only_a_boolean_true_as_the_policy_read) {
    const Tree answers[] = {{}, {{"PPRead", Value::Int32(1)}}};
    for (const Tree& answer : answers) {
        const auto [result, requests] =
            InsertWithFreshHost(answer, {{"CommandResult", Value::Boolean(true)}});
        EXPECT_EQ(result, kPrivacyPolicyNotRead);
        EXPECT_EQ(requests, 1u);
    }
}

TEST_P(FrameMessagingTest, a_failed_uwp_info_query_does_not_block_the_rows) {
    host.AddReply(UwpInfo({{"PPRead", Value::Boolean(false)}}, kFail));
    host.AddReply(DataStore({{"CommandResult", Value::Boolean(true)}}));
    EXPECT_EQ(InsertRows(1, {L"A"}, {L"B"}).result, 0);
    const auto requests = host.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(RegistryForm(requests[1].target), RegistryForm(kDataStoreId));
}

TEST_P(FrameMessagingTest, an_unanswered_uwp_info_query_does_not_block_the_rows) {
    host.AddReply(DataStore({{"CommandResult", Value::Boolean(true)}}));
    EXPECT_EQ(InsertRows(1, {L"A"}, {L"B"}).result, 0);
    EXPECT_EQ(host.Requests().size(), 2u);
}

TEST_P(FrameMessagingTest, insert_data_without_arrays_returns_a0800010_and_sends_nothing) {
    const Exchange exchange =
        Command(L"InsertData", {{"TableName", Value::Wide(L"T")}, {"Count", Value::Int32(1)}});
    EXPECT_EQ(exchange.result, kBadCommand);
    EXPECT_TRUE(host.Requests().empty());
    EXPECT_TRUE(Logged(3, L"Insert data failed: some arrays are NULL."));
}

INSTANTIATE_TEST_SUITE_P(HostModes, FrameMessagingTest, ::testing::Values(0u, 1u),
                         [](const ::testing::TestParamInfo<uint32_t>& mode) {
                             return mode.param == 0 ? std::string("service")
                                                    : std::string("user_session");
                         });

} // namespace
} // namespace abi_test
