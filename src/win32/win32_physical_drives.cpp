#include "win32/win32_physical_drives.h"

#include "storage/nvme_health_query.h"
#include "win32/unique_handle.h"

#include <cstddef>
#include <cwchar>
#include <limits>
#include <windows.h>
#include <winioctl.h>

namespace win32 {

namespace {

// The query blocks the storage code builds byte by byte are the system's own structures.
namespace hq = storage::health_query;
namespace dq = storage::device_query;
constexpr std::size_t kParametersAt = offsetof(STORAGE_PROPERTY_QUERY, AdditionalParameters);
static_assert(IOCTL_STORAGE_QUERY_PROPERTY == 0x002D1400);
static_assert(offsetof(STORAGE_PROPERTY_QUERY, PropertyId) == hq::kPropertyIdAt);
static_assert(offsetof(STORAGE_PROPERTY_QUERY, QueryType) == hq::kQueryTypeAt);
static_assert(kParametersAt + offsetof(STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolType) ==
              hq::kProtocolTypeAt);
static_assert(kParametersAt + offsetof(STORAGE_PROTOCOL_SPECIFIC_DATA, DataType) ==
              hq::kDataTypeAt);
static_assert(kParametersAt + offsetof(STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataRequestValue) ==
              hq::kRequestValueAt);
static_assert(kParametersAt +
                  offsetof(STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataRequestSubValue) ==
              hq::kRequestSubValueAt);
static_assert(kParametersAt + offsetof(STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataOffset) ==
              hq::kProtocolDataOffsetAt);
static_assert(kParametersAt + offsetof(STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataLength) ==
              hq::kProtocolDataLengthAt);
static_assert(sizeof(STORAGE_PROTOCOL_SPECIFIC_DATA) == hq::kProtocolSpecificDataSize);
static_assert(kParametersAt + sizeof(STORAGE_PROTOCOL_SPECIFIC_DATA) == hq::kDataAreaAt);
static_assert(hq::kBlockSize == hq::kDataAreaAt + 4096);
static_assert(StorageDeviceProtocolSpecificProperty == hq::kStorageDeviceProtocolSpecificProperty);
static_assert(PropertyStandardQuery == hq::kPropertyStandardQuery);
static_assert(ProtocolTypeNvme == hq::kProtocolTypeNvme);
static_assert(NVMeDataTypeLogPage == hq::kNVMeDataTypeLogPage);
static_assert(offsetof(STORAGE_PROTOCOL_DATA_DESCRIPTOR, Version) == hq::kVersionAt);
static_assert(offsetof(STORAGE_PROTOCOL_DATA_DESCRIPTOR, Size) == hq::kSizeAt);
static_assert(offsetof(STORAGE_PROTOCOL_DATA_DESCRIPTOR, ProtocolSpecificData) ==
              hq::kProtocolSpecificDataAt);
static_assert(sizeof(STORAGE_PROTOCOL_DATA_DESCRIPTOR) == hq::kDescriptorVersion);
static_assert(sizeof(STORAGE_PROPERTY_QUERY) == dq::kQuerySize);
static_assert(StorageDeviceProperty == 0);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, BusType) == dq::kBusTypeAt);
static_assert(sizeof(STORAGE_DEVICE_DESCRIPTOR) == dq::kDescriptorHeadSize);
static_assert(BusTypeNvme == dq::kBusTypeNvme);

constexpr wchar_t kDiskEnumKey[] = L"SYSTEM\\CurrentControlSet\\Services\\Disk\\Enum";
constexpr wchar_t kCountValue[] = L"Count";

using UniqueKey = UniqueAny<NullIsEmpty<HKEY, &::RegCloseKey>>;

class Win32PhysicalDrive final : public ports::PhysicalDrive {
public:
    explicit Win32PhysicalDrive(UniqueFileHandle handle) : m_handle(std::move(handle)) {}

    std::optional<uint32_t> QueryProperty(std::span<const uint8_t> query,
                                          std::span<uint8_t> answer) override {
        constexpr std::size_t kLargest = std::numeric_limits<DWORD>::max();
        if (query.size() > kLargest || answer.size() > kLargest) {
            return std::nullopt;
        }
        DWORD returned = 0;
        if (!::DeviceIoControl(m_handle.get(), IOCTL_STORAGE_QUERY_PROPERTY,
                               const_cast<uint8_t*>(query.data()), static_cast<DWORD>(query.size()),
                               answer.data(), static_cast<DWORD>(answer.size()), &returned,
                               nullptr)) {
            return std::nullopt;
        }
        return returned;
    }

private:
    UniqueFileHandle m_handle;
};

} // namespace

ports::PhysicalDrives::DiskEnum Win32PhysicalDrives::ReadDiskEnum() {
    UniqueKey key;
    const LSTATUS opened =
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDiskEnumKey, 0, KEY_READ, key.put());
    if (opened != ERROR_SUCCESS) {
        return {static_cast<int32_t>(opened), std::nullopt};
    }
    DWORD type = 0;
    DWORD count = 0;
    DWORD size = sizeof count;
    const LSTATUS read = ::RegQueryValueExW(key.get(), kCountValue, nullptr, &type,
                                            reinterpret_cast<BYTE*>(&count), &size);
    if (read != ERROR_SUCCESS || type != REG_DWORD || size != sizeof count) {
        return {0, std::nullopt};
    }
    return {0, count};
}

std::unique_ptr<ports::PhysicalDrive> Win32PhysicalDrives::Open(uint32_t number) {
    wchar_t path[40] = {};
    std::swprintf(path, std::size(path), L"\\\\.\\PhysicalDrive%d", static_cast<int>(number));
    UniqueFileHandle handle(::CreateFileW(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
    if (!handle) {
        return nullptr;
    }
    return std::make_unique<Win32PhysicalDrive>(std::move(handle));
}

} // namespace win32
