#include "expected_values.h"
#include "fake_host.h"
#include "message_bytes.h"
#include "plugin_frame/value_set.h"
#include "test_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using VelmorValueSet::Kind;
using VelmorValueSet::ValueSet;

using namespace expected;

class BaseOrvexPluginTest : public ::testing::Test {
protected:
    BaseOrvexPluginTest() : plugin(new TestPlugin(0, host.Heap())) { host.Install(*plugin); }

    // Sends a message as the host does and keeps the answer for the test to read.
    HRESULT Handle(const std::vector<uint8_t>& message, void* sender = nullptr) {
        return plugin->HandleMessage(sender, message.data(), static_cast<uint32_t>(message.size()),
                                     &answer, &answerSize);
    }

    ValueSet AnswerSet() const {
        ValueSet set;
        EXPECT_TRUE(set.Read(answer, answerSize));
        return set;
    }

    void TearDown() override {
        if (host.Heap().Owns(answer)) {
            host.Heap().Free(answer);
        }
    }

    FakeHost host;
    PluginRef plugin;
    uint8_t* answer =
        reinterpret_cast<uint8_t*>(&answerSize); // not null: the plug-in must reset it
    uint32_t answerSize = 77;
};

TEST_F(BaseOrvexPluginTest, get_name_with_count_0_returns_buffer_too_small_and_count_15) {
    uint32_t count = 0;
    EXPECT_EQ(plugin->GetName(nullptr, &count), kBufferTooSmall);
    EXPECT_EQ(count, 15u);
}

TEST_F(BaseOrvexPluginTest, get_name_with_count_15_and_no_buffer_is_invalid_argument) {
    uint32_t count = 15;
    EXPECT_EQ(plugin->GetName(nullptr, &count), kInvalidArgument);
    EXPECT_EQ(count, 15u);
}

TEST_F(BaseOrvexPluginTest, get_name_with_count_14_learns_the_need) {
    char16_t buffer[14] = {u'x'};
    uint32_t count = 14;
    EXPECT_EQ(plugin->GetName(buffer, &count), kBufferTooSmall);
    EXPECT_EQ(count, 15u);
    EXPECT_EQ(buffer[0], u'x');
}

TEST_F(BaseOrvexPluginTest, get_name_with_room_copies_terminated_text_and_keeps_count) {
    char16_t buffer[20];
    std::fill(std::begin(buffer), std::end(buffer), u'#');
    uint32_t count = 20;
    EXPECT_EQ(plugin->GetName(buffer, &count), kOk);
    EXPECT_EQ(std::u16string(buffer), u"Monitor Plugin");
    EXPECT_EQ(buffer[15], u'#');
    EXPECT_EQ(count, 20u);
}

TEST_F(BaseOrvexPluginTest, get_description_follows_the_same_protocol) {
    uint32_t count = 0;
    EXPECT_EQ(plugin->GetDescription(nullptr, &count), kBufferTooSmall);
    EXPECT_EQ(count, 27u);
    EXPECT_EQ(plugin->GetDescription(nullptr, &count), kInvalidArgument);
    char16_t buffer[27];
    EXPECT_EQ(plugin->GetDescription(buffer, &count), kOk);
    EXPECT_EQ(std::u16string(buffer), u"Monitor System Information");
}

TEST_F(BaseOrvexPluginTest, text_slots_without_count_are_invalid_argument) {
    char16_t buffer[32];
    EXPECT_EQ(plugin->GetName(buffer, nullptr), kInvalidArgument);
    EXPECT_EQ(plugin->GetDescription(buffer, nullptr), kInvalidArgument);
}

TEST_F(BaseOrvexPluginTest, identity_slots_copy_ids_and_version) {
    GUID id{};
    GUID typeId{};
    uint32_t version[4] = {};
    EXPECT_EQ(plugin->GetId(&id), kOk);
    EXPECT_EQ(plugin->GetTypeId(&typeId), kOk);
    EXPECT_EQ(plugin->GetVersion(version), kOk);
    EXPECT_EQ(id, TestPlugin::kId);
    EXPECT_EQ(typeId, TestPlugin::kTypeId);
    EXPECT_THAT(version, ::testing::ElementsAre(3u, 2u, 14u, 0u));
}

TEST_F(BaseOrvexPluginTest, identity_slots_without_out_are_invalid_argument) {
    EXPECT_EQ(plugin->GetId(nullptr), kInvalidArgument);
    EXPECT_EQ(plugin->GetTypeId(nullptr), kInvalidArgument);
    EXPECT_EQ(plugin->GetVersion(nullptr), kInvalidArgument);
}

