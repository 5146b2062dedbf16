#pragma once

#include <cstdint>

namespace gpu {

// What the GPU pages need of the fan acoustic table: whether it is loaded, and the level for a
// fan speed (fan 0 = CPU, any other value = GPU). Lookup returns 0 and leaves level untouched when
// the table is not loaded or rpm is negative.
class FanLevels {
public:
    static constexpr int32_t kGpuFan = 1;

    virtual ~FanLevels() = default;

    virtual bool IsLoaded() const = 0;
    virtual int32_t Lookup(int32_t fan, int32_t rpm, double& level) const = 0;
};

} // namespace gpu
