#include "host_core/plugin_messages.h"

#include <gtest/gtest.h>

namespace orvex_host {
namespace {

std::vector<uint8_t> Notification(uint8_t type, uint8_t code, const Tree& body) {
    std::vector<uint8_t> message(32, 0);
    message[0] = type;
    message[2] = code;
    const std::vector<uint8_t> encoded = Encode(body);
    message.insert(message.end(), encoded.begin(), encoded.end());
    return message;
}

Tree Relayed(Tree inner) {
    return Tree{{"Cmd", Value::Wide(L"SendRequest")},
                {"Request", Value::Map(Tree{{"Destination", Value::UInt32(1)},
                                            {"PID", Value::Block(std::vector<uint8_t>(16, 0xEA))},
                                            {"Request", Value::Map(std::move(inner))}})}};
}

TEST(PluginNotifications, a_device_change_names_its_event_in_a_wide_string) {
    const NotificationCheck check = CheckNotification(
        Notification(0xE4, 1, {{"RequestRole", Value::Wide(L"DeviceChangedEvent")}}));
    EXPECT_EQ(check.code, 1);
    EXPECT_EQ(check.role, "DeviceChangedEvent");
    EXPECT_FALSE(check.problem);
}

TEST(PluginNotifications, a_request_role_of_another_kind_is_reported_with_that_kind) {
    const NotificationCheck narrow = CheckNotification(
        Notification(0xE4, 2, {{"RequestRole", Value::Raw(4, {'W', 'i', 'n', 'd', 'o', 'w'})}}));
    EXPECT_EQ(narrow.code, 2);
    EXPECT_EQ(narrow.role, "");
    EXPECT_EQ(narrow.problem, "\"RequestRole\" is of kind 4, not a wide string (16)");
}

TEST(PluginNotifications, a_notification_without_request_role_is_reported) {
    const NotificationCheck check =
        CheckNotification(Notification(0xE4, 1, {{"Round", Value::Int32(1)}}));
    EXPECT_EQ(check.problem, "no \"RequestRole\"");
}

TEST(PluginNotifications, short_messages_and_other_types_are_reported) {
    EXPECT_EQ(CheckNotification(std::vector<uint8_t>(31, 0xE4)).problem,
              "shorter than its 32-byte header");
    EXPECT_EQ(
        CheckNotification(Notification(0xE1, 1, {{"RequestRole", Value::Wide(L"X")}})).problem,
        "header type is not 0xE4");
    std::vector<uint8_t> bad = Notification(0xE4, 1, {});
    bad.insert(bad.end(), {1, 'A', 16, 0xFF, 0xFF, 0xFF, 0x7F});
    EXPECT_EQ(CheckNotification(bad).problem, "body is not a value tree");
}

TEST(PluginRelays, a_relayed_request_unwraps_to_the_request_it_carries) {
    const Tree inner{{"RequestRole", Value::Wide(L"DataUpdatedEvent")}};
    const Tree relay = Relayed(inner);
    EXPECT_EQ(Encode(UnwrapRelay(relay)), Encode(inner));
}

TEST(PluginRelays, a_request_that_is_no_relay_stays_itself) {
    const Tree query{{"Cmd", Value::Wide(L"Query.ModelName")}};
    EXPECT_EQ(&UnwrapRelay(query), &query);
    const Tree empty{{"Cmd", Value::Wide(L"SendRequest")}};
    EXPECT_EQ(&UnwrapRelay(empty), &empty);
}

TEST(PluginRelays, request_role_problem_only_for_a_role_that_is_present_and_not_wide) {
    EXPECT_FALSE(RequestRoleProblem(Tree{}));
    EXPECT_FALSE(RequestRoleProblem({{"RequestRole", Value::Wide(L"DataUpdatedEvent")}}));
    EXPECT_EQ(RequestRoleProblem({{"RequestRole", Value::Int32(1)}}),
              "\"RequestRole\" is of kind 2, not a wide string (16)");
}

} // namespace
} // namespace orvex_host
