// Any bytes as a run of host messages into an initialised monitor plug-in on the simulated laptop.
// The first byte picks the machine (Intel or AMD service instance, or an instance in the user's
// session); the rest is cut at each "#NEXT#" into messages that go through HandleMessage in turn,
// as a user interface would send them, so a recording started by one message is paged, logged and
// ended by the next. Nothing may crash or throw; every answer is a well-formed body on the host's
// heap that answers the command asked; every request and notification the plug-in sends reads
// back. Each machine's plug-in is initialised once and serves many runs, as a host keeps it; a
// run ends as the user interface's session does, with command 22, and every few thousand runs the
// plug-in is uninitialised, released (nothing of the host's heap may stay out) and made anew.
#include "answer_shape.h"
#include "gpu/fan_acoustic.h"
#include "gpu/fan_acoustic_file.h"
#include "gpu/fan_acoustic_key.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "plugin_frame/value_set.h"
#include "sim_machine.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

namespace {

using VelmorValueSet::ValueSet;

constexpr std::string_view kSeparator = "#NEXT#";
constexpr uint32_t kUiPid = 4242; // the user interface process the seeds name in "UIPid"
// A recording's ring and pages follow the capacity asked for (up to 4 GB). A run keeps to
// capacities of a few pages: larger ones change nothing but the size of what is cleared, and
// clearing rings of a hundred thousand records took most of each run.
constexpr int32_t kLargestCapacity = 5'000;
constexpr int kMessagesPerRun = 64;

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool Reads(std::span<const uint8_t> body) {
    ValueSet set;
    return set.Read(body.data(), static_cast<uint32_t>(body.size()));
}

// The request as the plug-in reads it: a body that does not read is an empty request.
ValueSet RequestOf(std::span<const uint8_t> message) {
    ValueSet request;
    request.Read(message.data() + kMessageHeaderSize,
                 static_cast<uint32_t>(message.size() - kMessageHeaderSize));
    return request;
}

// A recording whose ring would not fit the run's memory is not sent.
bool TooLargeForTheRun(const ValueSet& request) {
    return request.GetInt32("Command") == 17 && request.GetInt32("Capacity") > kLargestCapacity;
}

// The host side: it checks that every request and notification it is sent reads, and answers the
// model name query so that the model's fan acoustic table loads. It keeps nothing, so a plug-in
// can serve runs for as long as the fuzzer goes, and it is safe for the plug-in's own threads. Log
// lines are dropped unformatted: their texts are fixed and the native tests read every one, while
// formatting them would take half of each run.
class QuietHost {
public:
    static constexpr std::u16string_view kModel = u"GX550";

    explicit QuietHost(ports::HostHeap& heap) : heap_(heap) {}

    void Install(COrvexMonitorPlugin& plugin) {
        plugin.SetLogCallback(&OnLog, this);
        plugin.SetRequestSender(&OnRequest, this);
        plugin.SetNotificationSender(&OnNotification, this);
    }

private:
    static void OnLog(void*, IOrvexPlugin*, int32_t, const char16_t*, ...) {}
    static HRESULT OnRequest(void* context, IOrvexPlugin*, const GUID*, const uint8_t* message,
                             uint32_t size, uint8_t** answer, uint32_t* answerSize) {
        *answer = nullptr;
        *answerSize = 0;
        Check(size >= kMessageHeaderSize);
        ValueSet request;
        Check(request.Read(message + kMessageHeaderSize, size - kMessageHeaderSize));
        if (request.GetString("Cmd") == u"Query.ModelName") {
            ValueSet reply;
            reply.SetString("ModelName", kModel);
            uint32_t replySize = reply.BodySize();
            auto& heap = static_cast<QuietHost*>(context)->heap_;
            *answer = static_cast<uint8_t*>(heap.Allocate(replySize));
            Check(reply.Write(*answer, replySize));
            *answerSize = replySize;
        }
        return OrvexResult::kOk;
    }
    static HRESULT OnNotification(void*, IOrvexPlugin*, const uint8_t* message, uint32_t size) {
        Check(size >= kMessageHeaderSize &&
              Reads({message + kMessageHeaderSize, size - kMessageHeaderSize}));
        return OrvexResult::kOk;
    }

