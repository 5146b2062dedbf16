#pragma once

#include "monitor_plugin/disk_counters.h"

#include <memory>

class BaseOrvexPlugin;
namespace VelmorValueSet {
class ValueSet;
}

// The disk activity of command 3: the "% Disk Time" and read and write rates of all physical
// disks, from one counter query opened on first use and kept for the plug-in's life. The answer
// carries a bit set of what happened and the last kept status, never an error code.
//
// Not locked: command 3 relies on the user interface asking one request at a time.
class DiskActivity {
public:
    explicit DiskActivity(std::unique_ptr<DiskCounters> counters);

    void Answer(BaseOrvexPlugin& log, VelmorValueSet::ValueSet& answer);
    // Removes the counters and closes the query.
    void Close();

private:
    uint32_t OpenQuery(BaseOrvexPlugin& log, int32_t& status);
    uint32_t ReadCounters(VelmorValueSet::ValueSet& answer, int32_t& status);

    std::unique_ptr<DiskCounters> counters_;
    bool queryOpen_ = false;
};
