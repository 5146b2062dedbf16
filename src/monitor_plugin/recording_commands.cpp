// The recording commands: 17 (start a recording), 18 (read recorded rounds), 19 and 20 (log the
// recording to a file, stop logging), 21 (show the recording message), 22 (end the session), and
// the recorder's callbacks, which sample through the plug-in's own requests.
#include "monitor_plugin/command_table.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"
#include "recording/monitor_recorder.h"

#include <bit>
#include <cstdio>
#include <new>

namespace {

using VelmorValueSet::ValueSet;

constexpr int32_t kCommandStart = 17;
constexpr int32_t kCommandReadPages = 18;
constexpr int32_t kCommandStartLogging = 19;
constexpr int32_t kCommandStopLogging = 20;
constexpr int32_t kCommandShowRecording = 21;
constexpr int32_t kCommandEnd = 22;

constexpr std::string_view kKeyCommand = "Command";
constexpr std::string_view kKeyResult = "Result";
constexpr std::string_view kKeyRecordSN = "RecordSN";

// "Result" of the recording commands.
constexpr int32_t kResultOk = 0;
constexpr int32_t kResultNotStarted = -1;
constexpr int32_t kResultNoRecorder = -2;
constexpr int32_t kResultSerialMismatch = -3;
constexpr int32_t kResultNoPages = -4;
constexpr int32_t kResultLoggingRefused = -5;

// Gauge tops of the items that do not come from the machine.
constexpr double kCpuFrequencyMax = 6000.0;
constexpr double kPercentMax = 100.0;
// The disk speeds have no top; the user interface scales them itself.
const double kNoMaximum = std::bit_cast<double>(uint64_t{0xFFF8000000000000});

// The announcement goes to the user interface (role 1), relayed by the host: the header
// addresses the plug-in type and the body wraps the tree with its destination.
constexpr uint8_t kRoleUserInterface = 1;
constexpr char16_t kDataUpdatedEvent[] = u"DataUpdatedEvent";

// "RecordItem[%d]", "RecordDataPage[%d]".
std::string Indexed(const char* format, int index) {
    char key[32];
    std::snprintf(key, sizeof key, format, index);
    return key;
}

double ItemMaximum(uint32_t id, const GpuMaxima& gpu, double totalMemory) {
    switch (id) {
    case 0x10000:
        return kCpuFrequencyMax;
    case 0x10001:
    case 0x10002:
    case 0x80000:
        return kPercentMax;
    case 0x20000:
        return static_cast<double>(gpu.ProcessorFrequency);
    case 0x20001:
        return static_cast<double>(gpu.Temperature);
    case 0x20002:
        return static_cast<double>(gpu.Usage);
    case 0x40000:
        return totalMemory;
    default:
        return kNoMaximum;
    }
}

// A value of a snapshot node: integers become doubles, a missing node or key reads 0.
double IntegerOf(const ValueSet* node, std::string_view key) {
    return node != nullptr ? static_cast<double>(node->GetInt32(key)) : 0.0;
}
double DoubleOf(const ValueSet* node, std::string_view key) {
    return node != nullptr ? node->GetDouble(key) : 0.0;
}

} // namespace

void RecordingCommands::Register(CommandTable& table) {
    table.Register(kCommandStart, &Start);
    table.Register(kCommandReadPages, &ReadPages);
    table.Register(kCommandStartLogging, &StartLogging);
    table.Register(kCommandStopLogging, &StopLogging);
    table.Register(kCommandShowRecording, &ShowRecording);
    table.Register(kCommandEnd, &End);
}

void RecordingCommands::Start(COrvexMonitorPlugin& plugin, const ValueSet& request,
                              ValueSet& answer) {
    answer.SetInt32(kKeyCommand, kCommandStart);
    std::shared_ptr<MonitorRecorder> recorder;
    {
        std::lock_guard lock(plugin.m_recorderLock);
        if (plugin.m_recorder == nullptr) {
            const PluginPorts& ports = plugin.m_ports;
            plugin.m_recorder = MonitorRecorder::Create(
                {ports.kernel, ports.clock, ports.uiProcesses, ports.logFiles});
        }
        recorder = plugin.m_recorder;
    }
    if (recorder == nullptr) {
        answer.SetInt32(kKeyResult, kResultNoRecorder);
        return;
    }
    const uint32_t uiPid = request.GetUInt32("UIPid");
    const int32_t capacity = request.GetInt32("Capacity");
    const int32_t interval = request.GetInt32("Interval");
    ValueSet& record = answer.NewMap("Record");
    std::array<RecordItemInfo, kRecordItemCount> items{};
    WriteItems(plugin, record, items);
    const int64_t serial =
        recorder->Start(uiPid, capacity, interval, items.data(), &Sample, &AnnounceRound, &plugin);
    record.SetInt32(kKeyRecordSN, static_cast<int32_t>(serial));
    answer.SetInt32(kKeyResult, serial > 0 ? kResultOk : kResultNotStarted);
}

