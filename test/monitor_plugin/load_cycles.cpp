#include "load_cycles.h"

#include "counting_new.h"
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "sim/native_critical_section.h"
#include "sim/native_waitable.h"
#include "sim_machine.h"

#include <filesystem>

namespace load_cycles {
namespace {

using VelmorValueSet::ValueSet;

// The user interface's process that the recordings name.
constexpr uint32_t kUiPid = 4711;

ValueSet Send(COrvexMonitorPlugin& plugin, ValueSet& request) {
    ValueSet answer;
    if (static_cast<IOrvexPlugin&>(plugin).ProcessRequest(nullptr, &request, &answer) != 0) {
        answer.Clear();
    }
    return answer;
}

ValueSet Command(COrvexMonitorPlugin& plugin, int32_t command, int32_t serial = 0) {
    ValueSet request;
    request.SetInt32("Command", command);
    request.SetInt32("RecordSN", serial);
    return Send(plugin, request);
}

// A recording of one sample a millisecond: started, its first record waited for and read, logged
// to a file and ended. Empty when every answer was right, else the step that went wrong.
std::string Record(COrvexMonitorPlugin& plugin, const MonitorHost& host) {
    ValueSet start;
    start.SetInt32("Command", 17);
    start.SetUInt32("UIPid", kUiPid);
    start.SetInt32("Capacity", 600);
    start.SetInt32("Interval", 1);
    const ValueSet started = Send(plugin, start);
    const ValueSet* record = started.FindMap("Record");
    if (started.GetInt32("Result") != 0 || record == nullptr) {
        return "command 17 did not start a recording";
    }
    const int32_t serial = record->GetInt32("RecordSN");
    if (!host.WaitForRound(0)) {
        return "no record was announced";
    }
    ValueSet read;
    read.SetInt32("Command", 18);
    read.SetInt32("RecordSN", serial);
    read.SetInt32("Round", 0);
    read.SetInt32("Count", 1);
    if (Send(plugin, read).GetInt32("Result") != 0) {
        return "command 18 did not read the first record";
    }
    ValueSet log;
    log.SetInt32("Command", 19);
    log.SetInt32("RecordSN", serial);
    log.SetString("Path", u"C:\\Users\\Public\\cycle.rml");
    if (Send(plugin, log).GetInt32("Result") != 0) {
        return "command 19 did not log the recording";
    }
    if (Command(plugin, 20, serial).GetInt32("Result") != 0) {
        return "command 20 did not stop the log";
    }
    if (Command(plugin, 22).GetInt32("Result") != 0) {
        return "command 22 did not end the session";
    }
    return {};
}

} // namespace

Holdings Measure() {
    Holdings holdings;
    for ([[maybe_unused]] const auto& task :
         std::filesystem::directory_iterator("/proc/self/task")) {
        ++holdings.threads;
    }
    holdings.kernelObjects = sim::NativeWaitable::Alive() + sim::NativeCriticalSection::Alive();
    holdings.heapBytes = counting_new::BytesInUse();
    return holdings;
}

bool OneCycle(std::string& failure) {
    SimMachine machine;
    machine.uiProcesses.Launch(kUiPid);
    auto* plugin = new COrvexMonitorPlugin(0, machine.Ports());
    {
        MonitorHost host(machine.heap);
        host.Install(*plugin);
        if (plugin->Initialize() != 0) {
            failure = "Initialize failed";
        } else {
            failure = Record(*plugin, host);
        }
        if (plugin->Uninitialize() != 0 && failure.empty()) {
            failure = "Uninitialize failed";
        }
    }
    if (plugin->Release() != 0 && failure.empty()) {
        failure = "the last Release left references";
    }
    if (machine.heap.Live() != 0 && failure.empty()) {
        failure = std::to_string(machine.heap.Live()) + " blocks of the host's heap are still out";
    }
    return failure.empty();
}

std::string Describe(const Holdings& holdings) {
    return "threads " + std::to_string(holdings.threads) + ", kernel objects " +
           std::to_string(holdings.kernelObjects) + ", heap bytes " +
           std::to_string(holdings.heapBytes);
}

} // namespace load_cycles