TEST_F(BaseOrvexPluginTest, query_interface_answers_the_three_plugin_ids_with_the_object) {
    for (const GUID& iid : {kIidUnknown, kIidOrvexLibrary, kIidOrvexPlugin}) {
        void* out = nullptr;
        EXPECT_EQ(plugin->QueryInterface(&iid, &out), kOk);
        EXPECT_EQ(out, static_cast<IOrvexPlugin*>(plugin.plugin));
    }
    EXPECT_EQ(plugin->AddRef(), 5u); // 1 + three answers + this one
    for (int i = 0; i < 4; ++i) {
        plugin->Release();
    }
}

TEST_F(BaseOrvexPluginTest, query_interface_for_event_handler_ids_is_no_interface_in_the_base) {
    for (const GUID& iid : {kIidOrvexEventHandler, kIidOrvexEventHandlerEx1,
                            GUID{0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}}}) {
        void* out = &out;
        EXPECT_EQ(plugin->QueryInterface(&iid, &out), kNoInterface);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(plugin->AddRef(), 2u);
    plugin->Release();
}

TEST_F(BaseOrvexPluginTest, query_interface_with_null_arguments_is_invalid_argument) {
    void* out = &out;
    EXPECT_EQ(plugin->QueryInterface(nullptr, &out), kInvalidArgument);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(plugin->QueryInterface(&kIidOrvexPlugin, nullptr), kInvalidArgument);
}

TEST_F(BaseOrvexPluginTest, add_ref_and_release_return_the_new_count) {
    EXPECT_EQ(plugin->AddRef(), 2u);
    EXPECT_EQ(plugin->AddRef(), 3u);
    EXPECT_EQ(plugin->Release(), 2u);
    EXPECT_EQ(plugin->Release(), 1u);
}

TEST(BaseOrvexPluginLifetime, release_from_1_to_0_destroys_the_object_and_returns_0) {
    CountingHeap heap;
    bool destroyed = false;
    auto* plugin = new TestPlugin(0, heap, &destroyed);
    EXPECT_EQ(plugin->AddRef(), 2u);
    EXPECT_EQ(plugin->Release(), 1u);
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(plugin->Release(), 0u);
    EXPECT_TRUE(destroyed);
}

TEST(BaseOrvexPluginLifetime, deleting_destructor_without_bit_0_destroys_but_keeps_the_memory) {
    CountingHeap heap;
    bool destroyed = false;
    alignas(TestPlugin) unsigned char storage[sizeof(TestPlugin)];
    auto* plugin = new (storage) TestPlugin(0, heap, &destroyed);
    EXPECT_EQ(plugin->DeletingDestructor(0), static_cast<void*>(plugin));
    EXPECT_TRUE(destroyed);
}

TEST_F(BaseOrvexPluginTest, reserved_slots_23_to_25_have_their_fixed_values) {
    EXPECT_EQ(plugin->Reserved23(), 0);
    EXPECT_EQ(plugin->Reserved24(), kNotImplemented);
    EXPECT_EQ(plugin->Reserved25(), kNotImplemented);
}

TEST_F(BaseOrvexPluginTest, callback_setters_return_0) {
    EXPECT_EQ(plugin->SetHostCallback4(&host, &host), kOk);
    EXPECT_EQ(plugin->SetHostCallback5(nullptr, nullptr), kOk);
    EXPECT_EQ(plugin->SetLogCallback(nullptr, nullptr), kOk);
    EXPECT_EQ(plugin->SetRequestSender(nullptr, nullptr), kOk);
    EXPECT_EQ(plugin->SetNotificationSender(nullptr, nullptr), kOk);
}

TEST_F(BaseOrvexPluginTest, handle_message_shorter_than_the_header_is_invalid_argument) {
    const std::vector<uint8_t> message(31, 0xE1);
    EXPECT_EQ(Handle(message), kInvalidArgument);
    EXPECT_EQ(answer, nullptr);
    EXPECT_EQ(answerSize, 0u);
    EXPECT_EQ(plugin->HandleMessage(nullptr, message.data(), 0, &answer, &answerSize),
              kInvalidArgument);
}

TEST_F(BaseOrvexPluginTest, handle_message_without_buffer_or_answer_pointers_is_invalid_argument) {
    const auto message = HostMessage(kMessageRequest, 0, ValueSet{});
    EXPECT_EQ(plugin->HandleMessage(nullptr, nullptr, 32, &answer, &answerSize), kInvalidArgument);
    EXPECT_EQ(plugin->HandleMessage(nullptr, message.data(), 32, nullptr, &answerSize),
              kInvalidArgument);
    EXPECT_EQ(answerSize, 0u);
    EXPECT_EQ(plugin->HandleMessage(nullptr, message.data(), 32, &answer, nullptr),
              kInvalidArgument);
    EXPECT_EQ(answer, nullptr);
    EXPECT_TRUE(host.logs.empty()); // nothing reached the dispatch
}

