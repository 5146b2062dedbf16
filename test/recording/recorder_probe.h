#pragma once

#include "recording/monitor_recorder.h"
#include "recording/rml_format.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

// The plug-in's side of a recording in tests: its callbacks count what they see, and sampling is
// gated, so a test decides exactly how many samples are taken.
class RecorderProbe {
public:
    // What sample n records: n * 10 + item for the first nine items; the last item is left out of
    // the map, so it records 0.0.
    static RecordValues Expected(int32_t sample) {
        RecordValues values{};
        for (std::size_t item = 0; item + 1 < kRecordItemCount; ++item) {
            values[item] = sample * 10.0 + static_cast<double>(item);
        }
        return values;
    }

    // The item descriptions tests start recordings with.
    static std::array<RecordItemInfo, kRecordItemCount> Items() {
        std::array<RecordItemInfo, kRecordItemCount> items{};
        for (std::size_t item = 0; item < kRecordItemCount; ++item) {
            items[item] = {kRecordItemIds[item], 100.0 + static_cast<double>(item), 0.0};
        }
        return items;
    }

    // The exact log of a recording with Items(): its header, then the records of samples
    // first .. first + count - 1.
    static std::vector<uint8_t> LogBytes(int32_t intervalMs, int32_t first, int32_t count) {
        const auto header = EncodeRmlHeader(intervalMs, Items());
        std::vector<uint8_t> bytes(header.begin(), header.end());
        for (int32_t sample = first; sample < first + count; ++sample) {
            const auto record = EncodeRecord(Expected(sample));
            bytes.insert(bytes.end(), record.begin(), record.end());
        }
        return bytes;
    }

    static void Sampling(void* context, std::map<uint32_t, double>& values) {
        static_cast<RecorderProbe*>(context)->OnSampling(values);
    }
    static void Round(void* context, int64_t serialNumber, int32_t newest) {
        static_cast<RecorderProbe*>(context)->OnRound(serialNumber, newest);
    }
    static void LogFinished(void* context, const std::u16string& path) {
        static_cast<RecorderProbe*>(context)->OnLogFinished(path);
    }

    // Lets `count` more samples be taken.
    void Allow(int32_t count) {
        std::lock_guard guard(lock_);
        allowed_ += count;
        changed_.notify_all();
    }
    // Lets `count` more samples be taken completely (logging included); the next one then waits.
    // False when the recording stalled.
    bool TakeSamples(int32_t count) {
        int32_t target = 0;
        {
            std::lock_guard guard(lock_);
            target = allowed_ + count;
        }
        Allow(count);
        return WaitForSamplesBegun(target + 1);
    }
    // Lets every sample through from now on.
    void Open() { Allow(1'000'000'000); }

    // Waits until `count` samples have begun (so count - 1 have been completely taken, logging
    // included). A false result means the recording stalled.
    bool WaitForSamplesBegun(int32_t count) {
        return WaitUntil([&] { return begun_ >= count; });
    }
    bool WaitForRounds(int32_t count) {
        return WaitUntil([&] { return static_cast<int32_t>(rounds_.size()) >= count; });
    }
    bool WaitForLogsFinished(std::size_t count) {
        return WaitUntil([&] { return finishedLogs_.size() >= count; });
    }

    int32_t SamplesBegun() const {
        std::lock_guard guard(lock_);
        return begun_;
    }
    // What the round callback saw, one entry per round.
    std::vector<int64_t> RoundSerials() const { return RoundColumn(&RoundSeen::serialNumber); }
    std::vector<int32_t> RoundSequences() const { return RoundColumn(&RoundSeen::newest); }
    std::vector<std::u16string> FinishedLogs() const {
        std::lock_guard guard(lock_);
        return finishedLogs_;
    }

    // Runs on the sampling thread after every round, outside the probe's lock.
    std::function<void(int32_t newest)> afterRound;
    // Runs on the calling thread after the log-finished callback was recorded.
    std::function<void()> afterLogFinished;

private:
    struct RoundSeen {
        int64_t serialNumber;
        int32_t newest;
    };

    template <typename Value>
    std::vector<Value> RoundColumn(Value RoundSeen::*field) const {
        std::lock_guard guard(lock_);
        std::vector<Value> column;
        for (const RoundSeen& round : rounds_) {
            column.push_back(round.*field);
        }
        return column;
    }

    template <typename Condition>
    bool WaitUntil(Condition condition) {
        std::unique_lock guard(lock_);
        // Only a guard against a hung test, not a timing expectation.
        return changed_.wait_for(guard, std::chrono::seconds(60), condition);
    }

    void OnSampling(std::map<uint32_t, double>& values) {
        int32_t sample = 0;
        {
            std::unique_lock guard(lock_);
            sample = begun_++;
            changed_.notify_all();
            changed_.wait(guard, [&] { return sample < allowed_; });
        }
        const RecordValues expected = Expected(sample);
        for (std::size_t item = 0; item + 1 < kRecordItemCount; ++item) {
            values[kRecordItemIds[item]] = expected[item];
        }
    }

    void OnRound(int64_t serialNumber, int32_t newest) {
        {
            std::lock_guard guard(lock_);
            rounds_.push_back({serialNumber, newest});
            changed_.notify_all();
        }
        if (afterRound) {
            afterRound(newest);
        }
    }

    void OnLogFinished(const std::u16string& path) {
        {
            std::lock_guard guard(lock_);
            finishedLogs_.push_back(path);
            changed_.notify_all();
        }
        if (afterLogFinished) {
            afterLogFinished();
        }
    }

    mutable std::mutex lock_;
    std::condition_variable changed_;
    int32_t allowed_ = 0;
    int32_t begun_ = 0;
    std::vector<RoundSeen> rounds_;
    std::vector<std::u16string> finishedLogs_;
};
