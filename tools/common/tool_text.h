#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Pieces every command-line tool here needs alike.

// The whole file in binary; nullopt when it cannot be opened or read.
std::optional<std::vector<uint8_t>> ReadFileBytes(const std::string& path);

// Shortest text that reads back as the same double; every NaN prints as "nan", whatever its sign.
std::string ShortestNumber(double value);
