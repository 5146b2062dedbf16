#pragma once

#include "recording/rml_format.h"

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

// What the rml tool prints for a recording log, and the tool itself as a function of its
// arguments and streams, so that both are testable without a process.

// The name of an item: what its identifier measures, or the identifier in hex when unknown.
std::string ItemName(uint32_t id);
// The CSV column of an item: its name and, where its source fixes one, its unit in parentheses
// ("CPU frequency (MHz)").
std::string ItemColumnName(uint32_t id);
// When record `index` was taken, in seconds since the first record: exactly index × interval /
// 1000, the time axis a reader of the log places the records on.
double RecordSeconds(const RmlLog& log, std::size_t index);
// A CSV field as RFC 4180 writes it: quoted, with inner quotes doubled, when it holds a comma, a
// quote or a line break.
std::string CsvField(std::string_view text);

std::string FormatRmlHeader(const RmlLog& log);
// A time column "Time (s)", then one column per item named by ItemColumnName; one row per record,
// oldest first.
std::string FormatRmlCsv(const RmlLog& log);
// The header fields, the items with their units, and the records as objects with their time and
// one value per item name. Values that JSON cannot carry (NaN, infinities) are null.
std::string FormatRmlJson(const RmlLog& log);

// `rml header|csv|json FILE`. Returns the exit code: 0 done, 1 the file is unreadable or not a
// log, 2 the command line is wrong.
int RunRml(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
