#pragma once

#include "ports/system_messages.h"

namespace win32 {

// FormatMessageW from the system's message table.
class Win32SystemMessages final : public ports::SystemMessages {
public:
    std::u16string Text(int32_t code) override;
};

} // namespace win32
