#include "expected_values.h"
#include "fake_host.h"
#include "message_bytes.h"
#include "ms_printf.h"
#include "plugin_frame/value_set.h"
#include "test_plugin.h"

#include <algorithm>
#include <array>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

using namespace expected;

constexpr GUID kDataStore = {
    0x65565C62, 0x0C9E, 0x4B2F, {0xA8, 0x11, 0xCB, 0xCC, 0x72, 0x9C, 0xA1, 0xCA}};
constexpr GUID kSomeTarget = {
    0x01020304, 0x0506, 0x0708, {0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10}};

// The type identifier {EA96AA9C-93AD-4BB9-A539-41D62F18EDB7} as it lies in a header.
const std::vector<uint8_t> kTypeIdBytes = {0x9C, 0xAA, 0x96, 0xEA, 0xAD, 0x93, 0xB9, 0x4B,
                                           0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7};
const std::vector<uint8_t> kSomeTargetBytes = {4, 3,  2,  1,  6,  5,  8,  7,
                                               9, 10, 11, 12, 13, 14, 15, 16};

std::vector<uint8_t> Header(const std::vector<uint8_t>& request) {
    return {request.begin(), request.begin() + kMessageHeaderSize};
}

std::vector<uint8_t> ExpectedHeader(uint8_t source, uint8_t destination,
                                    const std::vector<uint8_t>& target) {
    std::vector<uint8_t> header(16, 0);
    header[0] = 0xE1;
    header[1] = source;
    header[2] = destination;
    header[3] = 2;
    header.insert(header.end(), target.begin(), target.end());
    return header;
}

std::string CmdOf(const FakeHost::SentRequest& request) {
    return ToUtf8(FakeHost::BodyOf(request.message).GetString("Cmd"));
}

class HostMessagingTest : public ::testing::Test {
protected:
    explicit HostMessagingTest(uint32_t hostMode = 0)
        : plugin(new TestPlugin(hostMode, host.Heap())) {
        host.Install(*plugin);
    }

    using Fill = std::function<void(ValueSet&)>;

    // Answers "UWPInfo" with what uwpInfo fills and every other request with what insert fills.
    void AnswerInsert(Fill uwpInfo, Fill insert, HRESULT queryResult = 0,
                      HRESULT insertResult = 0) {
        host.answer = [=](const FakeHost::SentRequest& request, ValueSet& answer) {
            const bool query = CmdOf(request) == "Query.UWPInfo";
            (query ? uwpInfo : insert)(answer);
            return query ? queryResult : insertResult;
        };
    }

    static Fill Bool(std::string key, bool value) {
        return [=](ValueSet& answer) { answer.SetBool(key, value); };
    }
    static Fill Int(std::string key, int32_t value) {
        return [=](ValueSet& answer) { answer.SetInt32(key, value); };
    }
    static Fill Nothing() {
        return [](ValueSet&) {};
    }

    // Sends {"Cmd": "Get"} to kSomeTarget for the role and gives what the host received.
    const FakeHost::SentRequest& SendGetTo(uint8_t role) {
        ValueSet request;
        request.SetString("Cmd", u"Get");
        ValueSet response;
        EXPECT_EQ(plugin->SendRequest(kSomeTarget, request, response, role), kOk);
        EXPECT_EQ(host.requests.size(), 1u);
        return host.requests.at(0);
    }

    HRESULT InsertTwoColumns() {
        const char16_t* names[] = {u"CPU", u"GPU"};
        const char16_t* values[] = {u"12.5", u"3"};
        return plugin->InsertData(u"SysInfo", names, values, 2);
    }

    FakeHost host;
    PluginRef plugin;
};

TEST_F(HostMessagingTest, send_request_without_a_sender_returns_unsupported) {
    plugin->SetRequestSender(nullptr, nullptr);
    ValueSet request;
    ValueSet response;
    EXPECT_EQ(plugin->SendRequest(kSomeTarget, request, response, 2), kUnsupported);
    EXPECT_TRUE(host.requests.empty());
}

