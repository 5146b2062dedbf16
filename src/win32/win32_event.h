#pragma once

#include "ports/event.h"
#include "win32/handle_waitable.h"

namespace win32 {

class Win32Event final : public ports::Event, public HandleWaitable {
public:
    explicit Win32Event(UniqueHandle handle) noexcept : HandleWaitable(std::move(handle)) {}

    bool Set() override { return ::SetEvent(Handle()) != FALSE; }
    bool Reset() override { return ::ResetEvent(Handle()) != FALSE; }
};

} // namespace win32
