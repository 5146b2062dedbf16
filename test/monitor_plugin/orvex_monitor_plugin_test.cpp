#include "expected_values.h"
#include "fake_host.h"
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"
#include "sim_machine.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using VelmorValueSet::ValueSet;

using namespace expected;

// Calls a table entry by its position, as the host does: the object travels as the first
// argument.
template <typename Result, typename... Args>
Result CallSlot(void* object, std::size_t slot, Args... args) {
    void** table = *static_cast<void***>(object);
    using Function = Result (*)(void*, Args...);
    return reinterpret_cast<Function>(table[slot])(object, args...);
}

class OrvexMonitorPluginTest : public ::testing::Test {
protected:
    OrvexMonitorPluginTest()
        : plugin(new COrvexMonitorPlugin(0, machine.Ports())),
          table(static_cast<IOrvexPlugin*>(plugin)), events(plugin->EventHandler()) {}
    ~OrvexMonitorPluginTest() override { plugin->Release(); }

    SimMachine machine;
    FakeHost host;
    COrvexMonitorPlugin* plugin;
    void* table;  // the plug-in table as the host holds it
    void* events; // the event-handler table as the host holds it
};

TEST_F(OrvexMonitorPluginTest, identity_is_the_monitor_plugin) {
    GUID id{};
    GUID typeId{};
    uint32_t version[4] = {};
    char16_t name[32];
    char16_t description[32];
    uint32_t nameCount = 32;
    uint32_t descriptionCount = 32;
    EXPECT_EQ(plugin->GetId(&id), kOk);
    EXPECT_EQ(plugin->GetTypeId(&typeId), kOk);
    EXPECT_EQ(plugin->GetVersion(version), kOk);
    EXPECT_EQ(plugin->GetName(name, &nameCount), kOk);
    EXPECT_EQ(plugin->GetDescription(description, &descriptionCount), kOk);
    EXPECT_EQ(id, kMonitorId);
    EXPECT_EQ(typeId, kMonitorTypeId);
    EXPECT_THAT(version, ::testing::ElementsAre(3u, 2u, 14u, 0u));
    EXPECT_EQ(std::u16string(name), u"Monitor Plugin");
    EXPECT_EQ(std::u16string(description), u"Monitor System Information");
}

TEST_F(OrvexMonitorPluginTest, host_mode_is_kept_and_selects_the_role) {
    EXPECT_EQ(plugin->HostMode(), 0u);
    EXPECT_EQ(plugin->OwnRole(), 2);
    auto* user = new COrvexMonitorPlugin(7, machine.Ports());
    EXPECT_EQ(user->HostMode(), 7u);
    EXPECT_EQ(user->OwnRole(), 4);
    EXPECT_EQ(user->Release(), 0u);
}

TEST_F(OrvexMonitorPluginTest, plugin_ids_answer_the_plugin_table) {
    for (const GUID& iid : {kIidUnknown, kIidOrvexLibrary, kIidOrvexPlugin}) {
        void* out = nullptr;
        EXPECT_EQ(plugin->QueryInterface(&iid, &out), kOk);
        EXPECT_EQ(out, table);
        plugin->Release();
    }
}

TEST_F(OrvexMonitorPluginTest, event_handler_ids_answer_the_event_handler_table_after_add_ref) {
    for (const GUID& iid : {kIidOrvexEventHandler, kIidOrvexEventHandlerEx1}) {
        void* out = nullptr;
        EXPECT_EQ(plugin->QueryInterface(&iid, &out), kOk);
        EXPECT_EQ(out, events);
        EXPECT_NE(out, table);
    }
    EXPECT_EQ(plugin->Release(), 2u);
    EXPECT_EQ(plugin->Release(), 1u);
}