TEST_F(HostMessagingTest, send_request_to_own_role_sends_header_and_the_request_body) {
    const auto& sent = SendGetTo(2);
    auto bytes = ExpectedHeader(2, 2, kSomeTargetBytes);
    bytes.insert(bytes.end(), {3, 'C', 'm', 'd', 16, 6, 0, 0, 0, 'G', 0, 'e', 0, 't', 0});
    EXPECT_EQ(sent.message, bytes);
    EXPECT_EQ(sent.target, kSomeTarget);
    EXPECT_EQ(host.lastCaller, static_cast<IOrvexPlugin*>(plugin.plugin));
}

TEST_F(HostMessagingTest, send_request_reads_the_answer_frees_it_and_returns_the_result) {
    host.answer = [](const FakeHost::SentRequest&, ValueSet& answer) {
        answer.SetInt32("ProductLine", 3);
        return HRESULT{0x1234};
    };
    ValueSet response;
    EXPECT_EQ(plugin->SendRequest(kSomeTarget, ValueSet{}, response, 2), 0x1234);
    EXPECT_EQ(response.GetInt32("ProductLine"), 3);
    EXPECT_EQ(host.Heap().Allocations(), 1u);
    EXPECT_EQ(host.Heap().Live(), 0u);
}

TEST_F(HostMessagingTest, failed_send_still_reads_and_frees_the_answer) {
    host.answer = [](const FakeHost::SentRequest&, ValueSet& answer) {
        answer.SetString("Error", u"busy");
        return kFail;
    };
    ValueSet response;
    EXPECT_EQ(plugin->SendRequest(kSomeTarget, ValueSet{}, response, 2), kFail);
    EXPECT_EQ(response.GetString("Error"), u"busy");
    EXPECT_EQ(host.Heap().Live(), 0u);
}

TEST_F(HostMessagingTest, answer_of_size_0_leaves_the_response_empty) {
    ValueSet response;
    EXPECT_EQ(plugin->SendRequest(kSomeTarget, ValueSet{}, response, 2), kOk);
    EXPECT_TRUE(response.Empty());
    EXPECT_EQ(host.Heap().Allocations(), 0u);
}

TEST_F(HostMessagingTest, request_for_another_role_is_wrapped_under_send_request) {
    const auto& sent = SendGetTo(4);
    EXPECT_EQ(Header(sent.message), ExpectedHeader(2, 4, kTypeIdBytes));
    EXPECT_EQ(sent.target, kSomeTarget); // the host is told the caller's target
    const ValueSet body = FakeHost::BodyOf(sent.message);
    EXPECT_EQ(body.Count(), 2u);
    EXPECT_EQ(body.GetString("Cmd"), u"SendRequest");
    const ValueSet* wrapped = body.FindMap("Request");
    ASSERT_NE(wrapped, nullptr);
    EXPECT_EQ(wrapped->Count(), 3u);
    ASSERT_NE(wrapped->Find("PID"), nullptr);
    EXPECT_EQ(wrapped->Find("PID")->GetKind(), Kind::Binary);
    const auto pid = wrapped->GetBlock("PID");
    EXPECT_EQ(std::vector<uint8_t>(pid.begin(), pid.end()), kSomeTargetBytes);
    ASSERT_NE(wrapped->Find("Destination"), nullptr);
    EXPECT_EQ(wrapped->Find("Destination")->GetKind(), Kind::UInt32);
    EXPECT_EQ(wrapped->GetUInt32("Destination"), 4u);
    const ValueSet* inner = wrapped->FindMap("Request");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->Count(), 1u);
    EXPECT_EQ(inner->GetString("Cmd"), u"Get");
}

class UserSessionMessagingTest : public HostMessagingTest {
protected:
    UserSessionMessagingTest() : HostMessagingTest(1) {}
};

