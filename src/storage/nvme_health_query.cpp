#include "storage/nvme_health_query.h"

#include "plugin_frame/little_endian.h"

#include <algorithm>

namespace storage::health_query {

namespace {

using VelmorValueSet::LoadLittleEndian;
using VelmorValueSet::StoreLittleEndian;

void Put(Block& block, std::size_t at, uint32_t value) {
    StoreLittleEndian(block.data() + at, value);
}

uint32_t Get(std::span<const uint8_t> bytes, std::size_t at) {
    return LoadLittleEndian<uint32_t>(bytes.data() + at);
}

// Where the page starts in the answer, when the whole page lies inside the first `usable` bytes.
std::optional<std::size_t> PageStart(std::span<const uint8_t> answer, std::size_t usable) {
    if (usable < kDataAreaAt || Get(answer, kVersionAt) != kDescriptorVersion ||
        Get(answer, kSizeAt) != kDescriptorVersion) {
        return std::nullopt;
    }
    const uint32_t offset = Get(answer, kProtocolDataOffsetAt);
    const uint32_t length = Get(answer, kProtocolDataLengthAt);
    if (offset < kProtocolSpecificDataSize || length < kLogPageSize) {
        return std::nullopt;
    }
    const std::size_t start = kProtocolSpecificDataAt + std::size_t{offset};
    if (start > usable || usable - start < kLogPageSize) {
        return std::nullopt;
    }
    return start;
}

} // namespace

Block NewHealthQuery() {
    Block block{};
    Put(block, kPropertyIdAt, kStorageDeviceProtocolSpecificProperty);
    Put(block, kQueryTypeAt, kPropertyStandardQuery);
    Put(block, kProtocolTypeAt, kProtocolTypeNvme);
    Put(block, kDataTypeAt, kNVMeDataTypeLogPage);
    Put(block, kRequestValueAt, kSmartHealthLogPage);
    Put(block, kRequestSubValueAt, 0);
    Put(block, kProtocolDataOffsetAt, kProtocolSpecificDataSize);
    Put(block, kProtocolDataLengthAt, kLogPageSize);
    return block;
}

std::optional<HealthLog> ReadHealthAnswer(std::span<const uint8_t> answer, uint32_t returned) {
    if (returned == 0) {
        return std::nullopt;
    }
    const std::size_t usable = std::min<std::size_t>(answer.size(), returned);
    const std::optional<std::size_t> page = PageStart(answer, usable);
    if (!page) {
        return std::nullopt;
    }
    return HealthLog{CriticalWarningCode(answer[*page + kCriticalWarningAt]),
                     Get(answer, *page + kDataUnitsWrittenAt)};
}

int32_t CriticalWarningCode(uint8_t criticalWarning) {
    int32_t code = 0;
    for (int bit = 0; bit <= 4; ++bit) {
        if ((criticalWarning & (1u << bit)) != 0) {
            code = 1 << bit;
        }
    }
    return criticalWarning > 31 ? -32 : code;
}

std::u16string_view CriticalWarningText(int32_t code) {
    switch (code) {
    case 0:
        return u"0x00";
    case 1:
        return u"0x01";
    case 2:
        return u"0x02";
    case 4:
        return u"0x04";
    case 8:
        return u"0x08";
    case 16:
        return u"0x10";
    default:
        return u"~0x1f";
    }
}

} // namespace storage::health_query
