#pragma once

#include "ports/system_messages.h"
#include "storage/nvme_drive.h"

#include <cstdint>
#include <span>

class BaseOrvexPlugin;

namespace VelmorValueSet {
class ValueSet;
}

namespace storage {

// Record-kind codes ("freq") the record workers write.
namespace record_kind {
inline constexpr uint32_t kPeriod = 4;
inline constexpr uint32_t kDiskHealth = 7;
inline constexpr uint32_t kFirstUserSession = 10;
inline constexpr uint32_t kPowerResume = 13;
} // namespace record_kind

// Writes the rows of the host's "SysInfo" table: the CPU and GPU use of a collected monitor
// answer, and the NVMe drives' health. Rows go through the plug-in's InsertData; the result is
// only logged, with the system's text for it.
class SystemRecords {
public:
    // plugin logs and sends the rows; messages words their results.
    SystemRecords(BaseOrvexPlugin& plugin, ports::SystemMessages& messages);

    // One row from the "Core0" and "Adapter0" entries of `collected` (a value set filled as a
    // monitor answer is): a missing entry gives "-1", a missing key inside a present entry "0".
    void SaveCPUGPUInfoToDB(const VelmorValueSet::ValueSet& collected, uint32_t freq);
    // One row with the health codes and Data Units Written counters of every drive that answers;
    // nothing when there are no drives.
    void SaveNVMeHealthToDB(std::span<NVMeDrive> drives, uint32_t freq);

private:
    void LogResult(const char16_t* format, int32_t result);

    BaseOrvexPlugin& m_plugin;
    ports::SystemMessages& m_messages;
};

} // namespace storage
