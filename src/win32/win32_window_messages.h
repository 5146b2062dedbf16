#pragma once

#include "ports/window_messages.h"

namespace win32 {

class Win32WindowMessages final : public ports::WindowMessages {
public:
    uint32_t Register(const std::u16string& name) override;
};

} // namespace win32