TEST_F(BaseOrvexPluginTest, message_of_type_e2_returns_unsupported_and_no_answer) {
    ValueSet body;
    body.SetString("Cmd", u"Get");
    EXPECT_EQ(Handle(HostMessage(0xE2, 0, body)), kUnsupported);
    EXPECT_EQ(answer, nullptr);
    EXPECT_EQ(answerSize, 0u);
    EXPECT_EQ(host.Heap().Allocations(), 0u);
    EXPECT_TRUE(host.logs.empty());
}

TEST_F(BaseOrvexPluginTest, request_without_cmd_answers_unknown_command) {
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, ValueSet{})), kBadCommand);
    std::vector<uint8_t> bytes;
    AppendEntry(bytes, "Error", 16, Utf16Bytes("Unknown Command"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(answer, answer + answerSize), bytes);
    EXPECT_TRUE(host.Heap().Owns(answer));
    EXPECT_TRUE(host.Logged(6, "ProcessRequest, Cmd:"));
}

TEST_F(BaseOrvexPluginTest, request_with_unknown_cmd_logs_it_and_answers_unknown_command) {
    ValueSet body;
    body.SetString("Cmd", u"Nope");
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, body)), kBadCommand);
    EXPECT_EQ(AnswerSet().GetString("Error"), u"Unknown Command");
    EXPECT_EQ(host.LinesAt(6), std::vector<std::string>{"ProcessRequest, Cmd:Nope"});
    EXPECT_EQ(host.lastCaller, static_cast<IOrvexPlugin*>(plugin.plugin));
}

TEST_F(BaseOrvexPluginTest, request_runs_its_command_with_sender_and_answers_on_the_host_heap) {
    void* seenSender = nullptr;
    plugin->AddCommand(u"Echo", [&](void* sender, ValueSet& request, ValueSet& response) {
        seenSender = sender;
        response.SetInt32("Value", request.GetInt32("Value") + 1);
        return HRESULT{5};
    });
    ValueSet body;
    body.SetString("Cmd", u"Echo");
    body.SetInt32("Value", 41);
    int senderTag = 0;
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, body), &senderTag), 5);
    EXPECT_EQ(seenSender, &senderTag);
    std::vector<uint8_t> bytes;
    AppendEntry(bytes, "Value", 2, {42, 0, 0, 0});
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(answer, answer + answerSize), bytes);
    EXPECT_TRUE(host.Heap().Owns(answer));
}

TEST_F(BaseOrvexPluginTest, empty_response_gives_no_answer_buffer) {
    plugin->AddCommand(u"Quiet", [](void*, ValueSet&, ValueSet&) { return HRESULT{0}; });
    ValueSet body;
    body.SetString("Cmd", u"Quiet");
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, body)), kOk);
    EXPECT_EQ(answer, nullptr);
    EXPECT_EQ(answerSize, 0u);
    EXPECT_EQ(host.Heap().Allocations(), 0u);
}

TEST_F(BaseOrvexPluginTest, request_with_a_bad_body_is_dispatched_as_an_empty_request) {
    std::vector<uint8_t> message(kMessageHeaderSize, 0);
    message[0] = kMessageRequest;
    message.insert(message.end(), {3, 'C', 'm', 'd', 16, 0xFF, 0xFF, 0xFF, 0x7F, 'x'});
    EXPECT_EQ(Handle(message), kBadCommand);
    EXPECT_EQ(AnswerSet().GetString("Error"), u"Unknown Command");
    EXPECT_TRUE(host.Logged(6, "ProcessRequest, Cmd:"));
}

TEST_F(BaseOrvexPluginTest, command_running_out_of_memory_gives_a_code_instead_of_throwing) {
    plugin->AddCommand(u"Big",
                       [](void*, ValueSet&, ValueSet&) -> HRESULT { throw std::bad_alloc(); });
    plugin->AddCommand(
        u"Odd", [](void*, ValueSet&, ValueSet&) -> HRESULT { throw std::runtime_error("odd"); });
    ValueSet body;
    body.SetString("Cmd", u"Big");
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, body)), kOutOfMemory);
    EXPECT_EQ(answer, nullptr);
    body.SetString("Cmd", u"Odd");
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, body)), kFail);
    EXPECT_EQ(answer, nullptr);
}

