#include "recording/record_items.h"

#include <array>
#include <gtest/gtest.h>
#include <string_view>

TEST(RecordItems, names_say_what_each_identifier_measures) {
    const std::array<std::string_view, kRecordItemCount> names = {
        "CPU frequency",   "CPU temperature", "CPU usage",   "GPU frequency",
        "GPU temperature", "GPU usage",       "Used memory", "Disk active time",
        "Disk read speed", "Disk write speed"};
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        EXPECT_EQ(RecordItemName(kRecordItemIds[i]), names[i]);
    }
    EXPECT_EQ(RecordItemName(0x30000), "");
}

TEST(RecordItems, units_are_the_ones_the_sources_deliver) {
    const std::array<std::string_view, kRecordItemCount> units = {"MHz",
                                                                  "\xC2\xB0"
                                                                  "C",
                                                                  "%",
                                                                  "MHz",
                                                                  "\xC2\xB0"
                                                                  "C",
                                                                  "%",
                                                                  "",
                                                                  "%",
                                                                  "kB/s",
                                                                  "kB/s"};
    for (std::size_t i = 0; i < kRecordItemCount; ++i) {
        EXPECT_EQ(RecordItemUnit(kRecordItemIds[i]), units[i]) << RecordItemName(kRecordItemIds[i]);
    }
    EXPECT_EQ(RecordItemUnit(0x30000), "");
}
