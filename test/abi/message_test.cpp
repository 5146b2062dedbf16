// HandleMessage of MonitorPlugin.dll as the service host drives it: message types, answer
// buffers on the process heap, and hostile bytes that must get a code and never a crash.
// Requests are refused until Initialize; then a request without a known "Command" answers 255.
#include "monitor_plugin_test.h"

#include <algorithm>
#include <random>

namespace abi_test {
namespace {

using test_host::Exchange;
using test_host::MessageBytes;
using test_host::Tree;
using test_host::Value;

constexpr Result kNotInitialized = Code(0xA0800009);
constexpr Result kUnsupportedMessage = Code(0xA0800005);

class MessageTest : public MonitorPluginTest {
protected:
    void SetUp() override {
        MonitorPluginTest::SetUp();
        ASSERT_EQ(host.InstallLogSink(), 0);
        ASSERT_EQ(Table().Initialize(Plugin()), 0);
    }
    void TearDown() override { Table().Uninitialize(Plugin()); }

    // A request with no command of the table: the answer says so in its only key.
    static void ExpectUnknownCommand(const Exchange& exchange) {
        EXPECT_EQ(exchange.result, 0);
        ASSERT_TRUE(exchange.answerPresent);
        EXPECT_TRUE(exchange.answerOnProcessHeap);
        const auto answer = exchange.AnswerTree();
        ASSERT_TRUE(answer.has_value());
        ASSERT_EQ(answer->Entries().size(), 1u);
        ASSERT_NE(answer->Find("Command"), nullptr);
        EXPECT_EQ(answer->Find("Command")->AsInt32(), 255);
    }

    // The plug-in still answers a well-formed request the way it did before.
    void ExpectStillAnswering() {
        const Exchange exchange = host.SendRequest({{"Command", Value::Int32(16)}});
        EXPECT_EQ(exchange.result, 0);
        EXPECT_EQ(exchange.answer,
                  test_host::Encode({{"Command", Value::Int32(16)}, {"Phase", Value::Int32(2)}}));
    }

