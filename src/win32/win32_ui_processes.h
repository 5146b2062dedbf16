#pragma once

#include "ports/ui_process.h"

namespace win32 {

// Opens the user interface's process with SYNCHRONIZE | PROCESS_DUP_HANDLE (0x100040): enough to
// wait for its end and to duplicate handles into it.
class Win32UiProcesses final : public ports::UiProcesses {
public:
    std::unique_ptr<ports::UiProcess> Open(uint32_t processId) override;
};

} // namespace win32
