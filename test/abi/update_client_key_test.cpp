// Event-handler slot 3 of MonitorPlugin.dll under Wine, against the prefix's registry: the update
// client's key goes with every key below it, in the 64-bit view.
#include "monitor_plugin_test.h"

#include <string>

namespace abi_test {
namespace {

constexpr const wchar_t* kKey =
    L"SOFTWARE\\Velmor\\Update\\Clients\\{C0F80620-669B-4A40-95E1-01A0F601C2AC}";

bool CreateKey(const std::wstring& path) {
    HKEY key = nullptr;
    const LSTATUS status =
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_WRITE | KEY_WOW64_64KEY, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(key);
    return true;
}

LSTATUS OpenStatus(const std::wstring& path) {
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &key);
    if (status == ERROR_SUCCESS) {
        RegCloseKey(key);
    }
    return status;
}

class UpdateClientKeyTest : public MonitorPluginTest {
protected:
    int32_t RemoveUpdateClientKey() {
        test_host::abi::EventHandler* handler = host.EventHandler();
        EXPECT_NE(handler, nullptr);
        return handler != nullptr ? handler->table->RemoveUpdateClientKey(handler) : -1;
    }
};

TEST_F(UpdateClientKeyTest, slot_3_removes_the_key_with_its_nested_subkeys_then_gives_1_again) {
    const std::wstring key = kKey;
    ASSERT_TRUE(CreateKey(key + L"\\A\\B\\C"));
    ASSERT_TRUE(CreateKey(key + L"\\A\\D"));
    ASSERT_TRUE(CreateKey(key + L"\\E"));
    ASSERT_TRUE(CreateKey(key + L"-Sibling"));

    EXPECT_EQ(RemoveUpdateClientKey(), 1);
    EXPECT_EQ(OpenStatus(key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenStatus(key + L"-Sibling"), ERROR_SUCCESS);
    EXPECT_EQ(RemoveUpdateClientKey(), 1); // already gone

    RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (key + L"-Sibling").c_str(), KEY_WOW64_64KEY, 0);
}

} // namespace
} // namespace abi_test
