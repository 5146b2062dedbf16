#include "monitor_plugin/command_table.h"

namespace {

CommandTable Build() {
    CommandTable table;
    MonitorSnapshotCommands::Register(table);
    DeviceInformationCommands::Register(table);
    RecordingCommands::Register(table);
    return table;
}

// Built when the module loads rather than on first use: a function's static would take the C++
// run-time's guard lock, whose kernel objects outlive every unload of the module.
const CommandTable kCommands = Build();

} // namespace

const CommandTable& CommandTable::Commands() {
    return kCommands;
}
