#include "recording/record_items.h"

#include <algorithm>

namespace {

constexpr std::array<std::string_view, kRecordItemCount> kItemNames = {
    "CPU frequency", "CPU temperature", "CPU usage",        "GPU frequency",   "GPU temperature",
    "GPU usage",     "Used memory",     "Disk active time", "Disk read speed", "Disk write speed"};

} // namespace

std::string_view RecordItemName(uint32_t id) {
    const auto found = std::find(kRecordItemIds.begin(), kRecordItemIds.end(), id);
    if (found == kRecordItemIds.end()) {
        return {};
    }
    return kItemNames[static_cast<std::size_t>(found - kRecordItemIds.begin())];
}