TEST_F(OrvexMonitorPluginTest, unknown_id_is_no_interface_and_clears_out) {
    const GUID other = {
        0x177E1540, 0xB01F, 0x446D, {0x95, 0x14, 0xAF, 0x6D, 0x23, 0xD8, 0xA6, 0x68}};
    void* out = &out;
    EXPECT_EQ(plugin->QueryInterface(&other, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(plugin->AddRef(), 2u);
    plugin->Release();
}

TEST_F(OrvexMonitorPluginTest, event_handler_slots_0_to_2_share_the_plugin_count) {
    void* out = nullptr;
    EXPECT_EQ(CallSlot<HRESULT>(events, 0, &kIidOrvexPlugin, &out), kOk);
    EXPECT_EQ(out, table);
    EXPECT_EQ(CallSlot<HRESULT>(events, 0, &kIidOrvexEventHandlerEx1, &out), kOk);
    EXPECT_EQ(out, events);
    EXPECT_EQ(CallSlot<uint32_t>(events, 1), 4u);
    EXPECT_EQ(CallSlot<uint32_t>(events, 2), 3u);
    EXPECT_EQ(CallSlot<uint32_t>(table, 2), 2u);
    EXPECT_EQ(CallSlot<uint32_t>(events, 2), 1u);
}

TEST(OrvexMonitorPluginLifetime, last_release_through_the_event_handler_destroys_the_plugin) {
    SimMachine machine;
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    void* events = nullptr;
    ASSERT_EQ(plugin->QueryInterface(&kIidOrvexEventHandler, &events), kOk);
    EXPECT_EQ(plugin->Release(), 1u);
    EXPECT_EQ(CallSlot<uint32_t>(events, 2), 0u); // the sanitizers see a leak otherwise
}

TEST_F(OrvexMonitorPluginTest, plugin_table_slots_answer_in_table_order) {
    GUID id{};
    uint32_t count = 0;
    uint32_t version[4] = {};
    EXPECT_EQ(CallSlot<HRESULT>(table, 3, &id), kOk);
    EXPECT_EQ(id, kMonitorId);
    EXPECT_EQ(CallSlot<HRESULT>(table, 4, &id), kOk);
    EXPECT_EQ(id, kMonitorTypeId);
    EXPECT_EQ(CallSlot<HRESULT>(table, 5, static_cast<char16_t*>(nullptr), &count),
              kBufferTooSmall);
    EXPECT_EQ(count, 15u);
    count = 0;
    EXPECT_EQ(CallSlot<HRESULT>(table, 6, static_cast<char16_t*>(nullptr), &count),
              kBufferTooSmall);
    EXPECT_EQ(count, 27u);
    EXPECT_EQ(CallSlot<HRESULT>(table, 7, version), kOk);
    EXPECT_EQ(version[2], 14u);
}

TEST_F(OrvexMonitorPluginTest, reserved_slots_have_their_fixed_values) {
    uint32_t out = 99;
    EXPECT_EQ(CallSlot<HRESULT>(table, 10), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 11), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 12, uint32_t{5}, &out), kOk);
    EXPECT_EQ(out, 0u);
    EXPECT_EQ(CallSlot<int32_t>(table, 17), 1);
    EXPECT_EQ(CallSlot<int32_t>(table, 18), 0);
    EXPECT_EQ(CallSlot<int32_t>(table, 19), 1);
    EXPECT_EQ(CallSlot<int32_t>(table, 20), 0);
    EXPECT_EQ(CallSlot<int32_t>(table, 21), 35);
    EXPECT_EQ(CallSlot<int32_t>(table, 22), 1);
    EXPECT_EQ(CallSlot<int32_t>(table, 23), 0);
    EXPECT_EQ(CallSlot<HRESULT>(table, 24), kNotImplemented);
    EXPECT_EQ(CallSlot<HRESULT>(table, 25), kNotImplemented);
}

TEST_F(OrvexMonitorPluginTest, reserved_12_without_out_returns_0) {
    EXPECT_EQ(plugin->Reserved12(1, nullptr), kOk);
}

