#pragma once

#include "ports/system_messages.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

namespace sim {

// The system's message table in miniature: the texts a test gives, "0x%08X" for any other code.
class FakeSystemMessages final : public ports::SystemMessages {
public:
    FakeSystemMessages() {
        texts[0] = u"The operation completed successfully.\r\n";
        texts[static_cast<int32_t>(0x80004005u)] = u"Unspecified error\r\n";
    }

    std::u16string Text(int32_t code) override {
        if (const auto known = texts.find(code); known != texts.end()) {
            return known->second;
        }
        char narrow[16] = {};
        std::snprintf(narrow, sizeof narrow, "0x%08X", static_cast<unsigned>(code));
        return {narrow, narrow + std::char_traits<char>::length(narrow)};
    }

    std::map<int32_t, std::u16string> texts;
};

} // namespace sim
