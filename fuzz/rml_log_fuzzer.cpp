// Reads arbitrary bytes as a recording log. A log that parses must encode back to the same bytes
// (apart from the reserved bytes of each item description, which are not kept) and print in every
// form the rml tool offers; one that does not parse must say why.
#include "recording/rml_format.h"
#include "rml/rml_output.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace {

constexpr std::size_t kReservedOffset = 4; // within an item description
constexpr std::size_t kReservedBytes = 4;

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void CheckHeaderEncodesBack(const RmlLog& log, std::span<const uint8_t> bytes) {
    auto header = EncodeRmlHeader(log.intervalMs, log.items);
    for (std::size_t item = 0; item < kRecordItemCount; ++item) {
        const std::size_t reserved = 16 + item * kRmlItemBytes + kReservedOffset;
        std::copy_n(&bytes[reserved], kReservedBytes, &header[reserved]);
    }
    Check(std::equal(header.begin(), header.end(), bytes.begin()));
}

void CheckRecordsEncodeBack(const RmlLog& log, std::span<const uint8_t> bytes) {
    std::span<const uint8_t> rest = bytes.subspan(kRmlHeaderBytes);
    Check(rest.size() == log.records.size() * kRecordBytes);
    for (const RecordValues& record : log.records) {
        const auto encoded = EncodeRecord(record);
        Check(std::equal(encoded.begin(), encoded.end(), rest.begin()));
        rest = rest.subspan(kRecordBytes);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::span<const uint8_t> bytes(data, size);
    const RmlParseResult parsed = ParseRmlLog(bytes);
    if (!parsed.log) {
        Check(!parsed.error.empty());
        return 0;
    }
    Check(parsed.error.empty());
    CheckHeaderEncodesBack(*parsed.log, bytes);
    CheckRecordsEncodeBack(*parsed.log, bytes);
    Check(!FormatRmlHeader(*parsed.log).empty());
    Check(!FormatRmlCsv(*parsed.log).empty());
    Check(!FormatRmlJson(*parsed.log).empty());
    return 0;
}
