#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ports {

// The "DecryptAES" entry of the maker's encryption helper: deciphers the first file into the
// second; its result carries no meaning the plug-in uses.
class DecryptAesEntry {
public:
    virtual int32_t operator()(const std::u16string& encipheredPath,
                               const std::u16string& plainPath) = 0;

protected:
    ~DecryptAesEntry() = default;
};

// VelmorEncryptHelper.dll beside the plug-in, loaded on request.
class EncryptHelper {
public:
    virtual ~EncryptHelper() = default;

    // Loads the library: nullopt when it does not load; otherwise its "DecryptAES" entry, null when
    // the library lacks it. The entry stays valid as long as the port.
    virtual std::optional<DecryptAesEntry*> Load() = 0;
};

} // namespace ports
