#include "plugin_frame/orvex_message.h"

#include "plugin_frame/value_set.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

template <typename Unsigned>
void PutLittleEndian(uint8_t* out, Unsigned value) {
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        out[i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

} // namespace

std::array<uint8_t, 16> GuidBytes(const GUID& id) {
    std::array<uint8_t, 16> bytes{};
    PutLittleEndian(bytes.data(), id.Data1);
    PutLittleEndian(bytes.data() + 4, id.Data2);
    PutLittleEndian(bytes.data() + 6, id.Data3);
    std::copy(std::begin(id.Data4), std::end(id.Data4), bytes.begin() + 8);
    return bytes;
}

OrvexHeaderBytes RequestHeader(uint8_t sourceRole, uint8_t destinationRole, const GUID& target) {
    OrvexHeaderBytes header{};
    header[offsetof(OrvexMessageHeader, Type)] = kMessageRequest;
    header[offsetof(OrvexMessageHeader, IncomingCodeOrSource)] = sourceRole;
    header[offsetof(OrvexMessageHeader, OutgoingCodeOrDestination)] = destinationRole;
    header[offsetof(OrvexMessageHeader, RequestMarker)] = kRequestMarker;
    const auto id = GuidBytes(target);
    std::copy(id.begin(), id.end(), header.begin() + offsetof(OrvexMessageHeader, Target));
    return header;
}

OrvexHeaderBytes NotificationHeader(uint8_t code) {
    OrvexHeaderBytes header{};
    header[offsetof(OrvexMessageHeader, Type)] = kMessageNotification;
    header[offsetof(OrvexMessageHeader, OutgoingCodeOrDestination)] = code;
    return header;
}

std::optional<std::vector<uint8_t>> ComposeMessage(const OrvexHeaderBytes& header,
                                                   const VelmorValueSet::ValueSet& body) {
    uint32_t bodySize = body.BodySize();
    if (bodySize > UINT32_MAX - header.size()) {
        return std::nullopt; // the whole message must fit the 32-bit size of the host call
    }
    std::vector<uint8_t> message(header.size() + std::size_t{bodySize});
    std::copy(header.begin(), header.end(), message.begin());
    if (!body.Write(message.data() + header.size(), bodySize)) {
        return std::nullopt;
    }
    return message;
}
