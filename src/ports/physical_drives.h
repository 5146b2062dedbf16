#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace ports {

// One open physical drive ("\\.\PhysicalDriveN"), opened without access rights; closed when the
// object goes.
class PhysicalDrive {
public:
    virtual ~PhysicalDrive() = default;

    // The storage property query (IOCTL_STORAGE_QUERY_PROPERTY): sends `query` and lets the drive
    // write its answer into `answer`; both may be the same bytes. Gives the count of bytes the
    // drive says it wrote, or nullopt when the call failed. The answer is the drive's own: its
    // contents and that count are unchecked.
    virtual std::optional<uint32_t> QueryProperty(std::span<const uint8_t> query,
                                                  std::span<uint8_t> answer) = 0;
};

// The machine's physical drives: the disk count the disk driver keeps in the registry, and the
// drives themselves.
class PhysicalDrives {
public:
    // What HKEY_LOCAL_MACHINE "SYSTEM\CurrentControlSet\Services\Disk\Enum" gave.
    struct DiskEnum {
        // 0 when the key opened, the system's error code otherwise.
        int32_t OpenError = 0;
        // Its 32-bit value "Count", when the key opened and the value could be read.
        std::optional<uint32_t> Count;
    };

    virtual ~PhysicalDrives() = default;

    virtual DiskEnum ReadDiskEnum() = 0;
    // Opens drive `number`; nullptr when it cannot be opened.
    virtual std::unique_ptr<PhysicalDrive> Open(uint32_t number) = 0;
};

} // namespace ports
