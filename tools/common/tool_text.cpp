#include "common/tool_text.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>

std::optional<std::vector<uint8_t>> ReadFileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file),
                               std::istreambuf_iterator<char>()};
    if (file.bad()) {
        return std::nullopt;
    }
    return bytes;
}

std::string ShortestNumber(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    char text[32];
    const auto result = std::to_chars(std::begin(text), std::end(text), value);
    return {text, result.ptr};
}
