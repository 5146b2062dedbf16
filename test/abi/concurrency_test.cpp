// Host threads enter MonitorPlugin.dll at the same time: reference counting and message
// handling must hold up without any lock on the host's side.
#include "answer_bytes.h"
#include "monitor_plugin_test.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace abi_test {
namespace {

using test_host::Value;

using ConcurrencyTest = MonitorPluginTest;

constexpr int kThreads = 8;

template <typename Work>
void OnThreads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index) {
        threads.emplace_back(work, index);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(ConcurrencyTest, concurrent_add_ref_and_release_keep_the_count) {
    OnThreads(kThreads, [this](int) {
        for (int round = 0; round < 20000; ++round) {
            Table().AddRef(Plugin());
            Table().Release(Plugin());
        }
    });
    EXPECT_EQ(Table().AddRef(Plugin()), 2u);
    EXPECT_EQ(Table().Release(Plugin()), 1u);
}

TEST_F(ConcurrencyTest, concurrent_requests_are_each_answered_and_logged) {
    ASSERT_EQ(host.InstallLogSink(), 0);
    ASSERT_EQ(Table().Initialize(Plugin()), 0);
    constexpr int kRequests = 200;
    std::atomic<int> wrongAnswers{0};
    OnThreads(kThreads, [&](int thread) {
        for (int request = 0; request < kRequests; ++request) {
            // Each thread its own unknown number, and the phase every other time.
            const int32_t command = request % 2 == 0 ? 16 : 100 + thread;
            const auto exchange = host.SendRequest({{"Command", Value::Int32(command)}});
            const auto answer = exchange.AnswerTree();
            const bool right = exchange.result == 0 && answer.has_value() &&
                               answer->Find("Command") != nullptr &&
                               answer->Find("Command")->AsInt32() == (command == 16 ? 16 : 255);
            wrongAnswers += right ? 0 : 1;
        }
    });
    EXPECT_EQ(wrongAnswers, 0);

    const auto logs = host.Logs();
    EXPECT_EQ(
        std::count_if(logs.begin(), logs.end(),
                      [](const auto& logged) { return logged.text == L"ProcessRequest : End"; }),
        kThreads * kRequests);
    for (int thread = 0; thread < kThreads; ++thread) {
        const std::wstring line =
            L"Monitor Plugin - Command " + std::to_wstring(100 + thread) + L" ";
        EXPECT_EQ(std::count_if(logs.begin(), logs.end(),
                                [&](const auto& logged) { return logged.text == line; }),
                  kRequests / 2)
            << std::string(line.begin(), line.end());
    }
    Table().Uninitialize(Plugin());
}

// What each storm thread asks in turn: snapshots, disk activity and pages above all, and the
// device information, the phase, voltage support and an unknown command between them.
constexpr std::array<int32_t, 8> kStormCommands = {1, 3, 18, 2, 18, 16, 65, 100};

TEST_F(ConcurrencyTest,
       a_storm_of_sixteen_threads_during_a_recording_gets_every_answer_well_formed) {
    ASSERT_TRUE(host.InstallAll());
    ASSERT_EQ(Table().Initialize(Plugin()), 0);
    const int32_t serial = test_host::StartRecording(host, 600, 5);
    ASSERT_NE(serial, 0);

    constexpr int kStormThreads = 16;
    constexpr int kStormRequests = 40;
    std::atomic<int> wrongAnswers{0};
    std::atomic<bool> storming{true};
    std::thread notifier([&] {
        for (int32_t round = 0; storming; ++round) {
            const bool delivered =
                host.SendNotification(4, {{"RequestRole", Value::Wide(L"AMDMonitorNotify")},
                                          {"Command", Value::Int32(1)},
                                          {"CurrentGPUFrequency", Value::Int32(round)}})
                        .result == 0 &&
                host.SendNotification(
                        4, {{"RequestRole", Value::Wide(L"WindowMessageDeviceChangeEvent")}})
                        .result == 0 &&
                host.SendNotification(2, {{"RequestRole", Value::Wide(L"AMDUpdateNotify")}})
                        .result == 0;
            wrongAnswers += delivered ? 0 : 1;
        }
    });
    OnThreads(kStormThreads, [&](int thread) {
        for (int request = 0; request < kStormRequests; ++request) {
            const int32_t command = kStormCommands[(thread + request) % kStormCommands.size()];
            const auto exchange = host.SendRequest({{"Command", Value::Int32(command)},
                                                    {"RecordSN", Value::Int32(serial)},
                                                    {"Round", Value::Int32(0)},
                                                    {"Count", Value::Int32(1)}});
            const bool right = exchange.answerPresent && exchange.answerOnProcessHeap &&
                               AnswerBytesFitCommand(command, exchange.result, exchange.answer);
            wrongAnswers += right ? 0 : 1;
        }
    });
    storming = false;
    notifier.join();
    EXPECT_EQ(wrongAnswers, 0);
    EXPECT_EQ(host.SendRequest({{"Command", Value::Int32(22)}}).result, 0);
    EXPECT_EQ(Table().Uninitialize(Plugin()), 0);
}

} // namespace
} // namespace abi_test
