#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace storage {

// The storage property query that asks a drive for its NVMe SMART / Health Information log page,
// and the reading of the drive's answer. The same block is sent and receives the answer; all
// integers are little-endian.
namespace health_query {

inline constexpr std::size_t kBlockSize = 4144;

// What is sent: a STORAGE_PROPERTY_QUERY whose additional parameters are a
// STORAGE_PROTOCOL_SPECIFIC_DATA for the log page.
inline constexpr std::size_t kPropertyIdAt = 0;
inline constexpr std::size_t kQueryTypeAt = 4;
inline constexpr std::size_t kProtocolTypeAt = 8;
inline constexpr std::size_t kDataTypeAt = 12;
inline constexpr std::size_t kRequestValueAt = 16;
inline constexpr std::size_t kRequestSubValueAt = 20;
inline constexpr std::size_t kProtocolDataOffsetAt = 24;
inline constexpr std::size_t kProtocolDataLengthAt = 28;
inline constexpr std::size_t kDataAreaAt = 48;

inline constexpr uint32_t kStorageDeviceProtocolSpecificProperty = 50;
inline constexpr uint32_t kPropertyStandardQuery = 0;
inline constexpr uint32_t kProtocolTypeNvme = 3;
inline constexpr uint32_t kNVMeDataTypeLogPage = 2;
inline constexpr uint32_t kSmartHealthLogPage = 2;
// The page follows the protocol-specific data, which is 40 bytes long.
inline constexpr uint32_t kProtocolSpecificDataSize = 40;
inline constexpr uint32_t kLogPageSize = 512;

// What comes back: a STORAGE_PROTOCOL_DATA_DESCRIPTOR, whose protocol-specific data starts at 8
// and locates the page relative to itself.
inline constexpr std::size_t kVersionAt = 0;
inline constexpr std::size_t kSizeAt = 4;
inline constexpr std::size_t kProtocolSpecificDataAt = 8;
inline constexpr uint32_t kDescriptorVersion = 48;
// The fields of the page that are kept.
inline constexpr std::size_t kCriticalWarningAt = 0;
inline constexpr std::size_t kDataUnitsWrittenAt = 48;

using Block = std::array<uint8_t, kBlockSize>;

// The two facts kept from a health page.
struct HealthLog {
    int32_t CriticalWarning = 0;   // a code of CriticalWarningCode
    uint32_t DataUnitsWritten = 0; // the low 32 bits of the 128-bit counter
};

// The block as it is sent: the query fields, everything else zero.
Block NewHealthQuery();

// Reads the drive's answer: `returned` is the count of bytes the drive says it wrote into
// `answer`. Accepted only with a non-zero count, Version and Size 48, an offset of at least 40 and
// a length of at least 512, and only when the 512-byte page lies inside both the answer and the
// bytes the drive wrote: a drive's answer is not trusted to point into the block.
std::optional<HealthLog> ReadHealthAnswer(std::span<const uint8_t> answer, uint32_t returned);

// The critical-warning byte as a code: the highest of bits 0 to 4 that is set (1, 2, 4, 8, 16),
// 0 when none is, and -32 when any bit above bit 4 is set.
int32_t CriticalWarningCode(uint8_t criticalWarning);
// The code's short text ("0x00" ... "0x10"); any other code is "~0x1f".
std::u16string_view CriticalWarningText(int32_t code);

} // namespace health_query

// The query that tells an NVMe drive from others: a STORAGE_PROPERTY_QUERY for
// StorageDeviceProperty (0) as a standard query (0), all zero, answered by the head of a
// STORAGE_DEVICE_DESCRIPTOR up to and with its BusType.
namespace device_query {
inline constexpr std::size_t kQuerySize = 12;
inline constexpr std::size_t kDescriptorHeadSize = 40;
inline constexpr std::size_t kBusTypeAt = 28;
inline constexpr uint32_t kBusTypeNvme = 17;
} // namespace device_query

} // namespace storage
