// Identity, reference counting and the fixed slots of MonitorPlugin.dll, called through the
// published tables exactly as the service host calls them.
#include "monitor_plugin_test.h"

namespace abi_test {
namespace {

using test_host::RegistryForm;
using namespace test_host::abi;

using IdentityTest = MonitorPluginTest;

// A GUID that no interface of the plug-in answers.
constexpr GUID kUnknownInterface{
    0x12345678, 0x9ABC, 0xDEF0, {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0}};

TEST_F(IdentityTest, query_library_hands_out_the_plugin_with_one_reference) {
    EXPECT_EQ(Table().AddRef(Plugin()), 2u);
    EXPECT_EQ(Table().Release(Plugin()), 1u);
}

TEST(UserSessionIdentity, any_host_mode_hands_out_the_same_plugin) {
    for (uint32_t mode : {1u, 2u, 0xFFFFFFFFu}) {
        test_host::TestHost host(PluginFolder(), kPluginFile, mode);
        ASSERT_NE(host.Plugin(), nullptr) << mode;
        EXPECT_EQ(host.Table().AddRef(host.Plugin()), 2u) << mode;
        EXPECT_EQ(host.Table().Release(host.Plugin()), 1u) << mode;
        EXPECT_EQ(test_host::ReadText(host.Plugin(), host.Table().GetName), L"Monitor Plugin");
    }
}

TEST_F(IdentityTest, the_export_is_undecorated_query_library) {
    EXPECT_NE(host.Module().Export("QueryLibrary"), nullptr);
}

TEST_F(IdentityTest, release_from_one_to_zero_returns_zero) {
    EXPECT_EQ(host.Reference().Release(), 0u);
}

TEST_F(IdentityTest, add_ref_and_release_answer_the_new_count) {
    EXPECT_EQ(Table().AddRef(Plugin()), 2u);
    EXPECT_EQ(Table().AddRef(Plugin()), 3u);
    EXPECT_EQ(Table().Release(Plugin()), 2u);
    EXPECT_EQ(Table().Release(Plugin()), 1u);
}

TEST_F(IdentityTest, plugin_interfaces_answer_the_plugin_object_with_a_reference) {
    for (const GUID& iid : {kUniversalInterface, kPluginInterface, kPluginInterface2}) {
        void* out = nullptr;
        EXPECT_EQ(Table().QueryInterface(Plugin(), &iid, &out), 0) << RegistryForm(iid);
        EXPECT_EQ(out, Plugin()) << RegistryForm(iid);
        EXPECT_EQ(Table().Release(Plugin()), 1u) << RegistryForm(iid);
    }
}

TEST_F(IdentityTest, both_event_handler_interfaces_answer_the_same_sub_object) {
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(Table().QueryInterface(Plugin(), &kEventHandlerInterface, &first), 0);
    ASSERT_EQ(Table().QueryInterface(Plugin(), &kEventHandlerEx1Interface, &second), 0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_NE(first, static_cast<void*>(Plugin()));

    // The sub-object counts on the plug-in's reference count.
    auto* handler = static_cast<EventHandler*>(first);
    EXPECT_EQ(handler->table->AddRef(handler), 4u);
    EXPECT_EQ(handler->table->Release(handler), 3u);
    EXPECT_EQ(handler->table->Release(handler), 2u);
    EXPECT_EQ(Table().Release(Plugin()), 1u);
}

TEST_F(IdentityTest, the_event_handler_leads_back_to_the_plugin) {
    EventHandler* handler = host.EventHandler();
    ASSERT_NE(handler, nullptr);
    void* out = nullptr;
    ASSERT_EQ(handler->table->QueryInterface(handler, &kPluginInterface, &out), 0);
    EXPECT_EQ(out, Plugin());
    Table().Release(Plugin());
}

TEST_F(IdentityTest, an_unknown_interface_is_refused_and_out_cleared) {
    void* out = &out;
    EXPECT_EQ(Table().QueryInterface(Plugin(), &kUnknownInterface, &out), Code(0x80004002));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Table().AddRef(Plugin()), 2u); // no reference was taken
    Table().Release(Plugin());
}

TEST_F(IdentityTest, name_size_is_learned_with_count_zero) {
    uint32_t count = 0;
    EXPECT_EQ(Table().GetName(Plugin(), nullptr, &count), Code(0xA0800001));
    EXPECT_EQ(count, 15u);
}

TEST_F(IdentityTest, name_with_room_but_no_buffer_is_an_invalid_argument) {
    uint32_t count = 15;
    EXPECT_EQ(Table().GetName(Plugin(), nullptr, &count), Code(0x80070057));
}

TEST_F(IdentityTest, name_one_short_of_the_terminator_is_too_small) {
    wchar_t buffer[14];
    uint32_t count = 14;
    EXPECT_EQ(Table().GetName(Plugin(), buffer, &count), Code(0xA0800001));
    EXPECT_EQ(count, 15u);
}

TEST_F(IdentityTest, name_is_monitor_plugin) {
    wchar_t buffer[15];
    uint32_t count = 15;
    ASSERT_EQ(Table().GetName(Plugin(), buffer, &count), 0);
    EXPECT_EQ(std::wstring(buffer, 15), std::wstring(L"Monitor Plugin\0", 15));
}

TEST_F(IdentityTest, description_follows_the_same_size_protocol) {
    uint32_t count = 0;
    EXPECT_EQ(Table().GetDescription(Plugin(), nullptr, &count), Code(0xA0800001));
    EXPECT_EQ(count, 27u);
    EXPECT_EQ(Table().GetDescription(Plugin(), nullptr, &count), Code(0x80070057));
    EXPECT_EQ(test_host::ReadText(Plugin(), Table().GetDescription), L"Monitor System Information");
}

TEST_F(IdentityTest, identifiers_are_the_monitor_plugins) {
    GUID id{};
    GUID typeId{};
    EXPECT_EQ(Table().GetId(Plugin(), &id), 0);
    EXPECT_EQ(Table().GetTypeId(Plugin(), &typeId), 0);
    EXPECT_EQ(RegistryForm(id), "{D22B890B-E516-4151-9943-ABF087C47073}");
    EXPECT_EQ(RegistryForm(typeId), "{EA96AA9C-93AD-4BB9-A539-41D62F18EDB7}");
}

TEST_F(IdentityTest, version_is_3_2_14_0) {
    uint32_t version[4] = {9, 9, 9, 9};
    EXPECT_EQ(Table().GetVersion(Plugin(), version), 0);
    EXPECT_EQ(version[0], 3u);
    EXPECT_EQ(version[1], 2u);
    EXPECT_EQ(version[2], 14u);
    EXPECT_EQ(version[3], 0u);
}

TEST_F(IdentityTest, reserved_slots_answer_their_fixed_values) {
    EXPECT_EQ(Table().Reserved10(Plugin()), 0);
    EXPECT_EQ(Table().Reserved11(Plugin()), 0);
    EXPECT_EQ(Table().Reserved17(Plugin()), 1);
    EXPECT_EQ(Table().Reserved18(Plugin()), 0);
    EXPECT_EQ(Table().Reserved19(Plugin()), 1);
    EXPECT_EQ(Table().Reserved20(Plugin()), 0);
    EXPECT_EQ(Table().Reserved21(Plugin()), 35);
    EXPECT_EQ(Table().Reserved22(Plugin()), 1);
    EXPECT_EQ(Table().Reserved23(Plugin()), 0);
    EXPECT_EQ(Table().Reserved24(Plugin()), Code(0xA0800000));
    EXPECT_EQ(Table().Reserved25(Plugin()), Code(0xA0800000));
}

TEST_F(IdentityTest, reserved_slot_12_clears_its_out_value) {
    uint32_t out = 0xDEADBEEF;
    EXPECT_EQ(Table().Reserved12(Plugin(), 7, &out), 0);
    EXPECT_EQ(out, 0u);
}

TEST_F(IdentityTest, host_callback_setters_return_zero) {
    EXPECT_EQ(host.InstallLogSink(), 0);
    EXPECT_EQ(host.InstallRequestSender(), 0);
    EXPECT_EQ(host.InstallNotificationSender(), 0);
    int context = 0;
    EXPECT_EQ(Table().SetHostCallback4(Plugin(), &context, &context), 0);
    EXPECT_EQ(Table().SetHostCallback5(Plugin(), &context, &context), 0);
}

TEST_F(IdentityTest, event_handler_setters_return_zero) {
    EXPECT_EQ(host.InstallEventCallbacks(), 0);
}

TEST_F(IdentityTest, installing_callbacks_sends_nothing_by_itself) {
    ASSERT_TRUE(host.InstallAll());
    EXPECT_TRUE(host.Requests().empty());
    EXPECT_TRUE(host.Notifications().empty());
    EXPECT_TRUE(host.DeviceRegistrations().empty());
}

} // namespace
} // namespace abi_test
