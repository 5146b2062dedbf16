#include "cpu/cpu_device_information.h"

#include "plugin_frame/orvex_value.h"

#include <array>
#include <memory>

namespace cpu {

void GetCPUDeviceInformation(BaseOrvexPlugin& plugin, ports::HelperLibrary& helper,
                             int32_t cpuVendor, VelmorValueSet::ValueSet& answer) {
    plugin.Log(LogLevel::kTrace, u"GetCPUDeviceInformation : Begin");
    // The library is handed the whole buffer and its capacity; the last character stays a
    // terminator whatever it writes.
    std::array<char16_t, 260> name{};
    helper.GetProcessorNameString(name);
    name.back() = u'\0';
    answer.SetInt32("CPUVendor", cpuVendor);
    answer.Set("CPUFullName", std::make_unique<VelmorValueSet::OrvexValue>(
                                  name.data(), VelmorValueSet::kCountTerminator));
    plugin.Log(LogLevel::kTrace, u"GetCPUDeviceInformation : End");
}

} // namespace cpu
