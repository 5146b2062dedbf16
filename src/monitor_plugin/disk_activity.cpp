#include "monitor_plugin/disk_activity.h"

#include "plugin_frame/base_orvex_plugin.h"
#include "plugin_frame/value_set.h"

#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

// Bits of "Result".
constexpr uint32_t kOpenFailed = 0x01;
constexpr uint32_t kCollectFailed = 0x10;

struct DiskCounter {
    const char16_t* Path;
    std::string_view Key;
    uint32_t AddedBit;
    const char16_t* AddedLog; // logged when the counter is added
    uint32_t ReadFailedBit;
};

constexpr std::size_t kActiveTime = 0;

constexpr std::array<DiskCounter, 3> kCounters = {{
    {u"\\PhysicalDisk(_Total)\\% Disk Time", "DiskActiveTimeCounter", 0x02,
     u"PdhAddEnglishCounterW DiskActiveTimeCounter %d", 0x20},
    {u"\\PhysicalDisk(_Total)\\Disk Read Bytes/sec", "DiskReadSpeedCounter", 0x04,
     u"PdhAddEnglishCounterW DiskReadSpeedCounter %d", 0x40},
    {u"\\PhysicalDisk(_Total)\\Disk Write Bytes/sec", "DiskWriteSpeedCounter", 0x08,
     u"PdhAddEnglishCounterW DiskWriteSpeedCounter %d", 0x80},
}};

constexpr std::string_view kKeyActiveTimeMax = "DiskActiveTimeMax";
constexpr std::string_view kKeyResult = "Result";
constexpr std::string_view kKeyStatus = "Status";

constexpr double kActiveTimeMax = 100.0;

// Truncation toward zero to 32 bits; a counter beyond that range (or not a number) stops at the
// range's end rather than being undefined.
int32_t Truncated(double value) {
    if (!(value > -2147483648.0)) {
        return std::isnan(value) ? 0 : INT32_MIN;
    }
    return value < 2147483647.0 ? static_cast<int32_t>(value) : INT32_MAX;
}

// Bytes per second as the user interface shows them: hundreds of bytes, truncated to 32 bits,
// then tenths of that, rounded toward zero.
double SpeedOf(double bytesPerSecond) {
    return static_cast<double>(Truncated(bytesPerSecond / 100.0) / 10);
}

// The status as the host log's "%s" argument: the format names a string, so the number travels
// as text.
std::u16string StatusText(int32_t status) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
    return std::u16string(text, text + 10);
}

} // namespace

DiskActivity::DiskActivity(std::unique_ptr<DiskCounters> counters)
    : counters_(std::move(counters)) {}

void DiskActivity::Answer(BaseOrvexPlugin& log, VelmorValueSet::ValueSet& answer) {
    int32_t status = 0;
    uint32_t result = 0;
    if (!queryOpen_) {
        result |= OpenQuery(log, status);
    }
    if (queryOpen_) {
        status = counters_->Collect();
        result |= status != 0 ? kCollectFailed : ReadCounters(answer, status);
    }
    // Both 64-bit, the 32-bit values sign-extended.
    answer.SetUInt64(kKeyResult, static_cast<uint64_t>(int64_t{static_cast<int32_t>(result)}));
    answer.SetUInt64(kKeyStatus, static_cast<uint64_t>(int64_t{status}));
}

uint32_t DiskActivity::OpenQuery(BaseOrvexPlugin& log, int32_t& status) {
    const int32_t opened = counters_->OpenQuery();
    if (opened != 0) {
        status = opened;
        log.Log(LogLevel::kFailure, u"PdhOpenQueryW %s", StatusText(opened).c_str());
        return kOpenFailed;
    }
    queryOpen_ = true;
    uint32_t result = 0;
    for (std::size_t slot = 0; slot < kCounters.size(); ++slot) {
        status = counters_->AddCounter(slot, kCounters[slot].Path);
        if (status == 0) {
            // A success, logged at the failure level all the same.
            result |= kCounters[slot].AddedBit;
            log.Log(LogLevel::kFailure, kCounters[slot].AddedLog, 0);
        }
    }
    return result;
}

uint32_t DiskActivity::ReadCounters(VelmorValueSet::ValueSet& answer, int32_t& status) {
    uint32_t result = 0;
    for (std::size_t slot = 0; slot < kCounters.size(); ++slot) {
        const CounterReading reading = counters_->Read(slot);
        status = reading.Status;
        if (reading.Status != 0) {
            result |= kCounters[slot].ReadFailedBit;
            continue;
        }
        if (slot == kActiveTime) {
            answer.SetDouble(kKeyActiveTimeMax, kActiveTimeMax);
            answer.SetDouble(kCounters[slot].Key, static_cast<double>(Truncated(reading.Value)));
        } else {
            answer.SetDouble(kCounters[slot].Key, SpeedOf(reading.Value));
        }
    }
    return result;
}

void DiskActivity::Close() {
    if (queryOpen_) {
        counters_->Close();
        queryOpen_ = false;
    }
}
