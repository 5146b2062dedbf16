#pragma once

#include "ports/shared_events.h"

namespace win32 {

// Global events made with CreateEventW and a null DACL, opened with OpenEventW(EVENT_ALL_ACCESS).
class Win32SharedEvents final : public ports::SharedEvents {
public:
    ports::SharedEvent Create(const std::u16string& name) override;
    ports::SharedEvent Open(const std::u16string& name) override;
};

} // namespace win32
