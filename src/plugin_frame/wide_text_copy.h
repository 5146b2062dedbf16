#pragma once

#include "plugin_frame/orvex_interfaces.h"

#include <cstdint>
#include <string_view>

// The two-call protocol for handing text to the host: count is in characters including the
// terminator. Too small a count learns the need (kBufferTooSmall); with room, an absent buffer is
// an invalid argument and a present one receives the terminated text.
HRESULT CopyWideText(std::u16string_view text, char16_t* buffer, uint32_t* count) noexcept;
