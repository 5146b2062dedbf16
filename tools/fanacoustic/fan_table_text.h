#pragma once

#include "gpu/fan_acoustic_file.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The readable form of a fan acoustic table, which the fanacoustic tool turns into a file the
// plug-in reads, and back.
//
// INI:                                JSON:
//   ; rpm = level                       {"CPU": [{"rpm": 1000, "level": 20.5}, ...],
//   [CPU]                                "GPU": [{"rpm": 1500, "level": 25}]}
//   1000 = 20.5
//   [GPU]
//   1500 = 25
//
// Points keep their order; rpm is a 32-bit signed integer, the level a finite number. A fan
// without points has an empty list (its curve is the point 0 rpm -> 0.0 alone).

struct FanTable {
    std::vector<gpu::FanPoint> Cpu;
    std::vector<gpu::FanPoint> Gpu;
};

// A table, or the reason it is not one ("line 3: ...").
struct FanTableParse {
    std::optional<FanTable> Table;
    std::string Error;
};

// JSON when the first character that is not white space is "{", INI otherwise.
FanTableParse ParseFanTable(std::string_view text);
FanTableParse ParseFanTableIni(std::string_view text);
FanTableParse ParseFanTableJson(std::string_view text);

// The curves the plug-in reads from a file, in rpm order, in either form; both read back into the
// same curves.
std::string FormatFanCurvesIni(const gpu::FanCurves& curves);
std::string FormatFanCurvesJson(const gpu::FanCurves& curves);
