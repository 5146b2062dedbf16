#include "win32/win32_thread.h"

namespace win32 {
namespace {

// The thread procedure owns the body it is handed.
DWORD WINAPI RunBody(void* parameter) {
    std::unique_ptr<std::function<uint32_t()>> body(
        static_cast<std::function<uint32_t()>*>(parameter));
    return ports::RunThreadBody(std::move(*body));
}

} // namespace

std::unique_ptr<Win32Thread> Win32Thread::Start(std::function<uint32_t()> body) {
    auto owned = std::make_unique<std::function<uint32_t()>>(std::move(body));
    UniqueHandle handle(::CreateThread(nullptr, 0, &RunBody, owned.get(), 0, nullptr));
    if (!handle) {
        return nullptr;
    }
    static_cast<void>(owned.release()); // the thread owns the body now
    return std::unique_ptr<Win32Thread>(new Win32Thread(std::move(handle)));
}

// GetExitCodeThread answers STILL_ACTIVE for a running thread, which a body may also return.
std::optional<uint32_t> Win32Thread::ExitCode() const {
    DWORD code = 0;
    if (::WaitForSingleObject(Handle(), 0) != WAIT_OBJECT_0 ||
        !::GetExitCodeThread(Handle(), &code)) {
        return std::nullopt;
    }
    return code;
}

} // namespace win32
