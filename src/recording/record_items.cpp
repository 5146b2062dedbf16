#include "recording/record_items.h"

#include <algorithm>

namespace {

constexpr std::array<std::string_view, kRecordItemCount> kItemNames = {
    "CPU frequency", "CPU temperature", "CPU usage",        "GPU frequency",   "GPU temperature",
    "GPU usage",     "Used memory",     "Disk active time", "Disk read speed", "Disk write speed"};

// The unit each item is recorded in, fixed by where its value comes from: the readers' clocks in
// MHz and temperatures in degrees Celsius, utilisation and disk time in percent, and the disk
// speeds as bytes per second divided by 1,000. Used memory has none: it is whatever the helper
// library measures memory in.
constexpr std::string_view kCelsius = "\xC2\xB0"
                                      "C"; // UTF-8, whatever the compiler's charset
constexpr std::array<std::string_view, kRecordItemCount> kItemUnits = {
    "MHz", kCelsius, "%", "MHz", kCelsius, "%", "", "%", "kB/s", "kB/s"};

std::size_t ItemIndex(uint32_t id) {
    return static_cast<std::size_t>(std::find(kRecordItemIds.begin(), kRecordItemIds.end(), id) -
                                    kRecordItemIds.begin());
}

} // namespace

std::string_view RecordItemName(uint32_t id) {
    const std::size_t index = ItemIndex(id);
    return index < kRecordItemCount ? kItemNames[index] : std::string_view{};
}

std::string_view RecordItemUnit(uint32_t id) {
    const std::size_t index = ItemIndex(id);
    return index < kRecordItemCount ? kItemUnits[index] : std::string_view{};
}
