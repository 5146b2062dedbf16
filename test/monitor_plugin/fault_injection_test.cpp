// Every port operation that a session of the plug-in reaches is made to fail, every call of it, in
// turn, while the same scripted session runs: initialisation, commands 1, 2, 3 and 16, a recording
// (17 to 20, 22), the three notifications and the end. Whatever fails, each answer is a
// well-formed body for its command, the plug-in goes on answering, Uninitialize completes and the
// last Release gives everything back.
#include "answer_shape.h"
#include "cpu/amd_sdk_build.h"
#include "gpu/fan_acoustic.h"
#include "gpu/fan_acoustic_file.h"
#include "gpu/fan_acoustic_key.h"
#include "message_bytes.h"
#include "monitor_host.h"
#include "monitor_plugin/orvex_monitor_plugin.h"
#include "platform/signature_check.h"
#include "sim/faulty_ports.h"
#include "sim_machine.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using VelmorValueSet::ValueSet;

constexpr uint32_t kUiPid = 5150;
constexpr std::u16string_view kModel = u"GX550";

// The simulated laptop with every port that can fail behind the fault plan.
struct FaultyMachine {
    explicit FaultyMachine(int32_t cpuVendor) {
        machine.helper.Change([cpuVendor](auto& a) { a.CpuVendor = cpuVendor; });
        machine.uiProcesses.Launch(kUiPid);
        const std::array<gpu::FanPoint, 2> cpu = {{{1000, 20.0}, {3000, 40.0}}};
        const std::array<gpu::FanPoint, 1> gpuFan = {{{2000, 30.0}}};
        const auto cipher =
            machine.crypto.NewAesCipher(gpu::kFanAcousticKey, gpu::kFanAcousticVector);
        machine.files.Put(gpu::FanAcoustic::FilePath(u"C:\\ProgramData", kModel),
                          gpu::FanAcousticFile(gpu::kFanAcousticVector,
                                               *cipher->Encrypt(gpu::WriteFanPoints(cpu, gpuFan))));
        // Every Ryzen SDK build lies beside the plug-in with the maker's signature, so an AMD
        // laptop loads the one it chooses.
        for (const cpu::AmdSdkBuild& build :
             {cpu::kRyzenSdk13, cpu::kRyzenSdk15, cpu::kRyzenSdk16}) {
            const std::u16string path =
                *machine.files.PluginFolder() + u"\\" + std::u16string(build.File);
            machine.files.Put(path, {0x4D, 0x5A});
            machine.codeSignatures.Sign(path, platform::kAcceptedSigner);
        }
    }

    PluginPorts Ports() {
        PluginPorts ports = machine.Ports();
        return {
            .heap = heap,
            .kernel = kernel,
            .clock = machine.clock,
            .uiProcesses = uiProcesses,
            .logFiles = logFiles,
            .helper = helper,
            .files = files,
            .folders = files,
            .crypto = crypto,
            .adapters = adapters,
            .dock = dock,
            .encryptHelper = encryptHelper,
            .profileStrings = profileStrings,
            .counters = counters,
            .wmi = wmi,
            .ioLibraries = ioLibraries,
            .codeSignatures = codeSignatures,
            .xtu = xtu,
            .amdSdk = amdSdk,
            .cpuid = machine.cpuid,
            .systemDevices = systemDevices,
            .machineRegistry = machineRegistry,
            .registryKeys = registryKeys,
            .firmware = firmware,
            .sharedEvents = sharedEvents,
            .windowMessages = windowMessages,
            .messagePrograms = messagePrograms,
            .physicalDrives = physicalDrives,
            .systemMessages = systemMessages,
            .recordingStopRequest = machine.recordingStopRequest,
            .xtuDelays = ports.xtuDelays,
            .workerTimeouts = ports.workerTimeouts,
            .owner = nullptr,
        };
    }

    SimMachine machine;
    sim::FaultPlan plan;
    sim::FaultyHostHeap heap{plan, machine.heap};
    sim::FaultyKernelObjects kernel{plan, machine.kernel};
    sim::FaultyUiProcesses uiProcesses{plan, machine.uiProcesses};
    sim::FaultyLogFiles logFiles{plan, machine.logFiles};
    sim::FaultyHelperLibrary helper{plan, machine.helper};
    sim::FaultyFiles files{plan, machine.files, machine.files};
    sim::FaultyCrypto crypto{plan, machine.crypto};
    sim::FaultyDisplayAdapters adapters{plan, machine.adapters};
    sim::FaultyDockingController dock{plan, machine.dock};
    sim::FaultyEncryptHelper encryptHelper{plan, machine.encryptHelper};
    sim::FaultyProfileStrings profileStrings{plan, machine.profileStrings};
    sim::FaultyPerformanceCounters counters{plan, machine.counters};
    sim::FaultyWmi wmi{plan, machine.wmi};
    sim::FaultyIoLibraries ioLibraries{plan, machine.ioLibraries};
    sim::FaultyCodeSignatures codeSignatures{plan, machine.codeSignatures};
    sim::FaultyXtuLibrary xtu{plan, machine.xtu};
    sim::FaultyAmdSdkLibraries amdSdk{plan, machine.amdSdk};
    sim::FaultySystemDevices systemDevices{plan, machine.systemDevices};
    sim::FaultyMachineRegistry machineRegistry{plan, machine.machineRegistry};
    sim::FaultyFirmwareDevices firmware{plan, machine.firmware};
    sim::FaultySharedEvents sharedEvents{plan, machine.sharedEvents};
    sim::FaultyWindowMessages windowMessages{plan, machine.windowMessages};
    sim::FaultyMessagePrograms messagePrograms{plan, machine.messagePrograms};
    sim::FaultyPhysicalDrives physicalDrives{plan, machine.physicalDrives};
    sim::FaultySystemMessages systemMessages{plan, machine.systemMessages};
    sim::FaultyRegistryKeys registryKeys{plan, machine.registryKeys};
};