TEST_F(OrvexMonitorPluginTest, callback_slots_install_what_the_frame_then_uses) {
    host.Install(*plugin); // sets all three; the raw slots below replace them one by one
    FakeHost other;
    EXPECT_EQ(CallSlot<HRESULT>(table, 14, static_cast<OrvexLogSink>(nullptr), &other), kOk);
    plugin->Log(6, u"dropped");
    EXPECT_TRUE(other.logs.empty());
    EXPECT_TRUE(host.logs.empty());

    other.Install(*plugin);
    ValueSet response;
    EXPECT_EQ(plugin->Query(u"ModelName", response), kOk);
    EXPECT_EQ(other.requests.size(), 1u);
    EXPECT_EQ(CallSlot<HRESULT>(table, 16, static_cast<OrvexRequestSender>(nullptr), &other), kOk);
    EXPECT_NE(plugin->Query(u"ModelName", response), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 26, static_cast<OrvexNotificationSender>(nullptr), &other),
              kOk);
    EXPECT_NE(plugin->Notify(1, ValueSet{}), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 27, static_cast<void*>(&other), &other), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 28, static_cast<void*>(&other), &other), kOk);
}

TEST_F(OrvexMonitorPluginTest, handle_message_slot_dispatches_through_slot_30) {
    // Initialize starts the workers, which log from their own threads.
    MonitorHost threadSafeHost(machine.heap);
    threadSafeHost.Install(*plugin);
    uint8_t message[32] = {0xE1};
    uint8_t* answer = nullptr;
    uint32_t answerSize = 0;
    // Before Initialize every request is refused, with no answer.
    EXPECT_EQ(CallSlot<HRESULT>(table, 15, static_cast<void*>(nullptr),
                                static_cast<const uint8_t*>(message), uint32_t{32}, &answer,
                                &answerSize),
              kNotInitialized);
    EXPECT_EQ(answer, nullptr);
    EXPECT_TRUE(threadSafeHost.Logged(6, "ProcessRequest : Begin"));

    ValueSet request;
    ValueSet response;
    EXPECT_EQ(CallSlot<HRESULT>(table, 30, static_cast<void*>(nullptr), &request, &response),
              kNotInitialized);
    EXPECT_TRUE(response.Empty());
    EXPECT_EQ(CallSlot<HRESULT>(table, 31, uint8_t{1}, &request), kOk);

    ASSERT_EQ(CallSlot<HRESULT>(table, 8), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 15, static_cast<void*>(nullptr),
                                static_cast<const uint8_t*>(message), uint32_t{32}, &answer,
                                &answerSize),
              kOk);
    ASSERT_NE(answer, nullptr);
    ValueSet answered;
    ASSERT_TRUE(answered.Read(answer, answerSize));
    EXPECT_EQ(answered.GetInt32("Command"), 255);
    machine.heap.Free(answer);
    CallSlot<HRESULT>(table, 9);
    host.Install(*plugin); // the fixture's host outlives the plug-in
}

TEST_F(OrvexMonitorPluginTest, lifecycle_slots_return_0) {
    EXPECT_EQ(CallSlot<HRESULT>(table, 8), kOk);
    EXPECT_EQ(CallSlot<HRESULT>(table, 9), kOk);
}

TEST(OrvexMonitorPluginLifetime, slot_29_with_bit_0_destroys_and_frees_the_object) {
    SimMachine machine;
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    void* table = static_cast<IOrvexPlugin*>(plugin);
    EXPECT_EQ(CallSlot<void*>(table, 29, uint32_t{1}),
              table); // the sanitizers see a leak otherwise
}

TEST_F(OrvexMonitorPluginTest, event_handler_no_action_slots_and_setters_return_0) {
    int context = 0;
    EXPECT_EQ(CallSlot<HRESULT>(events, 4), kOk);
    for (std::size_t slot = 8; slot <= 12; ++slot) {
        EXPECT_EQ(CallSlot<HRESULT>(events, slot, static_cast<void*>(&context),
                                    static_cast<void*>(&context)),
                  kOk);
    }
    EXPECT_EQ(CallSlot<HRESULT>(events, 13), kOk);
}

} // namespace