    Exchange SendRaw(std::vector<uint8_t> body, uint8_t type = 0xE1) {
        return host.Send(MessageBytes(type, 0, body));
    }
};

TEST(MessageBeforeInitialize, a_request_is_refused_with_no_answer) {
    test_host::TestHost host(PluginFolder(), kPluginFile, 0);
    ASSERT_NE(host.Plugin(), nullptr);
    ASSERT_EQ(host.InstallLogSink(), 0);
    const Exchange exchange = host.SendRequest({{"Command", Value::Int32(16)}});
    EXPECT_EQ(exchange.result, kNotInitialized);
    EXPECT_FALSE(exchange.answerPresent);
    const auto logs = host.Logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(logs[0].text, L"ProcessRequest : Begin");
    EXPECT_EQ(logs[0].level, 6);
}

TEST_F(MessageTest, a_request_without_command_answers_255) {
    ExpectUnknownCommand(host.SendRequest({{"Cmd", Value::Wide(L"GetInfo")}}));
}

TEST_F(MessageTest, the_answer_body_is_exactly_the_command_255_entry) {
    const Exchange exchange = host.SendRequest({});
    EXPECT_EQ(exchange.answer, test_host::Encode({{"Command", Value::Int32(255)}}));
}

TEST_F(MessageTest, a_header_only_request_answers_255) {
    ExpectUnknownCommand(host.Send(MessageBytes(0xE1, 0, {})));
}

TEST_F(MessageTest, a_request_logs_its_command_at_trace_level) {
    ExpectStillAnswering();
    const auto logs = host.Logs();
    ASSERT_GE(logs.size(), 4u);
    const std::vector<std::wstring> expected = {L"ProcessRequest : Begin", L"Initial XTU : 0",
                                                L"Monitor Plugin - Command 16 ",
                                                L"ProcessRequest : End"};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(logs[logs.size() - 4 + i].text, expected[i]);
        EXPECT_EQ(logs[logs.size() - 4 + i].level, 6);
    }
}

TEST_F(MessageTest, without_a_log_sink_a_request_is_still_answered) {
    test_host::TestHost silent(PluginFolder(), kPluginFile, 0);
    ASSERT_NE(silent.Plugin(), nullptr);
    ASSERT_EQ(silent.Table().Initialize(silent.Plugin()), 0);
    ExpectUnknownCommand(silent.SendRequest({{"Command", Value::Int32(64)}}));
    EXPECT_TRUE(silent.Logs().empty());
    silent.Table().Uninitialize(silent.Plugin());
}

TEST_F(MessageTest, a_notification_returns_zero_without_an_answer) {
    const Exchange exchange =
        host.SendNotification(4, {{"RequestRole", Value::Wide(L"NobodyListens")}});
    EXPECT_EQ(exchange.result, 0);
    EXPECT_FALSE(exchange.answerPresent);
}

TEST_F(MessageTest, a_header_only_notification_returns_zero) {
    const Exchange exchange = host.Send(MessageBytes(0xE4, 2, {}));
    EXPECT_EQ(exchange.result, 0);
    EXPECT_FALSE(exchange.answerPresent);
}

TEST_F(MessageTest, type_e2_is_unsupported_and_answers_nothing) {
    const Exchange exchange = host.Send(MessageBytes(0xE2, 0, test_host::Encode({})));
    EXPECT_EQ(exchange.result, kUnsupportedMessage);
    EXPECT_FALSE(exchange.answerPresent);
}

TEST_F(MessageTest, every_type_but_request_and_notification_is_unsupported) {
    for (int type : {0x00, 0x01, 0xE0, 0xE3, 0xE5, 0xFF}) {
        const Exchange exchange = host.Send(MessageBytes(static_cast<uint8_t>(type), 0, {}));
        EXPECT_EQ(exchange.result, kUnsupportedMessage) << type;
        EXPECT_FALSE(exchange.answerPresent) << type;
    }
}

TEST_F(MessageTest, messages_shorter_than_a_header_do_not_crash) {
    for (uint32_t size : {0u, 1u, 2u, 16u, 31u}) {
        std::vector<uint8_t> bytes(size, 0);
        if (size > 0) {
            bytes[0] = 0xE1;
        }
        const Exchange exchange = host.Send(bytes);
        EXPECT_FALSE(exchange.answerPresent && !exchange.answerOnProcessHeap) << size;
    }
    ExpectStillAnswering();
}

TEST_F(MessageTest, a_null_message_does_not_crash) {
    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    Table().HandleMessage(Plugin(), nullptr, nullptr, 0, &answer, &answerSize);
    Table().HandleMessage(Plugin(), nullptr, nullptr, 64, &answer, &answerSize);
    if (answer != nullptr) {
        HeapFree(GetProcessHeap(), 0, answer);
    }
    ExpectStillAnswering();
}

TEST_F(MessageTest, bodies_that_lie_about_their_lengths_do_not_crash) {
    const std::vector<std::vector<uint8_t>> bodies = {
        {3, 'C', 'm', 'd', 16, 0xFF, 0xFF, 0xFF, 0xFF, 'x', 0}, // string longer than the body
        {3, 'C', 'm', 'd', 32, 0x00, 0x00, 0x00, 0x80},         // map longer than the body
        {0xFF, 'k'},                                            // key longer than the body
        {3, 'C', 'm', 'd', 16},                                 // value header cut short
        {1, 'k', 6, 0, 0, 0, 0},                                // kind 6 is not a kind
        {1, 'k', 0, 0, 0, 0, 0},                                // kind 0 never travels
        {1, 'k', 32, 7, 0, 0, 0, 1, 'j', 33, 0, 0, 0, 0},       // bad kind inside a map
        {1, 'k', 32, 0xF0, 0xFF, 0xFF, 0xFF, 1, 'j', 2, 4, 0},  // nested length past the end
    };
    for (const auto& body : bodies) {
        ExpectUnknownCommand(SendRaw(body));
        EXPECT_EQ(SendRaw(body, 0xE4).result, 0);
    }
    ExpectStillAnswering();
}

// Each map holds the next one and declares exactly the bytes that follow it.
std::vector<uint8_t> NestedMaps(uint32_t depth) {
    std::vector<uint8_t> body;
    body.reserve(size_t{depth} * 7);
    for (uint32_t level = 0; level < depth; ++level) {
        const uint32_t inner = 7 * (depth - 1 - level);
        body.insert(body.end(),
                    {1, 'm', 32, static_cast<uint8_t>(inner), static_cast<uint8_t>(inner >> 8),
                     static_cast<uint8_t>(inner >> 16), static_cast<uint8_t>(inner >> 24)});
    }
    return body;
}

TEST_F(MessageTest, deeply_nested_maps_do_not_crash) {
    ExpectUnknownCommand(SendRaw(NestedMaps(200000)));
    EXPECT_EQ(SendRaw(NestedMaps(200000), 0xE4).result, 0);
    ExpectStillAnswering();
}

TEST_F(MessageTest, random_bytes_do_not_crash) {
    std::mt19937 random(20261121);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> length(0, 300);
    for (int round = 0; round < 2000; ++round) {
        std::vector<uint8_t> body(static_cast<size_t>(length(random)));
        for (uint8_t& b : body) {
            b = static_cast<uint8_t>(byte(random));
        }
        SendRaw(body, round % 2 == 0 ? 0xE1 : 0xE4);
    }
    ExpectStillAnswering();
}

} // namespace
} // namespace abi_test
