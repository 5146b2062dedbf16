#include "cpu/xtu_initialization.h"

namespace cpu {

uint32_t DoXTUInitialize(int32_t vendor, IntelCpuMonitor& intel, AmdCpuMonitor& amd) {
    constexpr int32_t kVendorIntel = 1;
    constexpr int32_t kVendorAmd = 2;
    if (vendor == kVendorIntel) {
        intel.InitializeXtu();
    } else if (vendor == kVendorAmd) {
        amd.PrepareStatusBlock();
    }
    return 0;
}

} // namespace cpu
