#pragma once

#include "ports/log_file.h"

namespace win32 {

// Recording logs as Win32 files: GENERIC_WRITE | READ_CONTROL | WRITE_DAC, shared for reading,
// CREATE_ALWAYS, FILE_FLAG_OVERLAPPED; every write at its own offset with its own event.
class Win32LogFiles final : public ports::LogFiles {
public:
    std::unique_ptr<ports::LogFile> Create(const std::u16string& path) override;
};

} // namespace win32
