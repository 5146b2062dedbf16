#pragma once
// What the plug-in's answer keys measure: the unit the plug-in answers them in, for the tables,
// and the gauge a Prometheus scraper reads them as. One table serves both.
#include <string>
#include <string_view>

namespace orvex_host {

struct Reading {
    std::string_view key;    // the answer key, in its node ("Core0", "Adapter0") or at the root
    std::string_view node;   // "Core", "Adapter" for keys inside an indexed node; empty at root
    std::string_view unit;   // as the plug-in answers it; empty when the unit is the helper's own
    std::string_view metric; // Prometheus name, base unit as suffix
    std::string_view help;
    double toBaseUnit; // factor from the answered unit to the metric's
};

// The reading of `key` inside `node` (the node's name without its index, or empty at the root);
// null when the key is not a reading (a flag, a name, a maximum).
const Reading* FindReading(std::string_view node, std::string_view key);

// The unit shown beside a key in a table: a reading's or a gauge maximum's unit, or empty.
std::string_view UnitOf(std::string_view node, std::string_view key);

// "Adapter0" → {"Adapter", "0"}; a name without trailing digits has an empty index.
std::pair<std::string_view, std::string_view> SplitIndexedNode(std::string_view name);

} // namespace orvex_host
