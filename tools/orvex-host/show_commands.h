#pragma once
// The commands that show what the plug-in answers: its identity and device information, the
// monitor snapshot as a table or JSON, and the snapshot again every second.
#include "host_core/value_tree.h"
#include "plugin_session.h"

#include <optional>
#include <string>

namespace orvex_host {

class Interrupt;

struct SnapshotAnswers {
    Tree monitor; // command 1
    Tree disk;    // command 3
};

// The answer of `command`, or nothing with the reason on standard error: HandleMessage failed,
// or the answer is empty (as in a host mode other than 0, where the plug-in answers no command).
std::optional<Tree> AnsweredCommand(PluginSession& session, const Tree& request);
std::optional<Tree> AnsweredCommand(PluginSession& session, int32_t command);

std::optional<SnapshotAnswers> TakeSnapshot(PluginSession& session);

// {"monitor": command 1's answer, "disk": command 3's answer}
std::string SnapshotJson(const SnapshotAnswers& snapshot);

int Info(PluginSession& session);
int Snapshot(PluginSession& session, bool json);
// Until interrupted; then 0.
int Watch(PluginSession& session, const Interrupt& interrupt);

} // namespace orvex_host
