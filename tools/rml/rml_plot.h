#pragma once

#include "recording/rml_format.h"

#include <optional>
#include <string>
#include <string_view>

// A chart of a recording log drawn by gnuplot: one panel per item over the log's time axis, each
// with the item's unit on its y axis, under a title naming the log file and its interval.

enum class ChartFormat { Png, Svg };

// The format an output file's extension asks for (".png" or ".svg", any case); nullopt for any
// other name.
std::optional<ChartFormat> ChartFormatOf(std::string_view outputPath);

// A gnuplot quoted string: single quotes, each inner one doubled, so that no file name can end
// the string early or be read as a command.
std::string GnuplotString(std::string_view text);

// The whole gnuplot script: terminal and output, the records inline as a data block (the same
// columns as `rml csv`), and one plot command per item in a multiplot layout. `logName` is what
// the title calls the log.
std::string GnuplotChartScript(const RmlLog& log, std::string_view logName,
                               const std::string& outputPath, ChartFormat format);
