#include "win32/win32_kernel_objects.h"

#include "win32/open_to_everyone.h"
#include "win32/wide.h"
#include "win32/win32_critical_section.h"
#include "win32/win32_event.h"
#include "win32/win32_thread.h"

#include <array>

namespace win32 {
namespace {

static_assert(ports::kInfinite == INFINITE);
static_assert(ports::kMaxWaitObjects == MAXIMUM_WAIT_OBJECTS);

bool IsGlobalName(const std::u16string& name) {
    return name.starts_with(u"Global\\");
}

} // namespace

std::unique_ptr<ports::Event> Win32KernelObjects::NewEvent(bool manualReset, bool initiallySet,
                                                           const std::u16string& name) {
    OpenToEveryone everyone;
    SECURITY_ATTRIBUTES* security = nullptr;
    if (IsGlobalName(name)) {
        if (!everyone.Init()) {
            return nullptr;
        }
        security = everyone.Attributes();
    }
    UniqueHandle handle(
        ::CreateEventW(security, manualReset, initiallySet, name.empty() ? nullptr : AsWide(name)));
    if (!handle) {
        return nullptr;
    }
    return ports::MadeOrNull([&] { return std::make_unique<Win32Event>(std::move(handle)); });
}

ports::OpenedEvent Win32KernelObjects::OpenExistingEvent(const std::u16string& name) {
    UniqueHandle handle(::OpenEventW(EVENT_ALL_ACCESS, FALSE, AsWide(name)));
    if (!handle) {
        return {nullptr, ::GetLastError() == ERROR_FILE_NOT_FOUND};
    }
    return {ports::MadeOrNull([&] { return std::make_unique<Win32Event>(std::move(handle)); })};
}

std::unique_ptr<ports::Thread> Win32KernelObjects::StartThread(std::function<uint32_t()> body) {
    if (!body) {
        return nullptr;
    }
    return ports::MadeOrNull([&] { return Win32Thread::Start(std::move(body)); });
}

std::unique_ptr<ports::CriticalSection> Win32KernelObjects::NewCriticalSection() {
    return ports::MadeOrNull([] { return std::make_unique<Win32CriticalSection>(); });
}

ports::WaitOutcome Win32KernelObjects::WaitAny(std::span<ports::Waitable* const> objects,
                                               uint32_t timeoutMs) {
    constexpr ports::WaitOutcome failed{ports::WaitStatus::Failed};
    if (objects.empty() || objects.size() > ports::kMaxWaitObjects) {
        return failed;
    }
    std::array<HANDLE, ports::kMaxWaitObjects> handles{};
    for (std::size_t index = 0; index < objects.size(); ++index) {
        const auto* owner = dynamic_cast<const HandleWaitable*>(objects[index]);
        if (owner == nullptr) {
            return failed;
        }
        handles[index] = owner->Handle();
    }
    const auto count = static_cast<DWORD>(objects.size());
    const DWORD result = ::WaitForMultipleObjects(count, handles.data(), FALSE, timeoutMs);
    if (result < WAIT_OBJECT_0 + count) {
        return {ports::WaitStatus::Signalled, result - WAIT_OBJECT_0};
    }
    if (result == WAIT_TIMEOUT) {
        return {ports::WaitStatus::TimedOut};
    }
    return failed;
}

void Win32KernelObjects::Sleep(uint32_t milliseconds) {
    ::Sleep(milliseconds);
}

uint64_t Win32KernelObjects::CurrentThreadId() {
    return ::GetCurrentThreadId();
}

} // namespace win32