ValueSet Request(int32_t command, int32_t serial = 0) {
    ValueSet request;
    request.SetInt32("Command", command);
    request.SetInt32("RecordSN", serial);
    return request;
}

ValueSet Notification(std::u16string_view role) {
    ValueSet payload;
    payload.SetString("RequestRole", role);
    payload.SetInt32("Command", 1);
    payload.SetInt32("CurrentGPUFrequency", 1500);
    return payload;
}

// Runs the scripted session on the machine and gives a line for every answer that was not
// well-formed (none when the plug-in held up).
std::vector<std::string> RunSession(FaultyMachine& faulty) {
    std::vector<std::string> wrong;
    auto* plugin = new COrvexMonitorPlugin(0, faulty.Ports());
    {
        MonitorHost host(faulty.machine.heap);
        host.Install(*plugin);
        host.AnswerQuery(u"ModelName",
                         [](ValueSet& a) { a.SetString("ModelName", std::u16string(kModel)); });
        plugin->Initialize();

        // The answer to the request, read from the bytes the host gets; checked by command.
        const auto exchange = [&](uint8_t type, uint8_t code, const ValueSet& body,
                                  int32_t command) {
            const std::vector<uint8_t> message = HostMessage(type, code, body);
            uint8_t* bytes = nullptr;
            uint32_t size = 0;
            const HRESULT result = plugin->HandleMessage(
                nullptr, message.data(), static_cast<uint32_t>(message.size()), &bytes, &size);
            ValueSet answer;
            const bool read = bytes == nullptr || answer.Read(bytes, size);
            faulty.machine.heap.Free(bytes);
            const bool noRoomForTheAnswer = result == OrvexResult::kOutOfMemory && bytes == nullptr;
            const bool wellFormed =
                type == 0xE4 ? result == 0 && bytes == nullptr
                             : read && (noRoomForTheAnswer ||
                                        answer_shape::AnswersCommand(command, result, answer));
            if (!wellFormed) {
                wrong.push_back("command " + std::to_string(command) + " type " +
                                std::to_string(type) + " result " + std::to_string(result));
            }
            return answer;
        };

        for (const int32_t command : {1, 2, 3, 16, 1, 3}) {
            exchange(0xE1, 0, Request(command), command);
        }
        ValueSet start = Request(17);
        start.SetUInt32("UIPid", kUiPid);
        start.SetInt32("Capacity", 600);
        start.SetInt32("Interval", 1);
        const ValueSet started = exchange(0xE1, 0, start, 17);
        const ValueSet* record = started.FindMap("Record");
        const int32_t serial = record != nullptr ? record->GetInt32("RecordSN") : 0;
        ValueSet read = Request(18, serial);
        read.SetInt32("Round", 0);
        read.SetInt32("Count", 1);
        exchange(0xE1, 0, read, 18);
        ValueSet log = Request(19, serial);
        log.SetString("Path", u"C:\\Users\\Public\\faults.rml");
        exchange(0xE1, 0, log, 19);
        exchange(0xE4, 4, Notification(u"AMDMonitorNotify"), 0);
        exchange(0xE4, 4, Notification(u"WindowMessageDeviceChangeEvent"), 0);
        exchange(0xE4, 2, Notification(u"AMDUpdateNotify"), 0);
        exchange(0xE1, 0, read, 18);
        exchange(0xE1, 0, Request(20, serial), 20);
        exchange(0xE1, 0, Request(22), 22);
        exchange(0xE1, 0, Request(1), 1);
        if (plugin->Uninitialize() != 0) {
            wrong.push_back("Uninitialize failed");
        }
    }
    if (plugin->Release() != 0) {
        wrong.push_back("the last Release left references");
    }
    if (faulty.machine.heap.Live() != 0) {
        wrong.push_back("blocks of the host's heap are still out");
    }
    return wrong;
}

// The operations a session on the machine reaches when nothing fails.
std::vector<std::string> OperationsReached(int32_t cpuVendor) {
    FaultyMachine faulty(cpuVendor);
    EXPECT_TRUE(RunSession(faulty).empty());
    return faulty.plan.Operations();
}

void EachOperationFailingInTurn(int32_t cpuVendor) {
    const std::vector<std::string> operations = OperationsReached(cpuVendor);
    ASSERT_GT(operations.size(), 30u);
    for (const std::string& operation : operations) {
        SCOPED_TRACE(operation);
        FaultyMachine faulty(cpuVendor);
        faulty.plan.FailEvery(operation);
        const std::vector<std::string> wrong = RunSession(faulty);
        EXPECT_TRUE(wrong.empty()) << wrong.front();
        EXPECT_GT(faulty.plan.Failed(), 0u);
    }
}

TEST(FaultInjectionTest,
     on_an_intel_laptop_every_operation_failing_in_turn_leaves_the_plugin_answering) {
    EachOperationFailingInTurn(1);
}

TEST(FaultInjectionTest,
     on_an_amd_laptop_every_operation_failing_in_turn_leaves_the_plugin_answering) {
    EachOperationFailingInTurn(2);
}

} // namespace
