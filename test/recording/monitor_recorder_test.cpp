#include "faulty_kernel_objects.h"
#include "recorder_probe.h"
#include "recording/monitor_recorder.h"
#include "recording/rml_format.h"
#include "sim/fake_clock.h"
#include "sim/fake_ui_processes.h"
#include "sim/memory_log_files.h"
#include "sim/native_kernel_objects.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace {

constexpr uint32_t kUiPid = 4242;
const std::u16string kLogPath = u"C:\\Logs\\recording.rml";
const std::u16string kStopLoggingEventName = u"Global\\ResourceMonitorStopLoggingEvent_4242";

RecordValues PageRecord(const RecordPages& pages, std::size_t index) {
    const auto page = pages.Page(index / kRecordsPerPage);
    return DecodeRecord(
        page.subspan((index % kRecordsPerPage) * kRecordBytes).first<kRecordBytes>());
}

class MonitorRecorderTest : public ::testing::Test {
protected:
    void SetUp() override {
        uiProcesses.Launch(kUiPid);
        recorder = MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles});
        ASSERT_NE(recorder, nullptr);
    }
    void TearDown() override {
        probe.Open();
        recorder.reset();
    }

    int64_t Start(int32_t capacity = 600, int32_t intervalMs = 1, uint32_t uiPid = kUiPid) {
        return recorder->Start(uiPid, capacity, intervalMs, items.data(), &RecorderProbe::Sampling,
                               &RecorderProbe::Round, &probe);
    }
    bool StartLogging(const std::u16string& path = kLogPath, uint64_t* handle = nullptr) {
        return recorder->StartLogging(path, handle, &RecorderProbe::LogFinished);
    }
    void TakeSamples(int32_t count) { ASSERT_TRUE(probe.TakeSamples(count)); }
    // A handle of the test's own to the named stop-logging event (made if it does not exist).
    std::unique_ptr<ports::Event> OpenStopLoggingEvent() {
        return native.NewEvent(true, false, kStopLoggingEventName);
    }
    bool IsSignalled(ports::Event& event) { return native.Wait(event, 0).Signalled(0); }

    sim::NativeKernelObjects native;
    FaultyKernelObjects kernel{native};
    sim::FakeClock clock;
    sim::FakeUiProcesses uiProcesses;
    sim::MemoryLogFiles logFiles{native};
    RecorderProbe probe;
    std::array<RecordItemInfo, kRecordItemCount> items = RecorderProbe::Items();
    std::unique_ptr<MonitorRecorder> recorder;
};

// --- Construction and start failures ---

TEST_F(MonitorRecorderTest, tables_and_sizes_are_fixed) {
    EXPECT_EQ(MonitorRecorder::ItemCount(), 10u);
    const auto table = MonitorRecorder::ItemTable();
    EXPECT_EQ(std::vector<uint32_t>(table.begin(), table.end()),
              (std::vector<uint32_t>{0x10000, 0x10001, 0x10002, 0x20000, 0x20001, 0x20002, 0x40000,
                                     0x80000, 0x80001, 0x80002}));
    EXPECT_EQ(MonitorRecorder::RecordsPerPage(), 600);
    EXPECT_EQ(MonitorRecorder::PageBytes(600), 48000);
    EXPECT_EQ(MonitorRecorder::PageBytes(1), 80);
}

TEST_F(MonitorRecorderTest, creation_fails_when_its_locks_cannot_be_made) {
    kernel.failUnnamedEvents = true;
    EXPECT_EQ(MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles}), nullptr);
    kernel.failUnnamedEvents = false;
    kernel.failCriticalSections = true;
    EXPECT_EQ(MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles}), nullptr);
}

TEST_F(MonitorRecorderTest, a_new_recorder_is_idle) {
    EXPECT_EQ(recorder->SerialNumber(), 0);
    EXPECT_FALSE(recorder->Pages(0, 1));
    EXPECT_EQ(recorder->Pages(0, 1).PageCount(), 0u);
}

