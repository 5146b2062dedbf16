#pragma once

#include <cstdint>
#include <string>

namespace ports {

// The system's own text for a result code, as the system's message table words it.
class SystemMessages {
public:
    virtual ~SystemMessages() = default;

    // The text for `code`, trailing line break included; "0x%08X" of the code when the system has
    // no text for it, so a log line still says which code it was.
    virtual std::u16string Text(int32_t code) = 0;
};

} // namespace ports
