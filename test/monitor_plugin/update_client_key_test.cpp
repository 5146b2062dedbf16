// Removing the update client's registration (event-handler slot 3) on the in-memory registry.
#include "monitor_plugin/update_client_key.h"
#include "plugin_fixture.h"
#include "sim/memory_registry_keys.h"

#include <gtest/gtest.h>
#include <string>

namespace {

const std::u16string kKey =
    u"SOFTWARE\\Velmor\\Update\\Clients\\{C0F80620-669B-4A40-95E1-01A0F601C2AC}";
const std::u16string kClients = u"SOFTWARE\\Velmor\\Update\\Clients";

TEST(UpdateClientKey, path_names_the_client_identifier_under_the_update_clients) {
    EXPECT_EQ(UpdateClientKeyPath(), kKey);
}

TEST(UpdateClientKey, deleting_the_key_when_it_does_not_exist_gives_1) {
    sim::MemoryRegistryKeys registry;
    registry.Create(kClients);
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 1);
    EXPECT_TRUE(registry.Exists(kClients));
}

TEST(UpdateClientKey, a_key_without_subkeys_is_deleted_at_once) {
    sim::MemoryRegistryKeys registry;
    registry.Create(kKey);
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 1);
    EXPECT_FALSE(registry.Exists(kKey));
    EXPECT_EQ(registry.Deletes(), 1);
}

TEST(UpdateClientKey, a_key_with_nested_subkeys_is_removed_and_its_siblings_stay) {
    sim::MemoryRegistryKeys registry;
    registry.Create(kKey + u"\\A\\B\\C");
    registry.Create(kKey + u"\\A\\D");
    registry.Create(kKey + u"\\E");
    registry.Create(kClients + u"\\{Other}\\F");
    registry.Create(kKey + u"-Sibling");
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 1);
    EXPECT_FALSE(registry.Exists(kKey));
    EXPECT_FALSE(registry.Exists(kKey + u"\\A"));
    EXPECT_TRUE(registry.Exists(kClients + u"\\{Other}\\F"));
    EXPECT_TRUE(registry.Exists(kKey + u"-Sibling"));
}

TEST(UpdateClientKey, a_key_that_cannot_be_opened_gives_0) {
    sim::MemoryRegistryKeys registry;
    registry.Create(kKey + u"\\A");
    registry.DenyAccess(kKey);
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 0);
    EXPECT_TRUE(registry.Exists(kKey + u"\\A"));
}

TEST(UpdateClientKey, a_subkey_that_cannot_be_removed_stops_the_removal_and_gives_0) {
    sim::MemoryRegistryKeys registry;
    registry.Create(kKey + u"\\A\\Locked\\Inner");
    registry.Create(kKey + u"\\B");
    registry.DenyAccess(kKey + u"\\A\\Locked");
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 0);
    EXPECT_TRUE(registry.Exists(kKey + u"\\A\\Locked\\Inner"));
    EXPECT_TRUE(registry.Exists(kKey + u"\\B")); // the removal stopped at the first failure
}

TEST(UpdateClientKey, a_subkey_name_longer_than_259_characters_is_not_read_and_the_key_stays) {
    sim::MemoryRegistryKeys registry;
    registry.Create(kKey + u"\\" + std::u16string(260, u'n'));
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 0);
    EXPECT_TRUE(registry.Exists(kKey));
}

// A cut path would name a key that does not exist, count as removed, and the same subkey would
// come first again without end.
TEST(UpdateClientKey, a_subkey_whose_path_would_not_fit_519_characters_ends_the_removal) {
    sim::MemoryRegistryKeys registry;
    const std::u16string deep =
        kKey + u"\\" + std::u16string(250, u'a') + u"\\" + std::u16string(250, u'b');
    ASSERT_GE(deep.size(), 520u);
    registry.Create(deep);
    EXPECT_EQ(RemoveUpdateClientRegistration(registry), 0);
    EXPECT_TRUE(registry.Exists(deep));
}

class UpdateClientKeySlot : public PluginFixture {};

TEST_F(UpdateClientKeySlot, slot_3_removes_the_key_and_gives_1_then_1_again) {
    machine.registryKeys.Create(kKey + u"\\A\\B");
    IOrvexEventHandlerEx1* events = plugin->EventHandler();
    EXPECT_EQ(events->RemoveUpdateClientKey(), 1);
    EXPECT_FALSE(machine.registryKeys.Exists(kKey));
    EXPECT_EQ(events->RemoveUpdateClientKey(), 1);
}

TEST_F(UpdateClientKeySlot, slot_3_gives_0_when_access_is_refused) {
    machine.registryKeys.Create(kKey);
    machine.registryKeys.DenyAccess(kKey);
    EXPECT_EQ(plugin->EventHandler()->RemoveUpdateClientKey(), 0);
}

} // namespace
