#include "host_core/console_text.h"
#include "sample_rml_log.h"

#include <cmath>
#include <gtest/gtest.h>

namespace orvex_host {
namespace {

using namespace std::chrono_literals;

TEST(ProgressBarText, fills_in_proportion_and_counts_records) {
    EXPECT_EQ(ProgressBar(0, 10, 10), "[----------]   0% 0/10 records");
    EXPECT_EQ(ProgressBar(5, 10, 10), "[#####-----]  50% 5/10 records");
    EXPECT_EQ(ProgressBar(10, 10, 10), "[##########] 100% 10/10 records");
}

TEST(ProgressBarText, more_records_than_expected_stay_at_full) {
    EXPECT_EQ(ProgressBar(12, 10, 4), "[####] 100% 10/10 records");
    EXPECT_EQ(ProgressBar(-1, 10, 4), "[----]   0% 0/10 records");
    EXPECT_EQ(ProgressBar(0, 0, 4), "[####] 100% 0/0 records");
}

TEST(RecordSummaryText, gives_minimum_mean_and_maximum_of_every_item_with_its_unit) {
    const RmlParseResult parsed = ParseRmlLog(SampleRmlLog());
    ASSERT_TRUE(parsed.log) << parsed.error;
    const std::string summary = RecordSummary(*parsed.log);
    EXPECT_EQ(summary.substr(0, summary.find('\n')),
              "item                     minimum / mean / maximum");
    EXPECT_NE(summary.find("\nCPU frequency (MHz)      800.00 / 2166.67 / 3300.00\n"),
              std::string::npos)
        << summary;
    EXPECT_NE(summary.find("\nUsed memory              7000.50 / 8041.17 / 9000.00\n"),
              std::string::npos);
    EXPECT_NE(summary.find("\nDisk write speed (kB/s)  0.00 / 1365.33 / 4096.00\n"),
              std::string::npos);
    EXPECT_EQ(std::count(summary.begin(), summary.end(), '\n'), 11);
}

TEST(RecordSummaryText, an_item_without_numbers_shows_a_dash) {
    RmlParseResult parsed = ParseRmlLog(SampleRmlLog());
    ASSERT_TRUE(parsed.log);
    for (auto& record : parsed.log->records) {
        record[0] = std::nan("");
    }
    parsed.log->records[1][1] = std::nan("");
    const std::string summary = RecordSummary(*parsed.log);
    EXPECT_NE(summary.find("\nCPU frequency (MHz)      -\n"), std::string::npos) << summary;
    EXPECT_NE(summary.find("\nCPU temperature (\xC2\xB0"
                           "C)     42.00 / 48.50 / 55.00\n"),
              std::string::npos)
        << summary;
}

TEST(RefreshGateTiming, refreshes_first_then_at_most_once_a_second) {
    RefreshGate gate;
    const RefreshGate::Clock::time_point start{};
    EXPECT_TRUE(gate.Due(start));
    EXPECT_FALSE(gate.Due(start + 1ms));
    EXPECT_FALSE(gate.Due(start + 999ms));
    EXPECT_TRUE(gate.Due(start + 1000ms));
    EXPECT_FALSE(gate.Due(start + 1500ms));
    EXPECT_TRUE(gate.Due(start + 2500ms));
}

} // namespace
} // namespace orvex_host
