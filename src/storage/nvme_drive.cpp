#include "storage/nvme_drive.h"

#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/little_endian.h"
#include "storage/nvme_health_query.h"

#include <array>

namespace storage {

namespace {

constexpr char16_t kLogOpenFailed[] = u"Failed to Open Disk Enum: %d";
constexpr char16_t kLogCount[] = u"Success get Disk Enum Count: %d";
constexpr char16_t kLogNVMe[] = u"PhysicalDrive%d is NVMe Drive";

using namespace device_query;

bool AnswersNvmeBus(ports::PhysicalDrive& drive) {
    const std::array<uint8_t, kQuerySize> query{};
    std::array<uint8_t, kDescriptorHeadSize> head{};
    const std::optional<uint32_t> returned = drive.QueryProperty(query, head);
    return returned && *returned >= kBusTypeAt + sizeof(uint32_t) &&
           VelmorValueSet::LoadLittleEndian<uint32_t>(head.data() + kBusTypeAt) == kBusTypeNvme;
}

void AppendListItem(std::u16string& list, std::u16string_view item) {
    if (!list.empty()) {
        list += u',';
    }
    list += item;
}

std::u16string SignedDecimal(uint32_t counter) {
    const std::string narrow = std::to_string(static_cast<int32_t>(counter));
    return {narrow.begin(), narrow.end()};
}

} // namespace

std::unique_ptr<ports::PhysicalDrive> NVMeDrive::IsNVMe(ports::PhysicalDrives& drives,
                                                        uint32_t number) {
    std::unique_ptr<ports::PhysicalDrive> drive = drives.Open(number);
    if (drive == nullptr || !AnswersNvmeBus(*drive)) {
        return nullptr;
    }
    return drive;
}

NVMeDrive::NVMeDrive(std::unique_ptr<ports::PhysicalDrive> drive) : m_drive(std::move(drive)) {}

bool NVMeDrive::ReadHealthLog(int32_t* code, uint32_t* counter) {
    // Each call has its own block: the record workers may read the same drive at once.
    health_query::Block block = health_query::NewHealthQuery();
    const std::optional<uint32_t> returned = m_drive->QueryProperty(block, block);
    if (!returned) {
        return false;
    }
    const std::optional<health_query::HealthLog> log =
        health_query::ReadHealthAnswer(block, *returned);
    if (!log) {
        return false;
    }
    *code = log->CriticalWarning;
    *counter = log->DataUnitsWritten;
    return true;
}

bool NVMeDrive::GetHealthString(std::u16string& health, std::u16string& dataUnitsWritten) {
    int32_t code = 0;
    uint32_t counter = 0;
    if (!ReadHealthLog(&code, &counter)) {
        return false;
    }
    AppendListItem(health, health_query::CriticalWarningText(code));
    AppendListItem(dataUnitsWritten, SignedDecimal(counter));
    return true;
}

NVMeDrives::NVMeDrives(BaseOrvexPlugin& plugin, ports::PhysicalDrives& drives)
    : m_plugin(plugin), m_physicalDrives(drives) {}

void NVMeDrives::EnumerateNVMeDrives() {
    m_drives.clear();
    const ports::PhysicalDrives::DiskEnum diskEnum = m_physicalDrives.ReadDiskEnum();
    if (diskEnum.OpenError != 0) {
        m_plugin.Log(LogLevel::kTrace, kLogOpenFailed, diskEnum.OpenError);
        return;
    }
    if (diskEnum.Count) {
        m_plugin.Log(LogLevel::kTrace, kLogCount, static_cast<int32_t>(*diskEnum.Count));
    }
    const uint32_t count = diskEnum.Count.value_or(0);
    for (uint32_t number = 0; number < count; ++number) {
        std::unique_ptr<ports::PhysicalDrive> drive = NVMeDrive::IsNVMe(m_physicalDrives, number);
        if (drive != nullptr) {
            m_plugin.Log(LogLevel::kTrace, kLogNVMe, static_cast<int32_t>(number));
            m_drives.emplace_back(std::move(drive));
        }
    }
}

} // namespace storage
