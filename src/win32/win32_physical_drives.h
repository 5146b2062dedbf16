#pragma once

#include "ports/physical_drives.h"

namespace win32 {

// The disk driver's registry key and "\\.\PhysicalDriveN" opened without access rights, with
// IOCTL_STORAGE_QUERY_PROPERTY on it.
class Win32PhysicalDrives final : public ports::PhysicalDrives {
public:
    DiskEnum ReadDiskEnum() override;
    std::unique_ptr<ports::PhysicalDrive> Open(uint32_t number) override;
};

} // namespace win32
