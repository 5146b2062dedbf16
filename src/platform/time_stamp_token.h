#pragma once

#include "ports/code_signatures.h"

#include <cstdint>
#include <optional>
#include <span>

namespace platform {

// The UTC time of a time-stamp token's content (the DER of its TSTInfo sequence): its generalised
// time read as "%04d%02d%02d%02d%02d%02d.%03dZ" (the fraction may be missing). nullopt when the
// bytes are not such a sequence or hold no time. The day of the week is left 0.
std::optional<ports::SystemTime> TimeStampTokenTime(std::span<const uint8_t> tstInfo);

} // namespace platform
