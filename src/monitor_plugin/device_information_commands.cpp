// The device information commands: 2 (which processor, adapters and model the machine has),
// 16 (the user interface's phase) and 65 (voltage support).
#include "monitor_plugin/command_table.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"

namespace {

constexpr int32_t kCommandDeviceInformation = 2;
constexpr int32_t kCommandPhase = 16;
constexpr int32_t kCommandVoltageSupport = 65;

constexpr int32_t kPhase = 2;

} // namespace

void DeviceInformationCommands::Register(CommandTable& table) {
    table.Register(kCommandDeviceInformation, &DeviceInformation);
    table.Register(kCommandPhase, &Phase);
    table.Register(kCommandVoltageSupport, &VoltageSupport);
}

// Asking for the devices counts as using the product.
void DeviceInformationCommands::DeviceInformation(COrvexMonitorPlugin& plugin, const ValueSet&,
                                                  ValueSet& answer) {
    answer.SetInt32("Command", kCommandDeviceInformation);
    plugin.m_cpu->GetCPUDeviceInformation(answer);
    plugin.m_gpu->GetGPUDeviceInformation(answer);
    plugin.m_gpu->GetBaseInformation(answer);
    plugin.m_used = 1;
}

void DeviceInformationCommands::Phase(COrvexMonitorPlugin&, const ValueSet&, ValueSet& answer) {
    answer.SetInt32("Command", kCommandPhase);
    answer.SetInt32("Phase", kPhase);
}

// The only answer without the "Command" echo besides command 3's.
void DeviceInformationCommands::VoltageSupport(COrvexMonitorPlugin&, const ValueSet&,
                                               ValueSet& answer) {
    answer.SetBool("IsSupportVoltage", true);
}
