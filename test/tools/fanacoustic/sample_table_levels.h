#pragma once

#include "gpu/fan_acoustic.h"

#include <gtest/gtest.h>

// The level the table gives at rpm, checking that the lookup answered.
inline double LevelAt(const gpu::FanAcoustic& table, int32_t fan, int32_t rpm) {
    double value = 0.0;
    EXPECT_EQ(table.Lookup(fan, rpm, value), 1) << fan << " " << rpm;
    return value;
}

// The levels the plug-in must give for sample_table.ini (and sample_table.json), once the tool has
// turned it into a file: the zero point, points, midpoints and the clamp above the last point.
inline void ExpectSampleTableLevels(const gpu::FanAcoustic& table) {
    const auto level = [&](int32_t fan, int32_t rpm) { return LevelAt(table, fan, rpm); };
    EXPECT_EQ(level(0, 0), 0.0);
    EXPECT_EQ(level(0, 600), 11.25);
    EXPECT_EQ(level(0, 1800), 26.75);
    EXPECT_EQ(level(0, 2400), 31.0);
    EXPECT_EQ(level(0, 3600), 37.0);
    EXPECT_EQ(level(0, 6000), 43.0);
    EXPECT_EQ(level(1, 0), 18.0);
    EXPECT_EQ(level(1, 750), 21.0);
    EXPECT_EQ(level(1, 2250), 30.25);
    EXPECT_EQ(level(1, 9999), 36.5);
}