TEST_F(UserSessionMessagingTest, user_session_instance_sends_as_role_4) {
    ValueSet response;
    EXPECT_EQ(plugin->SendRequest(kSomeTarget, ValueSet{}, response, 4), kOk);
    EXPECT_EQ(Header(host.requests.at(0).message), ExpectedHeader(4, 4, kSomeTargetBytes));
    EXPECT_EQ(plugin->SendRequest(kSomeTarget, ValueSet{}, response, 2), kOk);
    EXPECT_EQ(Header(host.requests.at(1).message), ExpectedHeader(4, 2, kTypeIdBytes));
    EXPECT_EQ(FakeHost::BodyOf(host.requests.at(1).message).GetString("Cmd"), u"SendRequest");
}

TEST_F(HostMessagingTest, query_without_a_name_returns_unsupported_and_sends_nothing) {
    ValueSet response;
    EXPECT_EQ(plugin->Query(nullptr, response), kUnsupported);
    EXPECT_TRUE(host.requests.empty());
}

TEST_F(HostMessagingTest, short_query_sends_cmd_and_an_empty_request_map_to_the_type_id) {
    host.answer = [](const FakeHost::SentRequest&, ValueSet& answer) {
        answer.SetString("ModelName", u"GX550");
        return HRESULT{0};
    };
    ValueSet response;
    EXPECT_EQ(plugin->Query(u"ModelName", response), kOk);
    EXPECT_EQ(response.GetString("ModelName"), u"GX550");
    ASSERT_EQ(host.requests.size(), 1u);
    auto bytes = ExpectedHeader(2, 2, kTypeIdBytes);
    AppendEntry(bytes, "Cmd", 16, Utf16Bytes("Query.ModelName"));
    AppendEntry(bytes, "Request", 32, {});
    EXPECT_EQ(host.requests[0].message, bytes);
    EXPECT_EQ(host.requests[0].target, TestPlugin::kTypeId);
    EXPECT_EQ(host.Heap().Live(), 0u);
}

TEST_F(HostMessagingTest, query_copies_the_payload_under_request) {
    ValueSet payload;
    payload.SetUInt32("Index", 7);
    payload.CreateMap("Nested")->SetBool("Flag", true);
    ValueSet response;
    EXPECT_EQ(plugin->Query(u"ProductLine", payload, response), kOk);
    const ValueSet body = FakeHost::BodyOf(host.requests.at(0).message);
    EXPECT_EQ(body.GetString("Cmd"), u"Query.ProductLine");
    const ValueSet* request = body.FindMap("Request");
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(request->GetUInt32("Index"), 7u);
    ASSERT_NE(request->FindMap("Nested"), nullptr);
    EXPECT_TRUE(request->FindMap("Nested")->GetBool("Flag"));
    EXPECT_EQ(payload.Count(), 2u); // the caller keeps its payload
}

TEST_F(HostMessagingTest, toast_sends_title_content_and_logo_and_returns_the_result) {
    host.answer = [](const FakeHost::SentRequest&, ValueSet& answer) {
        answer.SetBool("Shown", true);
        return HRESULT{3};
    };
    EXPECT_EQ(plugin->Toast(u"Title", u"Body", u"logo.png"), 3);
    ASSERT_EQ(host.requests.size(), 1u);
    EXPECT_EQ(Header(host.requests[0].message), ExpectedHeader(2, 2, kTypeIdBytes));
    const ValueSet body = FakeHost::BodyOf(host.requests[0].message);
    EXPECT_EQ(body.GetString("Cmd"), u"Toast");
    const ValueSet* toast = body.FindMap("Request");
    ASSERT_NE(toast, nullptr);
    EXPECT_EQ(toast->Count(), 3u);
    EXPECT_EQ(toast->GetString("ToastTitle"), u"Title");
    EXPECT_EQ(toast->GetString("ToastContent"), u"Body");
    EXPECT_EQ(toast->GetString("ToastLogo"), u"logo.png");
    EXPECT_EQ(host.Heap().Live(), 0u);
}

