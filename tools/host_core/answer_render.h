#pragma once
// The reference host's renderings of a plug-in answer: a readable table and JSON. Both walk the
// tree in its key order, nested maps included, so any answer renders, whatever the machine.
#include "host_core/value_tree.h"

#include <string>
#include <utility>
#include <vector>

namespace orvex_host {

// The text of one value: integers in decimal, doubles in their shortest form, booleans
// "true"/"false", wide strings as UTF-8 without a trailing terminator, blocks as "N bytes".
std::string ValueText(const Value& value);

// Rows "key  value  unit" with the columns aligned; a nested map's keys are indented under its
// own name. A title line and a rule come first when the title is not empty.
std::string RenderTable(const std::string& title, const Tree& answer);

// Two-column table of label and text rows, aligned like RenderTable.
std::string RenderPairs(const std::vector<std::pair<std::string, std::string>>& rows);

// The tree as a JSON object: numbers, booleans, strings, nested objects; NaN and infinities are
// null and a block is an object {"bytes": N}.
std::string RenderJson(const Tree& answer);

// A JSON string literal of UTF-8 text, with quotes, backslashes and control characters escaped.
std::string JsonString(std::string_view text);

// UTF-8 of a wide text, up to (not including) its first zero.
std::string Utf8(std::wstring_view text);

} // namespace orvex_host