TEST_F(BaseOrvexPluginTest, answer_that_cannot_be_allocated_is_out_of_memory) {
    ValueSet body;
    host.Heap().FailNextAllocation();
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, body)), kOutOfMemory);
    EXPECT_EQ(answer, nullptr);
    EXPECT_EQ(answerSize, 0u);
}

TEST_F(BaseOrvexPluginTest, notification_passes_byte_1_as_code_and_returns_0) {
    plugin->RecordNotifications();
    ValueSet body;
    body.SetString("Cmd", u"AMDMonitorNotify");
    auto message = HostMessage(kMessageNotification, 7, body);
    message[2] = 9; // byte 2 is the outgoing code: not the one delivered
    EXPECT_EQ(Handle(message), kOk);
    EXPECT_EQ(plugin->notifiedCode, 7);
    ASSERT_TRUE(plugin->notifiedPayload.has_value());
    EXPECT_EQ(plugin->notifiedPayload->GetString("Cmd"), u"AMDMonitorNotify");
    EXPECT_EQ(answer, nullptr);
    EXPECT_EQ(answerSize, 0u);
}

TEST_F(BaseOrvexPluginTest, base_receive_notification_returns_0) {
    ValueSet payload;
    EXPECT_EQ(plugin->BaseOrvexPlugin::ReceiveNotification(3, &payload), kOk);
}

TEST_F(BaseOrvexPluginTest, process_request_without_sets_is_invalid_argument) {
    ValueSet set;
    EXPECT_EQ(plugin->ProcessRequest(nullptr, nullptr, &set), kInvalidArgument);
    EXPECT_EQ(plugin->ProcessRequest(nullptr, &set, nullptr), kInvalidArgument);
}

TEST_F(BaseOrvexPluginTest, nothing_is_logged_while_no_sink_is_set) {
    plugin->SetLogCallback(nullptr, &host);
    EXPECT_EQ(Handle(HostMessage(kMessageRequest, 0, ValueSet{})), kBadCommand);
    plugin->LogFrom(3, u"Reader", u"text");
    EXPECT_TRUE(host.logs.empty());
}

TEST_F(BaseOrvexPluginTest, notify_before_a_sender_is_set_returns_unsupported_and_sends_nothing) {
    plugin->SetNotificationSender(nullptr, nullptr);
    ValueSet payload;
    payload.SetString("Cmd", u"DataUpdatedEvent");
    EXPECT_EQ(plugin->Notify(3, payload), kUnsupported);
    EXPECT_TRUE(host.notifications.empty());
}

TEST_F(BaseOrvexPluginTest, notify_sends_header_with_code_in_byte_2_and_the_body) {
    ValueSet payload;
    payload.SetString("Cmd", u"Get");
    host.notificationResult = 17;
    EXPECT_EQ(plugin->Notify(0x21, payload), 17);
    ASSERT_EQ(host.notifications.size(), 1u);
    std::vector<uint8_t> bytes(kMessageHeaderSize, 0);
    bytes[0] = 0xE4;
    bytes[2] = 0x21;
    bytes.insert(bytes.end(), {3, 'C', 'm', 'd', 16, 6, 0, 0, 0, 'G', 0, 'e', 0, 't', 0});
    EXPECT_EQ(host.notifications[0], bytes);
    EXPECT_EQ(host.lastCaller, static_cast<IOrvexPlugin*>(plugin.plugin));
}

TEST_F(BaseOrvexPluginTest, notify_with_an_empty_set_sends_the_header_alone) {
    EXPECT_EQ(plugin->Notify(1, ValueSet{}), kOk);
    ASSERT_EQ(host.notifications.size(), 1u);
    EXPECT_EQ(host.notifications[0].size(), kMessageHeaderSize);
}

// Host threads enter at any time: the count and the message entry need no lock of the frame's.
TEST(BaseOrvexPluginConcurrency, references_and_messages_from_several_threads_stay_consistent) {
    CountingHeap heap; // the answers are empty: nothing is allocated
    bool destroyed = false;
    auto* plugin = new TestPlugin(0, heap, &destroyed);
    plugin->AddCommand(u"Quiet", [](void*, ValueSet&, ValueSet&) { return HRESULT{7}; });
    ValueSet body;
    body.SetString("Cmd", u"Quiet");
    const auto message = HostMessage(kMessageRequest, 0, body);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                plugin->AddRef();
                uint8_t* answer = nullptr;
                uint32_t answerSize = 0;
                EXPECT_EQ(plugin->HandleMessage(nullptr, message.data(),
                                                static_cast<uint32_t>(message.size()), &answer,
                                                &answerSize),
                          7);
                plugin->Release();
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(plugin->Release(), 0u);
    EXPECT_TRUE(destroyed);
}

} // namespace