TEST_F(HostMessagingTest, short_toast_uses_the_system_file_logo) {
    EXPECT_EQ(plugin->Toast(u"T", u"C"), kOk);
    const ValueSet body = FakeHost::BodyOf(host.requests.at(0).message);
    EXPECT_EQ(body.FindMap("Request")->GetString("ToastLogo"),
              u"ms-appx:///Quillon.Core/Assets/Quillon_UWP_Crop/System/"
              u"velmor_corvane_system_file_ic.png");
}

TEST_F(HostMessagingTest, insert_data_with_null_arrays_logs_and_returns_bad_command) {
    const char16_t* names[] = {u"A"};
    EXPECT_EQ(plugin->InsertData(u"T", nullptr, names, 1), kBadCommand);
    EXPECT_EQ(plugin->InsertData(u"T", names, nullptr, 1), kBadCommand);
    EXPECT_TRUE(host.requests.empty());
    EXPECT_EQ(host.LinesAt(3),
              (std::vector<std::string>{"Insert data failed: some arrays are NULL.",
                                        "Insert data failed: some arrays are NULL."}));
}

TEST_F(HostMessagingTest, insert_data_asks_uwp_info_then_sends_the_row_to_the_data_store) {
    AnswerInsert(Bool("PPRead", true), Bool("CommandResult", true));
    EXPECT_EQ(InsertTwoColumns(), kOk);
    ASSERT_EQ(host.requests.size(), 2u);
    EXPECT_EQ(CmdOf(host.requests[0]), "Query.UWPInfo");
    const auto& insert = host.requests[1];
    EXPECT_EQ(insert.target, kDataStore);
    EXPECT_EQ(Header(insert.message),
              ExpectedHeader(2, 2,
                             {0x62, 0x5C, 0x56, 0x65, 0x9E, 0x0C, 0x2F, 0x4B, 0xA8, 0x11, 0xCB,
                              0xCC, 0x72, 0x9C, 0xA1, 0xCA}));
    const ValueSet body = FakeHost::BodyOf(insert.message);
    EXPECT_EQ(body.Count(), 4u);
    EXPECT_EQ(body.GetString("Cmd"), u"InsertData");
    EXPECT_EQ(body.GetString("TableName"), u"SysInfo");
    ASSERT_NE(body.Find("Count"), nullptr);
    EXPECT_EQ(body.Find("Count")->GetKind(), Kind::Int32);
    EXPECT_EQ(body.GetInt32("Count"), 2);
    const ValueSet* columns = body.FindMap("Columns");
    ASSERT_NE(columns, nullptr);
    EXPECT_EQ(columns->Count(), 2u);
    EXPECT_EQ(columns->FindMap("0")->GetString("Name"), u"CPU");
    EXPECT_EQ(columns->FindMap("0")->GetString("Value"), u"12.5");
    EXPECT_EQ(columns->FindMap("1")->GetString("Name"), u"GPU");
    EXPECT_EQ(columns->FindMap("1")->GetString("Value"), u"3");
    EXPECT_EQ(host.Heap().Live(), 0u);
}

TEST_F(HostMessagingTest, insert_data_with_count_0_sends_an_empty_columns_map) {
    AnswerInsert(Bool("PPRead", true), Bool("CommandResult", true));
    const char16_t* none[] = {nullptr};
    EXPECT_EQ(plugin->InsertData(u"Empty", none, none, 0), kOk);
    ASSERT_EQ(host.requests.size(), 2u);
    std::vector<uint8_t> bytes = ExpectedHeader(2, 2,
                                                {0x62, 0x5C, 0x56, 0x65, 0x9E, 0x0C, 0x2F, 0x4B,
                                                 0xA8, 0x11, 0xCB, 0xCC, 0x72, 0x9C, 0xA1, 0xCA});
    AppendEntry(bytes, "Cmd", 16, Utf16Bytes("InsertData"));
    AppendEntry(bytes, "Columns", 32, {});
    AppendEntry(bytes, "Count", 2, {0, 0, 0, 0});
    AppendEntry(bytes, "TableName", 16, Utf16Bytes("Empty"));
    EXPECT_EQ(host.requests[1].message, bytes);
}

