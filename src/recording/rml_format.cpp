#include "recording/rml_format.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

namespace {

constexpr std::size_t kVersionOffset = 4;
constexpr std::size_t kIntervalOffset = 8;
constexpr std::size_t kItemCountOffset = 12;
constexpr std::size_t kItemsOffset = 16;

void PutUint32(uint8_t* out, uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        out[i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

void PutDouble(uint8_t* out, double value) {
    const auto bits = std::bit_cast<uint64_t>(value);
    for (std::size_t i = 0; i < 8; ++i) {
        out[i] = static_cast<uint8_t>(bits >> (8 * i));
    }
}

uint32_t GetUint32(const uint8_t* in) {
    uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        value |= static_cast<uint32_t>(in[i]) << (8 * i);
    }
    return value;
}

double GetDouble(const uint8_t* in) {
    uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        bits |= static_cast<uint64_t>(in[i]) << (8 * i);
    }
    return std::bit_cast<double>(bits);
}

RmlParseResult Failure(std::string error) {
    return {std::nullopt, std::move(error)};
}

} // namespace

std::array<uint8_t, kRmlHeaderBytes>
EncodeRmlHeader(int32_t intervalMs, std::span<const RecordItemInfo, kRecordItemCount> items) {
    std::array<uint8_t, kRmlHeaderBytes> header{};
    std::copy(kRmlMagic.begin(), kRmlMagic.end(), header.begin());
    PutUint32(&header[kVersionOffset], kRmlVersion);
    PutUint32(&header[kIntervalOffset], static_cast<uint32_t>(intervalMs));
    PutUint32(&header[kItemCountOffset], kRecordItemCount);
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        uint8_t* item = &header[kItemsOffset + i * kRmlItemBytes];
        PutUint32(item, items[i].id);
        PutDouble(item + 8, items[i].maximum);
        PutDouble(item + 16, items[i].minimum);
    }
    return header;
}

std::array<uint8_t, kRecordBytes> EncodeRecord(const RecordValues& values) {
    std::array<uint8_t, kRecordBytes> bytes{};
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        PutDouble(&bytes[i * sizeof(double)], values[i]);
    }
    return bytes;
}

RecordValues DecodeRecord(std::span<const uint8_t, kRecordBytes> bytes) {
    RecordValues values{};
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        values[i] = GetDouble(&bytes[i * sizeof(double)]);
    }
    return values;
}

RmlParseResult ParseRmlLog(std::span<const uint8_t> bytes) {
    if (bytes.size() < kRmlHeaderBytes) {
        return Failure("truncated header: " + std::to_string(bytes.size()) +
                       " bytes, a log starts with a 256-byte header");
    }
    if (!std::equal(kRmlMagic.begin(), kRmlMagic.end(), bytes.begin())) {
        return Failure("not a recording log: the file does not start with \"_RML\"");
    }
    RmlLog log;
    log.version = GetUint32(&bytes[kVersionOffset]);
    if (log.version != kRmlVersion) {
        return Failure("unsupported version " + std::to_string(log.version) + ", expected 1");
    }
    if (const uint32_t itemCount = GetUint32(&bytes[kItemCountOffset]);
        itemCount != kRecordItemCount) {
        return Failure("unsupported item count " + std::to_string(itemCount) + ", expected 10");
    }
    log.intervalMs = static_cast<int32_t>(GetUint32(&bytes[kIntervalOffset]));
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        const uint8_t* item = &bytes[kItemsOffset + i * kRmlItemBytes];
        log.items[i] = {GetUint32(item), GetDouble(item + 8), GetDouble(item + 16)};
    }

    const std::span<const uint8_t> records = bytes.subspan(kRmlHeaderBytes);
    if (records.size() % kRecordBytes != 0) {
        return Failure("trailing partial record: the last " +
                       std::to_string(records.size() % kRecordBytes) +
                       " bytes are not a whole 80-byte record");
    }
    log.records.reserve(records.size() / kRecordBytes);
    for (std::size_t offset = 0; offset < records.size(); offset += kRecordBytes) {
        log.records.push_back(DecodeRecord(records.subspan(offset).first<kRecordBytes>()));
    }
    return {std::move(log), {}};
}
