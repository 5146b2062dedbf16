#pragma once

#include <cstdint>

namespace cpu {

// The fan acoustic table as the CPU monitor builders use it: whether it holds data, and the
// acoustic level of a fan at a speed.
class FanAcousticLookup {
public:
    virtual ~FanAcousticLookup() = default;

    virtual bool IsLoaded() const = 0;
    // fan 0 is the CPU fan. Writes the level into `level` (which the caller presets) and returns 1
    // when it did or walked the table, 0 otherwise.
    virtual int32_t Lookup(int32_t fan, int32_t rpm, double& level) = 0;
};

} // namespace cpu
