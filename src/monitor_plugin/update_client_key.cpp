#include "monitor_plugin/update_client_key.h"

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace {

// The path lives in a buffer of this many characters, terminator included; a subkey name is read
// into one of kSubkeyNameCapacity.
constexpr std::size_t kPathCapacity = 520;
constexpr std::size_t kSubkeyNameCapacity = 260;

struct ClientId {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
constexpr ClientId kUpdateClientId = {
    0xC0F80620, 0x669B, 0x4A40, {0x95, 0xE1, 0x01, 0xA0, 0xF6, 0x01, 0xC2, 0xAC}};

// Deletes the key and its subtree the way the registry allows: a key goes only once it has no
// subkeys, so each subkey is removed first, one at a time. `path` is the shared path buffer; it
// is the key's path again on return.
bool RemoveTree(ports::RegistryKeys& keys, std::u16string& path) {
    if (keys.Delete(path) == ports::kRegistryOk) {
        return true;
    }
    {
        const ports::OpenedKey opened = keys.OpenForRead(path);
        if (!opened.key) {
            return opened.error == ports::kRegistryNotFound; // already gone
        }
        const std::size_t keyLength = path.size();
        if (path.empty() || path.back() != u'\\') {
            path.push_back(u'\\');
        }
        const std::size_t nameStart = path.size();
        while (const auto name = opened.key->FirstSubkey(kSubkeyNameCapacity)) {
            // A name that would not fit the path buffer is never cut short: a shortened path
            // would name another key.
            if (name->empty() || nameStart + name->size() >= kPathCapacity) {
                break;
            }
            path.resize(nameStart);
            path += *name;
            if (!RemoveTree(keys, path)) {
                break;
            }
        }
        path.resize(keyLength);
    } // the key is closed before the last delete
    return keys.Delete(path) == ports::kRegistryOk;
}

} // namespace

std::u16string UpdateClientKeyPath() {
    const ClientId& id = kUpdateClientId;
    char text[kPathCapacity];
    const int length = std::snprintf(
        text, sizeof text,
        "SOFTWARE\\Velmor\\Update\\Clients\\{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
        static_cast<unsigned>(id.Data1), unsigned{id.Data2}, unsigned{id.Data3},
        unsigned{id.Data4[0]}, unsigned{id.Data4[1]}, unsigned{id.Data4[2]}, unsigned{id.Data4[3]},
        unsigned{id.Data4[4]}, unsigned{id.Data4[5]}, unsigned{id.Data4[6]}, unsigned{id.Data4[7]});
    const std::string_view narrow(text, static_cast<std::size_t>(length));
    return std::u16string(narrow.begin(), narrow.end());
}

int32_t RemoveUpdateClientRegistration(ports::RegistryKeys& keys) noexcept {
    try {
        std::u16string path = UpdateClientKeyPath();
        path.reserve(kPathCapacity);
        return RemoveTree(keys, path) ? 1 : 0;
    } catch (...) {
        return 0; // out of memory: the key stays
    }
}