TEST_F(MonitorRecorderTest, interval_0_or_capacity_0_does_not_start) {
    EXPECT_EQ(Start(0, 5), 0);
    EXPECT_EQ(recorder->StartFailure(), "capacity or interval is null");
    EXPECT_EQ(Start(600, 0), 0);
    EXPECT_EQ(recorder->StartFailure(), "capacity or interval is null");
    EXPECT_EQ(Start(-1, -1), 0);
    EXPECT_EQ(recorder->SerialNumber(), 0);
    EXPECT_FALSE(recorder->Pages(0, 1));
    EXPECT_EQ(uiProcesses.OpenHandles(kUiPid), 0);
}

TEST_F(MonitorRecorderTest, null_item_table_does_not_start_and_is_checked_first) {
    EXPECT_EQ(recorder->Start(kUiPid, 0, 0, nullptr, &RecorderProbe::Sampling,
                              &RecorderProbe::Round, &probe),
              0);
    EXPECT_EQ(recorder->StartFailure(), "pItemInfo is null");
    EXPECT_EQ(recorder->SerialNumber(), 0);
}

TEST_F(MonitorRecorderTest, capacity_too_large_for_memory_does_not_start) {
    EXPECT_EQ(Start(INT32_MAX), 0);
    EXPECT_EQ(recorder->StartFailure(), "out of memory");
    EXPECT_EQ(uiProcesses.OpenHandles(kUiPid), 0);
}

TEST_F(MonitorRecorderTest, unknown_ui_process_does_not_start) {
    EXPECT_EQ(Start(600, 1, 999), 0);
    EXPECT_EQ(recorder->StartFailure(), "open process failed");
    EXPECT_EQ(recorder->SerialNumber(), 0);
    EXPECT_FALSE(recorder->Pages(0, 1));
}

TEST_F(MonitorRecorderTest, each_kernel_object_failure_leaves_nothing_behind) {
    const struct {
        std::atomic<bool>& fault;
        const char* failure;
    } cases[] = {
        {kernel.failUnnamedEvents, "create event failed"},
        {kernel.failNamedEvents, "create stop logging event failed"},
        {kernel.failThreads, "create thread failed"},
    };
    for (const auto& failing : cases) {
        SCOPED_TRACE(failing.failure);
        failing.fault = true;
        EXPECT_EQ(Start(), 0);
        failing.fault = false;
        EXPECT_EQ(recorder->StartFailure(), failing.failure);
        EXPECT_EQ(recorder->SerialNumber(), 0);
        EXPECT_FALSE(recorder->Pages(0, 1));
        EXPECT_EQ(uiProcesses.OpenHandles(kUiPid), 0);
        // No stop-logging event (made signalled) is left: this name now makes a fresh one.
        const auto event = OpenStopLoggingEvent();
        EXPECT_FALSE(IsSignalled(*event));
    }
}

