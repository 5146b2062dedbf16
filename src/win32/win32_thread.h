#pragma once

#include "ports/thread.h"
#include "win32/handle_waitable.h"

#include <functional>
#include <memory>

namespace win32 {

class Win32Thread final : public ports::Thread, public HandleWaitable {
public:
    // A thread running `body`, or null when CreateThread fails.
    static std::unique_ptr<Win32Thread> Start(std::function<uint32_t()> body);

    std::optional<uint32_t> ExitCode() const override;

private:
    explicit Win32Thread(UniqueHandle handle) noexcept : HandleWaitable(std::move(handle)) {}
};

} // namespace win32
