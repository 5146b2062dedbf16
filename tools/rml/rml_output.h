#pragma once

#include "recording/rml_format.h"

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

// What the rml tool prints for a recording log, and the tool itself as a function of its
// arguments and streams, so that both are testable without a process.

// The column name of an item: what its identifier measures, or the identifier in hex when unknown.
std::string ItemColumnName(uint32_t id);

std::string FormatRmlHeader(const RmlLog& log);
// One column per item, named by ItemColumnName, one row per record, oldest first.
std::string FormatRmlCsv(const RmlLog& log);
// The header fields, the items and the records as objects keyed by column name. Values that JSON
// cannot carry (NaN, infinities) are null.
std::string FormatRmlJson(const RmlLog& log);

// `rml header|csv|json FILE`. Returns the exit code: 0 done, 1 the file is unreadable or not a
// log, 2 the command line is wrong.
int RunRml(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
