#include "monitor_plugin/command_table.h"

namespace {

CommandTable Build() {
    CommandTable table;
    MonitorSnapshotCommands::Register(table);
    DeviceInformationCommands::Register(table);
    RecordingCommands::Register(table);
    return table;
}

} // namespace

const CommandTable& CommandTable::Commands() {
    static const CommandTable table = Build();
    return table;
}
