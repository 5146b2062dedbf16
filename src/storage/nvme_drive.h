#pragma once

#include "ports/physical_drives.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class BaseOrvexPlugin;

namespace storage {

// One NVMe drive of the machine, open for its health queries. It owns the drive and closes it
// when it goes.
class NVMeDrive final {
public:
    // The drive `number`, open, when it is an NVMe drive; nullptr when it cannot be opened or is
    // another kind of drive (which is closed again at once).
    static std::unique_ptr<ports::PhysicalDrive> IsNVMe(ports::PhysicalDrives& drives,
                                                        uint32_t number);

    explicit NVMeDrive(std::unique_ptr<ports::PhysicalDrive> drive);

    // Reads the SMART / Health Information log page. True when the drive answered with a page;
    // then `code` holds the critical-warning code and `counter` the low 32 bits of the Data Units
    // Written counter. On false both are left as they were.
    bool ReadHealthLog(int32_t* code, uint32_t* counter);
    // Appends the critical-warning text to `health` and the counter, as a signed 32-bit number, to
    // `dataUnitsWritten`, each after a "," when the text is not empty. False, with both texts
    // unchanged, when the page could not be read.
    bool GetHealthString(std::u16string& health, std::u16string& dataUnitsWritten);

private:
    std::unique_ptr<ports::PhysicalDrive> m_drive;
};

// The machine's NVMe drives, found once when the plug-in starts, in ascending drive number, and
// closed when the plug-in shuts down. Read from the record workers without a lock: the list is
// filled before they start and closed after they have ended.
class NVMeDrives {
public:
    // plugin logs.
    NVMeDrives(BaseOrvexPlugin& plugin, ports::PhysicalDrives& drives);

    // Examines drives 0 to the registry's disk count - 1 and keeps the NVMe drives, in place of
    // any kept before.
    void EnumerateNVMeDrives();
    std::vector<NVMeDrive>& Drives() { return m_drives; }
    // Closes every drive.
    void Close() { m_drives.clear(); }

private:
    BaseOrvexPlugin& m_plugin;
    ports::PhysicalDrives& m_physicalDrives;
    std::vector<NVMeDrive> m_drives;
};

} // namespace storage
