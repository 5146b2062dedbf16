// Host threads asking for snapshots, disk activity and recorded pages while a recording samples
// and notifications arrive: every answer well-formed (and, under ThreadSanitizer, no race).
#include "answer_shape.h"
#include "message_bytes.h"
#include "plugin_fixture.h"

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr uint32_t kUiPid = 77;
constexpr int kThreads = 6;
constexpr int kRequestsPerThread = 60;
constexpr int kStormThreads = 16;
constexpr int kStormRequestsPerThread = 24;
// What each storm thread asks in turn: snapshots, disk activity and pages above all, and the
// device information, the phase, voltage support and an unknown command between them.
constexpr std::array<int32_t, 8> kStormCommands = {1, 3, 18, 2, 18, 16, 65, 100};

class ConcurrencyTest : public PluginFixture {
protected:
    void SetUp() override {
        machine.helper.Change([](auto& a) { a.CpuVendor = 2; }); // the full snapshot path
        ASSERT_EQ(plugin->Initialize(), 0);
        machine.uiProcesses.Launch(kUiPid);
    }

    // Starts a recording that samples every millisecond and waits for its first record; gives
    // its serial number.
    int32_t StartRecording() {
        ValueSet start;
        start.SetInt32("Command", 17);
        start.SetUInt32("UIPid", kUiPid);
        start.SetInt32("Capacity", 600);
        start.SetInt32("Interval", 1);
        const ValueSet started = Send(start);
        EXPECT_EQ(started.GetInt32("Result"), 0);
        EXPECT_TRUE(host.WaitForRound(0));
        return started.FindMap("Record")->GetInt32("RecordSN");
    }
};

TEST_F(ConcurrencyTest, requests_and_notifications_during_a_recording_are_each_answered_whole) {
    const int32_t serial = StartRecording();

    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kRequestsPerThread; ++i) {
                const int kind = (t + i) % 3;
                ValueSet request;
                if (kind == 0) {
                    request.SetInt32("Command", 1);
                } else if (kind == 1) {
                    request.SetInt32("Command", 3);
                } else {
                    request.SetInt32("Command", 18);
                    request.SetInt32("RecordSN", serial);
                    request.SetInt32("Round", 0);
                    request.SetInt32("Count", 1);
                }
                HRESULT result = -1;
                const ValueSet answer = Send(request, &result);
                const bool whole = result == 0 && (kind == 0 ? answer.GetInt32("Command") == 1 &&
                                                                   answer.Contains("GPUTGP")
                                                   : kind == 1 ? answer.Contains("Result")
                                                               : answer.GetInt32("Result") == 0);
                wrong += whole ? 0 : 1;
            }
        });
    }
    threads.emplace_back([&] {
        for (int i = 0; i < kRequestsPerThread; ++i) {
            ValueSet monitor;
            monitor.SetString("RequestRole", u"AMDMonitorNotify");
            monitor.SetInt32("Command", 1);
            monitor.SetInt32("CurrentGPUFrequency", i);
            plugin->ReceiveNotification(4, &monitor);
            ValueSet update;
            update.SetString("RequestRole", u"AMDUpdateNotify");
            plugin->ReceiveNotification(2, &update);
        }
    });
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Command(22).GetInt32("Result"), 0);
    EXPECT_TRUE(plugin->AmdUpdateStarted());
}

// Sends the request as the host does, as bytes through HandleMessage, and decodes the answer it
// gives back on the host's heap; false when either step fails.
bool Exchange(COrvexMonitorPlugin& plugin, LockedHeap& heap,
              const VelmorValueSet::ValueSet& request, HRESULT& result,
              VelmorValueSet::ValueSet& answer) {
    const std::vector<uint8_t> message = HostMessage(0xE1, 0, request);
    uint8_t* bytes = nullptr;
    uint32_t size = 0;
    result = plugin.HandleMessage(nullptr, message.data(), static_cast<uint32_t>(message.size()),
                                  &bytes, &size);
    const bool read = bytes == nullptr || answer.Read(bytes, size);
    heap.Free(bytes);
    return read && (bytes == nullptr) == (size == 0);
}

TEST_F(ConcurrencyTest,
       a_storm_of_sixteen_threads_during_a_recording_gets_every_answer_well_formed) {
    const int32_t serial = StartRecording();
    std::atomic<int> wrong{0};
    std::atomic<bool> storming{true};
    std::vector<std::thread> threads;
    for (int t = 0; t < kStormThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kStormRequestsPerThread; ++i) {
                const int32_t command = kStormCommands[(t + i) % kStormCommands.size()];
                ValueSet request;
                request.SetInt32("Command", command);
                request.SetInt32("RecordSN", serial);
                request.SetInt32("Round", 0);
                request.SetInt32("Count", 1);
                HRESULT result = -1;
                ValueSet answer;
                const bool whole = Exchange(*plugin, machine.heap, request, result, answer) &&
                                   answer_shape::AnswersCommand(command, result, answer) &&
                                   (command != 18 || answer.GetInt32("Result") == 0);
                wrong += whole ? 0 : 1;
            }
        });
    }
    // Notifications and device changes arrive all the while.
    std::thread notifier([&] {
        for (int32_t i = 0; storming; ++i) {
            ValueSet monitor;
            monitor.SetString("RequestRole", u"AMDMonitorNotify");
            monitor.SetInt32("Command", 1);
            monitor.SetInt32("CurrentGPUFrequency", i);
            ValueSet change;
            change.SetString("RequestRole", u"WindowMessageDeviceChangeEvent");
            ValueSet update;
            update.SetString("RequestRole", u"AMDUpdateNotify");
            for (const auto& [code, body] :
                 {std::pair{uint8_t{4}, &monitor}, std::pair{uint8_t{4}, &change},
                  std::pair{uint8_t{2}, &update}}) {
                const std::vector<uint8_t> message = HostMessage(0xE4, code, *body);
                uint8_t* answer = nullptr;
                uint32_t size = 0;
                wrong += plugin->HandleMessage(nullptr, message.data(),
                                               static_cast<uint32_t>(message.size()), &answer,
                                               &size) == 0 &&
                                 answer == nullptr
                             ? 0
                             : 1;
            }
        }
    });
    for (auto& thread : threads) {
        thread.join();
    }
    storming = false;
    notifier.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(host.DataUpdates().size(), 1u);
    EXPECT_EQ(Command(22).GetInt32("Result"), 0);
}

TEST_F(ConcurrencyTest, ending_the_session_while_pages_are_read_answers_each_request) {
    const int32_t serial = StartRecording();
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < kThreads; ++t) {
        readers.emplace_back([&] {
            for (int i = 0; i < kRequestsPerThread; ++i) {
                ValueSet request;
                request.SetInt32("Command", 18);
                request.SetInt32("RecordSN", serial);
                request.SetInt32("Round", 0);
                request.SetInt32("Count", 1);
                const int32_t result = Send(request).GetInt32("Result");
                wrong += result == 0 || result == -2 ? 0 : 1;
            }
        });
    }
    Command(22);
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
