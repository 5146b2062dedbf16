#pragma once

#include "ports/physical_drives.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace sim {

// The physical drives of a simulated laptop: the registry's disk count and, per drive number,
// whether it opens and what it answers to each storage property query. Tests change the answers
// between calls; a query is told apart by its property id (0: device descriptor, 50: protocol
// data). The drives, which must not outlive this object, count their opens, closes and queries and
// keep each query's bytes.
class FakePhysicalDrives final : public ports::PhysicalDrives {
public:
    // A drive's answer to one query: the bytes it writes (cut to the caller's buffer) and the
    // count it reports; no count makes the call fail and write nothing.
    struct Answer {
        std::vector<uint8_t> Bytes;
        std::optional<uint32_t> Returned;
    };
    struct Drive {
        bool Opens = true;
        Answer DeviceDescriptor;
        Answer HealthLog;
    };

    // The head of a device descriptor with the bus type at byte 28 (17 is NVMe).
    static Answer DeviceDescriptorWithBus(uint32_t busType);
    static Drive NvmeDrive(uint8_t criticalWarning, uint64_t dataUnitsWritten);
    static Drive SataDrive();
    // A health page answer as a drive gives it: Version and Size 48, the page at offset 40 with
    // length 512, and 8 + 40 + 512 bytes reported.
    static Answer HealthAnswer(uint8_t criticalWarning, uint64_t dataUnitsWritten);

    ports::PhysicalDrives::DiskEnum ReadDiskEnum() override;
    std::unique_ptr<ports::PhysicalDrive> Open(uint32_t number) override;

    void SetDiskEnum(ports::PhysicalDrives::DiskEnum diskEnum);
    void SetDrive(uint32_t number, Drive drive);

    uint32_t OpenCount() const { return m_opens; }
    // Drives open now.
    int32_t LiveCount() const { return m_live; }
    uint32_t QueryCount() const { return m_queryCount; }
    // The bytes of every query sent, in order.
    std::vector<std::vector<uint8_t>> Queries() const;

private:
    class OpenDrive;

    std::optional<uint32_t> Query(uint32_t number, std::span<const uint8_t> query,
                                  std::span<uint8_t> answer);

    mutable std::mutex m_mutex;
    ports::PhysicalDrives::DiskEnum m_diskEnum;
    std::map<uint32_t, Drive> m_drives;
    std::vector<std::vector<uint8_t>> m_queries;
    std::atomic<uint32_t> m_opens{0};
    std::atomic<int32_t> m_live{0};
    std::atomic<uint32_t> m_queryCount{0};
};

} // namespace sim