TEST_F(HostMessagingTest, insert_data_with_pp_read_false_sends_nothing_and_is_blocked) {
    AnswerInsert(Bool("PPRead", false), Bool("CommandResult", true));
    EXPECT_EQ(InsertTwoColumns(), kPrivacyPolicyNotRead);
    ASSERT_EQ(host.requests.size(), 1u);
    EXPECT_EQ(CmdOf(host.requests[0]), "Query.UWPInfo");
    EXPECT_EQ(host.LinesAt(3),
              std::vector<std::string>{"Insert data failed: Privacy Policy is not read yet."});
}

TEST_F(HostMessagingTest, insert_data_with_pp_read_missing_is_blocked) {
    AnswerInsert(Nothing(), Bool("CommandResult", true));
    EXPECT_EQ(InsertTwoColumns(), kPrivacyPolicyNotRead);
    EXPECT_EQ(host.requests.size(), 1u);
}

TEST_F(HostMessagingTest, insert_data_with_pp_read_of_another_kind_is_blocked) {
    AnswerInsert(Int("PPRead", 1), Bool("CommandResult", true));
    EXPECT_EQ(InsertTwoColumns(), kPrivacyPolicyNotRead);
    EXPECT_EQ(host.requests.size(), 1u);
}

TEST_F(HostMessagingTest, insert_data_goes_ahead_when_the_uwp_info_query_fails) {
    AnswerInsert(Bool("PPRead", false), Bool("CommandResult", true),
                 static_cast<HRESULT>(0x80004005u));
    EXPECT_EQ(InsertTwoColumns(), kOk);
    ASSERT_EQ(host.requests.size(), 2u);
    EXPECT_EQ(CmdOf(host.requests[1]), "InsertData");
    EXPECT_TRUE(host.LinesAt(3).empty());
}

TEST_F(HostMessagingTest, insert_data_with_command_result_false_fails) {
    AnswerInsert(Bool("PPRead", true), Bool("CommandResult", false));
    EXPECT_EQ(InsertTwoColumns(), kFail);
}

TEST_F(HostMessagingTest, insert_data_with_command_result_missing_fails) {
    AnswerInsert(Bool("PPRead", true), Nothing());
    EXPECT_EQ(InsertTwoColumns(), kFail);
}

TEST_F(HostMessagingTest, insert_data_with_command_result_of_another_kind_fails) {
    AnswerInsert(Bool("PPRead", true), Int("CommandResult", 1));
    EXPECT_EQ(InsertTwoColumns(), kFail);
}

TEST_F(HostMessagingTest, insert_data_returns_a_negative_send_result_as_it_is) {
    AnswerInsert(Bool("PPRead", true), Bool("CommandResult", true), 0,
                 static_cast<HRESULT>(0x80070005u));
    EXPECT_EQ(InsertTwoColumns(), static_cast<HRESULT>(0x80070005u));
}

TEST_F(HostMessagingTest, insert_data_without_a_sender_is_unsupported) {
    plugin->SetRequestSender(nullptr, nullptr);
    EXPECT_EQ(InsertTwoColumns(), kUnsupported);
}

TEST_F(HostMessagingTest, log_helper_writes_source_in_parentheses_then_text) {
    plugin->LogFrom(4, u"CPUInfoReader", u"Open VelmorIO failed");
    ASSERT_EQ(host.logs.size(), 1u);
    EXPECT_EQ(host.logs[0].level, 4);
    EXPECT_EQ(ToUtf8(host.logs[0].text), "(CPUInfoReader)Open VelmorIO failed");
}

TEST_F(HostMessagingTest, log_passes_format_and_arguments_straight_to_the_sink) {
    plugin->Log(6, u"CPU Vendor ID : %d, 0x%08X, %s", 2, 0xABCu, u"x");
    EXPECT_TRUE(host.Logged(6, "CPU Vendor ID : 2, 0x00000ABC, x"));
}

} // namespace
