#pragma once

#include <cstdint>
#include <string>

namespace ports {

// The system's table of window messages that processes agree on by name.
class WindowMessages {
public:
    virtual ~WindowMessages() = default;
    // RegisterWindowMessageW: the message number every process gets for the name; 0 on failure.
    virtual uint32_t Register(const std::u16string& name) = 0;
};

} // namespace ports
