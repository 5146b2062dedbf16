#include "platform/time_stamp_token.h"

#include <array>
#include <cstdio>
#include <limits>
#include <string>

namespace platform {
namespace {

constexpr uint8_t kSequence = 0x30;
constexpr uint8_t kGeneralizedTime = 0x18;

// One DER element: its tag and its contents, inside the bytes it was read from.
struct Element {
    uint8_t Tag = 0;
    std::span<const uint8_t> Contents;
    std::size_t Size = 0; // tag, length and contents
};

std::optional<Element> ReadElement(std::span<const uint8_t> bytes) {
    if (bytes.size() < 2) {
        return std::nullopt;
    }
    std::size_t offset = 2;
    std::size_t length = bytes[1];
    if ((length & 0x80) != 0) {
        const std::size_t count = length & 0x7F;
        if (count == 0 || count > sizeof(uint32_t) || bytes.size() < offset + count) {
            return std::nullopt;
        }
        length = 0;
        for (std::size_t i = 0; i < count; ++i) {
            length = (length << 8) | bytes[offset++];
        }
    }
    if (length > bytes.size() - offset) {
        return std::nullopt;
    }
    return Element{bytes[0], bytes.subspan(offset, length), offset + length};
}

std::optional<ports::SystemTime> ParseGeneralizedTime(std::span<const uint8_t> text) {
    const std::string copy(text.begin(), text.end());
    std::array<int, 7> fields{};
    const int read =
        std::sscanf(copy.c_str(), "%04d%02d%02d%02d%02d%02d.%03dZ", &fields[0], &fields[1],
                    &fields[2], &fields[3], &fields[4], &fields[5], &fields[6]);
    if (read < 6) {
        return std::nullopt;
    }
    for (const int field : fields) {
        if (field < 0 || field > std::numeric_limits<uint16_t>::max()) {
            return std::nullopt;
        }
    }
    const auto at = [&](std::size_t i) { return static_cast<uint16_t>(fields[i]); };
    return ports::SystemTime{at(0), at(1), 0, at(2), at(3), at(4), at(5), at(6)};
}

} // namespace

std::optional<ports::SystemTime> TimeStampTokenTime(std::span<const uint8_t> tstInfo) {
    const auto sequence = ReadElement(tstInfo);
    if (!sequence || sequence->Tag != kSequence) {
        return std::nullopt;
    }
    std::span<const uint8_t> rest = sequence->Contents;
    while (!rest.empty()) {
        const auto element = ReadElement(rest);
        if (!element) {
            return std::nullopt;
        }
        if (element->Tag == kGeneralizedTime) {
            return ParseGeneralizedTime(element->Contents);
        }
        rest = rest.subspan(element->Size);
    }
    return std::nullopt;
}

} // namespace platform
