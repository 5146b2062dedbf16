#include "sim/fake_physical_drives.h"

#include <algorithm>
#include <cstring>

namespace sim {

namespace {

constexpr uint32_t kDevicePropertyId = 0;
constexpr uint32_t kProtocolPropertyId = 50;

void Put32(std::vector<uint8_t>& bytes, std::size_t at, uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

uint32_t PropertyId(std::span<const uint8_t> query) {
    uint32_t id = 0;
    for (std::size_t i = 0; i < 4 && i < query.size(); ++i) {
        id |= uint32_t{query[i]} << (8 * i);
    }
    return id;
}

} // namespace

class FakePhysicalDrives::OpenDrive final : public ports::PhysicalDrive {
public:
    OpenDrive(FakePhysicalDrives& owner, uint32_t number) : m_owner(owner), m_number(number) {
        ++m_owner.m_live;
    }
    ~OpenDrive() override { --m_owner.m_live; }
    OpenDrive(const OpenDrive&) = delete;
    OpenDrive& operator=(const OpenDrive&) = delete;

    std::optional<uint32_t> QueryProperty(std::span<const uint8_t> query,
                                          std::span<uint8_t> answer) override {
        return m_owner.Query(m_number, query, answer);
    }

private:
    FakePhysicalDrives& m_owner;
    uint32_t m_number;
};

FakePhysicalDrives::Answer FakePhysicalDrives::DeviceDescriptorWithBus(uint32_t busType) {
    Answer answer{std::vector<uint8_t>(40, 0), 40};
    Put32(answer.Bytes, 0, 1);  // Version
    Put32(answer.Bytes, 4, 40); // Size
    Put32(answer.Bytes, 28, busType);
    return answer;
}

FakePhysicalDrives::Answer FakePhysicalDrives::HealthAnswer(uint8_t criticalWarning,
                                                            uint64_t dataUnitsWritten) {
    Answer answer{std::vector<uint8_t>(8 + 40 + 512, 0), 8 + 40 + 512};
    std::vector<uint8_t>& bytes = answer.Bytes;
    Put32(bytes, 0, 48);
    Put32(bytes, 4, 48);
    Put32(bytes, 8, 3);   // ProtocolType: NVMe
    Put32(bytes, 12, 2);  // DataType: log page
    Put32(bytes, 16, 2);  // the SMART / Health Information page
    Put32(bytes, 24, 40); // ProtocolDataOffset
    Put32(bytes, 28, 512);
    const std::size_t page = 8 + 40;
    bytes[page] = criticalWarning;
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[page + 48 + i] = static_cast<uint8_t>(dataUnitsWritten >> (8 * i));
    }
    return answer;
}

FakePhysicalDrives::Drive FakePhysicalDrives::NvmeDrive(uint8_t criticalWarning,
                                                        uint64_t dataUnitsWritten) {
    return {true, DeviceDescriptorWithBus(17), HealthAnswer(criticalWarning, dataUnitsWritten)};
}

FakePhysicalDrives::Drive FakePhysicalDrives::SataDrive() {
    return {true, DeviceDescriptorWithBus(11), {}};
}

ports::PhysicalDrives::DiskEnum FakePhysicalDrives::ReadDiskEnum() {
    std::lock_guard lock(m_mutex);
    return m_diskEnum;
}

std::unique_ptr<ports::PhysicalDrive> FakePhysicalDrives::Open(uint32_t number) {
    {
        std::lock_guard lock(m_mutex);
        const auto drive = m_drives.find(number);
        if (drive == m_drives.end() || !drive->second.Opens) {
            return nullptr;
        }
    }
    ++m_opens;
    return std::make_unique<OpenDrive>(*this, number);
}

void FakePhysicalDrives::SetDiskEnum(ports::PhysicalDrives::DiskEnum diskEnum) {
    std::lock_guard lock(m_mutex);
    m_diskEnum = diskEnum;
}

void FakePhysicalDrives::SetDrive(uint32_t number, Drive drive) {
    std::lock_guard lock(m_mutex);
    m_drives[number] = std::move(drive);
}

std::vector<std::vector<uint8_t>> FakePhysicalDrives::Queries() const {
    std::lock_guard lock(m_mutex);
    return m_queries;
}

std::optional<uint32_t> FakePhysicalDrives::Query(uint32_t number, std::span<const uint8_t> query,
                                                  std::span<uint8_t> answer) {
    std::lock_guard lock(m_mutex);
    ++m_queryCount;
    // Kept before the answer is written: query and answer may be the same bytes.
    m_queries.emplace_back(query.begin(), query.end());
    const Drive& drive = m_drives[number];
    const uint32_t property = PropertyId(query);
    const Answer* scripted = property == kDevicePropertyId     ? &drive.DeviceDescriptor
                             : property == kProtocolPropertyId ? &drive.HealthLog
                                                               : nullptr;
    if (scripted == nullptr || !scripted->Returned) {
        return std::nullopt;
    }
    const std::size_t written = std::min(scripted->Bytes.size(), answer.size());
    std::memcpy(answer.data(), scripted->Bytes.data(), written);
    return scripted->Returned;
}

} // namespace sim
