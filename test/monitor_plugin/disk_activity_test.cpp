// Command 3's disk activity from its counter query, on scripted counters.
#include "fake_host.h"
#include "monitor_plugin/disk_activity.h"
#include "plugin_frame/value_set.h"
#include "test_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using VelmorValueSet::ValueSet;

// Counters that answer what the test sets and count their calls.
class ScriptedCounters final : public DiskCounters {
public:
    int32_t open = 0;
    int32_t add[3] = {0, 0, 0};
    int32_t collect = 0;
    CounterReading reads[3] = {};
    int opens = 0;
    int adds = 0;
    int closes = 0;

    int32_t OpenQuery() override {
        ++opens;
        return open;
    }
    int32_t AddCounter(std::size_t slot, const std::u16string& path) override {
        ++adds;
        paths.push_back(path);
        return add[slot];
    }
    int32_t Collect() override { return collect; }
    CounterReading Read(std::size_t slot) override { return reads[slot]; }
    void Close() override { ++closes; }

    std::vector<std::u16string> paths;
};

constexpr int32_t kNoData = static_cast<int32_t>(0x800007D5u);
constexpr int32_t kInvalidData = static_cast<int32_t>(0xC0000BC6u);

class DiskActivityTest : public ::testing::Test {
protected:
    DiskActivityTest() {
        auto owned = std::make_unique<ScriptedCounters>();
        counters = owned.get();
        activity = std::make_unique<DiskActivity>(std::move(owned));
        host.Install(*plugin);
    }
    ~DiskActivityTest() override { plugin->Release(); }

    ValueSet Answer() {
        ValueSet answer;
        activity->Answer(*plugin, answer);
        return answer;
    }

    FakeHost host;
    TestPlugin* plugin = new TestPlugin(0, host.Heap());
    ScriptedCounters* counters;
    std::unique_ptr<DiskActivity> activity;
};

TEST_F(DiskActivityTest, the_first_call_adds_the_three_counters_and_reports_the_add_bits) {
    counters->reads[0] = {kInvalidData, 0.0}; // a rate needs two samples
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetUInt64("Result"), 0x02u | 0x04u | 0x08u | 0x20u);
    EXPECT_THAT(counters->paths, ElementsAre(u"\\PhysicalDisk(_Total)\\% Disk Time",
                                             u"\\PhysicalDisk(_Total)\\Disk Read Bytes/sec",
                                             u"\\PhysicalDisk(_Total)\\Disk Write Bytes/sec"));
    EXPECT_THAT(host.LinesAt(3), ElementsAre("PdhAddEnglishCounterW DiskActiveTimeCounter 0",
                                             "PdhAddEnglishCounterW DiskReadSpeedCounter 0",
                                             "PdhAddEnglishCounterW DiskWriteSpeedCounter 0"));
    EXPECT_FALSE(answer.Contains("DiskActiveTimeCounter"));
    EXPECT_FALSE(answer.Contains("DiskActiveTimeMax"));
}

TEST_F(DiskActivityTest, later_calls_do_not_repeat_the_add_bits) {
    Answer();
    counters->reads[0] = {0, 37.9};
    counters->reads[1] = {0, 123456.0};
    counters->reads[2] = {0, 99999.0};
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetUInt64("Result"), 0u);
    EXPECT_EQ(answer.GetUInt64("Status"), 0u);
    EXPECT_EQ(answer.GetDouble("DiskActiveTimeMax"), 100.0);
    EXPECT_EQ(answer.GetDouble("DiskActiveTimeCounter"), 37.0);
    EXPECT_EQ(answer.GetDouble("DiskReadSpeedCounter"), 123.0); // 1234 hundreds, then tenths
    EXPECT_EQ(answer.GetDouble("DiskWriteSpeedCounter"), 99.0);
    EXPECT_EQ(counters->opens, 1);
    EXPECT_EQ(counters->adds, 3);
}

TEST_F(DiskActivityTest, a_failed_add_is_silent_and_leaves_its_bit_clear) {
    counters->add[1] = static_cast<int32_t>(0xC0000BB9u);
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetUInt64("Result"), 0x02u | 0x08u);
    EXPECT_EQ(host.LinesAt(3).size(), 2u);
}

TEST_F(DiskActivityTest, a_failed_open_sets_bit_1_logs_the_status_as_text_and_retries) {
    counters->open = static_cast<int32_t>(0xC0000BB8u);
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetUInt64("Result"), 0x01u);
    EXPECT_EQ(answer.GetUInt64("Status"), 0xFFFFFFFFC0000BB8u); // sign-extended
    EXPECT_THAT(host.LinesAt(3), ElementsAre("PdhOpenQueryW 0xC0000BB8"));
    counters->open = 0;
    EXPECT_EQ(Answer().GetUInt64("Result"), 0x0Eu);
    EXPECT_EQ(counters->opens, 2);
}

TEST_F(DiskActivityTest, a_failed_collect_sets_bit_0x10_and_reads_nothing) {
    Answer();
    counters->collect = kNoData;
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetUInt64("Result"), 0x10u);
    EXPECT_EQ(answer.GetUInt64("Status"), static_cast<uint64_t>(int64_t{kNoData}));
    EXPECT_FALSE(answer.Contains("DiskReadSpeedCounter"));
}

TEST_F(DiskActivityTest, each_failed_read_sets_its_bit_and_the_last_read_gives_the_status) {
    Answer();
    counters->reads[1] = {kInvalidData, 0.0};
    counters->reads[2] = {kNoData, 0.0};
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetUInt64("Result"), 0x40u | 0x80u);
    EXPECT_EQ(answer.GetUInt64("Status"), static_cast<uint64_t>(int64_t{kNoData}));
    EXPECT_TRUE(answer.Contains("DiskActiveTimeCounter"));
}

TEST_F(DiskActivityTest, counters_beyond_32_bits_stop_at_the_range_end) {
    Answer();
    counters->reads[0] = {0, 1e300};
    counters->reads[1] = {0, -1e300};
    const ValueSet answer = Answer();
    EXPECT_EQ(answer.GetDouble("DiskActiveTimeCounter"), 2147483647.0);
    EXPECT_EQ(answer.GetDouble("DiskReadSpeedCounter"), -214748364.0);
}

TEST_F(DiskActivityTest, close_removes_the_counters_once_and_the_next_call_opens_again) {
    Answer();
    activity->Close();
    activity->Close();
    EXPECT_EQ(counters->closes, 1);
    Answer();
    EXPECT_EQ(counters->opens, 2);
}

} // namespace
