#pragma once

#include "win32/unique_handle.h"

namespace win32 {

// Base of every object that win32::Win32KernelObjects can wait on: it owns a waitable Win32
// handle. Anything else makes the wait fail. A process handle, for instance, becomes waitable as
// `class Win32Process final : public ports::Waitable, public win32::HandleWaitable`.
class HandleWaitable {
public:
    virtual ~HandleWaitable() = default;

    HANDLE Handle() const noexcept { return handle_.get(); }

protected:
    explicit HandleWaitable(UniqueHandle handle) noexcept : handle_(std::move(handle)) {}

private:
    UniqueHandle handle_;
};

} // namespace win32
