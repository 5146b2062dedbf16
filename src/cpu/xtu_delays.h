#pragma once

#include <cstdint>

namespace cpu {

// How long the XTU paths sleep. The values are the product's; tests may shorten them.
struct XtuDelays {
    // Between creating the wrapper and initialising it.
    uint32_t BeforeInitializeMs = 1000;
    // After starting the monitor, before its first values are read.
    uint32_t AfterStartMonitorMs = 3000;
    // In addition, while the plug-in is not ready (its first-session record is pending).
    uint32_t WhileNotReadyMs = 5000;
};

} // namespace cpu
