#pragma once

#include "plugin_frame/wide_printf.h"

#include <string>
#include <string_view>

// UTF-16 to UTF-8, for readable assertions.
std::string ToUtf8(std::u16string_view text);
