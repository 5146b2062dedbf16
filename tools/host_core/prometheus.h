#pragma once
// The snapshot in the Prometheus text format: one gauge per reading, its base unit in its name,
// "# HELP" and "# TYPE" before each; an indexed node ("Core0", "Adapter1") becomes a label.
#include "host_core/value_tree.h"

#include <string>

namespace orvex_host {

// Every reading found in the answers of command 1 and command 3, converted to its base unit.
// A gauge shared by several nodes (two adapters) gets its HELP and TYPE once.
std::string RenderPrometheus(const Tree& monitor, const Tree& disk);

} // namespace orvex_host
