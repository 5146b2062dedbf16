#pragma once

#include "plugin_frame/orvex_interfaces.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace VelmorValueSet {
class ValueSet;
}

using OrvexHeaderBytes = std::array<uint8_t, kMessageHeaderSize>;

// The 16 bytes of an identifier as Windows lays them out in memory.
std::array<uint8_t, 16> GuidBytes(const GUID& id);

// Header of a request this plug-in sends: type, own role, destination role, marker, target.
OrvexHeaderBytes RequestHeader(uint8_t sourceRole, uint8_t destinationRole, const GUID& target);
// Header of a notification this plug-in sends: the code goes into byte 2.
OrvexHeaderBytes NotificationHeader(uint8_t code);

// Header followed by the body of the set; empty when the body cannot be written.
std::optional<std::vector<uint8_t>> ComposeMessage(const OrvexHeaderBytes& header,
                                                   const VelmorValueSet::ValueSet& body);