    ports::HostHeap& heap_;
};

// One machine and its plug-in, initialised as a host does and kept across runs.
class Session {
public:
    explicit Session(std::size_t choice) {
        const uint32_t hostMode = choice == 2 ? 1 : 0;
        if (choice == 1) {
            machine.helper.Change([](auto& a) { a.CpuVendor = 2; });
        }
        PlaceFanAcousticTable();
        plugin = new COrvexMonitorPlugin(hostMode, machine.Ports());
        serviceInstance = hostMode == 0;
        host.Install(*plugin);
        Check(plugin->Initialize() == OrvexResult::kOk);
        machine.uiProcesses.Launch(kUiPid);
    }
    ~Session() {
        Check(plugin->Uninitialize() == OrvexResult::kOk);
        Check(plugin->Release() == 0);
        Check(machine.heap.Live() == 0);
    }

    void Send(std::span<const uint8_t> message) {
        const bool request = message.size() >= kMessageHeaderSize && message[0] == 0xE1;
        if (request && TooLargeForTheRun(RequestOf(message))) {
            return;
        }
        uint8_t* answer = nullptr;
        uint32_t answerSize = 0;
        const HRESULT result = plugin->HandleMessage(
            nullptr, message.data(), static_cast<uint32_t>(message.size()), &answer, &answerSize);
        Check((answer == nullptr) == (answerSize == 0));
        ValueSet body;
        if (answer != nullptr) {
            Check(body.Read(answer, answerSize));
            machine.heap.Free(answer); // aborts unless the block came from the host's heap
        }
        if (message.size() < kMessageHeaderSize) {
            Check(result == OrvexResult::kInvalidArgument && answer == nullptr);
        } else if (message[0] == 0xE4) {
            Check(result == OrvexResult::kOk && answer == nullptr);
        } else if (!request) {
            Check(result == OrvexResult::kUnsupported && answer == nullptr);
        } else if (!serviceInstance) {
            Check(result == OrvexResult::kOk && answer == nullptr);
        } else {
            Check(
                answer_shape::AnswersCommand(RequestOf(message).GetInt32("Command"), result, body));
        }
    }

    // The user interface's session ends: the recording, if any, goes with it.
    void EndRun() {
        ValueSet end;
        end.SetInt32("Command", 22);
        ValueSet answer;
        static_cast<void>(
            static_cast<IOrvexPlugin*>(plugin)->ProcessRequest(nullptr, &end, &answer));
    }

private:
    void PlaceFanAcousticTable() {
        const std::array<gpu::FanPoint, 3> cpu = {{{1000, 20.0}, {3000, 40.0}, {5500, 52.5}}};
        const std::array<gpu::FanPoint, 2> gpu = {{{2000, 30.0}, {4800, 47.0}}};
        const auto cipher =
            machine.crypto.NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector);
        const auto enciphered = cipher->Encrypt(gpu::WriteFanPoints(cpu, gpu));
        Check(enciphered.has_value());
        machine.files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", QuietHost::kModel),
                          gpu::FanAcousticFile(gpu::kFanAcousticVector, *enciphered));
    }

    SimMachine machine;
    QuietHost host{machine.heap};
    COrvexMonitorPlugin* plugin = nullptr;
    bool serviceInstance = true;
};

constexpr std::size_t kMachines = 3;
constexpr int kRunsPerSession = 4096;

// The session a run of the given machine goes to, made anew after kRunsPerSession runs so that
// what the simulated machine keeps (log files, shared events) stays small.
Session& SessionFor(std::size_t choice) {
    static std::array<std::unique_ptr<Session>, kMachines> sessions;
    static std::array<int, kMachines> runs{};
    if (sessions[choice] == nullptr || ++runs[choice] == kRunsPerSession) {
        sessions[choice].reset();
        sessions[choice] = std::make_unique<Session>(choice);
        runs[choice] = 0;
    }
    return *sessions[choice];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0 || size > UINT32_MAX) {
        return 0;
    }
    const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    Session& session = SessionFor(data[0] % kMachines);
    std::size_t start = 0;
    for (int sent = 0; sent < kMessagesPerRun && start <= input.size(); ++sent) {
        const std::size_t end = std::min(input.find(kSeparator, start), input.size());
        session.Send({data + 1 + start, end - start});
        start = end + kSeparator.size();
    }
    session.EndRun();
    return 0;
}