// Describes the ten items in the answer and, read back from it, for the recorder.
void RecordingCommands::WriteItems(COrvexMonitorPlugin& plugin, ValueSet& record,
                                   std::array<RecordItemInfo, kRecordItemCount>& items) {
    GpuMaxima gpu;
    if (const auto adapter = plugin.m_gpu->ReadAdapterMaxima()) {
        if (adapter->CreateResult < 0) {
            plugin.Log(LogLevel::kFailure, u"CreateDevice Failed:0x%08X",
                       static_cast<uint32_t>(adapter->CreateResult));
        } else {
            gpu = adapter->Maxima;
        }
    }
    const double totalMemory =
        plugin.m_ports.helper.RetriveSystemInfo().value_or(ports::SystemSizes{}).TotalMemory;
    const auto table = MonitorRecorder::ItemTable();
    record.SetInt32("RecordItemCount", static_cast<int32_t>(MonitorRecorder::ItemCount()));
    for (std::size_t i = 0; i < MonitorRecorder::ItemCount(); ++i) {
        ValueSet& item = record.NewMap(Indexed("RecordItem[%d]", static_cast<int>(i)));
        item.SetInt32("ID", static_cast<int32_t>(table[i]));
        item.SetDouble("Max", ItemMaximum(table[i], gpu, totalMemory));
        item.SetDouble("Min", 0.0);
        items[i] = {static_cast<uint32_t>(item.GetInt32("ID")), item.GetDouble("Max"),
                    item.GetDouble("Min")};
    }
}

// The checks commands 18 to 21 share; null when "Result" already says why not.
std::shared_ptr<MonitorRecorder> RecordingCommands::CheckedRecorder(COrvexMonitorPlugin& plugin,
                                                                    const ValueSet& request,
                                                                    ValueSet& answer) {
    auto recorder = plugin.Recorder();
    if (recorder == nullptr) {
        answer.SetInt32(kKeyResult, kResultNoRecorder);
        return nullptr;
    }
    // The user interface knows the serial number only as the 32 bits command 17 answered.
    if (request.GetInt32(kKeyRecordSN) != static_cast<int32_t>(recorder->SerialNumber())) {
        answer.SetInt32(kKeyResult, kResultSerialMismatch);
        return nullptr;
    }
    return recorder;
}

// Pages of 600 records; the last page holds the remainder of Count, so a Count that is a whole
// number of pages ends with an empty page, which the user interface expects. Only the pages the
// recording has are written: a Count beyond its capacity reads nothing past them.
void RecordingCommands::ReadPages(COrvexMonitorPlugin& plugin, const ValueSet& request,
                                  ValueSet& answer) {
    answer.SetInt32(kKeyCommand, kCommandReadPages);
    const auto recorder = CheckedRecorder(plugin, request, answer);
    if (recorder == nullptr) {
        return;
    }
    const int32_t round = request.GetInt32("Round");
    const int32_t count = request.GetInt32("Count");
    const RecordPages pages = recorder->Pages(round, count);
    if (!pages) {
        answer.SetInt32(kKeyResult, kResultNoPages);
        return;
    }
    ValueSet& out = answer.NewMap("RecordDataPages");
    const int32_t section = MonitorRecorder::RecordsPerPage();
    const int32_t remainder = count % section;
    const int32_t pageCount = count / section + (remainder != 0 ? 1 : 0);
    out.SetInt32("RecordDataSectionCount", section);
    out.SetInt32("RecordDataPageCount", pageCount);
    for (int32_t page = 0; page < pageCount && static_cast<std::size_t>(page) < pages.PageCount();
         ++page) {
        const int32_t records = page == pageCount - 1 ? std::max(remainder, 0) : section;
        out.SetBlock(Indexed("RecordDataPage[%d]", page),
                     pages.Page(static_cast<std::size_t>(page)).data(),
                     static_cast<std::size_t>(MonitorRecorder::PageBytes(records)));
    }
    answer.SetInt32(kKeyResult, kResultOk);
}