TEST_F(MonitorRecorderTest, a_failed_start_leaves_the_recorder_usable) {
    kernel.failThreads = true;
    EXPECT_EQ(Start(), 0);
    kernel.failThreads = false;
    clock.SetSecondsSince1970(1'800'000'000);
    EXPECT_EQ(Start(), 1'800'000'000);
    TakeSamples(1);
    EXPECT_EQ(probe.RoundSerials(), std::vector<int64_t>{1'800'000'000});
}

// --- Sampling and pages ---

TEST_F(MonitorRecorderTest, serial_number_is_the_start_time_and_rounds_carry_it) {
    clock.SetSecondsSince1970(1'800'000'123);
    EXPECT_EQ(Start(), 1'800'000'123);
    EXPECT_EQ(recorder->SerialNumber(), 1'800'000'123);
    TakeSamples(3);
    EXPECT_EQ(probe.RoundSerials(), std::vector<int64_t>(3, 1'800'000'123));
    EXPECT_EQ(probe.RoundSequences(), (std::vector<int32_t>{0, 1, 2}));
}

TEST_F(MonitorRecorderTest, the_first_round_already_finds_the_serial_number) {
    std::atomic<int64_t> seen{-1};
    probe.afterRound = [&seen, recording = recorder.get()](int32_t newest) {
        if (newest == 0) {
            seen = recording->SerialNumber();
        }
    };
    probe.Open(); // the first sample races the end of the start
    clock.SetSecondsSince1970(1'800'000'300);
    ASSERT_EQ(Start(), 1'800'000'300);
    ASSERT_TRUE(probe.WaitForRounds(2)); // so the first round's check is done
    EXPECT_EQ(seen, 1'800'000'300);
}

TEST_F(MonitorRecorderTest, capacity_601_gives_two_pages_and_600_one) {
    probe.Open(); // the second start waits for the first recording's thread
    ASSERT_NE(Start(601), 0);
    EXPECT_EQ(recorder->Pages(0, 0).PageCount(), 2u);
    ASSERT_NE(Start(600), 0);
    EXPECT_EQ(recorder->Pages(0, 0).PageCount(), 1u);
}

TEST_F(MonitorRecorderTest, items_missing_from_the_sample_record_zero) {
    ASSERT_NE(Start(), 0);
    TakeSamples(1);
    const auto pages = recorder->Pages(0, 1);
    const RecordValues record = PageRecord(pages, 0);
    EXPECT_EQ(record, RecorderProbe::Expected(0));
    EXPECT_EQ(record[kRecordItemCount - 1], 0.0);
}

TEST_F(MonitorRecorderTest, the_ring_keeps_the_newest_600_of_1500_records) {
    ASSERT_NE(Start(600), 0);
    TakeSamples(1500);
    const auto pages = recorder->Pages(1499, 600);
    ASSERT_EQ(pages.PageCount(), 1u);
    for (int32_t index = 0; index < 600; ++index) {
        ASSERT_EQ(PageRecord(pages, static_cast<std::size_t>(index)),
                  RecorderProbe::Expected(900 + index))
            << "record " << index;
    }
}

TEST_F(MonitorRecorderTest, round_equal_to_written_reads_the_unwritten_slot) {
    ASSERT_NE(Start(), 0);
    TakeSamples(3);
    {
        const auto pages = recorder->Pages(2, 3);
        for (int32_t index = 0; index < 3; ++index) {
            EXPECT_EQ(PageRecord(pages, static_cast<std::size_t>(index)),
                      RecorderProbe::Expected(index));
        }
    }
    const auto pages = recorder->Pages(3, 1);
    EXPECT_EQ(PageRecord(pages, 0), RecordValues{});
}

TEST_F(MonitorRecorderTest, requests_outside_the_bounds_keep_the_previous_pages) {
    ASSERT_NE(Start(), 0);
    TakeSamples(3);
    recorder->Pages(2, 3);
    const auto expectPrevious = [&](int32_t round, int32_t count) {
        const auto pages = recorder->Pages(round, count);
        ASSERT_TRUE(pages);
        for (int32_t index = 0; index < 3; ++index) {
            EXPECT_EQ(PageRecord(pages, static_cast<std::size_t>(index)),
                      RecorderProbe::Expected(index))
                << "round " << round << " count " << count;
        }
    };
    expectPrevious(2, 4);          // more than round + 1
    expectPrevious(2, 0);          // none
    expectPrevious(700, 601);      // more than the capacity
    expectPrevious(-1, 1);         // before the first record
    expectPrevious(INT32_MAX, -5); // no overflow on round + 1
}

TEST_F(MonitorRecorderTest, a_round_past_the_next_record_is_refused_by_the_ring) {
    ASSERT_NE(Start(), 0);
    TakeSamples(3);
    EXPECT_THROW(recorder->Pages(4, 1), std::invalid_argument);
    try {
        recorder->Pages(4, 1);
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "round is invlid");
    }
    EXPECT_TRUE(recorder->Pages(2, 1)); // the pages are not left locked
}

TEST_F(MonitorRecorderTest, pages_read_during_restarts_hold_whole_records) {
    probe.Open();
    ASSERT_NE(Start(), 0);
    const auto readPages = [&] {
        for (int32_t request = 0; request < 3000; ++request) {
            try {
                const auto pages = recorder->Pages(request % 40, 1 + request % 7);
                if (!pages) {
                    continue; // between a stop and the next start
                }
                const RecordValues record = PageRecord(pages, 0);
                const bool unwritten = record == RecordValues{};
                const bool whole =
                    record == RecorderProbe::Expected(static_cast<int32_t>(record[0] / 10.0));
                ASSERT_TRUE(unwritten || whole) << "request " << request;
            } catch (const std::invalid_argument&) {
                // a round past the next record of a recording just started
            }
        }
    };
    std::thread first(readPages);
    std::thread second(readPages);
    for (int32_t restart = 0; restart < 15; ++restart) {
        ASSERT_TRUE(probe.WaitForRounds(static_cast<int32_t>(probe.RoundSerials().size()) + 3));
        ASSERT_NE(Start(), 0);
    }
    first.join();
    second.join();
}

// --- The user interface's process ---

TEST_F(MonitorRecorderTest, ending_the_ui_process_ends_the_recording) {
    ASSERT_NE(Start(), 0);
    uint64_t handle = 0;
    ASSERT_TRUE(StartLogging(kLogPath, &handle));
    const auto stopLogging = OpenStopLoggingEvent();
    ASSERT_FALSE(IsSignalled(*stopLogging));
    TakeSamples(5);

    uiProcesses.End(kUiPid);
    probe.Open(); // sample 5, already begun, completes; then the thread sees the end
    ASSERT_TRUE(probe.WaitForLogsFinished(1));

    EXPECT_EQ(recorder->SerialNumber(), 0);
    EXPECT_FALSE(recorder->Pages(0, 1));
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_TRUE(IsSignalled(*stopLogging));
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 6));

    recorder.reset();                   // waits for the thread that ended itself
    EXPECT_EQ(probe.SamplesBegun(), 6); // no callback after the end
    EXPECT_EQ(probe.RoundSequences().size(), 6u);
    EXPECT_EQ(uiProcesses.OpenHandles(kUiPid), 0);
}

TEST_F(MonitorRecorderTest, a_recording_ended_by_the_ui_process_can_be_started_again) {
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    uiProcesses.End(kUiPid);
    probe.Open();
    ASSERT_TRUE(probe.WaitForLogsFinished(1));
    uiProcesses.Launch(kUiPid + 4);
    clock.SetSecondsSince1970(1'900'000'000);
    EXPECT_EQ(Start(600, 1, kUiPid + 4), 1'900'000'000);
    ASSERT_TRUE(probe.WaitForRounds(static_cast<int32_t>(probe.RoundSerials().size()) + 2));
    EXPECT_EQ(probe.RoundSerials().back(), 1'900'000'000);
}

TEST_F(MonitorRecorderTest, destroying_while_the_ui_process_ends_neither_hangs_nor_leaks) {
    for (uint32_t pid = 100; pid < 140; ++pid) {
        RecorderProbe local;
        local.Open();
        uiProcesses.Launch(pid);
        auto racing = MonitorRecorder::Create({kernel, clock, uiProcesses, logFiles});
        ASSERT_NE(racing->Start(pid, 60, 1, items.data(), &RecorderProbe::Sampling,
                                &RecorderProbe::Round, &local),
                  0);
        ASSERT_TRUE(racing->StartLogging(kLogPath, nullptr, &RecorderProbe::LogFinished));
        ASSERT_TRUE(local.WaitForRounds(static_cast<int32_t>(pid % 3)));
        uiProcesses.End(pid);
        racing.reset();
        EXPECT_EQ(uiProcesses.OpenHandles(pid), 0);
        EXPECT_EQ(local.FinishedLogs().size(), 1u) << "the log ends once, by whichever stop won";
    }
}

// --- Logging ---

TEST_F(MonitorRecorderTest, the_log_grows_by_4800_bytes_every_60_samples_after_its_header) {
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    EXPECT_TRUE(logFiles.IsOpen(kLogPath));
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 0));
    TakeSamples(59);
    EXPECT_EQ(logFiles.Contents(kLogPath).size(), 256u);
    TakeSamples(1);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 60));
    TakeSamples(60);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 120));
}

TEST_F(MonitorRecorderTest, the_header_carries_the_interval_and_the_items) {
    ASSERT_NE(Start(600, 250), 0);
    ASSERT_TRUE(StartLogging());
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(250, 0, 0));
}

TEST_F(MonitorRecorderTest, stopping_the_log_writes_the_pending_records) {
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    TakeSamples(85);
    recorder->StopLogging();
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 85));
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    TakeSamples(70);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 85));
    EXPECT_NE(recorder->SerialNumber(), 0); // the recording goes on
}

TEST_F(MonitorRecorderTest, a_failed_periodic_write_ends_the_log_with_notification) {
    ASSERT_NE(Start(), 0);
    uint64_t handle = 0;
    ASSERT_TRUE(StartLogging(kLogPath, &handle));
    const auto stopLogging = OpenStopLoggingEvent();
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Fail, 112);
    TakeSamples(59);
    EXPECT_TRUE(probe.FinishedLogs().empty());
    EXPECT_FALSE(IsSignalled(*stopLogging));
    TakeSamples(1);
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_TRUE(IsSignalled(*stopLogging));
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 0));
    EXPECT_NE(recorder->SerialNumber(), 0);
}

