#include "win32/win32_ui_processes.h"

#include "ports/kernel_objects.h"
#include "win32/handle_waitable.h"

#include <cstdint>

namespace win32 {
namespace {

constexpr DWORD kUiProcessRights = SYNCHRONIZE | PROCESS_DUP_HANDLE;
static_assert(kUiProcessRights == 0x100040);

class Win32UiProcess final : public ports::UiProcess, public HandleWaitable {
public:
    explicit Win32UiProcess(UniqueHandle process) noexcept : HandleWaitable(std::move(process)) {}

    uint64_t ShareEvent(ports::Event& event) override {
        const auto* source = dynamic_cast<const HandleWaitable*>(&event);
        HANDLE duplicate = nullptr;
        if (source == nullptr ||
            !::DuplicateHandle(::GetCurrentProcess(), source->Handle(), Handle(), &duplicate, 0,
                               FALSE, DUPLICATE_SAME_ACCESS)) {
            return 0;
        }
        return reinterpret_cast<uintptr_t>(duplicate);
    }
};

} // namespace

std::unique_ptr<ports::UiProcess> Win32UiProcesses::Open(uint32_t processId) {
    UniqueHandle process(::OpenProcess(kUiProcessRights, FALSE, processId));
    if (!process) {
        return nullptr;
    }
    return ports::MadeOrNull([&] { return std::make_unique<Win32UiProcess>(std::move(process)); });
}

} // namespace win32
