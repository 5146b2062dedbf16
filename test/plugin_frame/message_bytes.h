#pragma once

#include "plugin_frame/orvex_interfaces.h"
#include "plugin_frame/value_set.h"

#include <cstdint>
#include <string>
#include <vector>

// A message as the host sends it: 32 header bytes (type, byte 1, zeros) and the body of the set.
inline std::vector<uint8_t> HostMessage(uint8_t type, uint8_t byte1,
                                        const VelmorValueSet::ValueSet& body) {
    uint32_t size = body.BodySize();
    std::vector<uint8_t> message(kMessageHeaderSize + size);
    message[0] = type;
    message[1] = byte1;
    body.Write(message.data() + kMessageHeaderSize, size);
    return message;
}

// Bytes of ASCII text as UTF-16LE, as wide strings travel.
inline std::vector<uint8_t> Utf16Bytes(std::string_view ascii) {
    std::vector<uint8_t> bytes;
    for (char c : ascii) {
        bytes.push_back(static_cast<uint8_t>(c));
        bytes.push_back(0);
    }
    return bytes;
}

// Appends the wire form of one entry: key length, key, kind, 4-byte length, payload.
inline void AppendEntry(std::vector<uint8_t>& out, std::string_view key, uint8_t kind,
                        const std::vector<uint8_t>& payload) {
    out.push_back(static_cast<uint8_t>(key.size()));
    out.insert(out.end(), key.begin(), key.end());
    out.push_back(kind);
    const auto length = static_cast<uint32_t>(payload.size());
    for (int i = 0; i < 4; ++i) {
        out.push_back(static_cast<uint8_t>(length >> (8 * i)));
    }
    out.insert(out.end(), payload.begin(), payload.end());
}