TEST_F(MonitorRecorderTest, a_write_left_pending_is_collected_later) {
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Hold);
    TakeSamples(60);
    EXPECT_EQ(logFiles.HeldWrites(), 1u);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 0));
    EXPECT_EQ(logFiles.CompleteHeldWrites(), 1u);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 60));
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Complete);
    TakeSamples(60);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 120));
    EXPECT_TRUE(probe.FinishedLogs().empty());
}

TEST_F(MonitorRecorderTest, a_pending_write_that_fails_ends_the_log_at_the_next_write) {
    ASSERT_NE(Start(600, 5), 0); // the frozen clock leaves each write 4 ms to collect
    ASSERT_TRUE(StartLogging());
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Hold);
    TakeSamples(60);
    ASSERT_EQ(logFiles.HeldWrites(), 1u);
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Complete);
    logFiles.CompleteHeldWrites(31);
    EXPECT_TRUE(probe.FinishedLogs().empty());
    TakeSamples(60);
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
}

TEST_F(MonitorRecorderTest, closing_the_log_waits_for_writes_still_pending) {
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Hold);
    TakeSamples(70);
    std::thread completer([&] {
        // The close's own write of the 10 pending records joins the one of 60 already held.
        ASSERT_TRUE(logFiles.WaitForHeldWrites(2));
        logFiles.CompleteHeldWrites();
    });
    recorder->StopLogging();
    completer.join();
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 70));
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
}

