#pragma once

#include "plugin_frame/orvex_interfaces.h"

#include <cstdint>
#include <string>
#include <vector>

// The modules of the plug-in's folder that belong to it, "\ThrottlePlugin\" followed by the file
// name, the plug-in itself first.
std::vector<std::u16string> MonitorModuleList();

// Reports the list as a multi-string: each path and its terminator, then one more terminator.
// count is in characters; when it is short of the need (or buffer is null), count becomes the
// need and the answer is 0xA0800001.
HRESULT CopyModuleList(const std::vector<std::u16string>& modules, char16_t* buffer,
                       uint32_t* count) noexcept;
