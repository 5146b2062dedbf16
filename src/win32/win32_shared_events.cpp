#include "win32/win32_shared_events.h"

#include "ports/kernel_objects.h"
#include "win32/open_to_everyone.h"
#include "win32/wide.h"
#include "win32/win32_event.h"

namespace win32 {
namespace {

ports::SharedEvent Owned(UniqueHandle handle) {
    if (!handle) {
        return {nullptr, ::GetLastError()};
    }
    auto event = ports::MadeOrNull([&] { return std::make_unique<Win32Event>(std::move(handle)); });
    const uint32_t error = event ? 0u : static_cast<uint32_t>(ERROR_NOT_ENOUGH_MEMORY);
    return {std::move(event), error};
}

} // namespace

ports::SharedEvent Win32SharedEvents::Create(const std::u16string& name) {
    OpenToEveryone everyone;
    if (!everyone.Init()) {
        return {nullptr, ::GetLastError()};
    }
    return Owned(UniqueHandle(::CreateEventW(everyone.Attributes(), TRUE, FALSE, AsWide(name))));
}

ports::SharedEvent Win32SharedEvents::Open(const std::u16string& name) {
    return Owned(UniqueHandle(::OpenEventW(EVENT_ALL_ACCESS, FALSE, AsWide(name))));
}

} // namespace win32