TEST_F(MonitorRecorderTest, a_ring_smaller_than_one_write_ends_the_log) {
    ASSERT_NE(Start(10), 0);
    ASSERT_TRUE(StartLogging());
    TakeSamples(60);
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 0));
}

TEST_F(MonitorRecorderTest, start_logging_while_logging_closes_the_old_log_silently) {
    const std::u16string second = u"C:\\Logs\\second.rml";
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    TakeSamples(10);
    ASSERT_TRUE(StartLogging(second));
    EXPECT_TRUE(probe.FinishedLogs().empty());
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 10));
    TakeSamples(60);
    EXPECT_EQ(logFiles.Contents(second), RecorderProbe::LogBytes(1, 10, 60));
}

TEST_F(MonitorRecorderTest, the_stop_logging_event_is_named_with_the_id_as_a_signed_number) {
    uiProcesses.Launch(0x80000004);
    ASSERT_NE(Start(600, 1, 0x80000004), 0);
    // Made signalled by the recording, so opening it by this name finds it signalled.
    const auto event =
        native.NewEvent(true, false, u"Global\\ResourceMonitorStopLoggingEvent_-2147483644");
    EXPECT_TRUE(IsSignalled(*event));
}

TEST_F(MonitorRecorderTest, start_logging_shares_the_reset_stop_logging_event) {
    ASSERT_NE(Start(), 0);
    const auto stopLogging = OpenStopLoggingEvent();
    EXPECT_TRUE(IsSignalled(*stopLogging)); // made signalled: no log yet
    uint64_t handle = 77;
    ASSERT_TRUE(StartLogging(kLogPath, &handle));
    EXPECT_NE(handle, 0u);
    EXPECT_EQ(uiProcesses.SharedEvents(kUiPid).size(), 1u);
    EXPECT_FALSE(IsSignalled(*stopLogging));
    recorder->StopLogging();
    EXPECT_TRUE(IsSignalled(*stopLogging));
}

