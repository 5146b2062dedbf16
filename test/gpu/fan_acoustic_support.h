#pragma once

#include "gpu/fan_acoustic_file.h"
#include "plugin_frame/value_set.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

namespace test {

// The body of a value set, as a file's plaintext holds it.
inline std::vector<uint8_t> BodyOf(const VelmorValueSet::ValueSet& set) {
    uint32_t size = set.BodySize();
    std::vector<uint8_t> bytes(size);
    return set.Write(bytes.data(), size) ? bytes : std::vector<uint8_t>{};
}

// A fan's curve read the plain way, one index at a time from 0 to the count: the yardstick for
// the reader, which visits only the indices that store something.
inline gpu::FanCurve ReferenceFanCurve(const VelmorValueSet::ValueSet& body,
                                       const gpu::FanKeys& keys) {
    gpu::FanCurve curve{{0, 0.0}};
    const int32_t count = body.GetInt32(keys.Count());
    for (int32_t index = 0; index < count; ++index) {
        curve[body.GetInt32(keys.Rpm(index))] = body.GetDouble(keys.Level(index));
    }
    return curve;
}

// Equal points, levels compared bit for bit (a file may store NaN).
inline bool SameCurve(const gpu::FanCurve& a, const gpu::FanCurve& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.first == y.first &&
               std::bit_cast<uint64_t>(x.second) == std::bit_cast<uint64_t>(y.second);
    });
}

} // namespace test
