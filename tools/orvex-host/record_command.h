#pragma once
// `record`: a recording logged to a file, driven as the user interface drives it (commands 17,
// 19, 20, 22), with a progress bar fed by the plug-in's "DataUpdatedEvent" requests and, at the
// end, the minimum, mean and maximum of each of the ten items read back from the log.
#include "plugin_session.h"

#include <string>

namespace orvex_host {

class Interrupt;

struct RecordOptions {
    int seconds = 10;
    int intervalMs = 1000;
    std::string out; // the log file, a Windows path or a Unix path under Wine
};

// 0 when every expected record was announced (or the user interrupted) and the log reads back;
// 1 otherwise, with the reason on standard error.
int Record(PluginSession& session, const RecordOptions& options, const Interrupt& interrupt);

} // namespace orvex_host