TEST_F(MonitorRecorderTest, a_stop_logging_event_that_cannot_be_shared_gives_handle_0) {
    ASSERT_NE(Start(), 0);
    uiProcesses.FailSharing(true);
    uint64_t handle = 77;
    EXPECT_TRUE(StartLogging(kLogPath, &handle));
    EXPECT_EQ(handle, 0u);
}

TEST_F(MonitorRecorderTest, start_logging_is_refused_when_the_file_cannot_be_made) {
    ASSERT_NE(Start(), 0);
    logFiles.FailCreate(true);
    EXPECT_FALSE(StartLogging());
    EXPECT_FALSE(logFiles.Exists(kLogPath));
    TakeSamples(60);
    EXPECT_TRUE(probe.FinishedLogs().empty());
}

TEST_F(MonitorRecorderTest, start_logging_is_refused_when_the_header_cannot_be_written) {
    ASSERT_NE(Start(), 0);
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Fail, 112);
    EXPECT_FALSE(StartLogging());
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
}

TEST_F(MonitorRecorderTest, a_pending_header_write_is_waited_for) {
    ASSERT_NE(Start(), 0);
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Hold);
    std::thread completer([&] {
        ASSERT_TRUE(logFiles.WaitForHeldWrites(1));
        logFiles.CompleteHeldWrites();
    });
    EXPECT_TRUE(StartLogging());
    completer.join();
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Complete);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 0));
}

// --- Stopping and restarting ---

TEST_F(MonitorRecorderTest, stop_closes_the_log_with_its_pending_records_and_waits) {
    ASSERT_NE(Start(), 0);
    uint64_t handle = 0;
    ASSERT_TRUE(StartLogging(kLogPath, &handle));
    const auto stopLogging = OpenStopLoggingEvent();
    TakeSamples(7);
    std::thread stopper([&] { recorder->Stop(true); });
    // The log ends before the thread is waited for; the thread is still held at sample 7.
    ASSERT_TRUE(native.Wait(*stopLogging, ports::kInfinite).Signalled(0));
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 7));
    probe.Open();
    stopper.join();
    EXPECT_EQ(recorder->SerialNumber(), 0);
    EXPECT_FALSE(recorder->Pages(0, 1));
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_EQ(probe.RoundSequences().size(), 8u); // the held sample still completed, unlogged
    EXPECT_EQ(uiProcesses.OpenHandles(kUiPid), 0);
    EXPECT_EQ(logFiles.Contents(kLogPath), RecorderProbe::LogBytes(1, 0, 7));
}