void RecordingCommands::StartLogging(COrvexMonitorPlugin& plugin, const ValueSet& request,
                                     ValueSet& answer) {
    answer.SetInt32(kKeyCommand, kCommandStartLogging);
    const auto recorder = CheckedRecorder(plugin, request, answer);
    if (recorder == nullptr) {
        return;
    }
    uint64_t stopLoggingEvent = 0;
    if (!recorder->StartLogging(request.GetString("Path"), &stopLoggingEvent, &LogFinished)) {
        answer.SetInt32(kKeyResult, kResultLoggingRefused);
        return;
    }
    if (stopLoggingEvent != 0) {
        // A handle the recorder gave the user interface's process.
        answer.SetUInt64("StopLoggingEvent", stopLoggingEvent);
    }
    ports::MessagePrograms& messages = plugin.m_ports.messagePrograms;
    messages.Stop(ports::kMessageLogReady);
    const int32_t enabled = stopLoggingEvent != 0 ? 1 : 0;
    messages.SetEnabled(ports::kMessageRecording, enabled);
    messages.SetEnabled(ports::kMessageLogReady, enabled);
    answer.SetInt32(kKeyResult, kResultOk);
}

void RecordingCommands::StopLogging(COrvexMonitorPlugin& plugin, const ValueSet& request,
                                    ValueSet& answer) {
    answer.SetInt32(kKeyCommand, kCommandStopLogging);
    if (const auto recorder = CheckedRecorder(plugin, request, answer)) {
        recorder->StopLogging();
        answer.SetInt32(kKeyResult, kResultOk);
    }
}

void RecordingCommands::ShowRecording(COrvexMonitorPlugin& plugin, const ValueSet& request,
                                      ValueSet& answer) {
    answer.SetInt32(kKeyCommand, kCommandShowRecording);
    if (CheckedRecorder(plugin, request, answer) != nullptr) {
        plugin.m_ports.messagePrograms.Start(ports::kMessageRecording, {});
        answer.SetInt32(kKeyResult, kResultOk);
    }
}

void RecordingCommands::End(COrvexMonitorPlugin& plugin, const ValueSet&, ValueSet& answer) {
    answer.SetInt32(kKeyCommand, kCommandEnd);
    plugin.m_ports.messagePrograms.Stop(ports::kMessageLogReady);
    plugin.DestroyRecorder();
    answer.SetInt32(kKeyResult, kResultOk);
}

// On the sampling thread: a sample is exactly what commands 1 and 3 answer the user interface.
void RecordingCommands::Sample(void* context, std::map<uint32_t, double>& values) {
    IOrvexPlugin& entry = *static_cast<COrvexMonitorPlugin*>(context);
    try {
        ValueSet request;
        request.SetInt32(kKeyCommand, 1);
        // Nothing reads it; the host or a later reader may.
        request.SetBool("IsFullInformation", true);
        ValueSet snapshot;
        entry.ProcessRequest(nullptr, &request, &snapshot);
        const ValueSet* core = snapshot.FindMap("Core0");
        const ValueSet* adapter = snapshot.FindMap("Adapter0");
        values[0x10000] = IntegerOf(core, "ProcessorFrequency");
        values[0x10001] = IntegerOf(core, "Temprature");
        values[0x10002] = DoubleOf(core, "Usage");
        values[0x20000] = IntegerOf(adapter, "ProcessorFrequency");
        values[0x20001] = IntegerOf(adapter, "Temprature");
        values[0x20002] = DoubleOf(adapter, "Usage");
        values[0x40000] =
            snapshot.GetDouble("TotalMemorySize") - snapshot.GetDouble("AvailableMemorySize");

        request.Clear();
        request.SetInt32(kKeyCommand, 3);
        ValueSet disks;
        entry.ProcessRequest(nullptr, &request, &disks);
        values[0x80000] = disks.GetDouble("DiskActiveTimeCounter");
        values[0x80001] = disks.GetDouble("DiskReadSpeedCounter");
        values[0x80002] = disks.GetDouble("DiskWriteSpeedCounter");
    } catch (const std::bad_alloc&) {
        // Out of memory: the items not filled record 0.0.
    }
}

// On the sampling thread, after every record: the user interface answers with command 18.
void RecordingCommands::AnnounceRound(void* context, int64_t serialNumber, int32_t newest) {
    auto& plugin = *static_cast<COrvexMonitorPlugin*>(context);
    try {
        ValueSet updated;
        updated.SetString("RequestRole", kDataUpdatedEvent);
        updated.SetInt32("Round", newest);
        updated.SetInt32(kKeyRecordSN, static_cast<int32_t>(serialNumber));
        GUID typeId{};
        plugin.GetTypeId(&typeId);
        ValueSet ignored;
        plugin.SendRequest(typeId, updated, ignored, kRoleUserInterface);
    } catch (const std::bad_alloc&) {
        // Out of memory: this round goes unannounced; the next one names the newest record.
    }
}

// The log file is complete: the recording message gives way to the one that shows the file.
void RecordingCommands::LogFinished(void* context, const std::u16string& path) {
    ports::MessagePrograms& messages =
        static_cast<COrvexMonitorPlugin*>(context)->m_ports.messagePrograms;
    messages.Stop(ports::kMessageRecording);
    messages.Start(ports::kMessageLogReady, path);
}
