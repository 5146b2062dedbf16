#pragma once
// On an Intel machine the plug-in answers a placeholder CPU set until its tuning-utility monitor
// is initialised, which the first snapshot starts on a thread of its own and which announces
// itself through the named event "CPUInitializedEvent". A recording or a snapshot waits for that
// event first, so that its CPU values are the machine's and not the placeholder's zeros.
#include "plugin_session.h"

namespace orvex_host {

class Interrupt;

// Returns at once unless command 2 names an Intel processor; then starts the monitor with a
// snapshot and waits for it (at most a few seconds, or until interrupted), saying so on standard
// error.
void AwaitCpuMonitor(PluginSession& session, const Interrupt& interrupt);

} // namespace orvex_host