TEST_F(MonitorRecorderTest, stop_without_waiting_leaves_the_thread_to_the_next_start) {
    ASSERT_NE(Start(), 0);
    TakeSamples(2);
    recorder->Stop(false); // returns although the thread is held at sample 2
    EXPECT_EQ(recorder->SerialNumber(), 0);
    probe.Open();
    clock.SetSecondsSince1970(1'900'000'001);
    EXPECT_EQ(Start(), 1'900'000'001);
    ASSERT_TRUE(probe.WaitForRounds(5));
}

TEST_F(MonitorRecorderTest, a_new_start_stops_the_running_recording_first) {
    clock.SetSecondsSince1970(1'800'000'000);
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    probe.Open();
    ASSERT_TRUE(probe.WaitForRounds(3));
    clock.SetSecondsSince1970(1'800'000'100);
    EXPECT_EQ(Start(), 1'800'000'100);
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
    const auto before = probe.RoundSerials();
    const auto oldRounds = std::count(before.begin(), before.end(), 1'800'000'000);
    const auto rounds = static_cast<int32_t>(before.size());
    ASSERT_TRUE(probe.WaitForRounds(rounds + 3));
    const auto serials = probe.RoundSerials();
    EXPECT_EQ(std::count(serials.begin(), serials.end(), 1'800'000'000), oldRounds);
    EXPECT_EQ(serials.back(), 1'800'000'100);
}

TEST_F(MonitorRecorderTest, stop_from_the_round_callback_ends_the_recording) {
    probe.afterRound = [recording = recorder.get()](int32_t newest) {
        if (newest == 3) {
            recording->Stop(true);
        }
    };
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    probe.Open();
    ASSERT_TRUE(probe.WaitForLogsFinished(1));
    EXPECT_EQ(recorder->SerialNumber(), 0);
    recorder.reset();
    EXPECT_EQ(probe.RoundSequences(), (std::vector<int32_t>{0, 1, 2, 3}));
    EXPECT_EQ(logFiles.Contents(kLogPath),
              RecorderProbe::LogBytes(1, 0, 3)); // the fourth was not yet counted
}

TEST_F(MonitorRecorderTest, restart_from_the_round_callback_runs_the_new_recording) {
    std::atomic<bool> restarted{false};
    probe.afterRound = [&](int32_t newest) {
        if (newest == 2 && !restarted.exchange(true)) {
            clock.SetSecondsSince1970(1'800'000'200);
            Start();
        }
    };
    clock.SetSecondsSince1970(1'800'000'000);
    ASSERT_NE(Start(), 0);
    probe.Open();
    ASSERT_TRUE(probe.WaitForRounds(6));
    EXPECT_EQ(recorder->SerialNumber(), 1'800'000'200);
    recorder.reset();
    const auto serials = probe.RoundSerials();
    EXPECT_EQ(std::vector<int64_t>(serials.begin(), serials.begin() + 3),
              std::vector<int64_t>(3, 1'800'000'000));
    EXPECT_EQ(std::count(serials.begin(), serials.end(), 1'800'000'000), 3);
}

TEST_F(MonitorRecorderTest, the_log_finished_callback_may_stop_the_recording) {
    // The callback runs again for the stop it makes itself, while the recorder may be ending.
    probe.afterLogFinished = [recording = recorder.get()] { recording->Stop(true); };
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    logFiles.SetWriteMode(sim::MemoryLogFiles::WriteMode::Fail, 112);
    probe.Open();
    ASSERT_TRUE(probe.WaitForLogsFinished(1));
    EXPECT_EQ(probe.FinishedLogs().front(), kLogPath);
    recorder.reset();
    EXPECT_EQ(probe.RoundSequences().size(), 60u);
}

TEST_F(MonitorRecorderTest, destroying_a_running_recorder_ends_its_log) {
    ASSERT_NE(Start(), 0);
    ASSERT_TRUE(StartLogging());
    TakeSamples(4);
    probe.Open();
    recorder.reset();
    EXPECT_EQ(probe.FinishedLogs(), std::vector<std::u16string>{kLogPath});
    EXPECT_FALSE(logFiles.IsOpen(kLogPath));
    EXPECT_EQ(uiProcesses.OpenHandles(kUiPid), 0);
}

} // namespace
